// Incremental form of the Munkres steps for exactly representable matrices.
//
// Between two augmentations (a phase) rows are only ever covered and columns only ever uncovered, and an
// adjustment by h lowers every uncovered-row, uncovered-column value by h, raises every covered-row,
// covered-column value by h and leaves the rest. So within a phase:
// - each uncovered row keeps slack[row], its smallest value over the uncovered columns; an adjustment
//   takes h as the smallest slack and lowers every slack by h;
// - each uncovered column keeps the list of uncovered rows holding a zero in it, in ascending row order.
//   A column's list is filled when the column is uncovered (one pass over its rows) and, after an
//   adjustment, from the rows whose slack reached zero (one pass over their uncovered columns each). Zeros
//   never vanish while both lines stay uncovered, and a covered row is skipped when met, so the head of a
//   list is exactly the first uncovered zero a scan of the column would find.
// The passes over the uncovered columns then visit, in ascending order, only the columns whose list is
// not empty, and make the same choices as a full scan.
#include "ExactMunkresSteps.h"

#include "FirstReduction.h"
#include "LineScans.h"
#include "MatrixCheck.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

namespace Kestrel::assignment {
namespace {

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

// Ascending set of column indices, with "first member at or after a position".
class ColumnSet {
  public:
    explicit ColumnSet(int nOfColumns) : words_((static_cast<std::size_t>(nOfColumns) + 63) / 64, 0) {}

    void insert(int col) { words_[col >> 6] |= std::uint64_t{1} << (col & 63); }
    void erase(int col) { words_[col >> 6] &= ~(std::uint64_t{1} << (col & 63)); }
    void clear() { std::fill(words_.begin(), words_.end(), 0); }

    // The smallest member >= from, or -1.
    int firstFrom(int from) const {
        std::size_t word = static_cast<std::size_t>(from) >> 6;
        if (word >= words_.size()) {
            return -1;
        }
        std::uint64_t bits = words_[word] & (~std::uint64_t{0} << (from & 63));
        while (bits == 0) {
            if (++word == words_.size()) {
                return -1;
            }
            bits = words_[word];
        }
        return static_cast<int>(word * 64) + __builtin_ctzll(bits);
    }

  private:
    std::vector<std::uint64_t> words_;
};

class ExactSteps {
  public:
    ExactSteps(double const* reduced, int nOfRows, int nOfColumns, double range, int* starColumn)
        : reduced_(reduced),
          reducedRows_(elementIndex(0, nOfColumns, nOfRows)),
          nOfRows_(nOfRows),
          nOfColumns_(nOfColumns),
          range_(range),
          starColumn_(starColumn),
          starRow_(nOfColumns, -1),
          rowAdded_(nOfRows, 0.0),
          columnSubtracted_(nOfColumns, 0.0),
          slack_(nOfRows),
          rowMinimumOverUnstarred_(nOfRows, std::numeric_limits<double>::infinity()),
          coveredRow_(nOfRows),
          rowBlocked_(nOfRows),
          coveredColumn_(nOfColumns),
          primeColumn_(nOfRows),
          zeroRows_(nOfColumns),
          zeroScratch_(nOfRows),
          zeroHead_(nOfColumns),
          withZeros_(nOfColumns) {
        for (int row = 0; row < nOfRows; ++row) {
            if (starColumn[row] >= 0) {
                starRow_[starColumn[row]] = row;
            }
        }
        for (int col = 0; col < nOfColumns; ++col) {
            double const* column = reduced + elementIndex(0, col, nOfRows);
            for (int row = 0; row < nOfRows; ++row) {
                reducedRows_[elementIndex(col, row, nOfColumns)] = column[row];
                if (std::isfinite(column[row])) {
                    largestReduced_ = std::max(largestReduced_, std::fabs(column[row]));
                }
            }
            if (starRow_[col] < 0) {
                unstarredColumns_.push_back(col);
                lowerToElementwiseMinimum(rowMinimumOverUnstarred_.data(), column, nOfRows);
            }
        }
    }

    bool run() {
        int const minDim = std::min(nOfRows_, nOfColumns_);
        while (nOfColumns_ - static_cast<int>(unstarredColumns_.size()) < minDim) {
            startPhase();
            if (!findAugmentingPath()) {
                return false;
            }
        }
        return true;
    }

  private:
    double value(int row, int col) const {
        return (reduced_[elementIndex(row, col, nOfRows_)] + rowAdded_[row]) - columnSubtracted_[col];
    }

    // Step 2a after an augmentation: starred columns covered, every row uncovered, no primes. A column never
    // starred has never been covered, so it lost every adjustment: its values in a row are the row's reduced
    // values plus rowAdded minus the adjustment total, and the row's slack follows from its smallest reduced
    // value over those columns without a pass over them.
    void startPhase() {
        std::fill(coveredRow_.begin(), coveredRow_.end(), 0);
        std::fill(rowBlocked_.begin(), rowBlocked_.end(), 0.0);
        std::fill(primeColumn_.begin(), primeColumn_.end(), -1);
        withZeros_.clear();
        uncoveredStarredColumns_.clear();
        for (int col = 0; col < nOfColumns_; ++col) {
            zeroRows_[col].clear();
            zeroHead_[col] = 0;
            coveredColumn_[col] = starRow_[col] >= 0;
        }
        for (int row = 0; row < nOfRows_; ++row) {
            slack_[row] = (rowMinimumOverUnstarred_[row] + rowAdded_[row]) - adjustmentTotal_;
            if (slack_[row] == 0.0) {
                collectZerosOfRow(row, unstarredColumns_);
            }
        }
    }

