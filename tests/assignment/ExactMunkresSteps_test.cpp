// The exact incremental form of the Munkres steps against the reference steps
// and the library's steps as they stand, bit for bit.
#include <Kestrel/HungarianAlgorithm.h>

#include "CerrCapture.h"
#include "ExactMunkresSteps.h"
#include "FirstReduction.h"
#include "HungarianAlgorithmInternals.h"
#include "ReferenceMunkres.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace {

using Matrix = std::vector<std::vector<double>>;
double const inf = std::numeric_limits<double>::infinity();

std::vector<double> columnMajor(Matrix const& matrix) {
    std::size_t const nRows = matrix.size();
    std::vector<double> values(nRows * matrix.front().size());
    for (std::size_t row = 0; row < nRows; ++row) {
        for (std::size_t col = 0; col < matrix.front().size(); ++col) {
            values[row + nRows * col] = matrix[row][col];
        }
    }
    return values;
}

double rangeOf(Matrix const& matrix) {
    return Kestrel::assignment::surveyMatrix(matrix).exactRange;
}

// The incremental steps' assignment after the first reduction and star pass, or an empty vector when the
// matrix does not qualify or the values leave the exact range.
std::vector<int> exactAssignment(Matrix const& matrix) {
    std::vector<double> values = columnMajor(matrix);
    int const nRows = static_cast<int>(matrix.size());
    int const nCols = static_cast<int>(matrix.front().size());
    double const range = Kestrel::assignment::surveyMatrix(matrix).exactRange;
    if (range == 0.0) {
        return {};
    }
    std::vector<int> assignment(nRows);
    std::vector<char> covers(nCols, 0);
    bool* coveredColumns = reinterpret_cast<bool*>(covers.data());
    std::vector<double> lineMinimum(std::min(nRows, nCols));
    Kestrel::assignment::reduceAndStar(values.data(), assignment.data(), coveredColumns, nRows, nCols,
                                       lineMinimum.data());
    bool const solved = Kestrel::assignment::continueStepsExactly(values.data(), matrix, lineMinimum.data(),
                                                                  nRows, nCols, range, assignment.data());
    return solved ? assignment : std::vector<int>();
}

// The whole route as Solve calls it.
bool routeTakesIt(Matrix const& matrix) {
    std::vector<int> assignment(matrix.size());
    Kestrel::assignment::MatrixSurvey survey = Kestrel::assignment::surveyMatrix(matrix);
    Kestrel::assignment::surveyColumns(matrix, &survey);
    return survey.exactRange > 0.0 &&
           Kestrel::assignment::solveByExactSteps(matrix, survey, assignment.data());
}

// Integer costs in [low, high], a share of them forbidden, and an optional seeded structure.
Matrix integerMatrix(std::mt19937& engine, int nRows, int nCols, int low, int high, double forbiddenShare) {
    std::uniform_int_distribution<int> value(low, high);
    std::bernoulli_distribution forbidden(forbiddenShare);
    Matrix matrix(nRows, std::vector<double>(nCols));
    for (int row = 0; row < nRows; ++row) {
        for (int col = 0; col < nCols; ++col) {
            // One diagonal stays finite, so that the matrix is feasible.
            bool const keep = row % nCols == col % nRows || col == row % nCols || row == col % nRows;
            matrix[row][col] = !keep && forbidden(engine) ? inf : value(engine);
        }
    }
    return matrix;
}

TEST(ExactMunkresSteps, RangeIsTheExactBoundOfTheCoarsestGrid) {
    EXPECT_EQ(rangeOf({{0.0, 3.0}, {7.0, 1.0}}), std::ldexp(1.0, 52));
    EXPECT_EQ(rangeOf({{0.5, 3.0}, {7.25, 1.0}}), std::ldexp(1.0, 50));
    EXPECT_EQ(rangeOf({{4.0, 8.0}, {12.0, inf}}), std::ldexp(1.0, 54));
    EXPECT_EQ(rangeOf({{-4.0, 8.0}, {-12.0, 0.0}}), std::ldexp(1.0, 54));
    EXPECT_EQ(rangeOf({{0.0, 0.0}}), std::ldexp(1.0, 52));
}

TEST(ExactMunkresSteps, MatricesOffTheGridOrTooLargeForItDoNotQualify) {
    EXPECT_EQ(rangeOf({{0.1, 3.0}}), 0.0);                        // 0.1 needs bits below 2^-52
    EXPECT_EQ(rangeOf({{std::ldexp(1.0, -53), 1.0}}), 0.0);       // a grid finer than DBL_EPSILON
    EXPECT_EQ(rangeOf({{std::ldexp(1.0, 51) + 1.0, 1.0}}), 0.0);  // twice the largest reaches 2^52
    EXPECT_EQ(rangeOf({{1e300, 0.0}}), 0.0);
}

