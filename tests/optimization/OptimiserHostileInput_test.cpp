// The optimiser refuses inputs that its walk and update cannot use: weights that are NaN, infinite,
// negative or sum to infinity, rows too short for the update, pre-group boundaries that are out of range,
// unsorted or repeated, and a progress callback that breaks the matrix. Each is reported as
// std::invalid_argument naming the offending entry before the objective is called.
#include <Kestrel/CombinatorialCrossEntropyOptimization.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <limits>
#include <stdexcept>
#include <vector>

namespace {

using Optimiser = Kestrel::CombinatorialCrossEntropyOptimization;
using Matrix = std::vector<std::vector<double>>;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

Matrix uniformMatrix(int rows) {
    return Matrix(static_cast<std::size_t>(rows), std::vector<double>(static_cast<std::size_t>(rows - 1),
                                                                      1.0 / static_cast<double>(rows - 1)));
}

Optimiser::Parameters standardParameters() {
    return {0.8, 0.05, 5.0, 3, true, 30, Optimiser::StaticPopulation};
}

// Counts its calls and checks that every item it is given is a node of the matrix.
struct CountingObjective {
    std::atomic<int>* calls;
    int rows;
    double operator()(std::vector<int> const& selection) const {
        ++*calls;
        double sum = 0.0;
        for (int const node : selection) {
            if (node < 0 || node >= rows) {
                throw std::logic_error("node outside the matrix");
            }
            sum += node;
        }
        return sum;
    }
};

// optimize() on `matrix` must throw std::invalid_argument containing `text` without calling the objective
// and leave `result` as it was.
void expectRefusedMatrix(Matrix const& matrix, char const* text) {
    std::atomic<int> calls{0};
    Optimiser::Objective const objective = CountingObjective{&calls, static_cast<int>(matrix.size())};
    Optimiser optimiser(2, matrix, objective, false);
    std::vector<int> result{7};
    EXPECT_THAT([&] { optimiser.optimize(standardParameters(), result, nullptr, 0); },
                ThrowsMessage<std::invalid_argument>(HasSubstr(text)));
    EXPECT_EQ(0, calls.load());
    EXPECT_EQ(std::vector<int>{7}, result);
    EXPECT_EQ(0u, optimiser.getNumberOfEvaluations());
}

TEST(OptimiserInput, NaNWeightIsRefusedNamingRowAndEntry) {
    Matrix matrix = uniformMatrix(5);
    matrix[2][1] = std::numeric_limits<double>::quiet_NaN();
    expectRefusedMatrix(matrix, "row 2, entry 1 is nan");
}

TEST(OptimiserInput, InfiniteWeightIsRefused) {
    Matrix matrix = uniformMatrix(5);
    matrix[0][3] = std::numeric_limits<double>::infinity();
    expectRefusedMatrix(matrix, "row 0, entry 3 is inf");
}

TEST(OptimiserInput, NegativeWeightIsRefused) {
    Matrix matrix = uniformMatrix(5);
    matrix[4][0] = -0.25;
    expectRefusedMatrix(matrix, "row 4, entry 0 is -0.25");
}

TEST(OptimiserInput, RowWhoseSumOverflowsIsRefused) {
    Matrix matrix = uniformMatrix(4);
    matrix[1] = {1e308, 1e308, 1e308};
    expectRefusedMatrix(matrix, "row 1 sum to infinity");
}

TEST(OptimiserInput, RowShorterThanTheUpdateWritesIsRefused) {
    Matrix matrix = uniformMatrix(5);
    matrix[3].resize(2);
    expectRefusedMatrix(matrix, "row 3 has 2 entries, fewer than the 4");
}

TEST(OptimiserInput, ZeroRowsStillWriteNodeZeroAsBefore) {
    // Valid weights whose available part is all zero: the walk writes node 0, the objective sees it.
    Matrix matrix = uniformMatrix(4);
    std::fill(matrix[0].begin(), matrix[0].end(), 0.0);
    std::vector<std::vector<int>> seen;
    Optimiser::Objective const objective = [&](std::vector<int> const& selection) {
#pragma omp critical
        seen.push_back(selection);
        return 1.0;
    };
    Optimiser optimiser(1, matrix, objective, true);
    std::vector<int> result;
    optimiser.optimize({0.8, 0.05, 1.0, 3, true, 2, Optimiser::StaticPopulation}, result, nullptr, 0);
    ASSERT_FALSE(seen.empty());
    for (std::vector<int> const& selection : seen) {
        EXPECT_EQ(std::vector<int>{0}, selection);
    }
    EXPECT_EQ(std::vector<int>{0}, result);
}

TEST(OptimiserInput, SmoothingOutsideZeroToOneIsRefused) {
    std::atomic<int> calls{0};
    Optimiser::Objective const objective = CountingObjective{&calls, 5};
    Optimiser optimiser(2, uniformMatrix(5), objective, false);
    std::vector<int> result{7};
    for (double const smoothing : {-0.1, 1.5, std::numeric_limits<double>::quiet_NaN()}) {
        Optimiser::Parameters const parameters{
            smoothing, 0.05, 5.0, 3, true, 30, Optimiser::StaticPopulation};
        EXPECT_THAT([&] { optimiser.optimize(parameters, result, nullptr, 0); },
                    ThrowsMessage<std::invalid_argument>(HasSubstr("parameters.smoothing =")));
    }
    EXPECT_EQ(0, calls.load());
    EXPECT_EQ(std::vector<int>{7}, result);
}

// Runs one capped iteration (base 4, entropy count well above 5) so that the callback is called.
void expectRefusedCallback(Optimiser::Callback callback, char const* text) {
    Optimiser::Objective const objective = [](std::vector<int> const& s) {
        return static_cast<double>(s[0]);
    };
    Optimiser optimiser(1, uniformMatrix(7), objective, true);
    std::vector<int> result{3};
    EXPECT_THAT(
        [&] {
            optimiser.optimize({0.8, 0.05, 1.0, 3, false, 30, Optimiser::StaticPopulation}, result, &callback,
                               4);
        },
        ThrowsMessage<std::invalid_argument>(HasSubstr(text)));
    EXPECT_EQ(std::vector<int>{3}, result);
}

TEST(OptimiserInput, CallbackThatClearsTheMatrixIsRefused) {
    expectRefusedCallback([](Matrix& matrix, double) { matrix.clear(); },
                          "left the matrix with 0 rows instead of 7");
}

TEST(OptimiserInput, CallbackThatShrinksTheMatrixIsRefused) {
    expectRefusedCallback([](Matrix& matrix, double) { matrix.resize(3); }, "3 rows instead of 7");
}

TEST(OptimiserInput, CallbackThatShortensARowIsRefused) {
    expectRefusedCallback([](Matrix& matrix, double) { matrix[5].clear(); }, "row 5 has 0 entries");
}

TEST(OptimiserInput, CallbackThatWritesNaNIsRefused) {
    expectRefusedCallback(
        [](Matrix& matrix, double) { matrix[1][2] = std::numeric_limits<double>::quiet_NaN(); },
        "after the progress callback: row 1, entry 2 is nan");
}

TEST(OptimiserInput, CallbackThatKeepsTheShapeMayChangeTheWeights) {
    int calls = 0;
    Optimiser::Callback callback = [&](Matrix& matrix, double) {
        ++calls;
        matrix[0].assign(matrix[0].size(), 0.5);
    };
    Optimiser::Objective const objective = [](std::vector<int> const& s) {
        return static_cast<double>(s[0]);
    };
    Optimiser optimiser(1, uniformMatrix(7), objective, true);
    std::vector<int> result;
    optimiser.optimize({0.8, 0.05, 1.0, 3, false, 4, Optimiser::StaticPopulation}, result, &callback, 4);
    EXPECT_GE(calls, 1);
    EXPECT_EQ(1u, result.size());
}

void expectRefusedGroups(std::vector<int> const& groups, char const* text) {
    Optimiser::Objective const objective = [](std::vector<int> const&) { return 0.0; };
    Optimiser optimiser(2, uniformMatrix(6), objective, false);
    std::vector<int> const valid{0, 2};
    optimiser.setPreGroups(&valid);
    EXPECT_THAT([&] { optimiser.setPreGroups(&groups); },
                ThrowsMessage<std::invalid_argument>(HasSubstr(text)));
}

TEST(OptimiserInput, PreGroupsAtTheIntLimitsAreRefused) {
    expectRefusedGroups({INT_MIN, 2}, "groups[0] = -2147483648 lies outside 0 ... 5");
    expectRefusedGroups({1, INT_MAX}, "groups[1] = 2147483647 lies outside 0 ... 5");
}

TEST(OptimiserInput, PreGroupsBeyondTheItemsAreRefused) {
    expectRefusedGroups({0, 6}, "groups[1] = 6 lies outside 0 ... 5");
    expectRefusedGroups({-1, 3}, "groups[0] = -1");
}

TEST(OptimiserInput, UnsortedOrRepeatedPreGroupsAreRefused) {
    expectRefusedGroups({3, 1}, "groups[1] = 1 does not exceed groups[0] = 3");
    expectRefusedGroups({0, 2, 2, 4}, "groups[2] = 2 does not exceed groups[1] = 2");
}

TEST(OptimiserInput, LastBoundaryMayBeOnePastTheLastItem) {
    std::atomic<int> calls{0};
    Optimiser::Objective const objective = CountingObjective{&calls, 6};
    Optimiser optimiser(2, uniformMatrix(6), objective, false);
    std::vector<int> const groups{0, 2, 5};
    optimiser.setPreGroups(&groups);
    std::vector<int> result;
    optimiser.optimize(standardParameters(), result, nullptr, 0);
    EXPECT_GT(calls.load(), 0);
    ASSERT_EQ(2u, result.size());
}

}  // namespace
