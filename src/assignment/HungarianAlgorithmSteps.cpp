// The iterated steps of the assignment solver: covering starred columns, finding and priming uncovered
// zeros, augmenting along alternating paths of primes and stars, and adjusting the working matrix. Every
// scan runs in ascending column, then row order, since those orders decide which of several optimal
// assignments is returned.
//
// While the steps run, `assignment[row]` holds the column of the star in that row (-1 for none), kept in
// step with `starMatrix`: a row or column holds at most one star, so this is the first star of the row
// that a scan of `starMatrix` would find, without the scan. `buildassignmentvector` writes the final
// values from `starMatrix` at the end.
#include <Kestrel/HungarianAlgorithm.h>

#include "MatrixCheck.h"

#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstring>

namespace {

using Kestrel::assignment::elementIndex;

bool isZero(double value) {
    return std::fabs(value) < DBL_EPSILON;
}

// First row from `row` on whose value is zero and which is not covered, or nOfRows. Blocks of rows are
// tested without early exit first, which the compiler can vectorise; most blocks hold no such row.
int findUncoveredZero(double const* column, bool const* coveredRows, int row, int nOfRows) {
    constexpr int kBlock = 8;
    for (; row + kBlock <= nOfRows; row += kBlock) {
        bool any = false;
        for (int k = 0; k < kBlock; ++k) {
            any |= isZero(column[row + k]) & !coveredRows[row + k];
        }
        if (any) {
            break;
        }
    }
    while (row < nOfRows && (!isZero(column[row]) || coveredRows[row])) {
        ++row;
    }
    return row;
}

// Row of the first star in `col` (rows in ascending order), or -1.
int findStarInColumn(bool const* starMatrix, int col, int nOfRows) {
    bool const* column = starMatrix + elementIndex(0, col, nOfRows);
    void const* star = std::memchr(column, true, static_cast<std::size_t>(nOfRows));
    return star == nullptr ? -1 : static_cast<int>(static_cast<bool const*>(star) - column);
}

// Column of the first prime in `row` (columns in ascending order), or -1.
int findPrimeInRow(bool const* primeMatrix, int row, int nOfRows, int nOfColumns) {
    for (int col = 0; col < nOfColumns; ++col) {
        if (primeMatrix[elementIndex(row, col, nOfRows)]) {
            return col;
        }
    }
    return -1;
}

}  // namespace

HungarianAlgorithm::NextStep HungarianAlgorithm::step2a(int* assignment, double*, bool*, bool*, bool*,
                                                        bool* coveredColumns, bool*, int nOfRows, int, int) {
    for (int row = 0; row < nOfRows; ++row) {
        if (assignment[row] >= 0) {
            coveredColumns[assignment[row]] = true;
        }
    }
    return NextStep::Step2b;
}

HungarianAlgorithm::NextStep HungarianAlgorithm::step2b(int* assignment, double*, bool* starMatrix, bool*,
                                                        bool*, bool* coveredColumns, bool*, int nOfRows,
                                                        int nOfColumns, int minDim) {
    int nOfCoveredColumns = 0;
    for (int col = 0; col < nOfColumns; ++col) {
        if (coveredColumns[col]) {
            ++nOfCoveredColumns;
        }
    }
    if (nOfCoveredColumns == minDim) {
        buildassignmentvector(assignment, starMatrix, nOfRows, nOfColumns);
        return NextStep::Done;
    }
    return NextStep::Step3;
}

