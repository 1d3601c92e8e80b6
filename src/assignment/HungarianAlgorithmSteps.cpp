// The iterated steps of the assignment solver: covering starred columns, finding and priming uncovered
// zeros, augmenting along alternating paths of primes and stars, and adjusting the working matrix. Every
// scan runs in ascending column, then row order, since those orders decide which of several optimal
// assignments is returned.
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

// Column of the first star in `row` (columns in ascending order), or -1.
int findStarInRow(bool const* starMatrix, int row, int nOfRows, int nOfColumns) {
    for (int col = 0; col < nOfColumns; ++col)
        if (starMatrix[elementIndex(row, col, nOfRows)])
            return col;
    return -1;
}

// Row of the first star in `col` (rows in ascending order), or -1.
int findStarInColumn(bool const* starMatrix, int col, int nOfRows) {
    bool const* column = starMatrix + elementIndex(0, col, nOfRows);
    for (int row = 0; row < nOfRows; ++row)
        if (column[row])
            return row;
    return -1;
}

// Column of the first prime in `row` (columns in ascending order), or -1.
int findPrimeInRow(bool const* primeMatrix, int row, int nOfRows, int nOfColumns) {
    return findStarInRow(primeMatrix, row, nOfRows, nOfColumns);
}

}  // namespace

HungarianAlgorithm::NextStep HungarianAlgorithm::step2a(int*, double*, bool* starMatrix, bool*, bool*,
                                                        bool* coveredColumns, bool*, int nOfRows,
                                                        int nOfColumns, int) {
    for (int col = 0; col < nOfColumns; ++col)
        if (findStarInColumn(starMatrix, col, nOfRows) >= 0)
            coveredColumns[col] = true;
    return NextStep::Step2b;
}

HungarianAlgorithm::NextStep HungarianAlgorithm::step2b(int* assignment, double*, bool* starMatrix, bool*,
                                                        bool*, bool* coveredColumns, bool*, int nOfRows,
                                                        int nOfColumns, int minDim) {
    int nOfCoveredColumns = 0;
    for (int col = 0; col < nOfColumns; ++col)
        if (coveredColumns[col])
            ++nOfCoveredColumns;
    if (nOfCoveredColumns == minDim) {
        buildassignmentvector(assignment, starMatrix, nOfRows, nOfColumns);
        return NextStep::Done;
    }
    return NextStep::Step3;
}

HungarianAlgorithm::NextStep HungarianAlgorithm::step3(int*, double* distMatrix, bool* starMatrix, bool*,
                                                       bool* primeMatrix, bool* coveredColumns,
                                                       bool* coveredRows, int nOfRows, int nOfColumns, int,
                                                       int* primeRow, int* primeCol) {
    bool zerosFound = true;
    while (zerosFound) {
        zerosFound = false;
        for (int col = 0; col < nOfColumns; ++col) {
            if (coveredColumns[col])
                continue;
            double const* column = distMatrix + elementIndex(0, col, nOfRows);
            for (int row = 0; row < nOfRows; ++row) {
                if (coveredRows[row] || !isZero(column[row]))
                    continue;
                primeMatrix[elementIndex(row, col, nOfRows)] = true;
                int const starCol = findStarInRow(starMatrix, row, nOfRows, nOfColumns);
                if (starCol < 0) {
                    *primeRow = row;
                    *primeCol = col;
                    return NextStep::Step4;
                }
                coveredRows[row] = true;
                coveredColumns[starCol] = false;
                zerosFound = true;
                break;
            }
        }
    }
    return NextStep::Step5;
}

HungarianAlgorithm::NextStep HungarianAlgorithm::step4(int*, double*, bool* starMatrix, bool* newStarMatrix,
                                                       bool* primeMatrix, bool*, bool* coveredRows,
                                                       int nOfRows, int nOfColumns, int, int row, int col) {
    std::size_t const nOfElements = elementIndex(0, nOfColumns, nOfRows);
    std::memcpy(newStarMatrix, starMatrix, nOfElements * sizeof(bool));
    newStarMatrix[elementIndex(row, col, nOfRows)] = true;

    int starRow = findStarInColumn(starMatrix, col, nOfRows);
    while (starRow >= 0) {
        newStarMatrix[elementIndex(starRow, col, nOfRows)] = false;
        int const primeColumn = findPrimeInRow(primeMatrix, starRow, nOfRows, nOfColumns);
        newStarMatrix[elementIndex(starRow, primeColumn, nOfRows)] = true;
        col = primeColumn;
        starRow = findStarInColumn(starMatrix, col, nOfRows);
    }

    std::memcpy(starMatrix, newStarMatrix, nOfElements * sizeof(bool));
    std::memset(primeMatrix, 0, nOfElements * sizeof(bool));
    std::memset(coveredRows, 0, static_cast<std::size_t>(nOfRows) * sizeof(bool));
    return NextStep::Step2a;
}

HungarianAlgorithm::NextStep HungarianAlgorithm::step5(int*, double* distMatrix, bool*, bool*, bool*,
                                                       bool* coveredColumns, bool* coveredRows, int nOfRows,
                                                       int nOfColumns, int) {
    double h = DBL_MAX;
    for (int col = 0; col < nOfColumns; ++col) {
        if (coveredColumns[col])
            continue;
        double const* column = distMatrix + elementIndex(0, col, nOfRows);
        for (int row = 0; row < nOfRows; ++row)
            if (!coveredRows[row] && column[row] < h)
                h = column[row];
    }

    // Each element first gains h when its row is covered, then loses h when its column is uncovered.
    for (int col = 0; col < nOfColumns; ++col) {
        double* column = distMatrix + elementIndex(0, col, nOfRows);
        if (coveredColumns[col]) {
            for (int row = 0; row < nOfRows; ++row)
                if (coveredRows[row])
                    column[row] += h;
        } else {
            for (int row = 0; row < nOfRows; ++row) {
                if (coveredRows[row])
                    column[row] += h;
                column[row] -= h;
            }
        }
    }
    return NextStep::Step3;
}
