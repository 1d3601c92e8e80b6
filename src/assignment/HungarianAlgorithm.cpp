// Entry point of the assignment solver: input checks, the column-major copy, the choice between the proven
// unique optimum and the Munkres steps, and the set-up and final stages of those steps.
#include <Kestrel/HungarianAlgorithm.h>

#include "LineScans.h"
#include "MatrixCheck.h"
#include "UniqueOptimumSolver.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <iostream>
#include <memory>

namespace {

using Kestrel::assignment::elementIndex;

// Row reduction and first stars for a matrix that is not taller than wide: one star per row at most, in
// the lowest uncovered column holding a zero; the starred columns end up covered. Stars go into both star
// matrices and into starColumn (the star's column per row).
void reduceRowsAndStar(double* distMatrix, bool* starMatrix, bool* newStarMatrix, int* starColumn,
                       bool* coveredColumns, int nOfRows, int nOfColumns) {
    std::unique_ptr<double[]> rowMinimum(new double[static_cast<std::size_t>(nOfRows)]);
    for (int row = 0; row < nOfRows; ++row)
        rowMinimum[row] = distMatrix[row];
    for (int col = 1; col < nOfColumns; ++col) {
        double const* column = distMatrix + elementIndex(0, col, nOfRows);
        Kestrel::assignment::lowerToElementwiseMinimum(rowMinimum.get(), column, nOfRows);
    }
    for (int col = 0; col < nOfColumns; ++col) {
        double* column = distMatrix + elementIndex(0, col, nOfRows);
        for (int row = 0; row < nOfRows; ++row)
            column[row] -= rowMinimum[row];
    }
    for (int row = 0; row < nOfRows; ++row)
        for (int col = 0; col < nOfColumns; ++col) {
            std::size_t const index = elementIndex(row, col, nOfRows);
            if (!coveredColumns[col] && std::fabs(distMatrix[index]) < DBL_EPSILON) {
                starMatrix[index] = true;
                newStarMatrix[index] = true;
                starColumn[row] = col;
                coveredColumns[col] = true;
                break;
            }
        }
}

// Column reduction and first stars for a matrix taller than wide: one star per column at most, in the
// lowest uncovered row holding a zero. Starred columns stay covered; the rows are uncovered again. Stars
// are recorded as by reduceRowsAndStar.
void reduceColumnsAndStar(double* distMatrix, bool* starMatrix, bool* newStarMatrix, int* starColumn,
                          bool* coveredColumns, bool* coveredRows, int nOfRows, int nOfColumns) {
    for (int col = 0; col < nOfColumns; ++col) {
        double* column = distMatrix + elementIndex(0, col, nOfRows);
        double minValue = column[0];
        for (int row = 1; row < nOfRows; ++row)
            if (column[row] < minValue)
                minValue = column[row];
        for (int row = 0; row < nOfRows; ++row)
            column[row] -= minValue;
    }
    for (int col = 0; col < nOfColumns; ++col)
        for (int row = 0; row < nOfRows; ++row) {
            std::size_t const index = elementIndex(row, col, nOfRows);
            if (std::fabs(distMatrix[index]) < DBL_EPSILON && !coveredRows[row]) {
                starMatrix[index] = true;
                newStarMatrix[index] = true;
                starColumn[row] = col;
                coveredColumns[col] = true;
                coveredRows[row] = true;
                break;
            }
        }
    for (int row = 0; row < nOfRows; ++row)
        coveredRows[row] = false;
}

// Copies the caller's rows into a column-major array, in tiles so that reads and writes both stay in cache.
void copyColumnMajor(std::vector<std::vector<double>> const& rows, double* columnMajor, int nOfRows,
                     int nOfColumns) {
    constexpr int kTile = 32;
    for (int rowStart = 0; rowStart < nOfRows; rowStart += kTile) {
        int const rowEnd = std::min(nOfRows, rowStart + kTile);
        for (int colStart = 0; colStart < nOfColumns; colStart += kTile) {
            int const colEnd = std::min(nOfColumns, colStart + kTile);
            for (int row = rowStart; row < rowEnd; ++row) {
                double const* values = rows[row].data();
                for (int col = colStart; col < colEnd; ++col)
                    columnMajor[elementIndex(row, col, nOfRows)] = values[col];
            }
        }
    }
}

}  // namespace

double HungarianAlgorithm::Solve(std::vector<std::vector<double>>& DistMatrix, std::vector<int>& Assignment) {
    return solve(DistMatrix, Assignment, true);
}

double HungarianAlgorithm::solve(std::vector<std::vector<double>> const& DistMatrix,
                                 std::vector<int>& Assignment, bool allowUniqueOptimumRoute) {
    Assignment.clear();
    if (DistMatrix.empty())
        return 0.0;
    Kestrel::assignment::MatrixShape const shape = Kestrel::assignment::checkMatrix(DistMatrix);
    int const nOfRows = shape.rows;
    int const nOfColumns = shape.columns;

    using Kestrel::assignment::findUniqueOptimum;
    using Kestrel::assignment::UniqueOptimumOutcome;
    std::unique_ptr<int[]> assignment(new int[static_cast<std::size_t>(nOfRows)]);
    double cost = 0.0;

    // A matrix that is not taller than wide hands its rows to the fast route directly; the column-major
    // copy is made only when the steps run. The cost adds the same cells in the same row order as
    // computeassignmentcost, read from the caller's rows (every row is assigned).
    bool const wide = nOfRows <= nOfColumns;
    if (allowUniqueOptimumRoute && wide &&
        findUniqueOptimum(DistMatrix, nullptr, shape, assignment.get()) == UniqueOptimumOutcome::Proved) {
        for (int row = 0; row < nOfRows; ++row)
            cost += DistMatrix[row][assignment[row]];
        Assignment.assign(assignment.get(), assignment.get() + nOfRows);
        return cost;
    }

    std::unique_ptr<double[]> distMatrixIn(new double[elementIndex(0, nOfColumns, nOfRows)]);
    copyColumnMajor(DistMatrix, distMatrixIn.get(), nOfRows, nOfColumns);
    if (allowUniqueOptimumRoute && !wide &&
        findUniqueOptimum(DistMatrix, distMatrixIn.get(), shape, assignment.get()) ==
            UniqueOptimumOutcome::Proved)
        computeassignmentcost(assignment.get(), &cost, distMatrixIn.get(), nOfRows);
    else
        assignmentoptimal(assignment.get(), &cost, distMatrixIn.get(), nOfRows, nOfColumns);

    Assignment.assign(assignment.get(), assignment.get() + nOfRows);
    return cost;
}

