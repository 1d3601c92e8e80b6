// Cross-entropy optimisation of a grouping-like problem: choose k group starts on a closed line of
// values so that the largest value range inside a group is smallest. Reports selections drawn (path
// generation alone) and objective evaluations (whole optimisation) per second, for 1 and 2 threads.
#include "HamiltonianPathMCGenerator.h"

#include <Kestrel/CombinatorialCrossEntropyOptimization.h>
#include <Kestrel/Tessel/StatisticalCalculator.h>

#include <benchmark/benchmark.h>
#include <omp.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

namespace {

using Kestrel::CombinatorialCrossEntropyOptimization;

// Largest max - min over the groups that ascending 1-based starts cut a closed line of values into (the
// last group wraps round to the first start). Copies its argument once, as the grouper's objective does.
struct LargestGroupRange {
    std::vector<double> values;

    double operator()(std::vector<int> const& selection) const {
        std::vector<int> starts(selection);
        std::size_t const n = values.size();
        double worst = 0.0;
        for (std::size_t g = 0; g < starts.size(); ++g) {
            std::size_t const begin = static_cast<std::size_t>(starts[g] - 1);
            std::size_t const end = g + 1 < starts.size() ? static_cast<std::size_t>(starts[g + 1] - 1)
                                                          : static_cast<std::size_t>(starts[0] - 1) + n;
            double low = values[begin % n];
            double high = low;
            for (std::size_t i = begin + 1; i < end; ++i) {
                low = std::min(low, values[i % n]);
                high = std::max(high, values[i % n]);
            }
            worst = std::max(worst, high - low);
        }
        return worst;
    }
};

struct Problem {
    int items;
    int groups;
    double expectedValue;  // regression check: the value optimize() returned when the benchmark was set up
                           // (with the optimiser matching its reference implementation in the tests)
};

// The transition matrix the grouper builds: row 0 uniform over the items, row i uniform over the others.
std::vector<std::vector<double>> groupingMatrix(int items) {
    std::size_t const n = static_cast<std::size_t>(items);
    std::vector<std::vector<double>> matrix(n + 1, std::vector<double>(n, 1.0 / static_cast<double>(n - 1)));
    std::fill(matrix[0].begin(), matrix[0].end(), 1.0 / static_cast<double>(n));
    for (std::size_t i = 1; i <= n; ++i) {
        matrix[i][i - 1] = 0.0;
    }
    return matrix;
}

LargestGroupRange lineValues(int items) {
    std::mt19937 random(2024);
    std::uniform_real_distribution<double> step(-1.0, 1.0);
    LargestGroupRange objective;
    double value = 0.0;
    for (int i = 0; i < items; ++i) {
        value += step(random);
        objective.values.push_back(value);
    }
    return objective;
}

// Both lines share their first 25 values, and both optima are bounded by the same steep pair of values.
Problem const kLarge{49, 24, 0x1.aab6e9bb02a94p-1};
Problem const kSmall{25, 8, 0x1.aab6e9bb02a94p-1};

void optimize(benchmark::State& state, Problem const& problem) {
    omp_set_num_threads(static_cast<int>(state.range(0)));
    LargestGroupRange const values = lineValues(problem.items);
    CombinatorialCrossEntropyOptimization::Objective const objective = values;
    auto const matrix = groupingMatrix(problem.items);
    CombinatorialCrossEntropyOptimization::Parameters const parameters{
        0.8, 0.05, 5.0, 3, true, 30, CombinatorialCrossEntropyOptimization::StaticPopulation};

    std::uint64_t evaluations = 0;
    bool checked = false;
    for (auto _ : state) {
        CombinatorialCrossEntropyOptimization optimiser(problem.groups, matrix, objective, false);
        std::vector<int> result;
        double const value = optimiser.optimize(parameters, result, nullptr, 0);
        benchmark::DoNotOptimize(result.data());
        evaluations += optimiser.getNumberOfEvaluations();
        if (!checked) {
            checked = true;
            bool const valid = result.size() == static_cast<std::size_t>(problem.groups) &&
                               std::is_sorted(result.begin(), result.end()) &&
                               std::adjacent_find(result.begin(), result.end()) == result.end() &&
                               result.front() >= 1 && result.back() <= problem.items;
            if (!valid || value < values(result)) {
                state.SkipWithError("optimize returned an invalid selection");
                break;
            }
            if (std::memcmp(&value, &problem.expectedValue, sizeof value) != 0) {
                char message[96];
                std::snprintf(message, sizeof message, "optimize returned %a instead of %a", value,
                              problem.expectedValue);
                state.SkipWithError(message);
                break;
            }
        }
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(evaluations));
    state.counters["evaluations/s"] =
        benchmark::Counter(static_cast<double>(evaluations), benchmark::Counter::kIsRate);
}

void generatePaths(benchmark::State& state, Problem const& problem) {
    omp_set_num_threads(static_cast<int>(state.range(0)));
    auto const matrix = groupingMatrix(problem.items);
    int const population = (problem.items + 1) * problem.items * 5;
    std::vector<std::vector<int>> paths;
    Kestrel::optimization::HamiltonianPathMCGenerator(matrix, 193)
        .generatePaths(population, paths, problem.groups);
    std::vector<std::vector<int>> const expected = paths;
    std::int64_t selections = 0;
    for (auto _ : state) {
        Kestrel::optimization::HamiltonianPathMCGenerator generator(matrix, 193);
        generator.generatePaths(population, paths, problem.groups);
        benchmark::DoNotOptimize(paths.data());
        selections += population;
    }
    if (paths != expected) {
        state.SkipWithError("the population differs between runs");
    }
    state.SetItemsProcessed(selections);
    state.counters["selections/s"] =
        benchmark::Counter(static_cast<double>(selections), benchmark::Counter::kIsRate);
}

// The elite threshold of one iteration: the 5 % quantile of a population's scores, through the statistics
// library. The scores change from call to call, as in a search (16 shuffles of one population in turn), so
// that no branch predictor learns one data set by heart.
void eliteThreshold(benchmark::State& state) {
    std::size_t const population = static_cast<std::size_t>(state.range(0));
    std::mt19937_64 engine(193);
    std::normal_distribution<double> normal(1.0, 0.25);
    std::vector<double> scores(population);
    for (double& score : scores) {
        score = normal(engine);
    }
    std::vector<std::vector<double>> shuffles(16, scores);
    for (std::vector<double>& shuffle : shuffles) {
        std::shuffle(shuffle.begin(), shuffle.end(), engine);
    }
    std::size_t next = 0;
    for (auto _ : state) {
        Kestrel::Tessel::StatisticalCalculator calculator(static_cast<int>(population));
        calculator.loadDataSet(shuffles[next]);
        benchmark::DoNotOptimize(calculator.getQuantile(0.05, 0));
        next = (next + 1) % shuffles.size();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(population));
}

BENCHMARK_CAPTURE(optimize, items49_groups24, kLarge)
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(optimize, items25_groups8, kSmall)
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(generatePaths, items49_length24, kLarge)
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(generatePaths, items25_length8, kSmall)
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(eliteThreshold)->Arg(1640)->Arg(8200)->Arg(100000)->Unit(benchmark::kMicrosecond);

}  // namespace
