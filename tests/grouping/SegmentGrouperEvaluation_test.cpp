// The grouper's model: construction (the equal-values adjustment), the objective with both dispersion
// measures, and the admissibility of a grouping.
#include "SegmentGrouperTestAccess.h"

#include <Kestrel/SegmentGrouper.h>
#include <Kestrel/Tessel/StatisticalCalculator.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <random>
#include <stdexcept>
#include <vector>

namespace {

using Kestrel::SegmentGrouper;
using Access = Kestrel::SegmentGrouperTestAccess;

// Reference implementation of the objective, group by group, with the statistics calculator for every wrapped
// group. The library must agree with it bit for bit.
double referenceDispersion(std::vector<double> const& values, int start, int end, bool variance) {
    int const n = static_cast<int>(values.size());
    if (end > start) {
        if (variance) {
            double sum = 0.0;
            for (int i = start; i < end; ++i) {
                sum += values[i];
            }
            double const mean = sum / (end - start);
            double squares = 0.0;
            for (int i = start; i < end; ++i) {
                squares += (values[i] - mean) * (values[i] - mean);
            }
            return squares / (end - start);
        }
        return *std::max_element(values.begin() + start, values.begin() + end) -
               *std::min_element(values.begin() + start, values.begin() + end);
    }
    std::vector<double> gathered;
    for (int i = start; i < n; ++i) {
        gathered.push_back(values[i]);
    }
    for (int i = 0; i < end; ++i) {
        gathered.push_back(values[i]);
    }
    Kestrel::Tessel::StatisticalCalculator calculator(n - start + end);
    calculator.loadDataSet(gathered);
    return variance ? calculator.getVariance(0) : calculator.getMaximum() - calculator.getMinimum();
}

double referenceEvaluate(SegmentGrouper const& grouper, std::vector<int> const& grouping) {
    std::vector<double> const& values = Access::values(grouper);
    bool const closed = Access::isClosed(grouper);
    int const n = static_cast<int>(values.size());
    std::vector<int> starts;
    for (int const entry : grouping) {
        starts.push_back(entry - 1);
    }
    int const g = static_cast<int>(starts.size());
    if (Access::measure(grouper) == SegmentGrouper::MinMax) {
        if (g < 1) {
            return -1.7976931348623157e308;
        }
        double result = -1.7976931348623157e308;
        for (int k = 0; k < g; ++k) {
            int const start = starts[k];
            int const end = (k == g - 1 && !closed) ? n : starts[(k + 1) % g];
            result = std::max(result, referenceDispersion(values, start, end, false));
        }
        return result;
    }
    double sum = 0.0;
    for (int k = 0; k < g; ++k) {
        int const start = starts[k];
        int const end = (k == g - 1 && !closed) ? n : starts[(k + 1) % g];
        int const count = end >= start ? end - start : n - start + end;
        sum += count * referenceDispersion(values, start, end, true);
    }
    return sum / n;
}

bool sameBits(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

std::vector<double> randomVector(std::mt19937& engine, int n, double low, double high) {
    std::uniform_real_distribution<double> draw(low, high);
    std::vector<double> result(static_cast<std::size_t>(n));
    for (double& value : result) {
        value = draw(engine);
    }
    return result;
}

// Random 1-based starts: k distinct segment numbers, ascending (as the optimiser hands them over).
std::vector<int> randomGrouping(std::mt19937& engine, int n, int k) {
    std::vector<int> numbers(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        numbers[i] = i + 1;
    }
    std::shuffle(numbers.begin(), numbers.end(), engine);
    numbers.resize(static_cast<std::size_t>(k));
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

TEST(SegmentGrouperConstruction, AllEqualValuesAndLengthsGetAlternatingRipple) {
    SegmentGrouper const grouper({1.0, 1.0, 1.0, 1.0}, {2.0, 2.0, 2.0, 2.0}, false, SegmentGrouper::Variance);
    double const even = 1.0 / (0.95 * 2.0 + 0.2);
    double const odd = 1.0 / (0.85 * 2.0 + 0.2);
    EXPECT_EQ(Access::values(grouper), (std::vector<double>{even, odd, even, odd}));
}

TEST(SegmentGrouperConstruction, AllEqualValuesWithDifferentLengthsGetLengthDerivedValuesWithoutRipple) {
    std::vector<double> const lengths{1.0, 2.0, 3.0, 4.0};
    SegmentGrouper const grouper({7.0, 7.0, 7.0, 7.0}, lengths, true, SegmentGrouper::MinMax);
    double const share = (0.1 * 10.0) / 4.0;
    std::vector<double> expected;
    for (double const length : lengths) {
        expected.push_back(1.0 / (0.9 * length + share));
    }
    EXPECT_EQ(Access::values(grouper), expected);
}

TEST(SegmentGrouperConstruction, ValuesWithinToleranceCountAsEqual) {
    // W = 1000, so neighbours within 1e-6 count as equal.
    std::vector<double> const lengths{100.0, 200.0, 300.0, 400.0};
    SegmentGrouper const nearlyEqual({5.0, 5.0 + 0.9e-6, 5.0, 5.0 - 0.9e-6}, lengths, false,
                                     SegmentGrouper::MinMax);
    EXPECT_EQ(Access::values(nearlyEqual)[0], 1.0 / (0.9 * 100.0 + 25.0));
    std::vector<double> const distinct{5.0, 5.0 + 1.1e-6, 5.0, 5.0};
    SegmentGrouper const different(distinct, lengths, false, SegmentGrouper::MinMax);
    EXPECT_EQ(Access::values(different), distinct);
}

TEST(SegmentGrouperConstruction, ZeroTotalLengthKeepsValuesAndAcceptsNoGrouping) {
    std::vector<double> const values{3.0, 3.0, 3.0, 3.0};
    SegmentGrouper const grouper(values, {1.0, -1.0, 2.0, -2.0}, true, SegmentGrouper::MinMax);
    EXPECT_EQ(Access::values(grouper), values);
    EXPECT_FALSE(Access::isAcceptableGrouping(grouper, {0}));
    EXPECT_FALSE(Access::isAcceptableGrouping(grouper, {0, 2}));
    EXPECT_FALSE(Access::isAcceptableGrouping(grouper, {0, 1, 2, 3}));
}

TEST(SegmentGrouperConstruction, AccessorsReportTheLine) {
    SegmentGrouper const grouper({1.0, 2.0, 3.0}, {1.0, 1.0, 1.0}, true, SegmentGrouper::Variance);
    EXPECT_EQ(Access::numberOfSegments(grouper), 3);
    EXPECT_TRUE(Access::isClosed(grouper));
    EXPECT_EQ(Access::lengths(grouper), (std::vector<double>{1.0, 1.0, 1.0}));
    SegmentGrouper copy(grouper);
    EXPECT_EQ(Access::values(copy), Access::values(grouper));
}

TEST(SegmentGrouperEvaluate, OpenLineLastGroupEndsAtLineEndClosedLineWrapsToFirstStart) {
    std::vector<double> const values{0.0, 10.0, 2.0, 3.0, 50.0};
    std::vector<double> const lengths(5, 1.0);
    SegmentGrouper const open(values, lengths, false, SegmentGrouper::MinMax);
    SegmentGrouper const closed(values, lengths, true, SegmentGrouper::MinMax);
    // Starts {2, 3} (1-based {3, 4}): groups 2 and 3-4 on the open line, 2 and 3-4-0-1 on the closed one.
    EXPECT_EQ(Access::evaluate(open, {3, 4}), 47.0);
    EXPECT_EQ(Access::evaluate(closed, {3, 4}), 50.0);
    SegmentGrouper const openVariance(values, lengths, false, SegmentGrouper::Variance);
    SegmentGrouper const closedVariance(values, lengths, true, SegmentGrouper::Variance);
    EXPECT_EQ(Access::evaluate(openVariance, {3, 4}), (1.0 * 0.0 + 2.0 * 552.25) / 5.0);
    EXPECT_EQ(Access::evaluateVariance(closedVariance, {2, 3}),
              (1.0 * 0.0 + 4.0 * referenceDispersion(values, 3, 2, true)) / 5.0);
}

TEST(SegmentGrouperEvaluate, SingleGroupOnClosedLineGivesZeroVarianceAndTheWholeRange) {
    std::vector<double> const values{4.0, -1.0, 6.5, 2.0};
    std::vector<double> const lengths{1.0, 2.0, 3.0, 4.0};
    EXPECT_EQ(Access::evaluate(SegmentGrouper(values, lengths, true, SegmentGrouper::Variance), {1}), 0.0);
    EXPECT_EQ(Access::evaluate(SegmentGrouper(values, lengths, true, SegmentGrouper::MinMax), {1}), 7.5);
    EXPECT_EQ(Access::evaluate(SegmentGrouper(values, lengths, true, SegmentGrouper::MinMax), {3}), 7.5);
}

TEST(SegmentGrouperEvaluate, EmptyGroupingGivesLowestDoubleOrZero) {
    std::vector<double> const values{4.0, -1.0, 6.5};
    std::vector<double> const lengths{1.0, 2.0, 3.0};
    EXPECT_EQ(Access::evaluate(SegmentGrouper(values, lengths, false, SegmentGrouper::MinMax), {}),
              -1.7976931348623157e308);
    EXPECT_EQ(Access::evaluate(SegmentGrouper(values, lengths, true, SegmentGrouper::Variance), {}), 0.0);
}

TEST(SegmentGrouperEvaluate, UnknownMeasureThrowsMissingImplementation) {
    SegmentGrouper const grouper({1.0, 2.0}, {1.0, 1.0}, false,
                                 static_cast<SegmentGrouper::DispersionMeasure>(2));
    try {
        Access::evaluate(grouper, {1});
        FAIL() << "no exception";
    } catch (std::logic_error const& error) {
        EXPECT_STREQ(error.what(), "Missing implementation");
    }
}

TEST(SegmentGrouperEvaluate, WrappedGroupDispersionEqualsStatisticalCalculatorBitForBit) {
    std::mt19937 engine(31);
    for (int trial = 0; trial < 300; ++trial) {
        int const n = 1 + trial % 17;
        std::vector<double> const values = randomVector(engine, n, -1e3, 1e3);
        SegmentGrouper const grouper(values, std::vector<double>(values.size(), 1.0), true,
                                     SegmentGrouper::MinMax);
        std::uniform_int_distribution<int> index(0, n - 1);
        int const start = index(engine);
        int const end = std::uniform_int_distribution<int>(0, start)(engine);
        ASSERT_TRUE(sameBits(Access::dispersionVariance(grouper, start, end),
                             referenceDispersion(values, start, end, true)));
        ASSERT_TRUE(sameBits(Access::dispersionMinMax(grouper, start, end),
                             referenceDispersion(values, start, end, false)));
    }
}

TEST(SegmentGrouperEvaluate, MatchesReferenceBitForBit) {
    std::mt19937 engine(2026);
    int checked = 0;
    for (int trial = 0; trial < 400; ++trial) {
        int const n = 1 + trial % 23;
        bool const closed = trial % 2 == 0;
        auto const measure = trial % 4 < 2 ? SegmentGrouper::MinMax : SegmentGrouper::Variance;
        double const scale = trial % 3 == 0 ? 1e-3 : 1e4;
        SegmentGrouper const grouper(randomVector(engine, n, -scale, scale),
                                     randomVector(engine, n, 0.1, 5.0), closed, measure);
        for (int sample = 0; sample < 20; ++sample) {
            int const k = std::uniform_int_distribution<int>(0, n)(engine);
            std::vector<int> const grouping = randomGrouping(engine, n, k);
            ASSERT_TRUE(sameBits(Access::evaluate(grouper, grouping), referenceEvaluate(grouper, grouping)))
                << "n " << n << " k " << k;
            ++checked;
        }
    }
    EXPECT_EQ(checked, 8000);
}

TEST(SegmentGrouperAcceptable, ThreeGroupsAtExactlySixTenthsAcceptedJustAboveRejected) {
    // Six segments in three groups average two segments each, so only the table limit applies.
    std::vector<double> const values{1.0, 2.0, 3.0, 4.0, 5.0, 6.0};
    std::vector<double> const atLimit{1.5, 1.5, 0.5, 0.5, 0.5, 0.5};
    ASSERT_EQ(5.0 * 0.6, 3.0);
    EXPECT_TRUE(Access::isAcceptableGrouping(SegmentGrouper(values, atLimit, true, SegmentGrouper::MinMax),
                                             {0, 2, 4}));
    std::vector<double> const above{1.5, 1.5000001, 0.5, 0.5, 0.5, 0.5};
    EXPECT_FALSE(
        Access::isAcceptableGrouping(SegmentGrouper(values, above, true, SegmentGrouper::MinMax), {0, 2, 4}));
}

TEST(SegmentGrouperAcceptable, TableLimitsForTwoToSevenGroups) {
    double const shares[] = {0.8, 0.6, 0.52, 0.46, 0.4, 0.35};
    for (int groups = 2; groups <= 7; ++groups) {
        // One segment per group: the first covers slightly more than its limit, the others share the rest.
        double const share = shares[groups - 2];
        std::vector<double> over(static_cast<std::size_t>(groups), (1.0 - share * 1.01) / (groups - 1));
        over[0] = share * 1.01;
        std::vector<double> under(static_cast<std::size_t>(groups), (1.0 - share * 0.99) / (groups - 1));
        under[0] = share * 0.99;
        std::vector<int> starts;
        for (int k = 0; k < groups; ++k) {
            starts.push_back(k);
        }
        std::vector<double> values(static_cast<std::size_t>(groups));
        for (int k = 0; k < groups; ++k) {
            values[k] = k;
        }
        EXPECT_FALSE(
            Access::isAcceptableGrouping(SegmentGrouper(values, over, false, SegmentGrouper::MinMax), starts))
            << groups;
        EXPECT_TRUE(Access::isAcceptableGrouping(SegmentGrouper(values, under, false, SegmentGrouper::MinMax),
                                                 starts))
            << groups;
    }
}

TEST(SegmentGrouperAcceptable, EightGroupsOnlyHalfRulesApplyAndOnlyWithThreeSegmentsPerGroup) {
    std::vector<double> values(8);
    for (int i = 0; i < 8; ++i) {
        values[i] = i;
    }
    std::vector<int> const eachAlone{0, 1, 2, 3, 4, 5, 6, 7};
    std::vector<double> oneLong(8, 1.0);
    oneLong[0] = 90.0;  // 90 % of the line, still acceptable: no table limit, fewer than 3 segments a group
    EXPECT_TRUE(Access::isAcceptableGrouping(SegmentGrouper(values, oneLong, true, SegmentGrouper::MinMax),
                                             eachAlone));

    std::vector<double> values24(24);
    for (int i = 0; i < 24; ++i) {
        values24[i] = i;
    }
    std::vector<double> const even(24, 1.0);
    std::vector<int> const balanced{0, 3, 6, 9, 12, 15, 18, 21};
    EXPECT_TRUE(
        Access::isAcceptableGrouping(SegmentGrouper(values24, even, true, SegmentGrouper::MinMax), balanced));
    std::vector<int> const oneHoldsThirteen{0, 1, 2, 3, 4, 5, 6, 7};  // the last group has 17 of 24 segments
    EXPECT_FALSE(Access::isAcceptableGrouping(SegmentGrouper(values24, even, true, SegmentGrouper::MinMax),
                                              oneHoldsThirteen));
    std::vector<double> heavy(24, 1.0);
    heavy[0] = 30.0;  // the first group covers 32 of 53 length units
    EXPECT_FALSE(Access::isAcceptableGrouping(SegmentGrouper(values24, heavy, true, SegmentGrouper::MinMax),
                                              balanced));
}

TEST(SegmentGrouperAcceptable, LastGroupRunsRoundToFirstStartEvenOnOpenLine) {
    std::vector<double> const values{1.0, 2.0, 3.0, 4.0, 5.0};
    std::vector<double> const lengths{4.5, 1.0, 1.0, 1.0, 3.0};
    // Starts {1, 3}: the last group is 3, 4, 0 (length 8.5 of 10.5) on either line, above 0.8 * W.
    EXPECT_FALSE(
        Access::isAcceptableGrouping(SegmentGrouper(values, lengths, false, SegmentGrouper::MinMax), {1, 3}));
    EXPECT_FALSE(
        Access::isAcceptableGrouping(SegmentGrouper(values, lengths, true, SegmentGrouper::MinMax), {1, 3}));
    EXPECT_TRUE(
        Access::isAcceptableGrouping(SegmentGrouper(values, lengths, false, SegmentGrouper::MinMax), {0, 3}));
}

TEST(SegmentGrouperAcceptable, EmptyGroupingIsAcceptableWhenLengthIsNotZero) {
    SegmentGrouper const grouper({1.0, 2.0}, {1.0, 1.0}, false, SegmentGrouper::MinMax);
    EXPECT_TRUE(Access::isAcceptableGrouping(grouper, {}));
}

}  // namespace