// Small matrices of every integer class, square and rectangular, with and without forbidden pairs and
// negative values: the exact route qualifies and returns the reference steps' assignment.
TEST(ExactMunkresSteps, IntegerMatricesMatchTheReferenceSteps) {
    std::mt19937 engine(2026);
    int const ranges[][2] = {{0, 1}, {0, 9}, {1, 100}, {0, 999}, {-9, 9}, {-1000, -1}};
    for (int trial = 0; trial < 3000; ++trial) {
        int const nRows = 1 + static_cast<int>(engine() % 12);
        int const nCols = 1 + static_cast<int>(engine() % 12);
        auto const& range = ranges[trial % 6];
        Matrix const matrix =
            integerMatrix(engine, nRows, nCols, range[0], range[1], trial % 3 == 0 ? 0.3 : 0.0);
        std::vector<int> const exact = exactAssignment(matrix);
        ASSERT_FALSE(exact.empty()) << "trial " << trial;
        ASSERT_EQ(exact, ReferenceMunkres::solveByMunkresSteps(matrix).assignment) << "trial " << trial;
    }
}

TEST(ExactMunkresSteps, MediumMatricesMatchTheReferenceSteps) {
    std::mt19937 engine(7);
    for (int trial = 0; trial < 40; ++trial) {
        int const nRows = 20 + static_cast<int>(engine() % 40);
        int const nCols = 20 + static_cast<int>(engine() % 40);
        int const high = trial % 4 == 0 ? 3 : (trial % 4 == 1 ? 9 : (trial % 4 == 2 ? 100 : 999));
        Matrix const matrix = integerMatrix(engine, nRows, nCols, 0, high, trial % 5 == 0 ? 0.5 : 0.0);
        ASSERT_EQ(exactAssignment(matrix), ReferenceMunkres::solveByMunkresSteps(matrix).assignment)
            << "trial " << trial;
    }
}

// Dyadic fractions (multiples of 2^-20) and structured products: the grid need not be the integers.
TEST(ExactMunkresSteps, DyadicAndStructuredMatricesMatchTheLibrarysSteps) {
    std::mt19937 engine(99);
    for (int trial = 0; trial < 12; ++trial) {
        int const n = 30 + static_cast<int>(engine() % 60);
        int const nCols = trial % 3 == 0 ? n + 17 : n;
        Matrix matrix(n, std::vector<double>(nCols));
        for (int row = 0; row < n; ++row) {
            for (int col = 0; col < nCols; ++col) {
                matrix[row][col] = trial % 2 == 0 ? std::ldexp(static_cast<double>(engine() % 64), -20)
                                                  : static_cast<double>((row + trial % 4) * (col + 1));
            }
        }
        std::vector<int> steps;
        HungarianAlgorithmInternals::solveByMunkresSteps(matrix, steps);
        ASSERT_EQ(exactAssignment(matrix), steps) << "trial " << trial;
    }
}

// The 1 puts the grid at the integers; an adjustment by about 2^51 would take the working values past the
// exact range 2^52, although the elements themselves qualify: the route declines, and Solve still returns the
// steps' result.
TEST(ExactMunkresSteps, AdjustmentsLeavingTheExactRangeAreDeclined) {
    double const big = 1.75 * std::ldexp(1.0, 50);
    Matrix matrix = {{0.0, big, big}, {big, 0.0, big}, {0.0, 1.0, big}};
    ASSERT_EQ(rangeOf(matrix), std::ldexp(1.0, 52));
    EXPECT_TRUE(exactAssignment(matrix).empty());
    std::vector<int> assignment;
    double const cost = HungarianAlgorithm().Solve(matrix, assignment);
    ReferenceMunkres::Result const expected = ReferenceMunkres::solveByMunkresSteps(matrix);
    EXPECT_EQ(assignment, expected.assignment);
    EXPECT_EQ(cost, expected.cost);
}

// The route serves every matrix on a grid, whether its first star pass stars almost nothing (products of
// indices) or most lines (random digits).
TEST(ExactMunkresSteps, RouteTakesMatricesWithFewAndWithManyFirstStars) {
    int const n = 40;
    Matrix products(n, std::vector<double>(n));
    Matrix digits(n, std::vector<double>(n));
    std::mt19937 engine(5);
    for (int row = 0; row < n; ++row) {
        for (int col = 0; col < n; ++col) {
            products[row][col] = static_cast<double>(row * col);
            digits[row][col] = static_cast<double>(engine() % 10);
        }
    }
    for (Matrix* matrix : {&products, &digits}) {
        EXPECT_TRUE(routeTakesIt(*matrix));
        std::vector<int> assignment;
        HungarianAlgorithm().Solve(*matrix, assignment);
        EXPECT_EQ(assignment, ReferenceMunkres::solveByMunkresSteps(*matrix).assignment);
    }
}

