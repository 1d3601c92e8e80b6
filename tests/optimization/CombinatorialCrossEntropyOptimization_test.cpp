// The cross-entropy optimiser's public behaviour: stopping rules, population sizes, the callback, shared
// state of copies, pre-groups, determinism and the handling of failing objectives.
#include "HamiltonianPathMCGenerator.h"
#include "TestProblems.h"

#include <Kestrel/CombinatorialCrossEntropyOptimization.h>

#include <boost/function.hpp>

#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <mutex>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Kestrel::CombinatorialCrossEntropyOptimization;
using Optimiser = CombinatorialCrossEntropyOptimization;
using Matrix = std::vector<std::vector<double>>;

double const kInfinity = std::numeric_limits<double>::infinity();

// Restores one thread after tests that change the OpenMP thread count.
class OptimiserTest : public ::testing::Test {
  protected:
    void TearDown() override { omp_set_num_threads(1); }
};

// n rows of n - 1 equal probabilities: every row has perplexity about n - 1. (Weights of 1.0 would have
// entropy 0, perplexity 1, and end every run after one iteration.)
Matrix uniformMatrix(int rows) {
    return Matrix(static_cast<std::size_t>(rows), std::vector<double>(static_cast<std::size_t>(rows - 1),
                                                                      1.0 / static_cast<double>(rows - 1)));
}

// The grouping-like objective: the largest spread of a table of values over the groups that a sorted
// selection of group starts cuts the table into.
struct SpreadObjective {
    std::vector<double> values;
    double operator()(std::vector<int> const& starts) const {
        double worst = 0.0;
        for (std::size_t g = 0; g < starts.size(); ++g) {
            std::size_t const begin = static_cast<std::size_t>(starts[g] - 1);
            std::size_t const end =
                g + 1 < starts.size() ? static_cast<std::size_t>(starts[g + 1] - 1) : values.size();
            if (begin >= end || end > values.size()) {
                return 1e9;
            }
            auto const range = std::minmax_element(values.begin() + begin, values.begin() + end);
            worst = std::max(worst, *range.second - *range.first);
        }
        return worst;
    }
};

SpreadObjective randomSpread(int items, unsigned int seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> value(0.0, 10.0);
    SpreadObjective objective;
    for (int i = 0; i < items; ++i) {
        objective.values.push_back(value(random));
    }
    return objective;
}

Optimiser::Parameters standardParameters() {
    return {0.8, 0.05, 5.0, 3, true, 30, Optimiser::StaticPopulation};
}

TEST_F(OptimiserTest, DeterministicRowsEndTheRunAfterOneIterationWithoutUpdateOrCallback) {
    // Every row puts all weight on one node: perplexity 1 everywhere, E = n.
    Matrix matrix(5, std::vector<double>(4, 0.0));
    for (std::size_t i = 0; i < matrix.size(); ++i) {
        matrix[i][(i + 1) % 4] = 1.0;
    }
    Optimiser::Objective const objective = [](std::vector<int> const& s) {
        return static_cast<double>(s[0]);
    };
    Optimiser optimiser(2, matrix, objective, true);
    int calls = 0;
    Optimiser::Callback callback = [&](Matrix&, double) { ++calls; };
    // base = 5 * 1 = 5, S = 5 * 5 = 25 > 6.25: capped, so only E = n keeps the callback away.
    Optimiser::Parameters const parameters{0.8, 0.05, 5.0, 30, false, 30, Optimiser::StaticPopulation};
    std::vector<int> result;
    optimiser.optimize(parameters, result, &callback, 1);
    EXPECT_EQ(5u, optimiser.getNumberOfEvaluations());
    EXPECT_EQ(0, calls);
    // The matrix was not updated: a second run draws the same population again.
    std::vector<int> again;
    optimiser.optimize(parameters, again, &callback, 1);
    EXPECT_EQ(result, again);
    EXPECT_EQ(10u, optimiser.getNumberOfEvaluations());
    EXPECT_EQ(0, calls);
}