void HungarianAlgorithm::assignmentoptimal(int* assignment, double* cost, double* distMatrixIn, int nOfRows,
                                           int nOfColumns) {
    *cost = 0.0;
    for (int row = 0; row < nOfRows; ++row)
        assignment[row] = -1;

    std::size_t const nOfElements = elementIndex(0, nOfColumns, nOfRows);
    std::unique_ptr<double[]> distMatrix(new double[nOfElements]);
    std::size_t nOfNegativeElements = 0;
    for (std::size_t index = 0; index < nOfElements; ++index) {
        double const value = distMatrixIn[index];
        nOfNegativeElements += value < 0.0;
        distMatrix[index] = value;
    }
    for (std::size_t k = 0; k < nOfNegativeElements; ++k)
        std::cerr << "All matrix elements have to be non-negative." << std::endl;

    // One zeroed block for the cover vectors and the star, prime and new-star matrices.
    std::size_t const nOfFlags =
        static_cast<std::size_t>(nOfColumns) + static_cast<std::size_t>(nOfRows) + 3 * nOfElements;
    std::unique_ptr<bool[]> flags(new bool[nOfFlags]());
    bool* coveredColumns = flags.get();
    bool* coveredRows = coveredColumns + nOfColumns;
    bool* starMatrix = coveredRows + nOfRows;
    bool* primeMatrix = starMatrix + nOfElements;
    bool* newStarMatrix = primeMatrix + nOfElements;

    int minDim;
    if (nOfRows <= nOfColumns) {
        minDim = nOfRows;
        reduceRowsAndStar(distMatrix.get(), starMatrix, newStarMatrix, assignment, coveredColumns, nOfRows,
                          nOfColumns);
    } else {
        minDim = nOfColumns;
        reduceColumnsAndStar(distMatrix.get(), starMatrix, newStarMatrix, assignment, coveredColumns,
                             coveredRows, nOfRows, nOfColumns);
    }

    // The steps hand over to each other by returning the next one; this loop keeps the stack flat however
    // many iterations the matrix needs.
    std::unique_ptr<int[]> scanFrom(new int[static_cast<std::size_t>(nOfColumns)]);
    int primeRow = -1;
    int primeCol = -1;
    NextStep next = NextStep::Step2b;
    while (next != NextStep::Done) {
        switch (next) {
            case NextStep::Step2a:
                next = step2a(assignment, distMatrix.get(), starMatrix, newStarMatrix, primeMatrix,
                              coveredColumns, coveredRows, nOfRows, nOfColumns, minDim);
                break;
            case NextStep::Step2b:
                next = step2b(assignment, distMatrix.get(), starMatrix, newStarMatrix, primeMatrix,
                              coveredColumns, coveredRows, nOfRows, nOfColumns, minDim);
                break;
            case NextStep::Step3:
                next = step3(assignment, distMatrix.get(), starMatrix, newStarMatrix, primeMatrix,
                             coveredColumns, coveredRows, nOfRows, nOfColumns, minDim, &primeRow, &primeCol,
                             scanFrom.get());
                break;
            case NextStep::Step4:
                next = step4(assignment, distMatrix.get(), starMatrix, newStarMatrix, primeMatrix,
                             coveredColumns, coveredRows, nOfRows, nOfColumns, minDim, primeRow, primeCol);
                break;
            case NextStep::Step5:
                next = step5(assignment, distMatrix.get(), starMatrix, newStarMatrix, primeMatrix,
                             coveredColumns, coveredRows, nOfRows, nOfColumns, minDim);
                break;
            case NextStep::Done:
                break;
        }
    }

    computeassignmentcost(assignment, cost, distMatrixIn, nOfRows);
}

// Walks the columns in ascending order (each a contiguous run of the column-major matrix), so that a row
// keeps the first column that holds a star in it.
void HungarianAlgorithm::buildassignmentvector(int* assignment, bool* starMatrix, int nOfRows,
                                               int nOfColumns) {
    for (int row = 0; row < nOfRows; ++row)
        assignment[row] = -1;
    for (int col = 0; col < nOfColumns; ++col) {
        bool const* column = starMatrix + elementIndex(0, col, nOfRows);
        for (int row = 0; row < nOfRows; ++row)
            if (column[row] && assignment[row] < 0)
                assignment[row] = col;
    }
}

void HungarianAlgorithm::computeassignmentcost(int* assignment, double* cost, double* distMatrix,
                                               int nOfRows) {
    for (int row = 0; row < nOfRows; ++row) {
        int const col = assignment[row];
        if (col >= 0)
            *cost += distMatrix[elementIndex(row, col, nOfRows)];
    }
}
