#include <Kestrel/HungarianAlgorithm.h>

#include "BruteForceAssignments.h"
#include "ExactMunkresSteps.h"
#include "HungarianAlgorithmInternals.h"
#include "MatrixCheck.h"
#include "ShortestAugmentingPath.h"
#include "UniqueOptimumSolver.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <random>
#include <vector>

namespace {

using Kestrel::assignment::UniqueOptimumOutcome;
using Matrix = std::vector<std::vector<double>>;

UniqueOptimumOutcome outcomeFor(Matrix const& matrix, std::vector<int>& assignment) {
    Kestrel::assignment::MatrixShape const shape = Kestrel::assignment::surveyMatrix(matrix).shape;
    std::vector<double> columnMajor(matrix.size() * matrix.front().size());
    for (std::size_t row = 0; row < matrix.size(); ++row)
        for (std::size_t col = 0; col < matrix.front().size(); ++col)
            columnMajor[row + matrix.size() * col] = matrix[row][col];
    assignment.assign(matrix.size(), -2);
    return Kestrel::assignment::findUniqueOptimum(matrix, columnMajor.data(), shape,
                                                  Kestrel::assignment::surveyMatrix(matrix).exactRange,
                                                  assignment.data());
}

bool sameBits(double a, double b) {
    return std::memcmp(&a, &b, sizeof(double)) == 0;
}

// What Solve returns and what the Munkres steps alone return for the same matrix, solved in that order.
struct BothRoutes {
    std::vector<int> assignment;
    double cost = 0.0;
    std::vector<int> stepsAssignment;
    double stepsCost = 0.0;
};

BothRoutes solveBothWays(Matrix& matrix) {
    BothRoutes result;
    result.cost = HungarianAlgorithm().Solve(matrix, result.assignment);
    result.stepsCost = HungarianAlgorithmInternals::solveByMunkresSteps(matrix, result.stepsAssignment);
    return result;
}

// Whether the fast route proves the matrix; *matched tells whether Solve and (if proved) the proved
// assignment agree bit for bit with the Munkres steps alone.
bool provedAndMatchedTheSteps(Matrix& matrix, bool* matched) {
    std::vector<int> fastAssignment;
    bool const proved = outcomeFor(matrix, fastAssignment) == UniqueOptimumOutcome::Proved;
    BothRoutes const both = solveBothWays(matrix);
    *matched = both.assignment == both.stepsAssignment && sameBits(both.cost, both.stepsCost) &&
               (!proved || fastAssignment == both.stepsAssignment);
    return proved;
}

Matrix uniformMatrix(std::mt19937& engine, int nRows, int nCols) {
    std::uniform_real_distribution<double> value(0.0, 1.0);
    Matrix matrix(nRows, std::vector<double>(nCols));
    for (auto& row : matrix)
        for (double& element : row)
            element = value(engine);
    return matrix;
}

TEST(UniqueOptimumSolver, ShortestAugmentingPathsFindTheOptimumWithFeasibleDuals) {
    std::mt19937 engine(11);
    for (int trial = 0; trial < 500; ++trial) {
        int const nRows = 1 + static_cast<int>(engine() % 6);
        int const nCols = nRows + static_cast<int>(engine() % 3);
        Matrix const matrix = uniformMatrix(engine, nRows, nCols);
        std::vector<double const*> rows;
        for (auto const& row : matrix)
            rows.push_back(row.data());
        std::optional<Kestrel::assignment::DualSolution> const found =
            Kestrel::assignment::solveByShortestAugmentingPaths(rows.data(), nRows, nCols);
        ASSERT_TRUE(found.has_value());
        Kestrel::assignment::DualSolution const& solution = *found;
        double cost = 0.0;
        std::vector<bool> used(nCols, false);
        for (int row = 0; row < nRows; ++row) {
            int const col = solution.columnOfRow[row];
            ASSERT_GE(col, 0);
            ASSERT_FALSE(used[col]);
            used[col] = true;
            cost += matrix[row][col];
            EXPECT_NEAR(matrix[row][col] - solution.rowDual[row] - solution.columnDual[col], 0.0, 1e-12);
            for (int other = 0; other < nCols; ++other)
                EXPECT_GE(matrix[row][other] - solution.rowDual[row] - solution.columnDual[other], -1e-12);
        }
        for (int col = 0; col < nCols; ++col) {
            EXPECT_LE(solution.columnDual[col], 0.0);
            if (!used[col]) {
                EXPECT_EQ(solution.columnDual[col], 0.0);
            }
        }
        EXPECT_NEAR(cost, bruteforce::optimum(matrix), 1e-12) << "trial " << trial;
    }
}

// The central property: wherever the fast route applies, Solve returns bit for bit what the Munkres
// steps return; and on tie-free random matrices it applies almost always.
TEST(UniqueOptimumSolver, ProvedOptimumIsWhatTheMunkresStepsReturnOnRandomMatrices) {
    std::mt19937 engine(20261121);
    int proved = 0;
    int const trials = 400;
    for (int trial = 0; trial < trials; ++trial) {
        int const nRows = 1 + static_cast<int>(engine() % 40);
        int const nCols = trial % 3 == 0 ? nRows : 1 + static_cast<int>(engine() % 40);
        Matrix matrix = uniformMatrix(engine, nRows, nCols);
        if (trial % 4 == 1)  // wide range of magnitudes
            for (auto& row : matrix)
                for (double& element : row)
                    element = std::ldexp(element, static_cast<int>(engine() % 60) - 30);
        std::vector<int> fastAssignment;
        UniqueOptimumOutcome const outcome = outcomeFor(matrix, fastAssignment);
        if (outcome == UniqueOptimumOutcome::Proved && trial % 4 != 1)
            ++proved;
        BothRoutes const both = solveBothWays(matrix);
        ASSERT_EQ(both.assignment, both.stepsAssignment) << "trial " << trial;
        ASSERT_TRUE(sameBits(both.cost, both.stepsCost)) << "trial " << trial;
        if (outcome == UniqueOptimumOutcome::Proved) {
            ASSERT_EQ(fastAssignment, both.stepsAssignment) << "trial " << trial;
        }
    }
    EXPECT_GE(proved, trials * 3 / 4 * 95 / 100)
        << "of " << trials * 3 / 4 << " matrices of values in [0, 1)";
}

TEST(UniqueOptimumSolver, ProvedOptimumIsWhatTheMunkresStepsReturnOnLargerMatrices) {
    std::mt19937 engine(3);
    int const shapes[][2] = {{150, 150}, {100, 220}, {220, 100}, {200, 200}};
    for (auto const& shape : shapes) {
        Matrix matrix = uniformMatrix(engine, shape[0], shape[1]);
        std::vector<int> fastAssignment;
        ASSERT_EQ(outcomeFor(matrix, fastAssignment), UniqueOptimumOutcome::Proved);
        BothRoutes const both = solveBothWays(matrix);
        EXPECT_EQ(fastAssignment, both.stepsAssignment);
        EXPECT_EQ(both.assignment, both.stepsAssignment);
        EXPECT_TRUE(sameBits(both.cost, both.stepsCost));
    }
}

// Small matrices of few distinct values are full of ties: whenever the optimum is proved unique,
// enumeration agrees that it is unique and that it is this assignment.
TEST(UniqueOptimumSolver, OnlyUniqueOptimaAreProved) {
    std::mt19937 engine(99);
    int proved = 0;
    for (int trial = 0; trial < 4000; ++trial) {
        int const nRows = 1 + static_cast<int>(engine() % 5);
        int const nCols = 1 + static_cast<int>(engine() % 5);
        int const levels = 2 + trial % 6;
        Matrix matrix(nRows, std::vector<double>(nCols));
        for (auto& row : matrix)
            for (double& element : row)
                element = static_cast<double>(engine() % levels) * 0.125;
        std::vector<int> fastAssignment;
        UniqueOptimumOutcome const outcome = outcomeFor(matrix, fastAssignment);
        bruteforce::Enumeration const all = bruteforce::enumerate(matrix);
        bool const unique = all.costs.size() == 1 || all.costs[0] < all.costs[1];
        if (outcome == UniqueOptimumOutcome::Proved) {
            ++proved;
            ASSERT_TRUE(unique) << "trial " << trial;
            ASSERT_EQ(fastAssignment, all.best) << "trial " << trial;
        } else {
            ASSERT_EQ(fastAssignment, std::vector<int>(nRows, -2)) << "assignment written without proof";
        }
    }
    EXPECT_GT(proved, 500);
}

TEST(UniqueOptimumSolver, NearTieIsLeftToTheMunkresSteps) {
    // The two assignments differ by about 2e-15, less than the steps' rounding could blur.
    Matrix const matrix = {{0.3, 0.6}, {0.6, 0.9 + 2e-15}};
    std::vector<int> assignment;
    EXPECT_EQ(outcomeFor(matrix, assignment), UniqueOptimumOutcome::NearTieFound);
}

TEST(UniqueOptimumSolver, IdenticalRowsAreLeftToTheMunkresSteps) {
    std::mt19937 engine(8);
    Matrix matrix = uniformMatrix(engine, 30, 30);
    matrix[17] = matrix[4];
    std::vector<int> assignment;
    EXPECT_EQ(outcomeFor(matrix, assignment), UniqueOptimumOutcome::NearTieFound);
}

TEST(UniqueOptimumSolver, ChoiceBetweenAUsedAndAnEqualUnusedColumnIsLeftToTheMunkresSteps) {
    // Columns 2 and 6 are equal and cheap, so the optimum uses one of them or both; either way another
    // assignment of equal cost exists (swap them, or move to the equal unused column).
    std::mt19937 engine(21);
    for (int nRows : {1, 3, 5}) {
        Matrix matrix = uniformMatrix(engine, nRows, 8);
        for (auto& row : matrix)
            row[6] = row[2] = row[2] * 1e-3;
        std::vector<int> assignment;
        EXPECT_EQ(outcomeFor(matrix, assignment), UniqueOptimumOutcome::NearTieFound) << nRows;
        Matrix transposed(8, std::vector<double>(nRows));
        for (int row = 0; row < nRows; ++row)
            for (int col = 0; col < 8; ++col)
                transposed[col][row] = matrix[row][col];
        EXPECT_EQ(outcomeFor(transposed, assignment), UniqueOptimumOutcome::NearTieFound) << nRows;
    }
}

TEST(UniqueOptimumSolver, RowThatCouldMoveToAFreeColumnAtEqualCostIsLeftToTheMunkresSteps) {
    // Row 0 takes column 0 (cost 0.1); column 2 is free and costs row 0 the same 0.1.
    Matrix const matrix = {{0.1, 0.7, 0.1}, {0.8, 0.2, 0.9}};
    std::vector<int> assignment;
    EXPECT_EQ(outcomeFor(matrix, assignment), UniqueOptimumOutcome::NearTieFound);
}

TEST(UniqueOptimumSolver, NegativeElementsAreProvedAsOthersAre) {
    Matrix const matrix = {{0.5, -0.25}, {0.75, 0.125}};
    std::vector<int> assignment;
    EXPECT_EQ(outcomeFor(matrix, assignment), UniqueOptimumOutcome::Proved);
    EXPECT_EQ(assignment, std::vector<int>({1, 0}));
}

// Negated and shifted uniform matrices (the maximisation a user writes as a minimisation): the fast route
// applies as for positive costs and returns the steps' result.
TEST(UniqueOptimumSolver, NegativeMatricesAreProvedAndMatchTheMunkresSteps) {
    std::mt19937 engine(909);
    int proved = 0;
    int const trials = 120;
    for (int trial = 0; trial < trials; ++trial) {
        int const nRows = 1 + static_cast<int>(engine() % 30);
        int const nCols = trial % 3 == 0 ? nRows : 1 + static_cast<int>(engine() % 30);
        Matrix matrix = uniformMatrix(engine, nRows, nCols);
        double const shift = trial % 2 == 0 ? 0.0 : 0.5;
        for (auto& row : matrix) {
            for (double& element : row) {
                element = shift - element;
            }
        }
        bool matched = false;
        proved += provedAndMatchedTheSteps(matrix, &matched);
        ASSERT_TRUE(matched) << "trial " << trial;
    }
    EXPECT_GE(proved, trials * 9 / 10);
}

// Square matrices with forbidden pairs take the fast route too; rectangular ones whose lines hold fewer
// finite costs than the short side has lines are left to the other routes.
TEST(UniqueOptimumSolver, ForbiddenPairsAreProvedOnSquareMatricesAndMatchTheMunkresSteps) {
    std::mt19937 engine(31);
    std::bernoulli_distribution forbidden(0.3);
    int proved = 0;
    int const trials = 150;
    for (int trial = 0; trial < trials; ++trial) {
        int const n = 2 + static_cast<int>(engine() % 30);
        Matrix matrix = uniformMatrix(engine, n, n);
        for (int row = 0; row < n; ++row) {
            for (int col = 0; col < n; ++col) {
                if (col != (row + trial) % n && forbidden(engine)) {
                    matrix[row][col] = std::numeric_limits<double>::infinity();
                }
            }
        }
        bool matched = false;
        proved += provedAndMatchedTheSteps(matrix, &matched);
        ASSERT_TRUE(matched) << "trial " << trial;
    }
    EXPECT_GE(proved, trials * 9 / 10);

    double const inf = std::numeric_limits<double>::infinity();
    Matrix const wide = {{inf, inf, 0.25}, {0.75, 0.125, 0.375}};
    std::vector<int> assignment;
    EXPECT_EQ(outcomeFor(wide, assignment), UniqueOptimumOutcome::NotApplicable);
}

TEST(UniqueOptimumSolver, HugeElementsAreLeftToTheMunkresSteps) {
    Matrix const matrix = {{1e281, 1.0}, {1.0, 2.0}};
    std::vector<int> assignment;
    EXPECT_EQ(outcomeFor(matrix, assignment), UniqueOptimumOutcome::NotApplicable);
}

TEST(UniqueOptimumSolver, ElementsNearTheLargestDoubleAreSolvedByTheMunkresSteps) {
    double const big = std::numeric_limits<double>::max() / 8.0;
    Matrix matrix = {{big, 1.0, big}, {1.0, big, 2.0}, {big, 3.0, big / 2.0}};
    std::vector<int> assignment;
    EXPECT_EQ(outcomeFor(matrix, assignment), UniqueOptimumOutcome::NotApplicable);
    double const cost = HungarianAlgorithm().Solve(matrix, assignment);
    EXPECT_EQ(assignment, std::vector<int>({1, 0, 2}));
    EXPECT_EQ(cost, (1.0 + 1.0) + big / 2.0);
}

TEST(UniqueOptimumSolver, TieHeavyIntegerMatricesMostlyTakeTheMunkresStepsAndMatchThem) {
    std::mt19937 engine(4);
    int steps = 0;
    for (int trial = 0; trial < 20; ++trial) {
        int const nRows = 20 + static_cast<int>(engine() % 30);
        int const nCols = 20 + static_cast<int>(engine() % 30);
        Matrix matrix(nRows, std::vector<double>(nCols));
        for (auto& row : matrix)
            for (double& element : row)
                element = static_cast<double>(engine() % 10);
        std::vector<int> fastAssignment;
        if (outcomeFor(matrix, fastAssignment) != UniqueOptimumOutcome::Proved)
            ++steps;
        BothRoutes const both = solveBothWays(matrix);
        ASSERT_EQ(both.assignment, both.stepsAssignment) << "trial " << trial;
        ASSERT_TRUE(sameBits(both.cost, both.stepsCost)) << "trial " << trial;
    }
    EXPECT_GE(steps, 18);
}

// Rows that nearly repeat another row put a second assignment at a chosen distance from the optimum,
// from far above the proof's margin down to below the rounding of the steps; whichever route runs, the
// result is the steps' result.
TEST(UniqueOptimumSolver, NearRepeatedRowsGiveTheMunkresStepsResultAtEveryDistance) {
    std::mt19937 engine(1234);
    for (int exponent = 3; exponent <= 16; ++exponent) {
        for (int trial = 0; trial < 6; ++trial) {
            int const nRows = 8 + static_cast<int>(engine() % 20);
            int const nCols = 8 + static_cast<int>(engine() % 20);
            Matrix matrix = uniformMatrix(engine, nRows, nCols);
            int const copyTo = static_cast<int>(engine() % nRows);
            int const copyFrom = (copyTo + 1) % nRows;
            matrix[copyTo] = matrix[copyFrom];
            for (double& element : matrix[copyTo])
                element += std::ldexp(static_cast<double>(engine() % 1000) / 1000.0, -3 * exponent / 2 - 10);
            BothRoutes const both = solveBothWays(matrix);
            ASSERT_EQ(both.assignment, both.stepsAssignment) << "exponent " << exponent << " trial " << trial;
            ASSERT_TRUE(sameBits(both.cost, both.stepsCost)) << "exponent " << exponent << " trial " << trial;
        }
    }
}

}  // namespace