TEST_F(OptimiserTest, StaticPopulationOfOneRowIsEmptyAndLeavesResultUnchanged) {
    std::atomic<int> objectiveCalls{0};
    Optimiser::Objective const objective = [&](std::vector<int> const&) {
        ++objectiveCalls;
        return 0.0;
    };
    Optimiser optimiser(1, Matrix{{}}, objective, true);
    std::vector<int> result{4, 5, 6};
    EXPECT_EQ(kInfinity, optimiser.optimize(standardParameters(), result, nullptr, 0));
    EXPECT_EQ((std::vector<int>{4, 5, 6}), result);
    EXPECT_EQ(0u, optimiser.getNumberOfEvaluations());
    EXPECT_EQ(0, objectiveCalls.load());
}

TEST_F(OptimiserTest, EmptyAdaptivePopulationLeavesResultUnchangedWithoutCallback) {
    Optimiser::Objective const objective = [](std::vector<int> const&) { return 1.0; };
    Optimiser optimiser(2, uniformMatrix(4), objective, true);
    int calls = 0;
    Optimiser::Callback callback = [&](Matrix&, double) { ++calls; };
    // E is at most 4 * 2, and 8 * 0.1 truncates to 0.
    Optimiser::Parameters const parameters{0.8, 0.05, 0.1, 3, true, 30, Optimiser::AdaptivePopulation};
    std::vector<int> result{9};
    EXPECT_EQ(kInfinity, optimiser.optimize(parameters, result, &callback, 0));
    EXPECT_EQ(std::vector<int>{9}, result);
    EXPECT_EQ(0u, optimiser.getNumberOfEvaluations());
    EXPECT_EQ(0, calls);
}

TEST_F(OptimiserTest, NegativeBasePopulationIsAnEmptyPopulation) {
    Optimiser::Objective const objective = [](std::vector<int> const&) { return 1.0; };
    Optimiser optimiser(2, uniformMatrix(5), objective, true);
    int calls = 0;
    Optimiser::Callback callback = [&](Matrix&, double) { ++calls; };
    std::vector<int> result{3, 1};
    EXPECT_EQ(kInfinity, optimiser.optimize(standardParameters(), result, &callback, -4));
    EXPECT_EQ((std::vector<int>{3, 1}), result);
    EXPECT_EQ(0u, optimiser.getNumberOfEvaluations());
    EXPECT_EQ(0, calls);
}

TEST_F(OptimiserTest, MaxIterationsBelowTwoRunsNothing) {
    Optimiser::Objective const objective = [](std::vector<int> const&) { return 1.0; };
    for (int maxIterations : {1, 0, -3}) {
        Optimiser optimiser(3, uniformMatrix(6), objective, false);
        int calls = 0;
        Optimiser::Callback callback = [&](Matrix&, double) { ++calls; };
        Optimiser::Parameters const parameters{
            0.8, 0.05, 5.0, 3, true, maxIterations, Optimiser::StaticPopulation};
        std::vector<int> result{7, 8};
        EXPECT_EQ(kInfinity, optimiser.optimize(parameters, result, &callback, 1));
        EXPECT_EQ((std::vector<int>{7, 8}), result);
        EXPECT_EQ(0u, optimiser.getNumberOfEvaluations());
        EXPECT_EQ(0, calls);
    }
}

// Number of iterations of one run: the evaluations divided by the constant static population.
std::uint64_t iterationsOf(Optimiser::Parameters const& parameters, Matrix const& matrix, int pathLength,
                           Optimiser::Objective const& objective) {
    Optimiser optimiser(pathLength, matrix, objective, true);
    std::vector<int> result;
    optimiser.optimize(parameters, result, nullptr, 0);
    std::uint64_t const rows = matrix.size();
    std::uint64_t const population = static_cast<std::uint64_t>(
        static_cast<double>(rows) * parameters.sampleFactor * static_cast<double>(rows - 1));
    EXPECT_EQ(0u, optimiser.getNumberOfEvaluations() % population);
    return optimiser.getNumberOfEvaluations() / population;
}

TEST_F(OptimiserTest, MaxIterationsTwoRunsExactlyOneIteration) {
    SpreadObjective const spread = randomSpread(9, 1);
    Optimiser::Objective const objective = spread;
    Optimiser::Parameters const parameters{0.1, 0.05, 5.0, 100, false, 2, Optimiser::StaticPopulation};
    EXPECT_EQ(1u, iterationsOf(parameters, uniformMatrix(10), 3, objective));
}

