// Incremental form of the Munkres steps for exactly representable matrices.
//
// Between two augmentations (a phase) rows are only ever covered and columns only ever uncovered, and an
// adjustment by h lowers every uncovered-row, uncovered-column value by h, raises every covered-row,
// covered-column value by h and leaves the rest. Augmentations change no value. Every value the steps form
// is exact here, so any arrangement of the same exact sums gives the same values, and:
// - the working value is (reduced + rowAdded[row]) - columnSubtracted[col]. A covered row gains every
//   adjustment made while it stays covered and an uncovered column loses every one: rather than updating
//   them at each adjustment, a line notes the adjustment total when it changes state, and its gain or
//   loss since then is the total now minus that note. The end of a phase writes these into the
//   potentials. An adjustment itself is then O(1) on the potentials.
// - each uncovered row keeps its slack, its smallest value over the uncovered columns, as the key
//   slack + total, which an adjustment leaves unchanged. Only an adjustment needs the slacks, so the
//   columns uncovered during a phase are folded into the keys when the next adjustment comes: most phases
//   of integer matrices end without one. A covered row's key is +infinity, so h is the smallest key minus
//   the total, and the rows whose slack reaches zero are those whose key equals the new total.
// - every column keeps the rows holding a zero in it, in ascending order, for the whole run. The zeros an
//   adjustment creates lie in the rows whose slack reaches zero and are merged in (a row already listed
//   stays listed once). Zeros an adjustment raises (covered row, covered column) stay listed until the
//   phase ends, when they are dropped: a list is read only while its column is uncovered, and every entry
//   read is checked to be a zero.
// - within a phase each column reads its list from a head that passes over covered rows and entries that
//   are not zeros. Rows stay covered until the phase ends, and an entry that becomes a zero again is
//   merged in anew, which sets the head back to it if it lies before; so the entry the head stops at is
//   exactly the first uncovered zero a scan of the column would find. Every head goes back to the start
//   when a phase begins.
// The passes over the uncovered columns visit, in ascending order, only the columns whose list may still
// hold an uncovered zero, and make the same choices as a full scan.
#include "ExactMunkresSteps.h"

#include "FirstReduction.h"
#include "LineScans.h"
#include "MatrixCheck.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <vector>

