// The slopes and the cubic pieces follow the common form of the shape-preserving interpolant, term by term,
// so that values agree with other implementations of that form to rounding. Boost.Math's pchip is not
// used: it needs four knots, takes one-sided end slopes and refuses queries outside the knot range.
#include <Kestrel/PChip.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace Kestrel {

namespace {

double signOf(double value) {
    return value > 0.0 ? 1.0 : (value < 0.0 ? -1.0 : 0.0);
}

// Slope at an end knot from the first two intervals (h0 next to the end) and their secant slopes.
double endSlope(double h0, double h1, double m0, double m1) {
    double const slope = ((2.0 * h0 + h1) * m0 - h0 * m1) / (h0 + h1);
    if (signOf(slope) != signOf(m0) || std::isnan(slope)) {
        return 0.0;
    }
    if (signOf(m0) != signOf(m1) && std::abs(slope) > 3.0 * std::abs(m0)) {
        return 3.0 * m0;
    }
    return slope;
}

}  // namespace

PChip::PChip(std::vector<double> const& x, std::vector<double> const& y, bool const& /*flag*/) {
    std::size_t const count = std::min(x.size(), y.size());
    knots_.reserve(count);
    values_.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        bool const first = knots_.empty();
        if ((first && !std::isnan(x[i])) || (!first && x[i] > knots_.back())) {
            knots_.push_back(x[i]);
            values_.push_back(y[i]);
        }
    }
    std::size_t const n = knots_.size();
    if (n < 2) {
        return;
    }
    std::vector<double> widths(n - 1);
    std::vector<double> secants(n - 1);
    for (std::size_t i = 0; i + 1 < n; ++i) {
        widths[i] = knots_[i + 1] - knots_[i];
        secants[i] = (values_[i + 1] - values_[i]) / widths[i];
    }
    std::vector<double> derivatives(n, 0.0);
    if (n == 2) {
        derivatives[0] = secants[0];
        derivatives[1] = secants[0];
    } else {
        for (std::size_t k = 1; k + 1 < n; ++k) {
            double const before = secants[k - 1];
            double const after = secants[k];
            bool const flat = signOf(before) != signOf(after) || before == 0.0 || after == 0.0 ||
                              std::isnan(before) || std::isnan(after);
            if (!flat) {
                double const w1 = 2.0 * widths[k] + widths[k - 1];
                double const w2 = widths[k] + 2.0 * widths[k - 1];
                double const harmonicMean = (w1 / before + w2 / after) / (w1 + w2);
                derivatives[k] = 1.0 / harmonicMean;
            }
        }
        derivatives[0] = endSlope(widths[0], widths[1], secants[0], secants[1]);
        derivatives[n - 1] = endSlope(widths[n - 2], widths[n - 3], secants[n - 2], secants[n - 3]);
    }
    slopes_.resize(n - 1);
    c2_.resize(n - 1);
    c3_.resize(n - 1);
    for (std::size_t i = 0; i + 1 < n; ++i) {
        double const t = (derivatives[i] + derivatives[i + 1] - 2.0 * secants[i]) / widths[i];
        c3_[i] = t / widths[i];
        c2_[i] = (secants[i] - derivatives[i]) / widths[i] - t;
        slopes_[i] = derivatives[i];
    }
}

PChip::~PChip() = default;

int PChip::getNumberOfKnots() const {
    return static_cast<int>(knots_.size());
}

double PChip::interpolate(double query) const {
    if (knots_.empty()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    if (knots_.size() == 1) {
        return values_[0];
    }
    // Piece i covers [knots_[i], knots_[i + 1]); the first and last pieces also extend outwards.
    auto const above = std::upper_bound(knots_.begin() + 1, knots_.end() - 1, query);
    auto const piece = static_cast<std::size_t>(above - knots_.begin()) - 1;
    double const offset = query - knots_[piece];
    double power = offset;
    double result = values_[piece] + slopes_[piece] * power;
    power *= offset;
    result += c2_[piece] * power;
    power *= offset;
    result += c3_[piece] * power;
    return result;
}

std::vector<double> PChip::interpolateAtQueryPoints(std::vector<double> const& queries) const {
    std::vector<double> result;
    result.reserve(queries.size());
    for (double const query : queries) {
        result.push_back(interpolate(query));
    }
    return result;
}

}  // namespace Kestrel