TEST_F(OptimiserTest, MaxIterationsTenRunsAtMostNine) {
    SpreadObjective const spread = randomSpread(9, 1);
    Optimiser::Objective const objective = spread;
    // Slow learning and an out-of-reach stall length: only the iteration limit stops this run.
    Optimiser::Parameters const parameters{0.1, 0.05, 5.0, 100, false, 10, Optimiser::StaticPopulation};
    EXPECT_EQ(9u, iterationsOf(parameters, uniformMatrix(10), 3, objective));
}

TEST_F(OptimiserTest, StallIterationsOneOrLessEndsAfterTheFirstIteration) {
    SpreadObjective const spread = randomSpread(9, 2);
    Optimiser::Objective const objective = spread;
    for (int stall : {1, 0, -2}) {
        Optimiser::Parameters const parameters{0.1, 0.05, 5.0, stall, false, 30, Optimiser::StaticPopulation};
        EXPECT_EQ(1u, iterationsOf(parameters, uniformMatrix(10), 3, objective)) << "stall " << stall;
    }
}

TEST_F(OptimiserTest, EqualThresholdsForStallIterationsEndTheRun) {
    // A constant objective gives the same threshold in every iteration.
    Optimiser::Objective const objective = [](std::vector<int> const&) { return 2.5; };
    for (int stall : {2, 3, 5}) {
        Optimiser::Parameters const parameters{
            0.01, 0.05, 5.0, stall, false, 30, Optimiser::StaticPopulation};
        EXPECT_EQ(static_cast<std::uint64_t>(stall),
                  iterationsOf(parameters, uniformMatrix(8), 3, objective));
    }
}

TEST_F(OptimiserTest, EqualBestScoresEndTheRunOnlyWhenCheckBestStallIsSet) {
    // Single-item selections scored by their node: node 1 (score 1) is drawn in every iteration, so the
    // best score never changes, while the median threshold moves with the learning matrix.
    Optimiser::Objective const objective = [](std::vector<int> const& s) {
        return static_cast<double>(s[0]);
    };
    Optimiser::Parameters withBest{0.3, 0.5, 5.0, 3, true, 30, Optimiser::StaticPopulation};
    Optimiser::Parameters withoutBest = withBest;
    withoutBest.checkBestStall = false;
    EXPECT_EQ(3u, iterationsOf(withBest, uniformMatrix(12), 1, objective));
    EXPECT_GT(iterationsOf(withoutBest, uniformMatrix(12), 1, objective), 3u);
}

TEST_F(OptimiserTest, StaticPopulationIsRowsTimesRowsMinusOneTimesFactorAndNeverCallsBack) {
    Optimiser::Objective const objective = [](std::vector<int> const& s) {
        return static_cast<double>(s[0] % 3);
    };
    for (double factor : {5.0, 0.7, 2.25}) {
        Optimiser optimiser(2, uniformMatrix(7), objective, false);
        int calls = 0;
        Optimiser::Callback callback = [&](Matrix&, double) { ++calls; };
        Optimiser::Parameters const parameters{0.8, 0.05, factor, 1, false, 30, Optimiser::StaticPopulation};
        std::vector<int> result;
        optimiser.optimize(parameters, result, &callback, 0);
        EXPECT_EQ(static_cast<std::uint64_t>(7.0 * factor * 6.0), optimiser.getNumberOfEvaluations());
        Optimiser::Parameters const longer{0.05, 0.05, factor, 100, false, 6, Optimiser::StaticPopulation};
        optimiser.optimize(longer, result, &callback, 0);
        EXPECT_EQ(static_cast<std::uint64_t>(7.0 * factor * 6.0) * 6u, optimiser.getNumberOfEvaluations());
        EXPECT_EQ(0, calls);
    }
}

// Rows with perplexities 2, 2, 1, 1: E = 6.
Matrix entropySixMatrix() {
    return {{0.2, 0.3, 0.5}, {0.2, 0.3, 0.5}, {1.0, 0.0, 0.0}, {1.0, 0.0, 0.0}};
}