namespace Kestrel::assignment {
namespace {

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

// A retired column whose values were the smallest of more than one row in this many makes the remaining
// columns be passed over whole: a contiguous pass costs less than several gathers along rows.
constexpr int kRowsForAColumnPass = 8;

// Cell is the type in which the reduced matrix is stored: double, float or NarrowCell, whichever holds every
// reduced value exactly; every value is read through widen, as the same double.
template <typename Cell>
class ExactSteps {
  public:
    ExactSteps(Cell const* reduced, std::vector<std::vector<double>> const& rowMajor,
               double const* lineMinimum, double largestReduced, int nOfRows, int nOfColumns, double range,
               int* starColumn)
        : reduced_(reduced),
          rowMajor_(rowMajor),
          rowMinimum_(nOfRows, 0.0),
          columnMinimum_(nOfColumns, 0.0),
          nOfRows_(nOfRows),
          nOfColumns_(nOfColumns),
          range_(range),
          largestReduced_(largestReduced),
          starColumn_(starColumn),
          starRow_(nOfColumns, -1),
          rowAdded_(nOfRows, 0.0),
          coveredAt_(nOfRows, 0.0),
          columnSubtracted_(nOfColumns, 0.0),
          columnKey_(nOfColumns, 0.0),
          slackKey_(nOfRows),
          rowsAtSmallest_(nOfRows),
          columnsScratch_(nOfColumns),
          rowMinimumOverUnstarred_(nOfRows, std::numeric_limits<double>::infinity()),
          coveredRow_(nOfRows, 0),
          rowBlocked_(nOfRows, 0.0),
          coveredColumn_(nOfColumns, 0),
          primeColumn_(nOfRows),
          zeroRows_(nOfColumns),
          newZeroRows_(nOfColumns),
          zeroHead_(nOfColumns),
          withZeros_(nOfColumns) {
        for (int row = 0; row < nOfRows; ++row) {
            if (starColumn[row] >= 0) {
                starRow_[starColumn[row]] = row;
            }
        }
        if (nOfRows <= nOfColumns) {
            std::copy(lineMinimum, lineMinimum + nOfRows, rowMinimum_.begin());
        } else {
            std::copy(lineMinimum, lineMinimum + nOfColumns, columnMinimum_.begin());
        }
        std::vector<int> zeros(nOfRows);
        for (int col = 0; col < nOfColumns; ++col) {
            Cell const* column = reduced + elementIndex(0, col, nOfRows);
            int const nOfZeros = positionsOfValue(column, nOfRows, 0.0, zeros.data());
            zeroRows_[col].assign(zeros.begin(), zeros.begin() + nOfZeros);
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
    // The reduced value at (row, col) from the caller's row: the same single subtraction of the line's
    // minimum that the first reduction made (subtracting 0 for the other side changes nothing).
    double reducedInRow(double const* values, double rowMinimum, int col) const {
        return (values[col] - rowMinimum) - columnMinimum_[col];
    }

    // What an uncovered column has lost so far, including the adjustments since it was uncovered.
    double columnSubtractedNow(int col) const { return columnKey_[col] + adjustmentTotal_; }

    // The working value of an uncovered row in an uncovered column.
    double uncoveredValue(int row, int col) const {
        return (widen(reduced_[elementIndex(row, col, nOfRows_)]) + rowAdded_[row]) -
               columnSubtractedNow(col);
    }

    // Step 2a after an augmentation: starred columns covered, every row uncovered, no primes. The gains and
    // losses of the phase that ended go into the potentials first. A column never starred has never been
    // covered, so it lost every adjustment: its values in a row are the row's reduced values plus rowAdded
    // minus the adjustment total, and the row's key follows from its smallest reduced value over those
    // columns without a pass over them.
    void startPhase() {
        for (int row = 0; row < nOfRows_; ++row) {
            if (coveredRow_[row]) {
                rowAdded_[row] += adjustmentTotal_ - coveredAt_[row];
            }
            coveredRow_[row] = 0;
            rowBlocked_[row] = 0.0;
            primeColumn_[row] = -1;
            slackKey_[row] = rowMinimumOverUnstarred_[row] + rowAdded_[row];
        }
        for (int col = 0; col < nOfColumns_; ++col) {
            if (!coveredColumn_[col]) {
                columnSubtracted_[col] = columnSubtractedNow(col);
            }
            coveredColumn_[col] = starRow_[col] >= 0;
            columnKey_[col] = coveredColumn_[col] ? std::numeric_limits<double>::quiet_NaN()
                                                  : columnSubtracted_[col] - adjustmentTotal_;
            zeroHead_[col] = 0;
            if (adjustedInPhase_) {
                dropRaisedZeros(col);
            }
        }
        adjustedInPhase_ = false;
        withZeros_.clear();
        for (int const col : unstarredColumns_) {
            if (!zeroRows_[col].empty()) {
                withZeros_.insert(col);
            }
        }
        uncoveredStarredColumns_.clear();
        nOfFoldedColumns_ = 0;
    }

    // Takes the zeros that adjustments raised off the column's list, so that lists do not grow with the
    // number of adjustments. Called when a phase begins: every row is uncovered and the potentials are
    // written. A phase without adjustments raised nothing (and its lists hold only zeros), so the lists
    // are then left as they are.
    void dropRaisedZeros(int col) {
        std::vector<int>& zeros = zeroRows_[col];
        Cell const* column = reduced_ + elementIndex(0, col, nOfRows_);
        double const subtracted = columnSubtracted_[col];
        zeros.erase(std::remove_if(
                        zeros.begin(), zeros.end(),
                        [&](int row) { return (widen(column[row]) + rowAdded_[row]) - subtracted != 0.0; }),
                    zeros.end());
    }

    void coverRow(int row) {
        coveredRow_[row] = 1;
        coveredAt_[row] = adjustmentTotal_;
        rowBlocked_[row] = std::numeric_limits<double>::infinity();
        slackKey_[row] = std::numeric_limits<double>::infinity();
    }

    // A starred column joins the uncovered ones; its listed zeros become candidates of the passes (its
    // head is at the start, as for every column not yet uncovered in this phase).
    void uncoverColumn(int col) {
        coveredColumn_[col] = 0;
        columnKey_[col] = columnSubtracted_[col] - adjustmentTotal_;
        uncoveredStarredColumns_.push_back(col);
        if (!zeroRows_[col].empty()) {
            withZeros_.insert(col);
        }
    }

    // The first uncovered zero of the column's list at or after its head, passed by the head; -1 (and the
    // column leaves the set of columns with zeros) when none is left.
    int takeUncoveredZero(int col) {
        std::vector<int> const& zeros = zeroRows_[col];
        int& head = zeroHead_[col];
        int const size = static_cast<int>(zeros.size());
        while (head < size && (coveredRow_[zeros[head]] || uncoveredValue(zeros[head], col) != 0.0)) {
            ++head;
        }
        if (head == size) {
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
    // for it again among the others: along their rows when they are few, otherwise by one pass over the
    // remaining columns for all rows (on products of indices every row has its minimum in the same
    // column). The smallest of a set of values does not depend on the order in which it is taken.
    void retireUnstarredColumn(int col) {
        unstarredColumns_.erase(std::find(unstarredColumns_.begin(), unstarredColumns_.end(), col));
        Cell const* column = reduced_ + elementIndex(0, col, nOfRows_);
        int nOfAffectedRows = 0;
        for (int row = 0; row < nOfRows_; ++row) {
            nOfAffectedRows += widen(column[row]) == rowMinimumOverUnstarred_[row] ? 1 : 0;
        }
        if (nOfAffectedRows > nOfRows_ / kRowsForAColumnPass) {
            std::fill(rowMinimumOverUnstarred_.begin(), rowMinimumOverUnstarred_.end(),
                      std::numeric_limits<double>::infinity());
            for (int const other : unstarredColumns_) {
                lowerToElementwiseMinimum(rowMinimumOverUnstarred_.data(),
                                          reduced_ + elementIndex(0, other, nOfRows_), nOfRows_);
            }
            return;
        }
        for (int row = 0; row < nOfRows_; ++row) {
            if (widen(column[row]) != rowMinimumOverUnstarred_[row]) {
                continue;
            }
            double const* values = rowMajor_[row].data();
            double minimum = std::numeric_limits<double>::infinity();
            for (int const other : unstarredColumns_) {
                minimum = std::min(minimum, reducedInRow(values, rowMinimum_[row], other));
            }
            rowMinimumOverUnstarred_[row] = minimum;
        }
    }

    // Folds the starred columns uncovered since the last adjustment into the keys (covered rows meet
    // +infinity and keep theirs), then returns the smallest key and lists the rows holding it in ascending
    // order.
    double foldKeysAndFindSmallest() {
        double smallest = std::numeric_limits<double>::infinity();
        int const nOfUncovered = static_cast<int>(uncoveredStarredColumns_.size());
        if (nOfFoldedColumns_ == nOfUncovered) {
            smallest = smallestValue(slackKey_.data(), nOfRows_);
        }
        for (; nOfFoldedColumns_ < nOfUncovered; ++nOfFoldedColumns_) {
            int const col = uncoveredStarredColumns_[nOfFoldedColumns_];
            smallest = lowerKeysByColumn(slackKey_.data(), reduced_ + elementIndex(0, col, nOfRows_),
                                         rowAdded_.data(), rowBlocked_.data(), columnSubtractedNow(col),
                                         adjustmentTotal_, nOfRows_);
        }
        nOfRowsAtSmallest_ = positionsOfValue(slackKey_.data(), nOfRows_, smallest, rowsAtSmallest_.data());
        return smallest;
    }

    // Notes the row as a new zero of each uncovered column in which it holds a zero: a working value
    // (reduced + added) - lost is zero exactly when reduced + added equals what the column has lost, and a
    // covered column's NaN key matches nothing. One contiguous pass along the caller's row.
    void collectNewZerosOfRow(int row) {
        int const nOfZeros =
            positionsOfMatches(rowMajor_[row].data(), rowMinimum_[row], columnMinimum_.data(), rowAdded_[row],
                               columnKey_.data(), adjustmentTotal_, nOfColumns_, columnsScratch_.data());
        for (int k = 0; k < nOfZeros; ++k) {
            int const col = columnsScratch_[k];
            if (newZeroRows_[col].empty()) {
                columnsWithNewZeros_.push_back(col);
            }
            newZeroRows_[col].push_back(row);
        }
    }

    // Merges the noted new zeros into the lists of their columns. A column's head goes back to its first
    // new zero if that lies before the head: the entries the head passed are covered rows, which stay
    // covered, or values that were not zeros and, not being among the new zeros, still are not.
    void mergeNewZeros() {
        for (int const col : columnsWithNewZeros_) {
            std::vector<int>& zeros = zeroRows_[col];
            std::vector<int>& added = newZeroRows_[col];
            int const head = zeroHead_[col];
            int const headRow = head < static_cast<int>(zeros.size()) ? zeros[head] : nOfRows_;
            int const readFrom = std::min(headRow, added.front());
            mergedScratch_.clear();
            std::set_union(zeros.begin(), zeros.end(), added.begin(), added.end(),
                           std::back_inserter(mergedScratch_));
            zeros.swap(mergedScratch_);
            added.clear();
            zeroHead_[col] =
                static_cast<int>(std::lower_bound(zeros.begin(), zeros.end(), readFrom) - zeros.begin());
            withZeros_.insert(col);
        }
        columnsWithNewZeros_.clear();
    }

    // Step 5, on the potentials. The new zeros lie in the uncovered rows whose slack reaches zero.
    bool adjust() {
        double const h = foldKeysAndFindSmallest() - adjustmentTotal_;
        // Every working value is at most the largest reduced value plus the adjustments its row gained, and
        // a step forms it minus one more adjustment, or a key from it plus the total: all stay exact while
        // this sum does.
        adjustmentTotal_ += h;
        // h > 0 always: the pass before found no uncovered zero. Should that ever fail, the steps as they
        // stand take over rather than adjusting by nothing for ever.
        if (!(h > 0.0) || !(largestReduced_ + 2.0 * adjustmentTotal_ < range_)) {
            return false;
        }
        adjustedInPhase_ = true;
        for (int k = 0; k < nOfRowsAtSmallest_; ++k) {
            collectNewZerosOfRow(rowsAtSmallest_[k]);
        }
        mergeNewZeros();
        return true;
    }

    Cell const* reduced_;
    std::vector<std::vector<double>> const& rowMajor_;  // the caller's rows, for the passes along one row
    std::vector<double> rowMinimum_;     // what the first reduction took from each row (0 if it took columns)
    std::vector<double> columnMinimum_;  // and from each column (0 if it took rows)
    int nOfRows_;
    int nOfColumns_;
    double range_;
    double largestReduced_;         // the largest finite value of the reduced matrix
    double adjustmentTotal_ = 0.0;  // sum of every adjustment so far
    bool adjustedInPhase_ = false;  // whether the current phase has adjusted the matrix
    int* starColumn_;
    std::vector<int> starRow_;
    std::vector<double> rowAdded_;          // per row: adjustments gained while covered in ended phases
    std::vector<double> coveredAt_;         // per covered row: the adjustment total when it was covered
    std::vector<double> columnSubtracted_;  // per column: adjustments lost while uncovered in ended phases
    // Per uncovered column: columnSubtracted minus the adjustment total when it was uncovered, so that it
    // has lost columnKey + total by now; a quiet NaN for a covered column, which equals nothing.
    std::vector<double> columnKey_;
    std::vector<double> slackKey_;     // per uncovered row: slack + adjustment total; +inf if covered
    std::vector<int> rowsAtSmallest_;  // the rows holding the smallest key, ascending
    int nOfRowsAtSmallest_ = 0;
    std::vector<int> columnsScratch_;              // the columns in which a row holds new zeros
    std::vector<int> unstarredColumns_;            // columns never starred so far, ascending
    std::vector<double> rowMinimumOverUnstarred_;  // per row: smallest reduced value over those columns
    std::vector<int> uncoveredStarredColumns_;     // starred columns uncovered in this phase
    int nOfFoldedColumns_ = 0;                     // how many of them are in the keys
    std::vector<char> coveredRow_;
    std::vector<double> rowBlocked_;  // 0 for an uncovered row, +infinity for a covered one
    std::vector<char> coveredColumn_;
    std::vector<int> primeColumn_;  // the primed zero of each row in this phase (a row is primed once)
    std::vector<std::vector<int>> zeroRows_;     // per column: rows holding a zero, ascending
    std::vector<std::vector<int>> newZeroRows_;  // per column: the zeros the current adjustment creates
    std::vector<int> columnsWithNewZeros_;
    std::vector<int> mergedScratch_;
    std::vector<int> zeroHead_;  // per column: where this phase's reading of its list stands
    ColumnSet withZeros_;
};

// Whether every reduced value, a multiple of 2^gridExponent from 0 to largestReduced (or +infinity), is a
// narrow cell: an integer below NarrowCell::kForbidden (or +infinity).
bool fitsNarrowCells(double largestReduced, int gridExponent) {
    return gridExponent >= 0 && largestReduced < NarrowCell::kForbidden;
}

// Whether every reduced value, a multiple of 2^gridExponent from 0 to largestReduced (or +infinity), is a
// float exactly: fewer than 2^24 steps of the grid, within the float range (the grid itself, at least 2^-52,
// lies far above the smallest float).
bool fitsFloat(double largestReduced, int gridExponent) {
    return largestReduced < std::ldexp(1.0, 24 + gridExponent) &&
           largestReduced <= static_cast<double>(std::numeric_limits<float>::max());
}

// The first star pass (along the rows of a matrix not taller than wide, down the reduced columns of a
// taller one), then the incremental steps.
template <typename Cell>
bool starAndRunSteps(std::vector<std::vector<double>> const& rowMajor, MatrixSurvey const& survey,
                     Cell const* reduced, double const* lineMinimum, double largestReduced, int* assignment) {
    int const nOfRows = survey.shape.rows;
    int const nOfColumns = survey.shape.columns;
    if (nOfRows <= nOfColumns) {
        starFirstZerosOfRows(rowMajor, lineMinimum, assignment, nOfColumns);
    } else {
        std::unique_ptr<bool[]> coveredColumns(new bool[static_cast<std::size_t>(nOfColumns)]());
        starFirstZerosOfColumns(reduced, assignment, coveredColumns.get(), nOfRows, nOfColumns);
    }
    return ExactSteps<Cell>(reduced, rowMajor, lineMinimum, largestReduced, nOfRows, nOfColumns,
                            survey.exactRange, assignment)
        .run();
}

template <typename Cell>
bool moreColumnsWithRepeatedZero(Cell const* reduced, int nOfRows, int nOfColumns, int limit) {
    int count = 0;
    for (int col = 0; col < nOfColumns && count <= limit; ++col) {
        Cell const* column = reduced + elementIndex(0, col, nOfRows);
        int zeros = 0;
        for (int row = 0; row < nOfRows && zeros < 2; ++row) {
            zeros += widen(column[row]) == 0.0 ? 1 : 0;
        }
        count += zeros > 1 ? 1 : 0;
    }
    return count > limit;
}

}  // namespace

bool continueStepsExactly(double const* reduced, std::vector<std::vector<double>> const& rowMajor,
                          double const* lineMinimum, int nOfRows, int nOfColumns, double range,
                          int* starColumn) {
    // Reduced values are >= 0, so the largest finite one is the largest below +infinity.
    double largest = 0.0;
    for (int col = 0; col < nOfColumns; ++col) {
        largest = std::max(largest, largestFinite(reduced + elementIndex(0, col, nOfRows), nOfRows));
    }
    return ExactSteps<double>(reduced, rowMajor, lineMinimum, largest, nOfRows, nOfColumns, range, starColumn)
        .run();
}

ExactStepsRoute::ExactStepsRoute(std::vector<std::vector<double>> const& rowMajor, MatrixSurvey const& survey)
    : rowMajor_(rowMajor), survey_(survey) {
    bool const wide = survey.shape.rows <= survey.shape.columns;
    std::vector<double> const& lineMinimum = wide ? survey.rowMinimum : survey.columnMinimum;
    std::vector<double> const& lineLargest = wide ? survey.rowLargestFinite : survey.columnLargestFinite;
    lineMinimum_ = lineMinimum.data();
    // Subtraction rounds monotonically, so each line's largest reduced value is its largest finite element
    // minus its minimum.
    for (std::size_t line = 0; line < lineMinimum.size(); ++line) {
        largestReduced_ = std::max(largestReduced_, lineLargest[line] - lineMinimum[line]);
    }
    std::size_t const nOfElements = elementIndex(0, survey.shape.columns, survey.shape.rows);
    int const nOfRows = survey.shape.rows;
    int const nOfColumns = survey.shape.columns;
    if (fitsNarrowCells(largestReduced_, survey.gridExponent)) {
        narrowCells_.reset(new NarrowCell[nOfElements]);
        writeReducedColumns(rowMajor, lineMinimum_, narrowCells_.get(), nOfRows, nOfColumns);
    } else if (fitsFloat(largestReduced_, survey.gridExponent)) {
        floats_.reset(new float[nOfElements]);
        writeReducedColumns(rowMajor, lineMinimum_, floats_.get(), nOfRows, nOfColumns);
    } else {
        doubles_.reset(new double[nOfElements]);
        writeReducedColumns(rowMajor, lineMinimum_, doubles_.get(), nOfRows, nOfColumns);
    }
}

ExactStepsRoute::~ExactStepsRoute() = default;

template <typename Visit>
auto ExactStepsRoute::visitStorage(Visit visit) const {
    if (narrowCells_) {
        return visit(narrowCells_.get());
    }
    return floats_ ? visit(floats_.get()) : visit(doubles_.get());
}

bool ExactStepsRoute::moreColumnsWithRepeatedZeroThan(int limit) const {
    return visitStorage([&](auto const* reduced) {
        return moreColumnsWithRepeatedZero(reduced, survey_.shape.rows, survey_.shape.columns, limit);
    });
}

bool ExactStepsRoute::solve(int* assignment) const {
    return visitStorage([&](auto const* reduced) {
        return starAndRunSteps(rowMajor_, survey_, reduced, lineMinimum_, largestReduced_, assignment);
    });
}

bool solveByExactSteps(std::vector<std::vector<double>> const& rowMajor, MatrixSurvey const& survey,
                       int* assignment) {
    return ExactStepsRoute(rowMajor, survey).solve(assignment);
}

}  // namespace Kestrel::assignment