    // Appends the row to the zero list of each listed column in which it holds a zero. Reads the row-major
    // copy, so that the row's values are contiguous.
    void collectZerosOfRow(int row, std::vector<int> const& columns) {
        double const* values = reducedRows_.data() + elementIndex(0, row, nOfColumns_);
        double const added = rowAdded_[row];
        for (int const col : columns) {
            if ((values[col] + added) - columnSubtracted_[col] == 0.0) {
                zeroRows_[col].push_back(row);
                withZeros_.insert(col);
            }
        }
    }

    // A starred column joins the uncovered ones: its values lower the slack of the uncovered rows, and its
    // zeros there form its list. One pass does both; the zero rows are written unconditionally and kept by
    // advancing the count, which costs less than a branch on matrices full of zeros.
    void uncoverColumn(int col) {
        coveredColumn_[col] = 0;
        uncoveredStarredColumns_.push_back(col);
        double const* column = reduced_ + elementIndex(0, col, nOfRows_);
        double const subtracted = columnSubtracted_[col];
        int nZeros = 0;
        for (int row = 0; row < nOfRows_; ++row) {
            double const working = ((column[row] + rowAdded_[row]) - subtracted) + rowBlocked_[row];
            slack_[row] = working < slack_[row] ? working : slack_[row];
            zeroScratch_[nZeros] = row;
            nZeros += working == 0.0;
        }
        if (nZeros > 0) {
            zeroRows_[col].assign(zeroScratch_.begin(), zeroScratch_.begin() + nZeros);
            withZeros_.insert(col);
        }
    }

    void coverRow(int row) {
        coveredRow_[row] = 1;
        rowBlocked_[row] = std::numeric_limits<double>::infinity();
    }

    // The first uncovered row of the column's list, taken off the list; -1 (and the column leaves the set
    // of columns with zeros) when none is left.
    int takeUncoveredZero(int col) {
        std::vector<int> const& zeros = zeroRows_[col];
        int& head = zeroHead_[col];
        while (head < static_cast<int>(zeros.size()) && coveredRow_[zeros[head]]) {
            ++head;
        }
        if (head == static_cast<int>(zeros.size())) {
            zeroRows_[col].clear();
            head = 0;
            withZeros_.erase(col);
            return -1;
        }
        return zeros[head++];
    }

    // Steps 3 and 5 until step 3 primes a zero in a row without a star; then step 4. False when an
    // adjustment would leave the exact range.
    bool findAugmentingPath() {
        for (;;) {
            bool zerosFound = false;
            for (int col = withZeros_.firstFrom(0); col >= 0; col = withZeros_.firstFrom(col + 1)) {
                int const row = takeUncoveredZero(col);
                if (row < 0) {
                    continue;
                }
                primeColumn_[row] = col;
                int const starCol = starColumn_[row];
                if (starCol < 0) {
                    augment(row, col);
                    return true;
                }
                coverRow(row);
                uncoverColumn(starCol);
                zerosFound = true;
            }
            if (!zerosFound && !adjust()) {
                return false;
            }
        }
    }

    // Step 4: stars move to the primes along the alternating path that starts at the primed zero. The
    // path ends in a column that held no star before and now does.
    void augment(int row, int col) {
        for (;;) {
            int const displaced = starRow_[col];
            starRow_[col] = row;
            starColumn_[row] = col;
            if (displaced < 0) {
                retireUnstarredColumn(col);
                return;
            }
            row = displaced;
            col = primeColumn_[displaced];
        }
    }

    // The column leaves the never-starred ones; rows whose smallest value over them lay in this column look
    // for it again among the others.
    void retireUnstarredColumn(int col) {
        unstarredColumns_.erase(std::find(unstarredColumns_.begin(), unstarredColumns_.end(), col));
        double const* column = reduced_ + elementIndex(0, col, nOfRows_);
        for (int row = 0; row < nOfRows_; ++row) {
            if (column[row] != rowMinimumOverUnstarred_[row]) {
                continue;
            }
            double const* values = reducedRows_.data() + elementIndex(0, row, nOfColumns_);
            double minimum = std::numeric_limits<double>::infinity();
            for (int const other : unstarredColumns_) {
                minimum = std::min(minimum, values[other]);
            }
            rowMinimumOverUnstarred_[row] = minimum;
        }
    }