std::uint64_t firstPopulation(int basePopulation, Optimiser::PopulationDynamics dynamics,
                              int* callbackCalls) {
    Optimiser::Objective const objective = [](std::vector<int> const& s) {
        return static_cast<double>(s[0]);
    };
    Optimiser optimiser(1, entropySixMatrix(), objective, true);
    Optimiser::Callback callback = [&](Matrix&, double smoothing) {
        EXPECT_EQ(0.8, smoothing);
        ++*callbackCalls;
    };
    Optimiser::Parameters const parameters{0.8, 0.05, 2.5, 1, false, 30, dynamics};
    std::vector<int> result;
    optimiser.optimize(parameters, result, &callback, basePopulation);
    return optimiser.getNumberOfEvaluations();
}

TEST_F(OptimiserTest, AdaptivePopulationIsEntropyTimesFactor) {
    int calls = 0;
    EXPECT_EQ(15u, firstPopulation(0, Optimiser::AdaptivePopulation, &calls));
    EXPECT_EQ(0, calls);
}

TEST_F(OptimiserTest, OutOfRangeDynamicsValueCountsAsAdaptive) {
    int calls = 0;
    EXPECT_EQ(15u, firstPopulation(0, static_cast<Optimiser::PopulationDynamics>(7), &calls));
}

TEST_F(OptimiserTest, EntropyPopulationAboveOneAndAQuarterBaseIsCappedAndCallsBack) {
    int calls = 0;
    EXPECT_EQ(10u, firstPopulation(4, Optimiser::StaticPopulation, &calls));  // base 10, S = 15
    EXPECT_EQ(1, calls);
}

TEST_F(OptimiserTest, PopulationWithBaseIsTheLargerOfBaseAndEntropySizeWhenNotCapped) {
    int calls = 0;
    EXPECT_EQ(15u, firstPopulation(5, Optimiser::StaticPopulation, &calls));    // base 12, S = 15
    EXPECT_EQ(20u, firstPopulation(8, Optimiser::AdaptivePopulation, &calls));  // base 20, S = 15
    EXPECT_EQ(0, calls);
}

TEST_F(OptimiserTest, CallbackReceivesTheUpdatedMatrixAndItsChangesAreKept) {
    SpreadObjective const spread = randomSpread(6, 3);
    Optimiser::Objective const objective = spread;
    Matrix const start = uniformMatrix(7);
    Optimiser optimiser(2, start, objective, false);
    std::vector<Matrix> seen;
    Optimiser::Callback callback = [&](Matrix& matrix, double smoothing) {
        EXPECT_EQ(0.3, smoothing);
        seen.push_back(matrix);
        std::fill(matrix[0].begin(), matrix[0].end(), 1.0);
    };
    Optimiser::Parameters const parameters{0.3, 0.05, 1.0, 100, false, 4, Optimiser::StaticPopulation};
    std::vector<int> result;
    optimiser.optimize(parameters, result, &callback, 10);  // base 10, S = E > 12.5: capped
    ASSERT_EQ(3u, seen.size());
    EXPECT_NE(start, seen[0]);
    // The next update starts from the row the callback wrote: (1 - a) * 1 + a * f >= 0.7, where the
    // untouched update would give at most (1 - a) / 6 + a.
    for (double const entry : seen[1][0]) {
        EXPECT_GE(entry, 0.7);
    }
}

TEST_F(OptimiserTest, EmptyCallbackThrowsBadFunctionCallAfterTheEvaluation) {
    Optimiser::Objective const objective = [](std::vector<int> const& s) {
        return static_cast<double>(s[0]);
    };
    Optimiser optimiser(1, entropySixMatrix(), objective, true);
    Optimiser::Callback empty;
    std::vector<int> result{3};
    try {
        optimiser.optimize({0.8, 0.05, 2.5, 3, false, 30, Optimiser::StaticPopulation}, result, &empty, 4);
        FAIL() << "no exception";
    } catch (boost::bad_function_call const& error) {
        EXPECT_STREQ("call to empty boost::function", error.what());
    }
    EXPECT_EQ(10u, optimiser.getNumberOfEvaluations());
    EXPECT_EQ(std::vector<int>{3}, result);
}

