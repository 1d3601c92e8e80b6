// The one-pass survey of the caller's matrix against plain loops, and the exact route built straight from
// the caller's rows (float or double storage) against the reference steps, bit for bit.
#include "CerrCapture.h"
#include "ExactMunkresSteps.h"
#include "MatrixCheck.h"
#include "ReferenceMunkres.h"
#include "UniqueOptimumSolver.h"

#include <Kestrel/HungarianAlgorithm.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Matrix = std::vector<std::vector<double>>;
double const inf = std::numeric_limits<double>::infinity();

// The survey computed the plainest way: element by element, one fact at a time.
struct ReferenceSurvey {
    std::size_t negativeElements = 0;
    bool forbiddenPairs = false;
    double exactRange = 0.0;
    int gridExponent = 0;
    std::vector<double> rowMinimum;
    std::vector<double> rowLargestFinite;
    std::vector<double> columnMinimum;
    std::vector<double> columnLargestFinite;
};

// The largest e with value a multiple of 2^e, for a finite non-zero value.
int referenceLowestBitExponent(double value) {
    int e = 0;
    while (std::ldexp(std::floor(std::ldexp(value, -e)), e) == value && e < 1100) {
        ++e;
    }
    while (std::ldexp(std::floor(std::ldexp(value, -e)), e) != value) {
        --e;
    }
    return e;
}

ReferenceSurvey referenceSurvey(Matrix const& matrix) {
    ReferenceSurvey survey;
    int lowest = INT_MAX;
    double largestMagnitude = 0.0;
    for (std::vector<double> const& row : matrix) {
        double minimum = inf;
        double largest = -inf;
        for (double const value : row) {
            survey.negativeElements += value < 0.0 ? 1 : 0;
            survey.forbiddenPairs = survey.forbiddenPairs || value == inf;
            minimum = std::min(minimum, value);
            if (value != inf) {
                largest = std::max(largest, value);
                largestMagnitude = std::max(largestMagnitude, std::fabs(value));
                if (value != 0.0) {
                    lowest = std::min(lowest, referenceLowestBitExponent(std::fabs(value)));
                }
            }
        }
        survey.rowMinimum.push_back(minimum);
        survey.rowLargestFinite.push_back(largest);
    }
    for (std::size_t col = 0; col < matrix.front().size(); ++col) {
        double minimum = matrix[0][col];
        double largest = -inf;
        for (std::vector<double> const& row : matrix) {
            minimum = row[col] < minimum ? row[col] : minimum;
            largest = row[col] != inf ? std::max(largest, row[col]) : largest;
        }
        survey.columnMinimum.push_back(minimum);
        survey.columnLargestFinite.push_back(largest);
    }
    survey.gridExponent = lowest == INT_MAX ? 0 : lowest;
    if (lowest >= -52 && survey.gridExponent <= 900) {
        double const range = std::ldexp(1.0, 52 + survey.gridExponent);
        survey.exactRange = 2.0 * largestMagnitude < range ? range : 0.0;
    }
    return survey;
}

// One element of a random matrix of the given kind.
double randomElement(std::mt19937_64& engine, int kind) {
    switch (kind) {
        case 0:
            return static_cast<double>(engine() % 10);
        case 1:
            return static_cast<double>(engine() % 1000) - 500.0;
        case 2:
            return std::ldexp(static_cast<double>(engine() % 64), -2);  // quarters
        case 3:
            return std::ldexp(1.0, 50) + static_cast<double>(engine() % 1000);  // near the exact bound
        case 4:
            return static_cast<double>(engine() % (std::uint64_t{1} << 40));  // beyond 2^31
        case 5:
            return std::ldexp(static_cast<double>(engine() % 8), -53);  // finer than 2^-52
        default:
            return static_cast<double>(engine() % 1000) / 7.0;  // off every grid
    }
}

Matrix randomSurveyMatrix(std::mt19937_64& engine, int trial) {
    int const nRows = 1 + static_cast<int>(engine() % 9);
    int const nCols = 1 + static_cast<int>(engine() % 13);
    Matrix matrix(nRows, std::vector<double>(nCols));
    for (auto& row : matrix) {
        // Rows of one kind each, so that rows of small integers meet rows the survey reads element by
        // element.
        int const kind = static_cast<int>(engine() % (trial % 2 == 0 ? 3 : 7));
        for (double& value : row) {
            value = randomElement(engine, kind);
            value = engine() % 13 == 0 ? -value : value;
            value = engine() % 11 == 0 ? inf : value;
        }
    }
    return matrix;
}

