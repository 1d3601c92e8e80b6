#include <Kestrel/Tessel/StatisticalCalculator.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace Kestrel {
namespace Tessel {

namespace {

// Orders like operator< on numbers and puts NaN after every number, so that sorting data with NaN in it
// stays well defined (operator< alone is no strict weak ordering then). Data without NaN is arranged exactly
// as operator< arranges it: the comparator answers every comparison of two numbers the same way.
bool numbersBeforeNaN(double a, double b) {
    return a < b || (!std::isnan(a) && std::isnan(b));
}

void requireValues(std::vector<double> const& values, char const* operation) {
    if (values.empty()) {
        throw std::domain_error(std::string("StatisticalCalculator::") + operation + ": no values loaded");
    }
}

}  // namespace

StatisticalCalculator::StatisticalCalculator(int count) {
    if (count > 0) {
        values_.reserve(static_cast<std::size_t>(count));
    }
}

StatisticalCalculator::~StatisticalCalculator() = default;

void StatisticalCalculator::loadDataSet(std::vector<double> const& values) {
    values_.assign(values.begin(), values.end());
}

double StatisticalCalculator::getQuantile(double level, int /*method*/) const {
    requireValues(values_, "getQuantile");
    if (std::isnan(level)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    std::vector<double> sorted(values_);
    std::sort(sorted.begin(), sorted.end(), numbersBeforeNaN);
    // Levels outside 0 … 1 take the nearest end. Clamping the level before scaling keeps infinite levels
    // well defined for a single value, where 0 · ∞ would give no position at all.
    double const last = static_cast<double>(sorted.size() - 1);
    double const h = last * std::min(std::max(level, 0.0), 1.0);
    double const floorOfH = std::floor(h);
    auto const lo = static_cast<std::size_t>(floorOfH);
    if (lo + 1 < sorted.size()) {
        return sorted[lo] + (h - floorOfH) * (sorted[lo + 1] - sorted[lo]);
    }
    return sorted[lo];
}

double StatisticalCalculator::getVariance(int degreesOfFreedomCorrection) const {
    requireValues(values_, "getVariance");
    double const count = static_cast<double>(values_.size());
    double sum = 0.0;
    for (double const value : values_) {
        sum += value;
    }
    double const mean = sum / count;
    double squares = 0.0;
    for (double const value : values_) {
        double const deviation = value - mean;
        squares += deviation * deviation;
    }
    return squares / (count - static_cast<double>(degreesOfFreedomCorrection));
}

double StatisticalCalculator::getMinimum() const {
    requireValues(values_, "getMinimum");
    return *std::min_element(values_.begin(), values_.end());
}

double StatisticalCalculator::getMaximum() const {
    requireValues(values_, "getMaximum");
    return *std::max_element(values_.begin(), values_.end());
}

int StatisticalCalculator::getNumberOfValues() const {
    return static_cast<int>(values_.size());
}

}  // namespace Tessel
}  // namespace Kestrel