TEST_F(OptimiserTest, EmptyObjectiveThrowsBadFunctionCallOnTheCallingThreadWithoutCounting) {
    for (int threads : {1, 2}) {
        omp_set_num_threads(threads);
        Optimiser::Objective const empty;
        Optimiser optimiser(3, uniformMatrix(6), empty, false);
        std::vector<int> result{1, 2};
        try {
            optimiser.optimize(standardParameters(), result, nullptr, 0);
            FAIL() << "no exception";
        } catch (boost::bad_function_call const& error) {
            EXPECT_STREQ("call to empty boost::function", error.what());
        }
        EXPECT_EQ(0u, optimiser.getNumberOfEvaluations());
        EXPECT_EQ((std::vector<int>{1, 2}), result);
    }
}

struct SelectionError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::string describe(std::vector<int> const& selection) {
    std::string text;
    for (int const node : selection) {
        text += std::to_string(node) + " ";
    }
    return text;
}

TEST_F(OptimiserTest, ObjectiveExceptionOfTheLowestSelectionIndexIsRethrown) {
    Matrix const matrix = uniformMatrix(8);
    int const pathLength = 3;
    int const population = 8 * 7 * 5;
    // The first iteration's population, as the optimiser draws it (ordered selections).
    std::vector<std::vector<int>> selections;
    Kestrel::optimization::HamiltonianPathMCGenerator(matrix, 193)
        .generatePaths(population, selections, pathLength);
    auto throws = [](std::vector<int> const& s) { return s[0] == 5 && s[1] > 3; };
    std::size_t first = 0;
    while (!throws(selections[first])) {
        ++first;
    }
    std::size_t const failing =
        static_cast<std::size_t>(std::count_if(selections.begin(), selections.end(), throws));
    ASSERT_GT(first, 0u);
    ASSERT_LT(first, selections.size() / 2);  // the first thread's half of the static schedule
    ASSERT_GT(failing, 10u);                  // and failures in the second half as well

    for (int threads : {1, 2}) {
        omp_set_num_threads(threads);
        std::atomic<std::size_t> calls{0};
        Optimiser::Objective const objective = [&](std::vector<int> const& s) -> double {
            ++calls;
            if (throws(s)) {
                throw SelectionError(describe(s));
            }
            return 1.0;
        };
        Optimiser optimiser(pathLength, matrix, objective, true);
        std::vector<int> result{42};
        try {
            optimiser.optimize(standardParameters(), result, nullptr, 0);
            FAIL() << "no exception";
        } catch (SelectionError const& error) {
            EXPECT_EQ(describe(selections[first]), error.what());
        }
        EXPECT_EQ(static_cast<std::size_t>(population), calls.load()) << "the loop runs to its end";
        EXPECT_EQ(0u, optimiser.getNumberOfEvaluations());
        EXPECT_EQ(std::vector<int>{42}, result);
    }
}

TEST_F(OptimiserTest, FailingLaterIterationKeepsEarlierEvaluationsAndResult) {
    std::atomic<int> calls{0};
    Optimiser::Objective const objective = [&](std::vector<int> const& s) -> double {
        if (++calls > 100) {
            throw std::logic_error("late failure");
        }
        return static_cast<double>(s[0]);
    };
    Optimiser optimiser(2, uniformMatrix(5), objective, true);  // population 5 * 4 * 5 = 100
    std::vector<int> result{6};
    EXPECT_THROW(optimiser.optimize(standardParameters(), result, nullptr, 0), std::logic_error);
    EXPECT_EQ(100u, optimiser.getNumberOfEvaluations());
    EXPECT_EQ(std::vector<int>{6}, result);
}

