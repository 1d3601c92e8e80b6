// Validation of the caller's cost matrix and the facts the solver's choice of route needs, gathered in one
// pass over the rows before anything is copied or written.
#include "MatrixCheck.h"

#include "LineScans.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>

namespace Kestrel::assignment {
namespace {

// Finest grid on which a non-zero working value of the steps is still at least DBL_EPSILON.
constexpr int kFinestExponent = -52;
// Largest exponents are about 971; 2^(52 + e) is then beyond the largest double and no matrix fits.
constexpr int kCoarsestExponent = 900;

// Exponent of the lowest set bit of a finite non-zero double: the largest e with value a multiple of 2^e.
int lowestBitExponent(double value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    int const biasedExponent = static_cast<int>((bits >> 52) & 0x7ff);
    std::uint64_t mantissa = bits & ((std::uint64_t{1} << 52) - 1);
    if (biasedExponent != 0) {
        mantissa |= std::uint64_t{1} << 52;
    }
    int const unitExponent = (biasedExponent == 0 ? 1 : biasedExponent) - 1075;
    return unitExponent + __builtin_ctzll(mantissa);
}

// The coarsest grid 2^e holding every finite element seen so far. Rows of small integers contribute the OR
// of their magnitudes (whose lowest set bit is the lowest of any of them), other rows element by element.
class GridFinder {
  public:
    void addIntegerBits(std::uint32_t bits) { integerBits_ |= bits; }

    void addElements(double const* values, int n) {
        for (int k = 0; k < n && !tooFine_; ++k) {
            if (values[k] == 0.0 || !std::isfinite(values[k])) {
                continue;
            }
            lowestExponent_ = std::min(lowestExponent_, lowestBitExponent(values[k]));
            tooFine_ = lowestExponent_ < kFinestExponent;
        }
    }

    bool tooFine() const { return tooFine_; }

    int exponent() const {
        int const integerExponent = integerBits_ == 0 ? INT_MAX : __builtin_ctz(integerBits_);
        int const lowest = std::min(lowestExponent_, integerExponent);
        return lowest == INT_MAX ? 0 : lowest;
    }

  private:
    std::uint32_t integerBits_ = 0;
    int lowestExponent_ = INT_MAX;
    bool tooFine_ = false;
};

[[noreturn]] void throwBadElement(std::size_t row, std::size_t col, double value) {
    throw std::invalid_argument("HungarianAlgorithm::Solve: element (row " + std::to_string(row) +
                                ", column " + std::to_string(col) + ") is " +
                                (std::isnan(value) ? "NaN" : "-infinity") +
                                "; every element must be a number or +infinity (a forbidden pair)");
}

// Smallest element and largest element below +infinity of a row holding a non-finite value; throws at its
// first NaN or -infinity. Returns whether the row holds +infinity.
bool surveyRowWithInfinity(double const* values, std::size_t row, int n, double* minimum,
                           double* largestFinite) {
    double const inf = std::numeric_limits<double>::infinity();
    bool forbidden = false;
    double low = inf;
    double high = -inf;
    for (int col = 0; col < n; ++col) {
        double const value = values[col];
        if (std::isnan(value) || value == -inf) {
            throwBadElement(row, static_cast<std::size_t>(col), value);
        }
        forbidden = forbidden || value == inf;
        low = value < low ? value : low;
        high = value < inf && value > high ? value : high;
    }
    *minimum = low;
    *largestFinite = high;
    return forbidden;
}

double rangeOfGrid(int exponent, double largestMagnitude) {
    if (exponent > kCoarsestExponent) {
        return 0.0;
    }
    double const range = std::ldexp(1.0, 52 + exponent);
    return 2.0 * largestMagnitude < range ? range : 0.0;
}

}  // namespace

MatrixSurvey surveyMatrix(std::vector<std::vector<double>> const& matrix) {
    std::size_t const nOfColumns = matrix.front().size();
    if (matrix.size() > static_cast<std::size_t>(INT_MAX) || nOfColumns > static_cast<std::size_t>(INT_MAX)) {
        throw std::invalid_argument("HungarianAlgorithm::Solve: the cost matrix has more than " +
                                    std::to_string(INT_MAX) + " rows or columns");
    }
    int const n = static_cast<int>(nOfColumns);
    double const inf = std::numeric_limits<double>::infinity();
    MatrixSurvey survey;
    survey.shape = MatrixShape{static_cast<int>(matrix.size()), n, false};
    survey.rowMinimum.assign(matrix.size(), inf);
    survey.rowLargestFinite.assign(matrix.size(), -inf);
    GridFinder grid;
    double largestMagnitude = 0.0;
    for (std::size_t row = 0; row < matrix.size(); ++row) {
        std::vector<double> const& line = matrix[row];
        if (line.size() != nOfColumns) {
            throw std::invalid_argument("HungarianAlgorithm::Solve: row " + std::to_string(row) + " has " +
                                        std::to_string(line.size()) + " elements, but row 0 has " +
                                        std::to_string(nOfColumns));
        }
        if (n == 0) {
            continue;
        }
        double const* values = line.data();
        double& minimum = survey.rowMinimum[row];
        double& largest = survey.rowLargestFinite[row];
        std::uint32_t bits = 0;
        // Once some element lies off every usable grid, the integer test can tell nothing more.
        if (!grid.tooFine() && smallIntegerLine(values, n, &bits, &minimum, &largest)) {
            grid.addIntegerBits(bits);
        } else {
            if (allFinite(values, n)) {
                lineExtremes(values, n, &minimum, &largest);
            } else {
                survey.shape.forbiddenPairs =
                    surveyRowWithInfinity(values, row, n, &minimum, &largest) || survey.shape.forbiddenPairs;
            }
            grid.addElements(values, n);
        }
        if (minimum < 0.0) {
            survey.negativeElements += static_cast<std::size_t>(countBelow(values, n, 0.0));
        }
        largestMagnitude = std::max(largestMagnitude, minimum < inf ? std::fabs(minimum) : 0.0);
        largestMagnitude = std::max(largestMagnitude, largest > -inf ? std::fabs(largest) : 0.0);
    }
    survey.gridExponent = grid.exponent();
    survey.exactRange = grid.tooFine() ? 0.0 : rangeOfGrid(survey.gridExponent, largestMagnitude);
    return survey;
}

void surveyColumns(std::vector<std::vector<double>> const& matrix, MatrixSurvey* survey) {
    int const nOfColumns = survey->shape.columns;
    double const inf = std::numeric_limits<double>::infinity();
    survey->columnMinimum.assign(matrix.front().begin(), matrix.front().end());
    survey->columnLargestFinite.assign(static_cast<std::size_t>(nOfColumns), -inf);
    double* minimum = survey->columnMinimum.data();
    double* largest = survey->columnLargestFinite.data();
    for (std::vector<double> const& row : matrix) {
        if (survey->shape.forbiddenPairs) {
            widenToElementwiseExtremes<true>(minimum, largest, row.data(), nOfColumns);
        } else {
            widenToElementwiseExtremes<false>(minimum, largest, row.data(), nOfColumns);
        }
    }
}

}  // namespace Kestrel::assignment
