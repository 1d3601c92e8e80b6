#include <Kestrel/HungarianAlgorithm.h>

#include "BruteForceAssignments.h"
#include "CerrCapture.h"
#include "HungarianAlgorithmInternals.h"
#include "ReferenceMunkres.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>
#include <numeric>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Matrix = std::vector<std::vector<double>>;

struct Solution {
    std::vector<int> assignment;
    double cost;
};

Solution solve(Matrix matrix) {
    HungarianAlgorithm solver;
    Solution solution;
    solution.cost = solver.Solve(matrix, solution.assignment);
    return solution;
}

Matrix randomMatrix(std::mt19937& engine, int nRows, int nCols, bool integers, int maxInteger) {
    std::uniform_real_distribution<double> real(0.0, 1.0);
    std::uniform_int_distribution<int> integer(0, maxInteger);
    Matrix matrix(nRows, std::vector<double>(nCols));
    for (auto& row : matrix) {
        for (double& value : row) {
            value = integers ? integer(engine) : real(engine);
        }
    }
    return matrix;
}

bool isValidAssignment(std::vector<int> const& assignment, int nRows, int nCols) {
    if (static_cast<int>(assignment.size()) != nRows) {
        return false;
    }
    std::vector<bool> used(nCols, false);
    int assigned = 0;
    for (int col : assignment) {
        if (col < -1 || col >= nCols || (col >= 0 && used[col])) {
            return false;
        }
        if (col >= 0) {
            used[col] = true;
            ++assigned;
        }
    }
    return assigned == std::min(nRows, nCols);
}

TEST(HungarianAlgorithm, OneByOneMatrixAssignsItsOnlyElement) {
    Solution const solution = solve({{5.0}});
    EXPECT_EQ(solution.assignment, std::vector<int>({0}));
    EXPECT_EQ(solution.cost, 5.0);
}

TEST(HungarianAlgorithm, HeaderExampleGivesItsDocumentedResult) {
    Solution const solution = solve({{4.0, 1.0, 3.0}, {2.0, 0.0, 5.0}, {3.0, 2.0, 2.0}});
    EXPECT_EQ(solution.assignment, std::vector<int>({1, 0, 2}));
    EXPECT_EQ(solution.cost, 5.0);
}

TEST(HungarianAlgorithm, WideMatrixAssignsEveryRowToDistinctColumns) {
    Solution const solution = solve({{7.0, 2.0, 9.0}, {3.0, 1.0, 8.0}});
    EXPECT_EQ(solution.assignment, std::vector<int>({1, 0}));
    EXPECT_EQ(solution.cost, 5.0);
}

TEST(HungarianAlgorithm, TallMatrixLeavesOneRowUnassigned) {
    Solution const solution = solve({{7.0, 3.0}, {2.0, 1.0}, {9.0, 8.0}});
    EXPECT_EQ(solution.assignment, std::vector<int>({1, 0, -1}));
    EXPECT_EQ(solution.cost, 5.0);
}

TEST(HungarianAlgorithm, EmptyOuterVectorGivesZeroAndEmptyAssignment) {
    std::vector<int> assignment = {3, 4};
    Matrix empty;
    HungarianAlgorithm solver;
    EXPECT_EQ(solver.Solve(empty, assignment), 0.0);
    EXPECT_TRUE(assignment.empty());
}

TEST(HungarianAlgorithm, RowsWithoutColumnsAreAllUnassigned) {
    Solution const solution = solve({{}, {}, {}});
    EXPECT_EQ(solution.assignment, std::vector<int>({-1, -1, -1}));
    EXPECT_EQ(solution.cost, 0.0);
}

TEST(HungarianAlgorithm, AssignmentVectorIsReplacedNotAppended) {
    Matrix matrix = {{1.0, 2.0}, {2.0, 1.0}};
    std::vector<int> assignment = {9, 9, 9, 9};
    HungarianAlgorithm solver;
    solver.Solve(matrix, assignment);
    EXPECT_EQ(assignment, std::vector<int>({0, 1}));
}

TEST(HungarianAlgorithm, InputMatrixIsNotModified) {
    Matrix matrix = {{4.5, 1.25, 3.0}, {2.0, 0.5, 5.0}};
    Matrix const copy = matrix;
    std::vector<int> assignment;
    HungarianAlgorithm().Solve(matrix, assignment);
    EXPECT_EQ(matrix, copy);
}