TEST_F(OptimiserTest, RowsLongerThanTheMatrixIsHighReachNodesWithoutARow) {
    // Nodes 3 and 4 have no row: they are drawn, scored and counted, and the step after them writes 0.
    Matrix const matrix{{0.1, 0.2, 0.3, 0.4}, {0.25, 0.25, 0.25, 0.25}, {0.4, 0.3, 0.2, 0.1}};
    Optimiser::Objective const objective = [](std::vector<int> const& s) {
        return static_cast<double>(s[0] * 10 + s[1]);
    };
    Optimiser optimiser(2, matrix, objective, true);
    std::vector<int> result;
    double const value = optimiser.optimize(standardParameters(), result, nullptr, 0);
    ASSERT_EQ(2u, result.size());
    EXPECT_EQ(static_cast<double>(result[0] * 10 + result[1]), value);
    Optimiser again(2, matrix, objective, true);
    std::vector<int> repeated;
    EXPECT_EQ(value, again.optimize(standardParameters(), repeated, nullptr, 0));
    EXPECT_EQ(result, repeated);
}

TEST_F(OptimiserTest, FreshObjectsWithEqualInputsGiveIdenticalResults) {
    SpreadObjective const spread = randomSpread(15, 4);
    Optimiser::Objective const objective = spread;
    std::mt19937 random(9);
    Matrix const matrix = OptimizationTests::randomMatrix(random, 16, 0.0);
    Optimiser first(5, matrix, objective, false);
    Optimiser second(5, matrix, objective, false);
    std::vector<int> a;
    std::vector<int> b;
    double const valueA = first.optimize(standardParameters(), a, nullptr, 0);
    double const valueB = second.optimize(standardParameters(), b, nullptr, 0);
    EXPECT_TRUE(OptimizationTests::sameBits(valueA, valueB));
    EXPECT_EQ(a, b);
    EXPECT_EQ(first.getNumberOfEvaluations(), second.getNumberOfEvaluations());
}

TEST_F(OptimiserTest, OneAndTwoThreadsGiveIdenticalResults) {
    SpreadObjective const spread = randomSpread(24, 5);
    Optimiser::Objective const objective = spread;
    Matrix const matrix = uniformMatrix(25);
    std::vector<int> groups{2, 7, 12, 20};
    std::vector<std::vector<int>> results;
    std::vector<double> values;
    std::vector<std::uint64_t> evaluations;
    for (int threads : {1, 2, 1, 2}) {
        omp_set_num_threads(threads);
        Optimiser optimiser(8, matrix, objective, false);
        if (results.size() >= 2) {
            optimiser.setPreGroups(&groups);
        }
        std::vector<int> result;
        values.push_back(optimiser.optimize(standardParameters(), result, nullptr, 0));
        results.push_back(result);
        evaluations.push_back(optimiser.getNumberOfEvaluations());
    }
    EXPECT_EQ(results[0], results[1]);
    EXPECT_TRUE(OptimizationTests::sameBits(values[0], values[1]));
    EXPECT_EQ(evaluations[0], evaluations[1]);
    EXPECT_EQ(results[2], results[3]);
    EXPECT_TRUE(OptimizationTests::sameBits(values[2], values[3]));
    EXPECT_EQ(evaluations[2], evaluations[3]);
}

TEST_F(OptimiserTest, CopiesShareLearningStateAndEvaluationCounter) {
    SpreadObjective const spread = randomSpread(11, 6);
    Optimiser::Objective const objective = spread;
    Matrix const matrix = uniformMatrix(12);
    Optimiser::Parameters const parameters{0.8, 0.05, 2.0, 3, true, 4, Optimiser::StaticPopulation};

    // Reference: two successive runs of one object (the second starts from the learnt matrix).
    Optimiser reference(4, matrix, objective, false);
    std::vector<int> firstRun;
    std::vector<int> secondRun;
    double const firstValue = reference.optimize(parameters, firstRun, nullptr, 0);
    double const secondValue = reference.optimize(parameters, secondRun, nullptr, 0);

    Optimiser original(4, matrix, objective, false);
    Optimiser copy(original);
    std::vector<int> result;
    EXPECT_TRUE(OptimizationTests::sameBits(firstValue, copy.optimize(parameters, result, nullptr, 0)));
    EXPECT_EQ(firstRun, result);
    EXPECT_EQ(copy.getNumberOfEvaluations(), original.getNumberOfEvaluations());
    EXPECT_TRUE(OptimizationTests::sameBits(secondValue, original.optimize(parameters, result, nullptr, 0)));
    EXPECT_EQ(secondRun, result);
    EXPECT_EQ(reference.getNumberOfEvaluations(), copy.getNumberOfEvaluations());

    Optimiser assigned(1, Matrix{{}}, objective, true);
    assigned = original;
    EXPECT_EQ(reference.getNumberOfEvaluations(), assigned.getNumberOfEvaluations());
    Optimiser moved(std::move(assigned));
    EXPECT_EQ(reference.getNumberOfEvaluations(), moved.getNumberOfEvaluations());
}

