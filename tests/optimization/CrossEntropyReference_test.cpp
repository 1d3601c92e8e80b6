// The library's optimiser and generator against their reference implementation, bit for bit, on seeded random
// matrices, objectives, pre-groups and parameters, with 1 and 2 threads.
#include "AdaptiveTeam.h"
#include "HamiltonianPathMCGenerator.h"
#include "ReferenceCrossEntropy.h"
#include "TestProblems.h"

#include <Kestrel/CombinatorialCrossEntropyOptimization.h>

#include <gtest/gtest.h>
#include <omp.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <random>
#include <thread>

namespace {

using Kestrel::CombinatorialCrossEntropyOptimization;
using OptimizationTests::sameBits;

class ThreadCount : public ::testing::TestWithParam<int> {
  protected:
    void SetUp() override { omp_set_num_threads(GetParam()); }
    void TearDown() override { omp_set_num_threads(1); }
};

TEST_P(ThreadCount, GeneratorMatchesReference) {
    std::mt19937 random(11);
    for (int trial = 0; trial < 300; ++trial) {
        // One trial in ten is large enough to be drawn by a team of threads; the others run on one.
        bool const large = trial % 10 == 0;
        int const rows = large ? 30 + static_cast<int>(random() % 20)
                               : 1 + static_cast<int>(random() % (trial % 2 == 0 ? 12 : 40));
        auto const matrix = OptimizationTests::randomMatrix(random, rows, trial % 4 == 0 ? 0.6 : 0.15,
                                                            trial % 5 == 0 ? 0.3 : 0.0);
        int const paths = large ? 300 + static_cast<int>(random() % 200) : static_cast<int>(random() % 40);
        int const pathLength = large ? 10 + static_cast<int>(random() % 10)
                                     : static_cast<int>(random() % static_cast<unsigned>(rows + 2));
        unsigned int const seed = trial % 2 == 0 ? 193u : static_cast<unsigned>(random());
        bool const grouped = trial % 3 == 0 && rows > 1;
        auto const lists = grouped ? ReferenceCrossEntropy::exclusionLists(
                                         OptimizationTests::randomGroups(random, rows - 1), rows)
                                   : std::vector<std::vector<int>>{};

        ReferenceCrossEntropy::Generator reference(matrix, seed);
        Kestrel::optimization::HamiltonianPathMCGenerator generator(matrix, seed);
        // Three populations from the same generator: the engine goes on where the last one stopped. The
        // third hands its selections over as they are drawn: each once, complete, on a thread of the team.
        for (int round = 0; round < 3; ++round) {
            std::vector<std::vector<int>> expected;
            std::vector<std::vector<int>> actual(3, std::vector<int>{7, 7});
            reference.generate(paths, expected, pathLength, grouped ? &lists : nullptr);
            if (round == 2) {
                std::vector<std::vector<int>> handedOver(static_cast<std::size_t>(paths));
                std::vector<int> handovers(static_cast<std::size_t>(paths), 0);
                std::atomic<bool> threadOutsideTeam{false};
                Kestrel::optimization::SelectionBlock block;
                generator.generatePaths(paths, block, pathLength, grouped ? &lists : nullptr,
                                        [&](std::size_t first, std::size_t last, int thread) {
                                            threadOutsideTeam = threadOutsideTeam || thread < 0 ||
                                                                thread >= omp_get_max_threads();
                                            for (std::size_t i = first; i < last; ++i) {
                                                handedOver[i] = block.selection(i);
                                                ++handovers[i];
                                            }
                                        });
                ASSERT_EQ(block.size(), static_cast<std::size_t>(paths)) << "trial " << trial;
                actual = handedOver;  // compared with the reference below, as the other rounds' populations
                EXPECT_EQ(std::vector<int>(static_cast<std::size_t>(paths), 1), handovers)
                    << "trial " << trial;
                EXPECT_FALSE(threadOutsideTeam.load());
            } else if (grouped) {
                generator.generatePathsWithExclusions(paths, actual, pathLength, lists);
            } else {
                generator.generatePaths(paths, actual, pathLength);
            }
            ASSERT_EQ(expected, actual) << "trial " << trial << " round " << round;
        }
    }
}

// Shape of the random problems of one property test.
struct TrialShape {
    int trials;
    int minRows;
    int maxRows;
    double maxSampleFactor;
    int maxIterations;      // drawn from 0 ... maxIterations
    int baseShare;          // one trial in baseShare has basePopulation 0
    int maxBasePopulation;  // otherwise drawn from 1 ... maxBasePopulation
    bool alwaysCallback;
};

// Runs the library and the reference implementation on random problems of the given shape, twice in a row on
// the same objects, and compares return values, results, evaluation counts and every matrix the callback
// receives, bit for bit.
void compareOptimize(unsigned int seed, TrialShape const& shape) {
    std::mt19937 random(seed);
    for (int trial = 0; trial < shape.trials; ++trial) {
        int const rows =
            shape.minRows +
            static_cast<int>(random() % static_cast<unsigned>(shape.maxRows - shape.minRows + 1));
        // optimize() refuses negative weights, so its problems have none (the generator's comparison
        // above still walks them).
        auto const matrix = OptimizationTests::randomMatrix(random, rows, trial % 5 == 0 ? 0.5 : 0.1);
        int const pathLength = static_cast<int>(random() % static_cast<unsigned>(rows + 1));
        bool const ordered = random() % 2 == 0;
        auto const objectiveTable = OptimizationTests::randomObjective(random, rows, pathLength);
        CombinatorialCrossEntropyOptimization::Objective const objective = objectiveTable;
        std::vector<int> const groups =
            trial % 3 == 0 ? OptimizationTests::randomGroups(random, rows - 1) : std::vector<int>{};

        std::uniform_real_distribution<double> unit(0.0, 1.0);
        double const smoothing = trial % 2 == 0 ? 0.8 : unit(random);
        double const quantile = trial % 2 == 0 ? 0.05 : unit(random);
        double const sampleFactor = 0.5 + (shape.maxSampleFactor - 0.5) * unit(random);
        int const stallIterations = static_cast<int>(random() % 5);
        bool const checkBestStall = random() % 2 == 0;
        int const maxIterations = static_cast<int>(random() % static_cast<unsigned>(shape.maxIterations + 1));
        int const dynamics = static_cast<int>(random() % 2);
        int const basePopulation =
            random() % static_cast<unsigned>(shape.baseShare) == 0
                ? 0
                : 1 + static_cast<int>(random() % static_cast<unsigned>(shape.maxBasePopulation));
        bool const withCallback = shape.alwaysCallback || random() % 2 == 0;

        // Both callbacks record the matrix they receive and change it the same way.
        std::vector<std::vector<std::vector<double>>> referenceSeen;
        ReferenceCrossEntropy::Callback referenceCallback = [&](std::vector<std::vector<double>>& m,
                                                                double a) {
            referenceSeen.push_back(m);
            m[0][0] = m[0][0] * a + 0.01;
        };
        ReferenceCrossEntropy::State state;
        state.probabilities = matrix;
        state.objective = &objective;
        state.ordered = ordered;
        state.pathLength = pathLength;
        if (!groups.empty()) {
            state.exclusionLists = ReferenceCrossEntropy::exclusionLists(groups, rows);
        }
        ReferenceCrossEntropy::Parameters const referenceParameters{
            smoothing, quantile, sampleFactor, stallIterations, checkBestStall, maxIterations, dynamics};
        std::vector<int> expected{42};
        double const expectedValue =
            ReferenceCrossEntropy::optimize(state, referenceParameters, expected,
                                            withCallback ? &referenceCallback : nullptr, basePopulation);

        std::vector<std::vector<std::vector<double>>> seen;
        CombinatorialCrossEntropyOptimization::Callback callback = [&](std::vector<std::vector<double>>& m,
                                                                       double a) {
            seen.push_back(m);
            m[0][0] = m[0][0] * a + 0.01;
        };
        CombinatorialCrossEntropyOptimization optimiser(pathLength, matrix, objective, ordered);
        optimiser.setPreGroups(&groups);
        CombinatorialCrossEntropyOptimization::Parameters const parameters{
            smoothing,
            quantile,
            sampleFactor,
            stallIterations,
            checkBestStall,
            maxIterations,
            static_cast<CombinatorialCrossEntropyOptimization::PopulationDynamics>(dynamics)};
        std::vector<int> actual{42};
        double const actualValue =
            optimiser.optimize(parameters, actual, withCallback ? &callback : nullptr, basePopulation);

        ASSERT_TRUE(sameBits(expectedValue, actualValue)) << "trial " << trial;
        ASSERT_EQ(expected, actual) << "trial " << trial;
        ASSERT_EQ(state.numberOfEvaluations, optimiser.getNumberOfEvaluations()) << "trial " << trial;
        ASSERT_EQ(referenceSeen.size(), seen.size()) << "trial " << trial;
        for (std::size_t call = 0; call < seen.size(); ++call) {
            ASSERT_TRUE(sameBits(referenceSeen[call], seen[call])) << "trial " << trial << " call " << call;
        }

        // The learnt matrix is kept: a second run starts from it in both.
        std::vector<int> expectedAgain{42};
        std::vector<int> actualAgain{42};
        double const expectedAgainValue = ReferenceCrossEntropy::optimize(
            state, referenceParameters, expectedAgain, nullptr, basePopulation);
        double const actualAgainValue = optimiser.optimize(parameters, actualAgain, nullptr, basePopulation);
        ASSERT_TRUE(sameBits(expectedAgainValue, actualAgainValue)) << "trial " << trial;
        ASSERT_EQ(expectedAgain, actualAgain) << "trial " << trial;
        ASSERT_EQ(state.numberOfEvaluations, optimiser.getNumberOfEvaluations()) << "trial " << trial;
    }
}

TEST_P(ThreadCount, OptimizeMatchesReference) {
    compareOptimize(5, {150, 1, 9, 5.0, 13, 2, 15, false});
}

TEST_P(ThreadCount, OptimizeWithCappedPopulationsAndCallbacksMatchesReference) {
    compareOptimize(6, {100, 2, 9, 3.0, 13, 8, 6, true});
}

TEST_P(ThreadCount, OptimizeOnWiderMatricesMatchesReference) {
    compareOptimize(7, {12, 10, 30, 1.2, 6, 2, 40, false});
}

INSTANTIATE_TEST_SUITE_P(OneAndTwoThreads, ThreadCount, ::testing::Values(1, 2));

// The optimiser's iterations move between a team and the calling thread alone while it runs (a helper
// that sleeps makes a team round look unpaid; a team is tried again after 10 rounds): the result stays
// the reference's, bit for bit.
TEST(CrossEntropyReference, OptimizeMatchesReferenceWhileTheTeamComesAndGoes) {
    omp_set_num_threads(2);
    while (Kestrel::common::teamRecentlyUnpaid()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    std::mt19937 random(11);
    int const rows = 16;
    std::vector<std::vector<double>> const matrix(rows, std::vector<double>(rows - 1, 1.0 / (rows - 1)));
    int const pathLength = 5;
    auto const table = OptimizationTests::randomObjective(random, rows, pathLength);
    std::atomic<int> helperCalls{0};
    std::atomic<std::int64_t> lastSleep{0};
    std::thread::id const caller = std::this_thread::get_id();
    CombinatorialCrossEntropyOptimization::Objective const objective =
        [&](std::vector<int> const& selection) {
            // Work enough for a round to be worth retrying on a team.
            volatile double sink = 0.0;
            for (int i = 0; i < 4000; ++i) {
                sink = sink + 1.0;
            }
            if (std::this_thread::get_id() != caller) {
                ++helperCalls;
                std::int64_t const now = std::chrono::steady_clock::now().time_since_epoch().count();
                std::int64_t last = lastSleep.load();
                if (now - last > 20000000 && lastSleep.compare_exchange_strong(last, now)) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(5));
                }
            }
            return table(selection);
        };
    ReferenceCrossEntropy::State state;
    state.probabilities = matrix;
    state.objective = &objective;
    state.ordered = false;
    state.pathLength = pathLength;
    ReferenceCrossEntropy::Parameters const referenceParameters{0.1, 0.05, 5.0, 30, false, 30, 0};
    std::vector<int> expected;
    double const expectedValue =
        ReferenceCrossEntropy::optimize(state, referenceParameters, expected, nullptr, 0);

    CombinatorialCrossEntropyOptimization optimiser(pathLength, matrix, objective, false);
    CombinatorialCrossEntropyOptimization::Parameters const parameters{
        0.1, 0.05, 5.0, 30, false, 30, CombinatorialCrossEntropyOptimization::StaticPopulation};
    std::vector<int> actual;
    helperCalls = 0;
    double const actualValue = optimiser.optimize(parameters, actual, nullptr, 0);
    omp_set_num_threads(1);
    if (helperCalls == 0) {
        GTEST_SKIP() << "no helper thread took part";
    }
    EXPECT_TRUE(sameBits(expectedValue, actualValue));
    EXPECT_EQ(expected, actual);
    EXPECT_EQ(state.numberOfEvaluations, optimiser.getNumberOfEvaluations());
    // More than eleven iterations: rounds alone followed the first team round, then a team again.
    EXPECT_GT(optimiser.getNumberOfEvaluations(), 11u * 16u * 15u * 5u);
}

}  // namespace
