// Entry point of the assignment solver: input checks (shape, NaN, -infinity, feasibility), the messages for
// negative elements, the column-major copy, the choice of route (proven unique optimum, exact incremental
// steps, or the Munkres steps as they stand) and the set-up and final stages of those steps.
#include <Kestrel/HungarianAlgorithm.h>

#include "CompleteMatching.h"
#include "ExactMunkresSteps.h"
#include "FirstReduction.h"
#include "MatrixCheck.h"
#include "UniqueOptimumSolver.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace {

using Kestrel::assignment::elementIndex;

// Copies the caller's rows into a column-major array.
void copyColumnMajor(std::vector<std::vector<double>> const& rows, double* columnMajor, int nOfRows,
                     int nOfColumns) {
    Kestrel::assignment::writeColumnMajor(rows, columnMajor, nOfRows, nOfColumns,
                                          [](int, int, double value) { return value; });
}

std::unique_ptr<double[]> makeColumnMajorCopy(std::vector<std::vector<double>> const& rows, int nOfRows,
                                              int nOfColumns) {
    std::unique_ptr<double[]> columnMajor(new double[elementIndex(0, nOfColumns, nOfRows)]);
    copyColumnMajor(rows, columnMajor.get(), nOfRows, nOfColumns);
    return columnMajor;
}

// One line per negative element on std::cerr, flushed. The lines go out in blocks rather than one flush
// each: the text is the same, and a matrix of a million negative costs does not spend seconds flushing.
// The block is built once and written whole, then in part for the remaining lines.
void writeNegativeElementMessages(std::size_t count) {
    if (count == 0) {
        return;
    }
    static char const kLine[] = "All matrix elements have to be non-negative.\n";
    constexpr std::size_t kLineLength = sizeof(kLine) - 1;
    constexpr std::size_t kLinesPerBlock = 4096;
    std::string block;
    std::size_t const linesInBlock = std::min(count, kLinesPerBlock);
    block.reserve(linesInBlock * kLineLength);
    for (std::size_t k = 0; k < linesInBlock; ++k) {
        block.append(kLine, kLineLength);
    }
    while (count > 0) {
        std::size_t const lines = std::min(count, kLinesPerBlock);
        std::cerr.write(block.data(), static_cast<std::streamsize>(lines * kLineLength));
        count -= lines;
    }
    std::cerr.flush();
}

}  // namespace

double HungarianAlgorithm::Solve(std::vector<std::vector<double>>& DistMatrix, std::vector<int>& Assignment) {
    return solve(DistMatrix, Assignment, true);
}