TEST_F(OptimiserTest, CopiesSharePreGroups) {
    SpreadObjective const spread = randomSpread(9, 7);
    Optimiser::Objective const objective = spread;
    std::vector<int> const groups{0, 3, 6, 9};
    Optimiser grouped(3, uniformMatrix(10), objective, false);
    grouped.setPreGroups(&groups);
    Optimiser original(3, uniformMatrix(10), objective, false);
    Optimiser copy(original);
    original.setPreGroups(&groups);
    std::vector<int> expected;
    std::vector<int> actual;
    grouped.optimize(standardParameters(), expected, nullptr, 0);
    copy.optimize(standardParameters(), actual, nullptr, 0);
    EXPECT_EQ(expected, actual);
}

TEST_F(OptimiserTest, PreGroupsAllowAtMostOneNodePerGroupInEverySelection) {
    int const items = 14;
    std::vector<int> const groups{2, 5, 9, 12};  // groups of items 2-4, 5-8, 9-11; 0, 1, 12, 13 ungrouped
    auto groupOf = [&](int node) {
        int const item = node - 1;
        if (item < 2 || item >= 12) {
            return -1;
        }
        return item < 5 ? 0 : (item < 9 ? 1 : 2);
    };
    std::atomic<int> violations{0};
    SpreadObjective const spread = randomSpread(items, 8);
    Optimiser::Objective const objective = [&](std::vector<int> const& s) {
        std::set<int> seen;
        for (int const node : s) {
            if (node <= 0 || !seen.insert(groupOf(node)).second) {
                ++violations;
            }
        }
        return spread(s);
    };
    for (bool ordered : {true, false}) {
        Optimiser optimiser(4, uniformMatrix(items + 1), objective, ordered);
        optimiser.setPreGroups(&groups);
        std::vector<int> result;
        optimiser.optimize(standardParameters(), result, nullptr, 0);
        EXPECT_EQ(4u, result.size());
        EXPECT_EQ(0, violations.load());
    }
}

TEST_F(OptimiserTest, NullOrEmptyPreGroupsRemoveTheRestriction) {
    SpreadObjective const spread = randomSpread(9, 9);
    Optimiser::Objective const objective = spread;
    std::vector<int> const groups{1, 4, 7};
    std::vector<int> const none;
    std::vector<int> plain;
    Optimiser(3, uniformMatrix(10), objective, false).optimize(standardParameters(), plain, nullptr, 0);
    for (std::vector<int> const* clear : {static_cast<std::vector<int> const*>(nullptr), &none}) {
        Optimiser optimiser(3, uniformMatrix(10), objective, false);
        optimiser.setPreGroups(&groups);
        optimiser.setPreGroups(clear);
        std::vector<int> result;
        optimiser.optimize(standardParameters(), result, nullptr, 0);
        EXPECT_EQ(plain, result);
    }
}

TEST_F(OptimiserTest, UnorderedSelectionsAreScoredAndReturnedInAscendingOrder) {
    std::atomic<int> unsorted{0};
    SpreadObjective const spread = randomSpread(10, 10);
    Optimiser::Objective const objective = [&](std::vector<int> const& s) {
        if (!std::is_sorted(s.begin(), s.end())) {
            ++unsorted;
        }
        return spread(s);
    };
    Optimiser optimiser(5, uniformMatrix(11), objective, false);
    std::vector<int> result;
    optimiser.optimize(standardParameters(), result, nullptr, 0);
    EXPECT_EQ(0, unsorted.load());
    EXPECT_EQ(5u, result.size());
    EXPECT_TRUE(std::is_sorted(result.begin(), result.end()));
}

