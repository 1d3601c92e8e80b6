// Forbidden pairs (+infinity), infeasible matrices and the input that stays invalid, through Solve.
#include <Kestrel/HungarianAlgorithm.h>

#include "BruteForceAssignments.h"
#include "CerrCapture.h"
#include "CompleteMatching.h"
#include "MatrixCheck.h"
#include "ReferenceMunkres.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <limits>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Matrix = std::vector<std::vector<double>>;
double const inf = std::numeric_limits<double>::infinity();

// The message of the exception Solve throws for the matrix, with what it wrote to std::cerr and whether it
// left the assignment empty; an empty message when it throws nothing.
struct Rejection {
    std::string message;
    std::string cerrText;
    bool assignmentEmpty = false;
};

Rejection rejectionOf(Matrix matrix) {
    CerrCapture capture;
    Rejection rejection;
    std::vector<int> assignment = {4, 5};
    try {
        HungarianAlgorithm().Solve(matrix, assignment);
    } catch (std::invalid_argument const& error) {
        rejection.message = error.what();
    }
    rejection.cerrText = capture.text();
    rejection.assignmentEmpty = assignment.empty();
    return rejection;
}

TEST(ForbiddenPairs, ForbiddenPairIsNeverAssigned) {
    Matrix matrix = {{inf, 1.0, 5.0}, {2.0, inf, 1.0}, {1.0, 4.0, inf}};
    std::vector<int> assignment;
    double const cost = HungarianAlgorithm().Solve(matrix, assignment);
    EXPECT_EQ(assignment, std::vector<int>({1, 2, 0}));
    EXPECT_EQ(cost, 3.0);
}

TEST(ForbiddenPairs, TotalIsTheSumOfTheAssignedFiniteValues) {
    Matrix matrix = {{inf, 2.5}, {0.5, inf}};
    std::vector<int> assignment;
    double const cost = HungarianAlgorithm().Solve(matrix, assignment);
    EXPECT_EQ(assignment, std::vector<int>({1, 0}));
    EXPECT_EQ(cost, 3.0);
}

TEST(ForbiddenPairs, FullyForbiddenColumnOfAWideMatrixIsLeftOver) {
    Matrix matrix = {{3.0, inf, 1.0}, {2.0, inf, 4.0}};
    std::vector<int> assignment;
    EXPECT_EQ(HungarianAlgorithm().Solve(matrix, assignment), 3.0);
    EXPECT_EQ(assignment, std::vector<int>({2, 0}));
}

TEST(ForbiddenPairs, FullyForbiddenRowOfATallMatrixIsLeftUnassigned) {
    Matrix matrix = {{3.0, 2.0}, {inf, inf}, {1.0, 4.0}};
    std::vector<int> assignment;
    EXPECT_EQ(HungarianAlgorithm().Solve(matrix, assignment), 3.0);
    EXPECT_EQ(assignment, std::vector<int>({1, -1, 0}));
}

TEST(ForbiddenPairs, FullyForbiddenRowOfAWideMatrixIsInfeasible) {
    Rejection const rejection = rejectionOf({{1.0, 2.0, 3.0}, {inf, inf, inf}});
    EXPECT_EQ(rejection.message, "cost matrix is infeasible");
    EXPECT_TRUE(rejection.assignmentEmpty);
    EXPECT_EQ(rejection.cerrText, "");
}

TEST(ForbiddenPairs, FullyForbiddenColumnOfATallMatrixIsInfeasible) {
    Rejection const rejection = rejectionOf({{1.0, inf}, {2.0, inf}, {3.0, inf}});
    EXPECT_EQ(rejection.message, "cost matrix is infeasible");
    EXPECT_TRUE(rejection.assignmentEmpty);
}

// Every row has a finite element, but rows 0 and 1 can only take column 0.
TEST(ForbiddenPairs, TwoRowsCompetingForOneColumnAreInfeasible) {
    Rejection const rejection = rejectionOf({{1.0, inf, inf}, {2.0, inf, inf}, {3.0, 4.0, 5.0}});
    EXPECT_EQ(rejection.message, "cost matrix is infeasible");
}

TEST(ForbiddenPairs, InfeasibleMatrixWithNegativeElementsWritesNothing) {
    Rejection const rejection = rejectionOf({{-1.0, inf}, {-2.0, inf}});
    EXPECT_EQ(rejection.message, "cost matrix is infeasible");
    EXPECT_EQ(rejection.cerrText, "");
    EXPECT_TRUE(rejection.assignmentEmpty);
}

TEST(ForbiddenPairs, EveryElementForbiddenIsInfeasible) {
    EXPECT_EQ(rejectionOf({{inf}}).message, "cost matrix is infeasible");
}