// Larger integer matrices of every class, square, wide and tall, some with forbidden pairs: Solve takes
// the exact route and returns the steps' assignment and cost bit for bit.
TEST(ExactMunkresSteps, LargerIntegerMatricesMatchTheStepsBitForBit) {
    std::mt19937 engine(31);
    int const ranges[][2] = {{0, 9}, {1, 100}, {0, 999}, {-50, 50}};
    int const shapes[][2] = {{120, 120}, {80, 160}, {160, 80}, {150, 150}};
    for (int trial = 0; trial < 24; ++trial) {
        auto const& range = ranges[trial % 4];
        auto const& shape = shapes[(trial / 4) % 4];
        Matrix matrix =
            integerMatrix(engine, shape[0], shape[1], range[0], range[1], trial % 3 == 2 ? 0.4 : 0.0);
        ASSERT_FALSE(exactAssignment(matrix).empty()) << "trial " << trial;
        std::vector<int> fast;
        std::vector<int> steps;
        CerrCapture const negativeElementMessages;
        double const fastCost = HungarianAlgorithm().Solve(matrix, fast);
        double const stepsCost = HungarianAlgorithmInternals::solveByMunkresSteps(matrix, steps);
        ASSERT_EQ(fast, steps) << "trial " << trial;
        ASSERT_EQ(std::memcmp(&fastCost, &stepsCost, sizeof(double)), 0) << "trial " << trial;
    }
}

// Small integers among integers of about 1.75 * 2^50, with a 1 that keeps the grid at the integers: the
// elements qualify (twice the largest stays below 2^52), but where small values collide the adjustments
// approach the large ones and the working values would pass 2^52, so the route must decline. Both kinds
// occur, and Solve returns the reference steps' result on every matrix.
TEST(ExactMunkresSteps, HugeIntegersNearTheBoundDeclineOrMatchTheReference) {
    std::mt19937_64 engine(8);
    int nDeclined = 0;
    int nTaken = 0;
    for (int trial = 0; trial < 300; ++trial) {
        int const nRows = 2 + static_cast<int>(engine() % 7);
        int const nCols = 2 + static_cast<int>(engine() % 7);
        double const large = 1.75 * std::ldexp(1.0, 50);
        Matrix matrix(nRows, std::vector<double>(nCols));
        for (auto& row : matrix) {
            for (double& element : row) {
                element = engine() % 3 == 0 ? static_cast<double>(engine() % 10)
                                            : large + static_cast<double>(engine() % 1000);
            }
        }
        matrix[0][0] = 1.0;
        ASSERT_GT(rangeOf(matrix), 0.0) << "trial " << trial;
        (exactAssignment(matrix).empty() ? nDeclined : nTaken) += 1;
        std::vector<int> assignment;
        double const cost = HungarianAlgorithm().Solve(matrix, assignment);
        ReferenceMunkres::Result const expected = ReferenceMunkres::solveByMunkresSteps(matrix);
        ASSERT_EQ(assignment, expected.assignment) << "trial " << trial;
        ASSERT_EQ(std::memcmp(&cost, &expected.cost, sizeof(double)), 0) << "trial " << trial;
    }
    EXPECT_GT(nDeclined, 0);
    EXPECT_GT(nTaken, 0);
}

// Products of indices make the steps adjust the matrix n(n - 1)/2 times; rectangular ones and ones with
// an offset as well, against the library's steps.
TEST(ExactMunkresSteps, RectangularProductsOfIndicesMatchTheSteps) {
    int const shapes[][2] = {{60, 60}, {40, 90}, {90, 40}, {75, 75}};
    for (int offset = 0; offset < 2; ++offset) {
        for (auto const& shape : shapes) {
            Matrix matrix(shape[0], std::vector<double>(shape[1]));
            for (int row = 0; row < shape[0]; ++row) {
                for (int col = 0; col < shape[1]; ++col) {
                    matrix[row][col] = static_cast<double>((row + offset) * (col + offset));
                }
            }
            std::vector<int> steps;
            HungarianAlgorithmInternals::solveByMunkresSteps(matrix, steps);
            ASSERT_EQ(exactAssignment(matrix), steps)
                << shape[0] << " x " << shape[1] << ", offset " << offset;
        }
    }
}

}  // namespace