TEST(MatrixSurvey, SurveyMatchesPlainLoopsOnManySeededMatrices) {
    std::mt19937_64 engine(41);
    for (int trial = 0; trial < 20000; ++trial) {
        Matrix const matrix = randomSurveyMatrix(engine, trial);
        Kestrel::assignment::MatrixSurvey survey = Kestrel::assignment::surveyMatrix(matrix);
        Kestrel::assignment::surveyColumns(matrix, &survey);
        ReferenceSurvey const expected = referenceSurvey(matrix);
        ASSERT_EQ(survey.shape.rows, static_cast<int>(matrix.size())) << trial;
        ASSERT_EQ(survey.shape.columns, static_cast<int>(matrix.front().size())) << trial;
        ASSERT_EQ(survey.shape.forbiddenPairs, expected.forbiddenPairs) << trial;
        ASSERT_EQ(survey.negativeElements, expected.negativeElements) << trial;
        ASSERT_EQ(survey.exactRange, expected.exactRange) << trial;
        if (survey.exactRange > 0.0) {
            ASSERT_EQ(survey.gridExponent, expected.gridExponent) << trial;
        }
        ASSERT_EQ(survey.rowMinimum, expected.rowMinimum) << trial;
        ASSERT_EQ(survey.rowLargestFinite, expected.rowLargestFinite) << trial;
        ASSERT_EQ(survey.columnMinimum, expected.columnMinimum) << trial;
        ASSERT_EQ(survey.columnLargestFinite, expected.columnLargestFinite) << trial;
    }
}

// -0.0 is not below 0, and a row of rows of small integers with negative values counts each of them.
TEST(MatrixSurvey, NegativeElementsAreCountedInEveryRowKind) {
    Matrix const matrix = {
        {-0.0, 0.0, -1.0, 2.0, -3.0}, {0.5, -0.25, -0.0, inf, -7.0}, {1.0, 2.0, 3.0, 4.0, 5.0}};
    EXPECT_EQ(Kestrel::assignment::surveyMatrix(matrix).negativeElements, 4u);
}

std::string surveyError(Matrix const& matrix) {
    try {
        Kestrel::assignment::surveyMatrix(matrix);
    } catch (std::invalid_argument const& error) {
        return error.what();
    }
    return "";
}

// The first offending row or element in row order is the one reported, whichever kind of fault it is.
TEST(MatrixSurvey, FirstFaultInRowOrderIsReported) {
    double const nan = std::nan("");
    EXPECT_NE(surveyError({{1.0, 2.0}, {3.0, nan}, {4.0}}).find("(row 1, column 1) is NaN"),
              std::string::npos);
    EXPECT_NE(surveyError({{1.0, 2.0}, {3.0}, {nan, 4.0}}).find("row 1 has 1 elements"), std::string::npos);
    EXPECT_NE(surveyError({{1.0, inf, -inf, nan}}).find("(row 0, column 2) is -infinity"), std::string::npos);
    EXPECT_NE(surveyError({{1.0, 2.5, nan, -inf}}).find("(row 0, column 2) is NaN"), std::string::npos);
    EXPECT_EQ(surveyError({{1.0, inf}, {inf, 2.0}}), "");
}

// The exact route as Solve calls it; an empty vector when the route declines.
std::vector<int> exactRouteAssignment(Matrix const& matrix) {
    Kestrel::assignment::MatrixSurvey survey = Kestrel::assignment::surveyMatrix(matrix);
    if (survey.exactRange == 0.0) {
        return {};
    }
    Kestrel::assignment::surveyColumns(matrix, &survey);
    std::vector<int> assignment(matrix.size());
    return Kestrel::assignment::solveByExactSteps(matrix, survey, assignment.data()) ? assignment
                                                                                     : std::vector<int>();
}

// Random matrices of one class: values from `value`, a share forbidden (one diagonal stays finite, so the
// matrix is feasible).
template <typename Draw>
Matrix classMatrix(std::mt19937_64& engine, int nRows, int nCols, double forbiddenShare, Draw value) {
    std::bernoulli_distribution forbidden(forbiddenShare);
    Matrix matrix(nRows, std::vector<double>(nCols));
    for (int row = 0; row < nRows; ++row) {
        for (int col = 0; col < nCols; ++col) {
            bool const keep = row % nCols == col % nRows;
            matrix[row][col] = !keep && forbidden(engine) ? inf : value(engine);
        }
    }
    return matrix;
}

