// Google Benchmark programs for HungarianAlgorithm::Solve on seeded random matrices. Each benchmark checks
// its result once against the Munkres steps run alone (where they are quick enough) or at least for a
// valid assignment whose cost is the row-order sum of its cells, and reports matrix elements per second.
#include <Kestrel/HungarianAlgorithm.h>

#include "HungarianAlgorithmInternals.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

namespace {

using Matrix = std::vector<std::vector<double>>;

Matrix randomMatrix(int nRows, int nCols, bool integers, unsigned seed) {
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> real(0.0, 1.0);
    std::uniform_int_distribution<int> integer(0, 9);
    Matrix matrix(nRows, std::vector<double>(nCols));
    for (auto& row : matrix)
        for (double& value : row)
            value = integers ? integer(engine) : real(engine);
    return matrix;
}

bool resultIsConsistent(Matrix const& matrix, std::vector<int> const& assignment, double cost) {
    std::vector<bool> used(matrix.front().size(), false);
    double total = 0.0;
    for (std::size_t row = 0; row < matrix.size(); ++row) {
        int const col = assignment[row];
        if (col < 0)
            continue;
        if (used[col])
            return false;
        used[col] = true;
        total += matrix[row][col];
    }
    return total == cost;
}

void solve(benchmark::State& state, bool integers) {
    int const nRows = static_cast<int>(state.range(0));
    int const nCols = static_cast<int>(state.range(1));
    Matrix matrix = randomMatrix(nRows, nCols, integers, 20261121u);
    std::vector<int> assignment;
    double const cost = HungarianAlgorithm().Solve(matrix, assignment);
    if (!resultIsConsistent(matrix, assignment, cost)) {
        state.SkipWithError("inconsistent assignment");
        return;
    }
    if (nRows <= 500 && nCols <= 500) {
        std::vector<int> stepsAssignment;
        double const stepsCost = HungarianAlgorithmInternals::solveByMunkresSteps(matrix, stepsAssignment);
        if (stepsAssignment != assignment || stepsCost != cost) {
            state.SkipWithError("result differs from the Munkres steps");
            return;
        }
    }
    for (auto _ : state) {
        double const value = HungarianAlgorithm().Solve(matrix, assignment);
        benchmark::DoNotOptimize(value);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(nRows) * nCols);
}

void BM_SolveUniform(benchmark::State& state) {
    solve(state, false);
}
void BM_SolveIntegers0To9(benchmark::State& state) {
    solve(state, true);
}

// The shapes (rows, columns) every benchmark solves: square, wide and tall.
void shapes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Args({100, 100})->Args({500, 500})->Args({1000, 1000})->Args({500, 1000})->Args({1000, 500});
}

BENCHMARK(BM_SolveUniform)->Apply(shapes)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SolveIntegers0To9)->Apply(shapes)->Unit(benchmark::kMillisecond);

}  // namespace
