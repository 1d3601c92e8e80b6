// The exact grouping search against a reference that scores every grouping, the cross-entropy search and
// the choice of the number of groups.
#include "GroupCountChoice.h"
#include "SegmentGrouperTestAccess.h"
#include "common/ThreadCount.h"

#include <Kestrel/SegmentGrouper.h>

#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <stdexcept>
#include <vector>

namespace {

using Kestrel::SegmentGrouper;
using Access = Kestrel::SegmentGrouperTestAccess;

using Kestrel::test::ThreadCount;

// The best grouping per number of groups found by scoring every grouping: entry k holds the smallest
// objective and the lexicographically smallest starts that reach it exactly.
struct ReferenceTable {
    std::vector<double> value;
    std::vector<std::vector<int>> starts;
};

double objective(SegmentGrouper const& grouper, std::vector<int> const& starts) {
    return Access::measure(grouper) == SegmentGrouper::Variance ? Access::evaluateVariance(grouper, starts)
                                                                : Access::evaluateMinMax(grouper, starts);
}

ReferenceTable referenceOptimalGroupings(SegmentGrouper const& grouper) {
    int const n = Access::numberOfSegments(grouper);
    ReferenceTable table{std::vector<double>(static_cast<std::size_t>(n) + 1, 0.0),
                         std::vector<std::vector<int>>(static_cast<std::size_t>(n) + 1)};
    std::vector<bool> seen(static_cast<std::size_t>(n) + 1, false);
    bool const closed = Access::isClosed(grouper);
    for (unsigned mask = 1; mask < (1u << n); ++mask) {
        if (!closed && (mask & 1u) == 0) {
            continue;
        }
        std::vector<int> starts;
        for (int i = 0; i < n; ++i) {
            if ((mask >> i) & 1u) {
                starts.push_back(i);
            }
        }
        std::size_t const k = starts.size();
        if (k < 2) {
            continue;
        }
        double const value = objective(grouper, starts);
        if (!seen[k] || value < table.value[k] || (value == table.value[k] && starts < table.starts[k])) {
            seen[k] = true;
            table.value[k] = value;
            table.starts[k] = starts;
        }
    }
    if (n >= 1) {
        table.starts[1] = {0};
        table.value[1] = Access::measure(grouper) == SegmentGrouper::Variance
                             ? Access::dispersionVariance(grouper, 0, 0)
                             : Access::dispersionMinMax(grouper, 0, 0);
    }
    return table;
}

// Random lines: continuous values, or values from a few levels (many ties), lengths equal or random.
SegmentGrouper randomLine(std::mt19937& random, int n, bool closed,
                          SegmentGrouper::DispersionMeasure measure) {
    std::uniform_real_distribution<double> uniform(0.0, 10.0);
    std::uniform_int_distribution<int> level(0, 3);
    bool const levels = random() % 2 == 0;
    bool const equalLengths = random() % 2 == 0;
    std::vector<double> values(static_cast<std::size_t>(n));
    std::vector<double> lengths(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        values[static_cast<std::size_t>(i)] = levels ? static_cast<double>(level(random)) : uniform(random);
        lengths[static_cast<std::size_t>(i)] = equalLengths ? 2.0 : 0.5 + uniform(random);
    }
    return SegmentGrouper(values, lengths, closed, measure);
}

bool isNearOptimal(double value, double optimum) {
    return value >= optimum && value <= optimum + std::abs(optimum) * 1e-12;
}

void expectMatchesReference(SegmentGrouper const& grouper) {
    ReferenceTable const reference = referenceOptimalGroupings(grouper);
    std::vector<double> values;
    std::vector<std::vector<int>> starts;
    grouper.calculateOptimalGroupings(values, starts);
    int const n = Access::numberOfSegments(grouper);
    ASSERT_EQ(values.size(), static_cast<std::size_t>(n) + 1);
    ASSERT_EQ(starts.size(), static_cast<std::size_t>(n) + 1);
    for (std::size_t k = 1; k <= static_cast<std::size_t>(n); ++k) {
        ASSERT_EQ(starts[k].size(), k);
        EXPECT_TRUE(std::is_sorted(starts[k].begin(), starts[k].end()));
        if (k >= 2) {
            EXPECT_EQ(values[k], objective(grouper, starts[k])) << "k = " << k;
        }
        if (Access::measure(grouper) == SegmentGrouper::MinMax) {
            EXPECT_EQ(values[k], reference.value[k]) << "k = " << k;
            EXPECT_EQ(starts[k], reference.starts[k]) << "k = " << k;
        } else {
            EXPECT_TRUE(isNearOptimal(values[k], reference.value[k]))
                << "k = " << k << ": " << values[k] << " against " << reference.value[k];
            EXPECT_LE(starts[k], reference.starts[k]) << "k = " << k;
        }
    }
}

class OptimalGroupsAgainstReference
    : public ::testing::TestWithParam<std::tuple<bool, SegmentGrouper::DispersionMeasure>> {};

TEST_P(OptimalGroupsAgainstReference, EveryNumberOfGroupsIsOptimalOnRandomLinesUpTo14Segments) {
    bool const closed = std::get<0>(GetParam());
    SegmentGrouper::DispersionMeasure const measure = std::get<1>(GetParam());
    std::mt19937 random(closed ? 71u : 17u);
    for (int line = 0; line < 40; ++line) {
        int const n = 1 + line % 14;
        SegmentGrouper const grouper = randomLine(random, n, closed, measure);
        SCOPED_TRACE(::testing::Message() << "line " << line << ", n = " << n);
        expectMatchesReference(grouper);
    }
}

TEST_P(OptimalGroupsAgainstReference, ChoiceOfTheNumberOfGroupsMatchesTheReferenceTable) {
    bool const closed = std::get<0>(GetParam());
    SegmentGrouper::DispersionMeasure const measure = std::get<1>(GetParam());
    std::mt19937 random(closed ? 5u : 9u);
    for (int line = 0; line < 30; ++line) {
        int const n = 2 + line % 11;
        SegmentGrouper const grouper = randomLine(random, n, closed, measure);
        ReferenceTable const reference = referenceOptimalGroupings(grouper);
        std::size_t const k = Kestrel::grouping::chooseNumberOfGroups(
            reference.value, reference.starts, [&grouper](std::vector<int> const& starts) {
                return Access::isAcceptableGrouping(grouper, starts);
            });
        std::vector<int> result{-1};
        grouper.computeOptimalGroups(result);
        EXPECT_EQ(result, reference.starts[k]) << "line " << line << ", n = " << n;
    }
}

TEST_P(OptimalGroupsAgainstReference, NeverWorseThanTheCrossEntropySearch) {
    bool const closed = std::get<0>(GetParam());
    SegmentGrouper::DispersionMeasure const measure = std::get<1>(GetParam());
    std::mt19937 random(closed ? 301u : 103u);
    for (int line = 0; line < 4; ++line) {
        int const n = 6 + 2 * line;
        SegmentGrouper const grouper = randomLine(random, n, closed, measure);
        std::vector<double> values;
        std::vector<std::vector<int>> starts;
        grouper.calculateOptimalGroupings(values, starts);
        for (int k = 1; k <= n; ++k) {
            std::vector<int> found;
            double const crossEntropy = Access::optimizeIntraGroupVariation(grouper, k, found);
            double const exact = values[static_cast<std::size_t>(k)];
            EXPECT_LE(exact, crossEntropy + std::abs(crossEntropy) * 1e-12)
                << "line " << line << ", k = " << k;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(OpenAndClosedBothMeasures, OptimalGroupsAgainstReference,
                         ::testing::Combine(::testing::Bool(), ::testing::Values(SegmentGrouper::MinMax,
                                                                                 SegmentGrouper::Variance)));

TEST(OptimalGroups, OneNumberOfGroupsEqualsItsEntryInTheTable) {
    std::mt19937 random(29);
    for (bool const closed : {false, true}) {
        for (auto const measure : {SegmentGrouper::MinMax, SegmentGrouper::Variance}) {
            SegmentGrouper const grouper = randomLine(random, 23, closed, measure);
            std::vector<double> values;
            std::vector<std::vector<int>> starts;
            grouper.calculateOptimalGroupings(values, starts);
            for (int k = 1; k <= 23; ++k) {
                std::vector<int> one;
                double const value = grouper.calculateOptimalGrouping(k, one);
                EXPECT_EQ(value, values[static_cast<std::size_t>(k)]);
                EXPECT_EQ(one, starts[static_cast<std::size_t>(k)]);
            }
        }
    }
}

TEST(OptimalGroups, OneGroupIsTheWholeLineAsTheCrossEntropySearchDefinesIt) {
    std::vector<double> const values{3.0, 1.0, 4.0, 1.5, 9.0};
    std::vector<double> const lengths{1.0, 2.0, 1.0, 2.0, 1.0};
    for (bool const closed : {false, true}) {
        for (auto const measure : {SegmentGrouper::MinMax, SegmentGrouper::Variance}) {
            SegmentGrouper const grouper(values, lengths, closed, measure);
            std::vector<int> starts{7, 8};
            std::vector<int> expectedStarts;
            double const expected = Access::optimizeIntraGroupVariation(grouper, 1, expectedStarts);
            EXPECT_EQ(grouper.calculateOptimalGrouping(1, starts), expected);
            EXPECT_EQ(starts, std::vector<int>{0});
        }
    }
}

TEST(OptimalGroups, ClosedLineMayStartAnywhereAndWrapsTheLastGroup) {
    // Two plateaus; the low one runs round the end of the line, so the best two groups start at 2 and 5.
    std::vector<double> const values{1.0, 1.0, 8.0, 8.0, 8.0, 1.0, 1.0};
    std::vector<double> const lengths(values.size(), 1.0);
    for (auto const measure : {SegmentGrouper::MinMax, SegmentGrouper::Variance}) {
        SegmentGrouper const grouper(values, lengths, true, measure);
        std::vector<int> starts;
        EXPECT_EQ(grouper.calculateOptimalGrouping(2, starts), 0.0);
        EXPECT_EQ(starts, (std::vector<int>{2, 5}));
        SegmentGrouper const open(values, lengths, false, measure);
        EXPECT_GT(open.calculateOptimalGrouping(2, starts), 0.0);
        EXPECT_EQ(starts.front(), 0);
    }
}

TEST(OptimalGroups, ResultsAreIdenticalForOneAndTwoThreads) {
    std::mt19937 random(811);
    for (bool const closed : {false, true}) {
        for (auto const measure : {SegmentGrouper::MinMax, SegmentGrouper::Variance}) {
            SegmentGrouper const grouper = randomLine(random, closed ? 70 : 320, closed, measure);
            std::vector<double> values[2];
            std::vector<std::vector<int>> starts[2];
            std::vector<int> chosen[2];
            for (int threads = 1; threads <= 2; ++threads) {
                ThreadCount const count(threads);
                grouper.calculateOptimalGroupings(values[threads - 1], starts[threads - 1]);
                grouper.computeOptimalGroups(chosen[threads - 1]);
            }
            EXPECT_EQ(values[0], values[1]);
            EXPECT_EQ(starts[0], starts[1]);
            EXPECT_EQ(chosen[0], chosen[1]);
            EXPECT_FALSE(chosen[0].empty());
        }
    }
}

TEST(OptimalGroups, ProgressReportsEveryNumberOfGroupsInOrder) {
    std::mt19937 random(3);
    SegmentGrouper const grouper = randomLine(random, 9, false, SegmentGrouper::Variance);
    std::vector<int> reported;
    std::vector<int> result;
    grouper.computeOptimalGroups(result, [&reported](int k, int n) {
        EXPECT_EQ(n, 9);
        reported.push_back(k);
    });
    EXPECT_EQ(reported, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
    std::vector<int> plain;
    grouper.computeOptimalGroups(plain);
    EXPECT_EQ(result, plain);
}

TEST(OptimalGroups, OneSegmentGivesSingleGroupAndNoSegmentNone) {
    SegmentGrouper const one({2.0}, {1.0}, true, SegmentGrouper::Variance);
    std::vector<int> result{4, 5};
    one.computeOptimalGroups(result);
    EXPECT_EQ(result, std::vector<int>{0});
    SegmentGrouper const none({}, {}, false, SegmentGrouper::MinMax);
    none.computeOptimalGroups(result);
    EXPECT_TRUE(result.empty());
}

TEST(OptimalGroups, BadInputIsRejectedWithInvalidArgument) {
    std::vector<int> starts{42};
    double const nan = std::numeric_limits<double>::quiet_NaN();
    // Lines whose sizes differ or whose values are not finite are refused when the grouper is built.
    EXPECT_THROW(SegmentGrouper({1.0, 2.0, 3.0}, {1.0, 1.0}, false, SegmentGrouper::Variance),
                 std::invalid_argument);
    EXPECT_THROW(SegmentGrouper({1.0, nan, 3.0}, {1.0, 1.0, 1.0}, false, SegmentGrouper::MinMax),
                 std::invalid_argument);
    SegmentGrouper const negative({1.0, 2.0, 3.0}, {1.0, -1.0, 1.0}, true, SegmentGrouper::Variance);
    EXPECT_THROW(negative.computeOptimalGroups(starts), std::invalid_argument);
    SegmentGrouper const good({1.0, 2.0, 3.0}, {1.0, 1.0, 1.0}, true, SegmentGrouper::Variance);
    EXPECT_THROW(good.calculateOptimalGrouping(0, starts), std::invalid_argument);
    EXPECT_THROW(good.calculateOptimalGrouping(4, starts), std::invalid_argument);
    EXPECT_EQ(starts, std::vector<int>{42});
    try {
        good.calculateOptimalGrouping(4, starts);
    } catch (std::invalid_argument const& error) {
        EXPECT_STREQ(error.what(),
                     "SegmentGrouper: numberOfGroups 4 is outside 1 ... 3 (the number of segments)");
    }
}

TEST(OptimalGroups, UnknownMeasureThrowsLikeTheCrossEntropySearch) {
    SegmentGrouper const grouper({1.0, 2.0, 3.0}, {1.0, 1.0, 1.0}, false,
                                 static_cast<SegmentGrouper::DispersionMeasure>(7));
    std::vector<int> result;
    EXPECT_THROW(grouper.computeOptimalGroups(result), std::logic_error);
}

}  // namespace

namespace {

TEST(CrossEntropyGroupings, TableIsWhatComputeGroupsChoosesFrom) {
    std::mt19937 random(404);
    for (bool const closed : {false, true}) {
        SegmentGrouper const grouper = randomLine(random, 9, closed, SegmentGrouper::Variance);
        std::vector<double> values;
        std::vector<std::vector<int>> starts;
        int reported = 0;
        grouper.calculateCrossEntropyGroupings(values, starts, [&reported](int k, int) { reported = k; });
        EXPECT_EQ(reported, 9);
        ASSERT_EQ(values.size(), 10u);
        for (int k = 1; k <= 9; ++k) {
            std::vector<int> found;
            EXPECT_EQ(values[static_cast<std::size_t>(k)],
                      Access::optimizeIntraGroupVariation(grouper, k, found));
            EXPECT_EQ(starts[static_cast<std::size_t>(k)], found);
        }
        std::size_t const k = Kestrel::grouping::chooseNumberOfGroups(
            values, starts,
            [&grouper](std::vector<int> const& s) { return Access::isAcceptableGrouping(grouper, s); });
        std::vector<int> chosen;
        grouper.computeGroups(chosen);
        EXPECT_EQ(chosen, starts[k]);
    }
}

}  // namespace