// Every class the route stores as floats (small integers, quarters, negatives) and as doubles (spans of 2^24
// and more, integers near the exact bound), square, wide and tall, with and without forbidden pairs: the
// route takes each matrix it qualifies for and returns the reference steps' assignment.
TEST(MatrixSurvey, ExactRouteFromRowsMatchesTheReferenceSteps) {
    std::mt19937_64 engine(2027);
    using Draw = double (*)(std::mt19937_64&);
    // Per class: how a value is drawn, and the element [0][0] when it is set (NaN: left as drawn). A 0
    // among values of about 2^24 or 65535 makes spans from just below to just above what floats or two-byte
    // cells hold; multiples of 8 put the grid above the integers; a 1 among values near 2^49 keeps the grid
    // at the integers.
    struct Class {
        Draw draw;
        double corner;
    };
    double const drawn = std::nan("");
    Class const classes[] = {
        {[](std::mt19937_64& e) { return static_cast<double>(e() % 10); }, drawn},
        {[](std::mt19937_64& e) { return static_cast<double>(e() % 1000); }, drawn},
        {[](std::mt19937_64& e) { return static_cast<double>(e() % 201) - 100.0; }, drawn},
        {[](std::mt19937_64& e) { return std::ldexp(static_cast<double>(e() % 40), -2); }, drawn},
        {[](std::mt19937_64& e) { return static_cast<double>((1 << 24) - 2 + e() % 4); }, 0.0},
        {[](std::mt19937_64& e) { return static_cast<double>(65532 + e() % 6); }, 0.0},
        {[](std::mt19937_64& e) { return static_cast<double>(8 * (e() % 9000)); }, drawn},
        {[](std::mt19937_64& e) { return static_cast<double>(e() % (std::uint64_t{1} << 30)); }, drawn},
        {[](std::mt19937_64& e) { return std::ldexp(1.0, 49) + static_cast<double>(e() % 16); }, 1.0},
    };
    int const nOfClasses = static_cast<int>(std::size(classes));
    int nTaken = 0;
    for (int trial = 0; trial < 20000; ++trial) {
        int const nRows = 1 + static_cast<int>(engine() % 14);
        int const nCols = 1 + static_cast<int>(engine() % 14);
        Class const& kind = classes[trial % nOfClasses];
        Matrix matrix = classMatrix(engine, nRows, nCols, trial % 3 == 0 ? 0.35 : 0.0, kind.draw);
        if (!std::isnan(kind.corner)) {
            matrix[0][0] = kind.corner;
        }
        std::vector<int> const exact = exactRouteAssignment(matrix);
        ReferenceMunkres::Result const expected = ReferenceMunkres::solveByMunkresSteps(matrix);
        if (trial % nOfClasses != nOfClasses - 1) {
            ASSERT_FALSE(exact.empty()) << "trial " << trial;
        }
        if (!exact.empty()) {
            ++nTaken;
            ASSERT_EQ(exact, expected.assignment) << "trial " << trial;
        }
        std::vector<int> assignment;
        CerrCapture const negativeElementMessages;
        double const cost = HungarianAlgorithm().Solve(matrix, assignment);
        ASSERT_EQ(assignment, expected.assignment) << "trial " << trial;
        ASSERT_EQ(std::memcmp(&cost, &expected.cost, sizeof(double)), 0) << "trial " << trial;
    }
    EXPECT_GT(nTaken, 17000);
}

// Larger tie-heavy matrices, where the first star pass along the rows and the reduced columns written in
// tiles span several tiles: Solve against the reference steps.
TEST(MatrixSurvey, LargerTieHeavyMatricesFromRowsMatchTheReferenceSteps) {
    std::mt19937_64 engine(77);
    int const shapes[][2] = {{70, 70}, {45, 100}, {100, 45}, {33, 65}};
    for (int trial = 0; trial < 16; ++trial) {
        auto const& shape = shapes[trial % 4];
        int const high = trial % 2 == 0 ? 4 : 30;
        Matrix const matrix =
            classMatrix(engine, shape[0], shape[1], trial % 3 == 0 ? 0.3 : 0.0,
                        [high](std::mt19937_64& e) { return static_cast<double>(e() % high); });
        ASSERT_EQ(exactRouteAssignment(matrix), ReferenceMunkres::solveByMunkresSteps(matrix).assignment)
            << "trial " << trial;
    }
}