TEST_F(OptimiserTest, FullPathConstructorDrawsOrderedPermutations) {
    std::atomic<int> unsorted{0};
    std::atomic<int> notPermutation{0};
    Optimiser::Objective const objective = [&](std::vector<int> const& s) {
        std::vector<int> sorted(s);
        std::sort(sorted.begin(), sorted.end());
        if (sorted != std::vector<int>{1, 2, 3, 4, 5}) {
            ++notPermutation;
        }
        if (sorted != s) {
            ++unsorted;
        }
        return static_cast<double>(s[0] * 10 + s[1]);
    };
    Optimiser optimiser(uniformMatrix(6), objective);
    std::vector<int> result;
    double const value = optimiser.optimize(standardParameters(), result, nullptr, 0);
    EXPECT_EQ(0, notPermutation.load());
    EXPECT_GT(unsorted.load(), 0);
    EXPECT_EQ(5u, result.size());
    EXPECT_EQ(12.0, value);
    EXPECT_EQ(1, result[0]);
    EXPECT_EQ(2, result[1]);
}

TEST_F(OptimiserTest, ObjectiveIsHeldByAddress) {
    Optimiser::Objective objective = [](std::vector<int> const&) { return 1.0; };
    Optimiser optimiser(2, uniformMatrix(5), objective, true);
    std::atomic<int> laterCalls{0};
    objective = [&](std::vector<int> const&) {
        ++laterCalls;
        return 1.0;
    };
    std::vector<int> result;
    optimiser.optimize(standardParameters(), result, nullptr, 0);
    EXPECT_EQ(static_cast<int>(optimiser.getNumberOfEvaluations()), laterCalls.load());
    EXPECT_GT(laterCalls.load(), 0);
}

TEST_F(OptimiserTest, EvaluationsAccumulateOverCalls) {
    Optimiser::Objective const objective = [](std::vector<int> const&) { return 1.0; };
    Optimiser optimiser(2, uniformMatrix(5), objective, true);
    Optimiser::Parameters const parameters{0.8, 0.05, 5.0, 1, false, 30, Optimiser::StaticPopulation};
    std::vector<int> result;
    for (std::uint64_t run = 1; run <= 3; ++run) {
        optimiser.optimize(parameters, result, nullptr, 0);
        EXPECT_EQ(run * 100u, optimiser.getNumberOfEvaluations());
    }
}

// Objective that records every score it gives; with one thread and a static schedule the log is in
// selection order, iteration after iteration.
struct LoggingObjective {
    SpreadObjective spread;
    std::vector<double>* log;
    double operator()(std::vector<int> const& s) const {
        double const score = spread(s);
        log->push_back(score);
        return score;
    }
};

TEST_F(OptimiserTest, ReturnsLastIterationMinimumWhileResultHoldsTheBestOfAllIterations) {
    omp_set_num_threads(1);
    int found = 0;
    for (unsigned int seed = 0; seed < 40; ++seed) {
        std::vector<double> log;
        LoggingObjective const logging{randomSpread(12, seed), &log};
        Optimiser::Objective const objective = logging;
        Optimiser optimiser(4, uniformMatrix(13), objective, false);
        Optimiser::Parameters const parameters{0.9, 0.3, 1.0, 3, true, 30, Optimiser::StaticPopulation};
        std::vector<int> result;
        double const value = optimiser.optimize(parameters, result, nullptr, 0);

        std::size_t const population = 13 * 12;
        ASSERT_EQ(0u, log.size() % population);
        double bestOfAll = kInfinity;
        double lastMinimum = kInfinity;
        for (std::size_t start = 0; start < log.size(); start += population) {
            lastMinimum = *std::min_element(log.begin() + static_cast<std::ptrdiff_t>(start),
                                            log.begin() + static_cast<std::ptrdiff_t>(start + population));
            bestOfAll = std::min(bestOfAll, lastMinimum);
        }
        EXPECT_EQ(lastMinimum, value) << "seed " << seed;
        EXPECT_EQ(bestOfAll, logging.spread(result)) << "seed " << seed;
        found += bestOfAll < lastMinimum ? 1 : 0;
    }
    EXPECT_GT(found, 0) << "no run whose last iteration was worse than an earlier one";
}

}  // namespace
