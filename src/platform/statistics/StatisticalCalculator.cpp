#include <Kestrel/Tessel/StatisticalCalculator.h>

#include "NumberSelection.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace Kestrel {
namespace Tessel {

namespace {

// Orders numbers as operator< does, with -0.0 before +0.0. Two numbers this order does not tell apart have
// the same bits, so the value at every position of the arranged data is the same whatever algorithm
// arranges it (operator< alone leaves the sign of a zero to the algorithm). A function object, so that the
// selection algorithms inline it.
struct NumberBefore {
    bool operator()(double a, double b) const {
        return a < b || (a == b && std::signbit(a) && !std::signbit(b));
    }
};

// Orders NaN by their bits, so that the NaN at a given position does not depend on the algorithm either.
struct NanBefore {
    bool operator()(double a, double b) const {
        std::uint64_t aBits = 0;
        std::uint64_t bBits = 0;
        std::memcpy(&aBits, &a, sizeof aBits);
        std::memcpy(&bBits, &b, sizeof bBits);
        return aBits < bBits;
    }
};

// The values sorted ascending, numbers (in NumberBefore order) before NaN (in NanBefore order), without
// sorting: each query moves the value of one position into place.
class OrderStatistics {
  public:
    explicit OrderStatistics(std::vector<double> values)
        : values_(std::move(values)),
          numbersEnd_(
              std::partition(values_.begin(), values_.end(), [](double x) { return !std::isnan(x); })) {}

    // The value at `position` (below the number of values). Afterwards no value before it comes later in
    // the order and none after it comes earlier.
    double at(std::size_t position) {
        auto const target = values_.begin() + static_cast<std::ptrdiff_t>(position);
        if (target < numbersEnd_) {
            std::nth_element(values_.begin(), target, numbersEnd_, NumberBefore());
        } else {
            std::nth_element(numbersEnd_, target, values_.end(), NanBefore());
        }
        return *target;
    }

    // The values at `position` and `position` + 1 (the latter below the number of values). After one of
    // them is moved into place, the other is the extreme of the values on one side of it: the side with
    // fewer values is scanned (the lower side for the low quantiles the optimiser asks for).
    std::pair<double, double> neighbours(std::size_t position) {
        auto const numbers = static_cast<std::size_t>(numbersEnd_ - values_.begin());
        if (position + 1 < numbers && 2 * (position + 1) <= numbers) {
            double const high = at(position + 1);
            auto const lowerEnd = values_.cbegin() + static_cast<std::ptrdiff_t>(position) + 1;
            return {*std::max_element(values_.cbegin(), lowerEnd, NumberBefore()), high};
        }
        double const low = at(position);
        auto const upperBegin = values_.cbegin() + static_cast<std::ptrdiff_t>(position) + 1;
        if (upperBegin < numbersEnd_) {
            return {low, *std::min_element(upperBegin, std::vector<double>::const_iterator(numbersEnd_),
                                           NumberBefore())};
        }
        return {low, *std::min_element(upperBegin, values_.cend(), NanBefore())};
    }

  private:
    std::vector<double> values_;
    std::vector<double>::iterator numbersEnd_;
};

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
    // Only the order statistics lo and lo + 1 are needed: selecting them takes O(N) where sorting took
    // O(N log N). Their values are those of the fully sorted data, bit for bit (see NumberBefore and
    // NanBefore), so the result does not depend on how they are found: by counting (NumberSelection.h)
    // unless a NaN is among the values, by comparison otherwise.
    // Levels outside 0 … 1 take the nearest end. Clamping the level before scaling keeps infinite levels
    // well defined for a single value, where 0 · ∞ would give no position at all.
    double const last = static_cast<double>(values_.size() - 1);
    double const h = last * std::min(std::max(level, 0.0), 1.0);
    double const floorOfH = std::floor(h);
    auto const lo = static_cast<std::size_t>(floorOfH);
    if (lo + 1 < values_.size()) {
        std::optional<std::pair<double, double>> around = neighbouringNumbers(values_, lo);
        if (!around) {
            around = OrderStatistics(values_).neighbours(lo);
        }
        return around->first + (h - floorOfH) * (around->second - around->first);
    }
    return OrderStatistics(values_).at(lo);
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