TEST(HungarianAlgorithm, CostIsTheSumOfTheUnreducedInputValues) {
    // Every row is reduced by 100 or more; the cost still adds the caller's values.
    Solution const solution = solve({{100.0, 103.0}, {205.0, 200.0}});
    EXPECT_EQ(solution.assignment, std::vector<int>({0, 1}));
    EXPECT_EQ(solution.cost, 300.0);
}

TEST(HungarianAlgorithm, CostAddsAssignedCellsInRowOrder) {
    // 1e16 + 1 + 1 in row order rounds to 1e16 twice; any other order would differ.
    Solution const solution = solve({{1e16, 2e16, 2e16}, {5.0, 1.0, 5.0}, {5.0, 5.0, 1.0}});
    EXPECT_EQ(solution.assignment, std::vector<int>({0, 1, 2}));
    EXPECT_EQ(solution.cost, (1e16 + 1.0) + 1.0);
}

TEST(HungarianAlgorithm, FirstStarPassTiesGoToTheLowestColumnOfEachRow) {
    Solution const solution = solve({{1.0, 1.0, 1.0}, {1.0, 1.0, 1.0}});
    EXPECT_EQ(solution.assignment, std::vector<int>({0, 1}));
    EXPECT_EQ(solution.cost, 2.0);
}

TEST(HungarianAlgorithm, FirstStarPassTiesGoToTheLowestRowOfEachColumnWhenTall) {
    Solution const solution = solve({{0.0, 1.0}, {0.0, 1.0}, {1.0, 0.0}});
    EXPECT_EQ(solution.assignment, std::vector<int>({0, -1, 1}));
    EXPECT_EQ(solution.cost, 0.0);
}

TEST(HungarianAlgorithm, UncoveredZeroTiesGoToTheLowestColumnThenTheLowestRow) {
    // Four assignments cost 1; traced by hand, the scans of the uncovered zeros pick rows 0, 1, 2 to
    // columns 1, 0, 2.
    Solution const solution = solve({{0.0, 0.0, 0.0}, {0.0, 1.0, 1.0}, {0.0, 1.0, 1.0}});
    EXPECT_EQ(solution.assignment, std::vector<int>({1, 0, 2}));
    EXPECT_EQ(solution.cost, 1.0);
}

TEST(HungarianAlgorithm, EachNegativeElementPrintsOneMessage) {
    CerrCapture capture;
    Solution const solution = solve({{-1.0, 2.0, 3.0}, {4.0, -5.0, -0.0}});
    std::string const line = "All matrix elements have to be non-negative.\n";
    EXPECT_EQ(capture.text(), line + line);
    EXPECT_EQ(solution.assignment, std::vector<int>({0, 1}));
    EXPECT_EQ(solution.cost, -6.0);
}

TEST(HungarianAlgorithm, NonNegativeMatrixPrintsNothing) {
    CerrCapture capture;
    solve({{0.0, -0.0}, {3.0, 1.0}});
    EXPECT_EQ(capture.text(), "");
}

TEST(HungarianAlgorithm, RowsOfUnequalLengthAreRejectedNamingTheRow) {
    CerrCapture capture;
    Matrix matrix = {{1.0, 2.0}, {-3.0, 4.0}, {5.0}};
    std::vector<int> assignment = {7};
    try {
        HungarianAlgorithm().Solve(matrix, assignment);
        FAIL() << "no exception";
    } catch (std::invalid_argument const& error) {
        EXPECT_NE(std::string(error.what()).find("row 2 has 1 elements"), std::string::npos) << error.what();
    }
    EXPECT_TRUE(assignment.empty());
    EXPECT_EQ(capture.text(), "");
}

TEST(HungarianAlgorithm, NaNElementIsRejectedNamingTheElement) {
    CerrCapture capture;
    Matrix matrix = {{-1.0, 2.0}, {std::nan(""), 4.0}};
    std::vector<int> assignment;
    try {
        HungarianAlgorithm().Solve(matrix, assignment);
        FAIL() << "no exception";
    } catch (std::invalid_argument const& error) {
        EXPECT_NE(std::string(error.what()).find("(row 1, column 0) is NaN"), std::string::npos)
            << error.what();
    }
    EXPECT_EQ(capture.text(), "");
}