    // Step 5, on the potentials. The new zeros lie in the uncovered rows whose slack reaches zero.
    bool adjust() {
        double h = std::numeric_limits<double>::infinity();
        for (int row = 0; row < nOfRows_; ++row) {
            if (!coveredRow_[row] && slack_[row] < h) {
                h = slack_[row];
            }
        }
        // Every working value is at most the largest reduced value plus the adjustments its row gained, and
        // a step forms it minus one more adjustment: all stay exact while this sum does.
        adjustmentTotal_ += h;
        if (!(largestReduced_ + 2.0 * adjustmentTotal_ < range_)) {
            return false;
        }
        for (int row = 0; row < nOfRows_; ++row) {
            if (coveredRow_[row]) {
                rowAdded_[row] += h;
            } else {
                slack_[row] -= h;
            }
        }
        for (int col = 0; col < nOfColumns_; ++col) {
            if (!coveredColumn_[col]) {
                columnSubtracted_[col] += h;
            }
        }
        for (int row = 0; row < nOfRows_; ++row) {
            if (!coveredRow_[row] && slack_[row] == 0.0) {
                collectZerosOfRow(row, unstarredColumns_);
                collectZerosOfRow(row, uncoveredStarredColumns_);
            }
        }
        return true;
    }

    double const* reduced_;
    std::vector<double> reducedRows_;  // the same values, row-major, for the passes along one row
    int nOfRows_;
    int nOfColumns_;
    double range_;
    double largestReduced_ = 0.0;
    double adjustmentTotal_ = 0.0;  // sum of every adjustment so far
    int* starColumn_;
    std::vector<int> starRow_;
    std::vector<double> rowAdded_;          // sum of the adjustments added to each row while covered
    std::vector<double> columnSubtracted_;  // sum of the adjustments subtracted from each uncovered column
    std::vector<double> slack_;             // per uncovered row: smallest value over the uncovered columns
    std::vector<int> unstarredColumns_;     // columns never starred so far, ascending
    std::vector<double> rowMinimumOverUnstarred_;  // per row: smallest reduced value over those columns
    std::vector<int> uncoveredStarredColumns_;     // starred columns uncovered in this phase
    std::vector<char> coveredRow_;
    std::vector<double> rowBlocked_;  // 0 for an uncovered row, +infinity for a covered one
    std::vector<char> coveredColumn_;
    std::vector<int> primeColumn_;  // the primed zero of each row in this phase (a row is primed once)
    std::vector<std::vector<int>> zeroRows_;
    std::vector<int> zeroScratch_;
    std::vector<int> zeroHead_;
    ColumnSet withZeros_;
};

}  // namespace

double exactRange(std::vector<std::vector<double>> const& rowMajor) {
    constexpr int kFinestExponent = -52;
    int exponent = std::numeric_limits<int>::max();
    double largest = 0.0;
    for (std::vector<double> const& row : rowMajor) {
        for (double const element : row) {
            if (element == 0.0 || !std::isfinite(element)) {
                continue;
            }
            exponent = std::min(exponent, lowestBitExponent(element));
            if (exponent < kFinestExponent) {
                return 0.0;
            }
            largest = std::max(largest, std::fabs(element));
        }
    }
    if (exponent == std::numeric_limits<int>::max()) {
        exponent = 0;
    }
    // Largest exponents are about 971; 2^(52 + e) is then beyond the largest double and no matrix fits.
    if (exponent > 900) {
        return 0.0;
    }
    double const range = std::ldexp(1.0, 52 + exponent);
    return 2.0 * largest < range ? range : 0.0;
}

bool continueStepsExactly(double const* reduced, int nOfRows, int nOfColumns, double range, int* starColumn) {
    return ExactSteps(reduced, nOfRows, nOfColumns, range, starColumn).run();
}

// When the first star pass stars at least this share (1 / divisor) of the lines, as on random integer
// matrices, the steps as they stand need few augmentations and beat the incremental form, whose per-phase
// bookkeeping costs more than their scans there; the route is for matrices such as products of indices,
// on which the first pass stars almost nothing and the steps adjust the matrix O(n^2) times.
constexpr int kFewStarsDivisor = 2;

bool solveByExactSteps(double const* distMatrixIn, double range, int* assignment, int nOfRows,
                       int nOfColumns) {
    std::size_t const nOfElements = elementIndex(0, nOfColumns, nOfRows);
    std::unique_ptr<double[]> distMatrix(new double[nOfElements]);
    std::copy(distMatrixIn, distMatrixIn + nOfElements, distMatrix.get());
    std::unique_ptr<bool[]> covers(
        new bool[static_cast<std::size_t>(nOfColumns) + static_cast<std::size_t>(nOfRows)]());
    int const minDim = reduceAndStar(distMatrix.get(), assignment, covers.get(), covers.get() + nOfColumns,
                                     nOfRows, nOfColumns);
    int const nOfStars =
        static_cast<int>(std::count_if(assignment, assignment + nOfRows, [](int col) { return col >= 0; }));
    if (nOfStars >= minDim / kFewStarsDivisor) {
        return false;
    }
    return continueStepsExactly(distMatrix.get(), nOfRows, nOfColumns, range, assignment);
}

}  // namespace Kestrel::assignment