TEST(ForbiddenPairs, NegativeElementsBesideForbiddenPairsPrintOneMessageEach) {
    CerrCapture capture;
    Matrix matrix = {{-1.0, inf}, {inf, -2.0}};
    std::vector<int> assignment;
    double const cost = HungarianAlgorithm().Solve(matrix, assignment);
    EXPECT_EQ(capture.text(),
              "All matrix elements have to be non-negative.\n"
              "All matrix elements have to be non-negative.\n");
    EXPECT_EQ(assignment, std::vector<int>({0, 1}));
    EXPECT_EQ(cost, -3.0);
}

TEST(ForbiddenPairs, MinusInfinityStaysInvalidAndNamesTheElement) {
    Rejection const rejection = rejectionOf({{1.0, 2.0}, {3.0, -inf}});
    EXPECT_NE(rejection.message.find("(row 1, column 1) is -infinity"), std::string::npos)
        << rejection.message;
    EXPECT_EQ(rejection.cerrText, "");
    EXPECT_TRUE(rejection.assignmentEmpty);
}

TEST(ForbiddenPairs, NaNStaysInvalidEvenInAnInfeasibleMatrix) {
    Rejection const rejection = rejectionOf({{inf, inf}, {std::nan(""), 1.0}});
    EXPECT_NE(rejection.message.find("(row 1, column 0) is NaN"), std::string::npos) << rejection.message;
}

Matrix randomMatrixWithForbiddenPairs(std::mt19937& engine, int nRows, int nCols, double share,
                                      bool integers) {
    std::uniform_real_distribution<double> real(0.0, 1.0);
    std::uniform_int_distribution<int> digit(0, 4);
    std::bernoulli_distribution forbidden(share);
    Matrix matrix(nRows, std::vector<double>(nCols));
    for (auto& row : matrix) {
        for (double& element : row) {
            element = forbidden(engine) ? inf : (integers ? digit(engine) : real(engine));
        }
    }
    return matrix;
}

// Feasibility against enumeration, and on feasible matrices the result against the reference steps (bit
// for bit) and the enumerated optimum.
TEST(ForbiddenPairs, SmallRandomMatricesMatchEnumerationAndTheReferenceSteps) {
    std::mt19937 engine(424242);
    int feasible = 0;
    int infeasible = 0;
    for (int trial = 0; trial < 4000; ++trial) {
        int const nRows = 1 + static_cast<int>(engine() % 5);
        int const nCols = 1 + static_cast<int>(engine() % 5);
        Matrix matrix =
            randomMatrixWithForbiddenPairs(engine, nRows, nCols, 0.1 + 0.1 * (trial % 6), trial % 2);
        bruteforce::Enumeration const enumeration = bruteforce::enumerate(matrix);
        bool const expectFeasible = !enumeration.costs.empty() && std::isfinite(enumeration.costs.front());
        Kestrel::assignment::MatrixShape const shape = Kestrel::assignment::surveyMatrix(matrix).shape;
        ASSERT_EQ(Kestrel::assignment::hasCompleteMatching(matrix, shape), expectFeasible)
            << "trial " << trial;
        std::vector<int> assignment;
        if (!expectFeasible) {
            ++infeasible;
            EXPECT_THROW(HungarianAlgorithm().Solve(matrix, assignment), std::invalid_argument);
            continue;
        }
        ++feasible;
        double const cost = HungarianAlgorithm().Solve(matrix, assignment);
        ReferenceMunkres::Result const expected = ReferenceMunkres::solveByMunkresSteps(matrix);
        ASSERT_EQ(assignment, expected.assignment) << "trial " << trial;
        ASSERT_EQ(cost, expected.cost) << "trial " << trial;
        ASSERT_NEAR(cost, enumeration.costs.front(), 1e-12) << "trial " << trial;
    }
    EXPECT_GT(feasible, 1000);
    EXPECT_GT(infeasible, 300);
}

TEST(ForbiddenPairs, LargerMatricesWithHalfTheirPairsForbiddenMatchTheReferenceSteps) {
    std::mt19937 engine(77);
    for (int trial = 0; trial < 40; ++trial) {
        int const nRows = 10 + static_cast<int>(engine() % 30);
        int const nCols = 10 + static_cast<int>(engine() % 30);
        Matrix matrix = randomMatrixWithForbiddenPairs(engine, nRows, nCols, 0.5, trial % 2);
        std::vector<int> assignment;
        Kestrel::assignment::MatrixShape const shape = Kestrel::assignment::surveyMatrix(matrix).shape;
        if (!Kestrel::assignment::hasCompleteMatching(matrix, shape)) {
            continue;
        }
        double const cost = HungarianAlgorithm().Solve(matrix, assignment);
        ReferenceMunkres::Result const expected = ReferenceMunkres::solveByMunkresSteps(matrix);
        ASSERT_EQ(assignment, expected.assignment) << "trial " << trial;
        ASSERT_EQ(cost, expected.cost) << "trial " << trial;
    }
}

}  // namespace