TEST(HungarianAlgorithm, InfiniteElementIsRejectedNamingTheElement) {
    Matrix matrix = {{1.0, 2.0}, {3.0, -std::numeric_limits<double>::infinity()}};
    std::vector<int> assignment;
    try {
        HungarianAlgorithm().Solve(matrix, assignment);
        FAIL() << "no exception";
    } catch (std::invalid_argument const& error) {
        EXPECT_NE(std::string(error.what()).find("(row 1, column 1) is -infinity"), std::string::npos)
            << error.what();
    }
}

// Every matrix of 1 to 3 rows and columns with elements from {0, 1, 2}: optimal against enumeration, and
// identical to the independent reference implementation of the steps (which decides every tie).
TEST(HungarianAlgorithm, EverySmallMatrixOfThreeValuesMatchesBruteForceAndTheMunkresSteps) {
    for (int nRows = 1; nRows <= 3; ++nRows) {
        for (int nCols = 1; nCols <= 3; ++nCols) {
            int const nElements = nRows * nCols;
            int nMatrices = 1;
            for (int k = 0; k < nElements; ++k) {
                nMatrices *= 3;
            }
            for (int code = 0; code < nMatrices; ++code) {
                Matrix matrix(nRows, std::vector<double>(nCols));
                int rest = code;
                for (int k = 0; k < nElements; ++k, rest /= 3) {
                    matrix[k / nCols][k % nCols] = rest % 3;
                }
                Solution const solution = solve(matrix);
                ReferenceMunkres::Result const expected = ReferenceMunkres::solveByMunkresSteps(matrix);
                ASSERT_EQ(solution.assignment, expected.assignment) << nRows << "x" << nCols << " #" << code;
                ASSERT_EQ(solution.cost, expected.cost);
                ASSERT_EQ(solution.cost, bruteforce::optimum(matrix));
            }
        }
    }
}

TEST(HungarianAlgorithm, SeededRandomMatricesMatchBruteForceAndTheMunkresSteps) {
    std::mt19937 engine(20261121);
    for (int trial = 0; trial < 3000; ++trial) {
        int const nRows = 1 + static_cast<int>(engine() % 6);
        int const nCols = 1 + static_cast<int>(engine() % 6);
        bool const integers = trial % 2 == 0;
        Matrix const matrix = randomMatrix(engine, nRows, nCols, integers, 1 + trial % 9);
        Solution const solution = solve(matrix);
        ReferenceMunkres::Result const expected = ReferenceMunkres::solveByMunkresSteps(matrix);
        ASSERT_EQ(solution.assignment, expected.assignment) << "trial " << trial;
        ASSERT_EQ(solution.cost, expected.cost) << "trial " << trial;
        ASSERT_TRUE(isValidAssignment(solution.assignment, nRows, nCols));
        double const optimum = bruteforce::optimum(matrix);
        if (integers) {
            ASSERT_EQ(solution.cost, optimum) << "trial " << trial;
        } else {
            ASSERT_NEAR(solution.cost, optimum, 1e-12) << "trial " << trial;
        }
    }
}

TEST(HungarianAlgorithm, LargerTieHeavyMatricesMatchTheMunkresSteps) {
    std::mt19937 engine(77);
    for (int trial = 0; trial < 60; ++trial) {
        int const nRows = 5 + static_cast<int>(engine() % 26);
        int const nCols = 5 + static_cast<int>(engine() % 26);
        Matrix const matrix = randomMatrix(engine, nRows, nCols, true, trial % 4 == 0 ? 1 : 9);
        Solution const solution = solve(matrix);
        ReferenceMunkres::Result const expected = ReferenceMunkres::solveByMunkresSteps(matrix);
        ASSERT_EQ(solution.assignment, expected.assignment) << "trial " << trial;
        ASSERT_EQ(solution.cost, expected.cost) << "trial " << trial;
    }
}