// The count that lets a taller matrix skip the unique-optimum proof, against a plain count of the columns
// holding their minimum more than once, for every limit around it.
TEST(MatrixSurvey, RepeatedZeroCountMatchesThePlainCount) {
    std::mt19937_64 engine(5);
    for (int trial = 0; trial < 400; ++trial) {
        int const nCols = 1 + static_cast<int>(engine() % 10);
        int const nRows = nCols + 1 + static_cast<int>(engine() % 10);
        int const high = 2 + static_cast<int>(engine() % 40);
        Matrix const matrix =
            classMatrix(engine, nRows, nCols, trial % 2 == 0 ? 0.3 : 0.0,
                        [high](std::mt19937_64& e) { return static_cast<double>(e() % high); });
        int repeated = 0;
        for (int col = 0; col < nCols; ++col) {
            double minimum = inf;
            for (auto const& row : matrix) {
                minimum = std::min(minimum, row[col]);
            }
            int const count = static_cast<int>(std::count_if(
                matrix.begin(), matrix.end(), [&](auto const& row) { return row[col] == minimum; }));
            repeated += count > 1 ? 1 : 0;
        }
        Kestrel::assignment::MatrixSurvey survey = Kestrel::assignment::surveyMatrix(matrix);
        Kestrel::assignment::surveyColumns(matrix, &survey);
        Kestrel::assignment::ExactStepsRoute const route(matrix, survey);
        for (int limit = std::max(0, repeated - 2); limit <= repeated + 1; ++limit) {
            ASSERT_EQ(route.moreColumnsWithRepeatedZeroThan(limit), repeated > limit)
                << trial << " " << limit;
        }
    }
}

// Whether the unique-optimum proof serves the matrix.
bool proofServes(Matrix const& matrix) {
    Kestrel::assignment::MatrixSurvey const survey = Kestrel::assignment::surveyMatrix(matrix);
    std::size_t const nRows = matrix.size();
    std::vector<double> columnMajor(nRows * matrix.front().size());
    for (std::size_t row = 0; row < nRows; ++row) {
        for (std::size_t col = 0; col < matrix.front().size(); ++col) {
            columnMajor[row + nRows * col] = matrix[row][col];
        }
    }
    std::vector<int> assignment(nRows);
    return Kestrel::assignment::findUniqueOptimum(matrix, columnMajor.data(), survey.shape, survey.exactRange,
                                                  assignment.data()) ==
           Kestrel::assignment::UniqueOptimumOutcome::Proved;
}

// Taller integer matrices without ties, which the unique-optimum proof serves after the exact route's
// reduced matrix was built to count ties, and tie-heavy ones, for which the proof is skipped: Solve
// against the reference steps, bit for bit.
TEST(MatrixSurvey, TallerIntegerMatricesWithAndWithoutTiesMatchTheReferenceSteps) {
    std::mt19937_64 engine(8);
    int nProved = 0;
    for (int trial = 0; trial < 60; ++trial) {
        int const nCols = 5 + static_cast<int>(engine() % 30);
        int const nRows = nCols + 1 + static_cast<int>(engine() % 30);
        std::uint64_t const high = trial % 2 == 0 ? std::uint64_t{1} << 40 : 6;
        Matrix matrix = classMatrix(engine, nRows, nCols, trial % 3 == 0 ? 0.2 : 0.0,
                                    [high](std::mt19937_64& e) { return static_cast<double>(e() % high); });
        ReferenceMunkres::Result const expected = ReferenceMunkres::solveByMunkresSteps(matrix);
        std::vector<int> assignment;
        double const cost = HungarianAlgorithm().Solve(matrix, assignment);
        ASSERT_EQ(assignment, expected.assignment) << "trial " << trial;
        ASSERT_EQ(std::memcmp(&cost, &expected.cost, sizeof(double)), 0) << "trial " << trial;
        nProved += proofServes(matrix) ? 1 : 0;
    }
    EXPECT_GT(nProved, 10);
    EXPECT_LT(nProved, 50);
}

}  // namespace
