// Times HungarianAlgorithm::Solve on one matrix read from a file, for the side-by-side comparison script.
//
// Usage: assignment_driver MATRIX_FILE REPETITIONS
// The file holds two little-endian int64 values (rows, columns) followed by the elements as float64 in
// row-major order. After one untimed warm-up call, times REPETITIONS calls. Prints one line
// "route=<proved|exact|steps> rows=R columns=C cost=X median_seconds=T" and one line with the assignment (row
// order, -1 for none). The route is found by a separate, untimed call.
#include <Kestrel/HungarianAlgorithm.h>

#include "ExactMunkresSteps.h"
#include "MatrixCheck.h"
#include "UniqueOptimumSolver.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <vector>

namespace {

std::vector<std::vector<double>> readMatrix(char const* path) {
    std::ifstream in(path, std::ios::binary);
    std::int64_t shape[2] = {0, 0};
    in.read(reinterpret_cast<char*>(shape), sizeof(shape));
    std::vector<std::vector<double>> matrix(static_cast<std::size_t>(shape[0]),
                                            std::vector<double>(static_cast<std::size_t>(shape[1])));
    for (auto& row : matrix)
        in.read(reinterpret_cast<char*>(row.data()),
                static_cast<std::streamsize>(row.size() * sizeof(double)));
    if (!in)
        throw std::runtime_error("cannot read the matrix file");
    return matrix;
}

// The route Solve takes: the proved unique optimum, the exact incremental steps, or the steps as they stand.
char const* routeOf(std::vector<std::vector<double>> const& matrix) {
    Kestrel::assignment::MatrixSurvey survey = Kestrel::assignment::surveyMatrix(matrix);
    Kestrel::assignment::surveyColumns(matrix, &survey);
    std::size_t const nRows = matrix.size();
    std::size_t const nCols = matrix.front().size();
    std::vector<double> columnMajor(nRows * nCols);
    for (std::size_t row = 0; row < nRows; ++row) {
        for (std::size_t col = 0; col < nCols; ++col) {
            columnMajor[row + nRows * col] = matrix[row][col];
        }
    }
    std::vector<int> assignment(nRows);
    if (Kestrel::assignment::findUniqueOptimum(matrix, columnMajor.data(), survey.shape, survey.exactRange,
                                               assignment.data()) ==
        Kestrel::assignment::UniqueOptimumOutcome::Proved) {
        return "proved";
    }
    return survey.exactRange > 0.0 &&
                   Kestrel::assignment::solveByExactSteps(matrix, survey, assignment.data())
               ? "exact"
               : "steps";
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: assignment_driver MATRIX_FILE REPETITIONS\n";
        return 2;
    }
    try {
        std::vector<std::vector<double>> matrix = readMatrix(argv[1]);
        int const repetitions = std::max(1, std::atoi(argv[2]));
        std::vector<double> seconds;
        std::vector<int> assignment;
        // One untimed call first, so that the timed calls find the process warmed up (allocator arenas,
        // page mappings), as the peer's calls inside a running interpreter do.
        double cost = HungarianAlgorithm().Solve(matrix, assignment);
        for (int k = 0; k < repetitions; ++k) {
            auto const start = std::chrono::steady_clock::now();
            cost = HungarianAlgorithm().Solve(matrix, assignment);
            seconds.push_back(
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
        std::sort(seconds.begin(), seconds.end());
        std::printf("route=%s rows=%zu columns=%zu cost=%.17g median_seconds=%.6f\n", routeOf(matrix),
                    matrix.size(), matrix.front().size(), cost, seconds[seconds.size() / 2]);
        for (std::size_t row = 0; row < assignment.size(); ++row)
            std::printf(row == 0 ? "%d" : " %d", assignment[row]);
        std::printf("\n");
    } catch (std::exception const& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
    return 0;
}