double HungarianAlgorithm::solve(std::vector<std::vector<double>> const& DistMatrix,
                                 std::vector<int>& Assignment, bool allowFastRoutes) {
    Assignment.clear();
    if (DistMatrix.empty()) {
        return 0.0;
    }
    Kestrel::assignment::MatrixSurvey survey = Kestrel::assignment::surveyMatrix(DistMatrix);
    Kestrel::assignment::MatrixShape const shape = survey.shape;
    if (shape.forbiddenPairs && !Kestrel::assignment::hasCompleteMatching(DistMatrix, shape)) {
        throw std::invalid_argument("cost matrix is infeasible");
    }
    writeNegativeElementMessages(survey.negativeElements);
    int const nOfRows = shape.rows;
    int const nOfColumns = shape.columns;

    using Kestrel::assignment::findUniqueOptimum;
    using Kestrel::assignment::UniqueOptimumOutcome;
    std::unique_ptr<int[]> assignment(new int[static_cast<std::size_t>(nOfRows)]);
    double cost = 0.0;

    // The unique-optimum proof goes first; when it does not apply, matrices on which every value of the
    // steps is exact (integers are the common case, and ties are common there) take the exact steps, which
    // build their own reduced matrix from the rows. The proof reads the short side's lines: the caller's
    // rows, or for a taller matrix the columns of the column-major copy. On a taller matrix on the exact
    // grid the exact steps' reduced matrix is built first: its columns show whether the matrix is too full
    // of ties for the proof, in which case the copy is not made. The copy is otherwise made only when the
    // steps as they stand run. A fast route's cost adds the same cells in the same row order as
    // computeassignmentcost, read from the caller's rows.
    bool const wide = nOfRows <= nOfColumns;
    double const range = allowFastRoutes ? survey.exactRange : 0.0;
    std::optional<Kestrel::assignment::ExactStepsRoute> exactRoute;
    bool proofMayApply = allowFastRoutes;
    if (!wide && range > 0.0) {
        Kestrel::assignment::surveyColumns(DistMatrix, &survey);
        exactRoute.emplace(DistMatrix, survey);
        proofMayApply = !exactRoute->moreColumnsWithRepeatedZeroThan(
            Kestrel::assignment::mostLinesWithRepeatedMinimum(nOfColumns));
    }
    std::unique_ptr<double[]> distMatrixIn;
    if (!wide && proofMayApply) {
        distMatrixIn = makeColumnMajorCopy(DistMatrix, nOfRows, nOfColumns);
    }
    bool solvedFast = proofMayApply && findUniqueOptimum(DistMatrix, distMatrixIn.get(), shape, range,
                                                         assignment.get()) == UniqueOptimumOutcome::Proved;
    if (!solvedFast && range > 0.0) {
        if (!exactRoute) {
            exactRoute.emplace(DistMatrix, survey);
        }
        solvedFast = exactRoute->solve(assignment.get());
    }
    exactRoute.reset();  // its reduced matrix is not needed by the steps as they stand
    if (!solvedFast && !distMatrixIn) {
        distMatrixIn = makeColumnMajorCopy(DistMatrix, nOfRows, nOfColumns);
    }
    if (solvedFast) {
        for (int row = 0; row < nOfRows; ++row) {
            if (assignment[row] >= 0) {
                cost += DistMatrix[row][assignment[row]];
            }
        }
    } else {
        assignmentoptimal(assignment.get(), &cost, distMatrixIn.get(), nOfRows, nOfColumns);
    }

    Assignment.assign(assignment.get(), assignment.get() + nOfRows);
    return cost;
}

void HungarianAlgorithm::assignmentoptimal(int* assignment, double* cost, double* distMatrixIn, int nOfRows,
                                           int nOfColumns) {
    *cost = 0.0;
    for (int row = 0; row < nOfRows; ++row) {
        assignment[row] = -1;
    }

    std::size_t const nOfElements = elementIndex(0, nOfColumns, nOfRows);
    std::unique_ptr<double[]> distMatrix(new double[nOfElements]);
    std::copy(distMatrixIn, distMatrixIn + nOfElements, distMatrix.get());

    // One zeroed block for the cover vectors and the star, prime and new-star matrices.
    std::size_t const nOfFlags =
        static_cast<std::size_t>(nOfColumns) + static_cast<std::size_t>(nOfRows) + 3 * nOfElements;
    std::unique_ptr<bool[]> flags(new bool[nOfFlags]());
    bool* coveredColumns = flags.get();
    bool* coveredRows = coveredColumns + nOfColumns;
    bool* starMatrix = coveredRows + nOfRows;
    bool* primeMatrix = starMatrix + nOfElements;
    bool* newStarMatrix = primeMatrix + nOfElements;

    int const minDim =
        Kestrel::assignment::reduceAndStar(distMatrix.get(), assignment, coveredColumns, nOfRows, nOfColumns);
    for (int row = 0; row < nOfRows; ++row) {
        if (assignment[row] >= 0) {
            std::size_t const index = elementIndex(row, assignment[row], nOfRows);
            starMatrix[index] = true;
            newStarMatrix[index] = true;
        }
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
    for (int row = 0; row < nOfRows; ++row) {
        assignment[row] = -1;
    }
    for (int col = 0; col < nOfColumns; ++col) {
        bool const* column = starMatrix + elementIndex(0, col, nOfRows);
        for (int row = 0; row < nOfRows; ++row) {
            if (column[row] && assignment[row] < 0) {
                assignment[row] = col;
            }
        }
    }
}

void HungarianAlgorithm::computeassignmentcost(int* assignment, double* cost, double* distMatrix,
                                               int nOfRows) {
    for (int row = 0; row < nOfRows; ++row) {
        int const col = assignment[row];
        if (col >= 0) {
            *cost += distMatrix[elementIndex(row, col, nOfRows)];
        }
    }
}