TEST(HungarianAlgorithm, MatricesWithNegativeElementsMatchTheMunkresSteps) {
    std::mt19937 engine(5);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    for (int trial = 0; trial < 200; ++trial) {
        int const nRows = 1 + static_cast<int>(engine() % 8);
        int const nCols = 1 + static_cast<int>(engine() % 8);
        Matrix matrix(nRows, std::vector<double>(nCols));
        for (auto& row : matrix) {
            for (double& element : row) {
                element = value(engine);
            }
        }
        ReferenceMunkres::Result const expected = ReferenceMunkres::solveByMunkresSteps(matrix);
        CerrCapture capture;
        Solution const solution = solve(matrix);
        std::string const text = capture.text();
        ASSERT_EQ(solution.assignment, expected.assignment) << "trial " << trial;
        ASSERT_EQ(solution.cost, expected.cost) << "trial " << trial;
        std::string expectedText;
        for (int k = 0; k < expected.negativeElements; ++k) {
            expectedText += "All matrix elements have to be non-negative.\n";
        }
        ASSERT_EQ(text, expectedText);
    }
}

// Runs `body` on a thread whose stack is `stackBytes` large and waits for it.
template <class Body>
void runOnThreadWithStack(std::size_t stackBytes, Body& body) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, stackBytes), 0);
    pthread_t thread;
    auto entry = [](void* argument) -> void* {
        (*static_cast<Body*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, entry, &body), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}

// cost(i, j) = (i + 1)(j + 1) makes the steps adjust the matrix n(n - 1)/2 times. A solver whose steps
// called each other would need a stack frame per step; this one runs them on a 256 KiB stack.
TEST(HungarianAlgorithm, ThousandsOfIterationsRunOnA256KiBStack) {
    int const n = 100;
    Matrix matrix(n, std::vector<double>(n));
    for (int row = 0; row < n; ++row) {
        for (int col = 0; col < n; ++col) {
            matrix[row][col] = (row + 1.0) * (col + 1.0);
        }
    }
    ReferenceMunkres::Result const expected = ReferenceMunkres::solveByMunkresSteps(matrix);
    ASSERT_GE(expected.matrixAdjustments, n * (n - 1) / 2);

    Solution steps{{}, 0.0};
    Solution solved{{}, 0.0};
    auto body = [&] {
        steps.cost = HungarianAlgorithmInternals::solveByMunkresSteps(matrix, steps.assignment);
        solved.cost = HungarianAlgorithm().Solve(matrix, solved.assignment);
    };
    runOnThreadWithStack(256 * 1024, body);
    EXPECT_EQ(steps.assignment, expected.assignment);
    EXPECT_EQ(steps.cost, expected.cost);
    EXPECT_EQ(solved.assignment, expected.assignment);
    EXPECT_EQ(solved.cost, 171700.0);  // the reversed pairing: sum of k (n + 1 - k)
}

// A 3000 x 3000 matrix of integers 0 ... 9 is full of ties, so the Munkres steps run on it in full; they
// must finish on a 256 KiB stack as on the default one.
TEST(HungarianAlgorithm, ThreeThousandSquareMatrixWithTiesSolvesOnA256KiBStack) {
    int const n = 3000;
    std::mt19937 engine(3000);
    std::uniform_int_distribution<int> digit(0, 9);
    Matrix matrix(n, std::vector<double>(n));
    for (std::vector<double>& row : matrix) {
        for (double& element : row) {
            element = digit(engine);
        }
    }

    Solution solved{{}, 0.0};
    auto body = [&] { solved.cost = HungarianAlgorithm().Solve(matrix, solved.assignment); };
    runOnThreadWithStack(256 * 1024, body);

    ASSERT_EQ(solved.assignment.size(), static_cast<std::size_t>(n));
    std::vector<int> columns(solved.assignment);
    std::sort(columns.begin(), columns.end());
    std::vector<int> everyColumn(n);
    std::iota(everyColumn.begin(), everyColumn.end(), 0);
    EXPECT_EQ(columns, everyColumn);
    double sum = 0.0;
    double rowMinima = 0.0;
    for (int row = 0; row < n; ++row) {
        sum += matrix[row][solved.assignment[row]];
        rowMinima += *std::min_element(matrix[row].begin(), matrix[row].end());
    }
    EXPECT_EQ(solved.cost, sum);
    // Every row of this size holds a 0 in hundreds of columns: an optimal assignment costs (close to)
    // nothing.
    EXPECT_EQ(rowMinima, 0.0);
    EXPECT_EQ(solved.cost, 0.0);
}

}  // namespace