// Within one call the values do not change and rows are only ever covered, so a row passed over in a
// column's scan can never qualify later in the same call: each column's scan resumes where the previous
// pass left it (after the zero it primed, or at the end), which finds exactly the zeros a full rescan
// would find, in the same order.
HungarianAlgorithm::NextStep HungarianAlgorithm::step3(int* assignment, double* distMatrix, bool*, bool*,
                                                       bool* primeMatrix, bool* coveredColumns,
                                                       bool* coveredRows, int nOfRows, int nOfColumns, int,
                                                       int* primeRow, int* primeCol, int* scanFrom) {
    for (int col = 0; col < nOfColumns; ++col) {
        scanFrom[col] = 0;
    }
    bool zerosFound = true;
    while (zerosFound) {
        zerosFound = false;
        for (int col = 0; col < nOfColumns; ++col) {
            if (coveredColumns[col]) {
                continue;
            }
            double const* column = distMatrix + elementIndex(0, col, nOfRows);
            int const row = findUncoveredZero(column, coveredRows, scanFrom[col], nOfRows);
            scanFrom[col] = row;
            if (row == nOfRows) {
                continue;
            }
            primeMatrix[elementIndex(row, col, nOfRows)] = true;
            int const starCol = assignment[row];
            if (starCol < 0) {
                *primeRow = row;
                *primeCol = col;
                return NextStep::Step4;
            }
            coveredRows[row] = true;
            coveredColumns[starCol] = false;
            zerosFound = true;
        }
    }
    return NextStep::Step5;
}

HungarianAlgorithm::NextStep HungarianAlgorithm::step4(int* assignment, double*, bool* starMatrix,
                                                       bool* newStarMatrix, bool* primeMatrix, bool*,
                                                       bool* coveredRows, int nOfRows, int nOfColumns, int,
                                                       int row, int col) {
    // newStarMatrix equals starMatrix between augmentations, so the copies of the star matrix reduce to
    // writing each change of the path into both. A column's star is looked up before that column changes, so
    // every search sees starMatrix as it stood when this step began (a path visits each column once).
    auto setStar = [&](int starRow, int starCol, bool value) {
        std::size_t const index = elementIndex(starRow, starCol, nOfRows);
        newStarMatrix[index] = value;
        starMatrix[index] = value;
    };
    int starRow = findStarInColumn(starMatrix, col, nOfRows);
    setStar(row, col, true);
    assignment[row] = col;
    while (starRow >= 0) {
        int const primeColumn = findPrimeInRow(primeMatrix, starRow, nOfRows, nOfColumns);
        int const nextStarRow = findStarInColumn(starMatrix, primeColumn, nOfRows);
        setStar(starRow, col, false);
        setStar(starRow, primeColumn, true);
        assignment[starRow] = primeColumn;
        col = primeColumn;
        starRow = nextStarRow;
    }

    std::memset(primeMatrix, 0, elementIndex(0, nOfColumns, nOfRows) * sizeof(bool));
    std::memset(coveredRows, 0, static_cast<std::size_t>(nOfRows) * sizeof(bool));
    return NextStep::Step2a;
}

HungarianAlgorithm::NextStep HungarianAlgorithm::step5(int*, double* distMatrix, bool*, bool*, bool*,
                                                       bool* coveredColumns, bool* coveredRows, int nOfRows,
                                                       int nOfColumns, int) {
    double h = DBL_MAX;
    for (int col = 0; col < nOfColumns; ++col) {
        if (coveredColumns[col]) {
            continue;
        }
        double const* column = distMatrix + elementIndex(0, col, nOfRows);
        for (int row = 0; row < nOfRows; ++row) {
            if (!coveredRows[row] && column[row] < h) {
                h = column[row];
            }
        }
    }

    // Each element first gains h when its row is covered, then loses h when its column is uncovered.
    for (int col = 0; col < nOfColumns; ++col) {
        double* column = distMatrix + elementIndex(0, col, nOfRows);
        if (coveredColumns[col]) {
            for (int row = 0; row < nOfRows; ++row) {
                if (coveredRows[row]) {
                    column[row] += h;
                }
            }
        } else {
            for (int row = 0; row < nOfRows; ++row) {
                if (coveredRows[row]) {
                    column[row] += h;
                }
                column[row] -= h;
            }
        }
    }
    return NextStep::Step3;
}
