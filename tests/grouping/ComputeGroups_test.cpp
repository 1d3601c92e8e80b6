// The choice of the grouping: one optimisation per number of groups, the gain walk and the widening rule.
#include "SegmentGrouperTestAccess.h"
#include "common/ThreadCount.h"

#include <Kestrel/InformationTheory.h>
#include <Kestrel/SegmentGrouper.h>

#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Kestrel::SegmentGrouper;
using Access = Kestrel::SegmentGrouperTestAccess;

using Kestrel::test::ThreadCount;

// What the optimisations found for every number of groups.
struct Optimised {
    std::vector<double> value;
    std::vector<std::vector<int>> starts;
};

Optimised optimiseEveryNumberOfGroups(SegmentGrouper const& grouper) {
    int const n = Access::numberOfSegments(grouper);
    Optimised optimised{std::vector<double>(n + 1, 0.0), std::vector<std::vector<int>>(n + 1)};
    for (int k = 1; k <= n; ++k) {
        optimised.value[k] = Access::optimizeIntraGroupVariation(grouper, k, optimised.starts[k]);
    }
    return optimised;
}

// Reference implementation of the gain walk, the choice and the widening over the optimised groupings.
// `widened` reports whether the widening moved the choice.
std::vector<int> referenceChoice(SegmentGrouper const& grouper, Optimised const& optimised, bool* widened) {
    int const n = Access::numberOfSegments(grouper);
    std::vector<double> gain(n + 1, 0.0);
    bool acceptableFound = false;
    for (int k = 2; k <= n; ++k) {
        if (acceptableFound) {
            gain[k] = optimised.value[k - 1] - optimised.value[k];
        } else if (Access::isAcceptableGrouping(grouper, optimised.starts[k])) {
            acceptableFound = true;
            gain[k] = optimised.value[k - 1] - optimised.value[k];
        } else if (k == n) {
            gain[k] = 1.0;
        }
    }
    int kbest = 0;
    for (int k = 0; k <= n; ++k) {
        if (gain[k] > gain[kbest]) {
            kbest = k;
        }
    }
    int const first = kbest;
    if (kbest >= 1 && n >= 2 && 2 * kbest - 2 <= n) {
        int const limit = std::min(2 * kbest, n / 2 + 1);
        double const threshold = 0.5 * gain[kbest];
        for (int j = first + 1; j <= limit; ++j) {
            if (gain[j] > threshold) {
                kbest = j;
            }
        }
    }
    *widened = kbest != first;
    return optimised.starts[kbest];
}

bool sameBits(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// A line of `n` segments with a few plateaus of similar values.
std::pair<std::vector<double>, std::vector<double>> plateauLine(std::mt19937& engine, int n) {
    std::uniform_real_distribution<double> level(-10.0, 10.0);
    std::normal_distribution<double> noise(0.0, 0.3);
    std::uniform_real_distribution<double> length(0.5, 3.0);
    std::uniform_int_distribution<int> plateau(1, 4);
    std::vector<double> values;
    std::vector<double> lengths;
    double current = level(engine);
    int left = plateau(engine);
    for (int i = 0; i < n; ++i) {
        if (left-- == 0) {
            current = level(engine);
            left = plateau(engine);
        }
        values.push_back(current + noise(engine));
        lengths.push_back(length(engine));
    }
    return {values, lengths};
}

TEST(ComputeGroups, OneSegmentGivesSingleGroup) {
    std::vector<int> result{4, 5};
    SegmentGrouper(std::vector<double>{3.0}, std::vector<double>{2.0}, false, SegmentGrouper::Variance)
        .computeGroups(result);
    EXPECT_EQ(result, (std::vector<int>{0}));
    result = {4, 5};
    SegmentGrouper(std::vector<double>{3.0}, std::vector<double>{2.0}, true,
                   static_cast<SegmentGrouper::DispersionMeasure>(5))
        .computeGroups(result);
    EXPECT_EQ(result, (std::vector<int>{0}));
}

TEST(ComputeGroups, NoSegmentsGiveEmptyResult) {
    std::vector<int> result{1, 2};
    SegmentGrouper(std::vector<double>{}, std::vector<double>{}, true, SegmentGrouper::MinMax)
        .computeGroups(result);
    EXPECT_TRUE(result.empty());
}

TEST(ComputeGroups, TwoSegmentsOnOpenLineGiveTwoGroups) {
    SegmentGrouper const grouper({1.0, 5.0}, {1.0, 1.0}, false, SegmentGrouper::MinMax);
    std::vector<int> starts;
    EXPECT_EQ(Access::optimizeIntraGroupVariation(grouper, 1, starts), 4.0);
    EXPECT_EQ(starts, (std::vector<int>{0}));
    EXPECT_EQ(Access::optimizeIntraGroupVariation(grouper, 2, starts), 0.0);
    EXPECT_EQ(starts, (std::vector<int>{0, 1}));
    std::vector<int> result;
    grouper.computeGroups(result);
    EXPECT_EQ(result, (std::vector<int>{0, 1}));
}

TEST(ComputeGroups, TwoSegmentsWhoseSplitIsNotAcceptableFallBackToTheFinestGrouping) {
    // The first segment covers 90 % of the line: two groups are not acceptable, gain[2] = 1.0.
    SegmentGrouper const grouper({1.0, 5.0}, {9.0, 1.0}, false, SegmentGrouper::Variance);
    EXPECT_FALSE(Access::isAcceptableGrouping(grouper, {0, 1}));
    std::vector<int> result;
    grouper.computeGroups(result);
    EXPECT_EQ(result, (std::vector<int>{0, 1}));
}

TEST(ComputeGroups, NothingAcceptableGivesTheFinestGrouping) {
    // Lengths summing to zero make every grouping unacceptable.
    std::vector<double> const values{1.0, 4.0, 2.0, 8.0, 3.0, 5.0};
    std::vector<double> const lengths{1.0, -1.0, 2.0, -2.0, 1.0, -1.0};
    for (bool const closed : {false, true}) {
        std::vector<int> result;
        SegmentGrouper(values, lengths, closed, SegmentGrouper::MinMax).computeGroups(result);
        EXPECT_EQ(result, (std::vector<int>{0, 1, 2, 3, 4, 5})) << closed;
    }
}

TEST(ComputeGroups, AllGainsNonPositiveGiveEmptyResult) {
    // Lengths whose total overflows to infinity make the equal-values adjustment write 1 / infinity = 0 to
    // every value; every grouping then scores 0 and is acceptable: no number of groups improves the
    // objective.
    for (auto const measure : {SegmentGrouper::MinMax, SegmentGrouper::Variance}) {
        SegmentGrouper const grouper({3.0, 3.0, 3.0, 3.0}, {1e308, 1e308, 1e308, 1e308}, true, measure);
        ASSERT_EQ(Access::values(grouper), (std::vector<double>{0.0, 0.0, 0.0, 0.0}));
        std::vector<int> result{9};
        grouper.computeGroups(result);
        EXPECT_TRUE(result.empty());
    }
}

TEST(ComputeGroups, UnknownMeasureThrowsMissingImplementationForTwoOrMoreSegments) {
    SegmentGrouper const grouper({1.0, 2.0, 7.0}, {1.0, 1.0, 1.0}, false,
                                 static_cast<SegmentGrouper::DispersionMeasure>(3));
    std::vector<int> starts;
    // One group uses the range silently.
    EXPECT_EQ(Access::optimizeIntraGroupVariation(grouper, 1, starts), 6.0);
    std::vector<int> result{42};
    try {
        grouper.computeGroups(result);
        FAIL() << "no exception";
    } catch (std::logic_error const& error) {
        EXPECT_STREQ(error.what(), "Missing implementation");
    }
    EXPECT_EQ(result, (std::vector<int>{42}));
}

TEST(ComputeGroups, SingleGroupIsTheWholeLineWithoutTheOptimiser) {
    std::vector<double> const values{2.0, -1.0, 4.0, 0.5};
    std::vector<double> const lengths{1.0, 2.0, 1.0, 3.0};
    std::vector<int> starts{7, 8};
    SegmentGrouper const variance(values, lengths, true, SegmentGrouper::Variance);
    EXPECT_EQ(Access::optimizeIntraGroupVariation(variance, 1, starts),
              Access::dispersionVariance(variance, 0, 0));
    EXPECT_EQ(starts, (std::vector<int>{0}));
    SegmentGrouper const minMax(values, lengths, false, SegmentGrouper::MinMax);
    EXPECT_EQ(Access::optimizeIntraGroupVariation(minMax, 1, starts), 5.0);
}

TEST(ComputeGroups, OptimisedGroupingsHaveKAscendingStartsAndStartAtZeroOnOpenLines) {
    std::mt19937 engine(7);
    for (bool const closed : {false, true}) {
        auto const line = plateauLine(engine, 7);
        SegmentGrouper const grouper(line.first, line.second, closed, SegmentGrouper::Variance);
        Optimised const optimised = optimiseEveryNumberOfGroups(grouper);
        for (int k = 1; k <= 7; ++k) {
            std::vector<int> const& starts = optimised.starts[k];
            ASSERT_EQ(static_cast<int>(starts.size()), k);
            EXPECT_TRUE(std::is_sorted(starts.begin(), starts.end()));
            EXPECT_EQ(std::adjacent_find(starts.begin(), starts.end()), starts.end());
            EXPECT_GE(starts.front(), 0);
            EXPECT_LT(starts.back(), 7);
            if (!closed) {
                EXPECT_EQ(starts.front(), 0) << k;
            }
        }
        EXPECT_EQ(optimised.starts[7], (std::vector<int>{0, 1, 2, 3, 4, 5, 6}));
    }
}

TEST(ComputeGroups, ChoiceFollowsGainWalkAndWideningOverTheOptimisedGroupings) {
    std::mt19937 engine(1234);
    int widenedCases = 0;
    for (int trial = 0; trial < 12; ++trial) {
        ThreadCount const threads(1 + trial % 2);
        int const n = 3 + trial % 6;
        bool const closed = trial % 2 == 0;
        auto const measure = trial % 4 < 2 ? SegmentGrouper::MinMax : SegmentGrouper::Variance;
        auto const line = plateauLine(engine, n);
        SegmentGrouper const grouper(line.first, line.second, closed, measure);
        bool widened = false;
        std::vector<int> const expected =
            referenceChoice(grouper, optimiseEveryNumberOfGroups(grouper), &widened);
        widenedCases += widened ? 1 : 0;
        std::vector<int> result;
        grouper.computeGroups(result);
        EXPECT_EQ(result, expected) << "trial " << trial;
    }
    EXPECT_GT(widenedCases, 0);
}

TEST(ComputeGroups, IdenticalForOneAndTwoThreads) {
    std::mt19937 engine(99);
    for (auto const measure : {SegmentGrouper::MinMax, SegmentGrouper::Variance}) {
        auto const line = plateauLine(engine, 8);
        SegmentGrouper const grouper(line.first, line.second, true, measure);
        std::vector<int> one;
        std::vector<int> two;
        Optimised optimisedOne;
        Optimised optimisedTwo;
        {
            ThreadCount const threads(1);
            grouper.computeGroups(one);
            optimisedOne = optimiseEveryNumberOfGroups(grouper);
        }
        {
            ThreadCount const threads(2);
            grouper.computeGroups(two);
            optimisedTwo = optimiseEveryNumberOfGroups(grouper);
        }
        EXPECT_EQ(one, two);
        EXPECT_EQ(optimisedOne.starts, optimisedTwo.starts);
        for (std::size_t k = 0; k < optimisedOne.value.size(); ++k) {
            EXPECT_TRUE(sameBits(optimisedOne.value[k], optimisedTwo.value[k])) << k;
        }
    }
}

TEST(ComputeGroups, ProgressReportsEveryNumberOfGroupsInOrderWithoutChangingTheResult) {
    std::mt19937 engine(3);
    auto const line = plateauLine(engine, 6);
    SegmentGrouper const grouper(line.first, line.second, false, SegmentGrouper::MinMax);
    std::vector<std::pair<int, int>> calls;
    std::vector<int> withProgress;
    grouper.computeGroups(withProgress,
                          [&calls](int tried, int segments) { calls.emplace_back(tried, segments); });
    EXPECT_EQ(calls, (std::vector<std::pair<int, int>>{{1, 6}, {2, 6}, {3, 6}, {4, 6}, {5, 6}, {6, 6}}));
    std::vector<int> plain;
    grouper.computeGroups(plain);
    EXPECT_EQ(withProgress, plain);
    std::vector<int> emptyHook;
    grouper.computeGroups(emptyHook, boost::function<void(int, int)>());
    EXPECT_EQ(emptyHook, plain);
}

TEST(ComputeGroups, ProgressComesFromTheCallingThreadInIncreasingOrderOnTwoThreads) {
    ThreadCount const threads(2);
    std::mt19937 engine(5);
    auto const line = plateauLine(engine, 12);
    SegmentGrouper const grouper(line.first, line.second, true, SegmentGrouper::Variance);
    std::thread::id const caller = std::this_thread::get_id();
    std::vector<int> tried;
    bool elsewhere = false;
    std::vector<int> result;
    grouper.computeGroups(result, [&](int k, int segments) {
        elsewhere = elsewhere || std::this_thread::get_id() != caller || segments != 12;
        tried.push_back(k);
    });
    EXPECT_EQ(tried, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
    EXPECT_FALSE(elsewhere);
}

TEST(ComputeGroups, ThreadLimitLeavesEveryResultUnchanged) {
    ThreadCount const threads(2);
    std::mt19937 engine(17);
    for (int trial = 0; trial < 6; ++trial) {
        auto const line = plateauLine(engine, 6 + trial);
        SegmentGrouper const grouper(line.first, line.second, trial % 2 == 0,
                                     trial % 3 == 0 ? SegmentGrouper::MinMax : SegmentGrouper::Variance);
        std::vector<int> twoThreads;
        grouper.computeGroups(twoThreads);
        Kestrel::setMaxNumberOfThreads(1);
        std::vector<int> oneThread;
        grouper.computeGroups(oneThread);
        Kestrel::setMaxNumberOfThreads(0);
        EXPECT_EQ(oneThread, twoThreads) << trial;
    }
}

TEST(ComputeGroups, CallsFromInsideTheHostsOwnParallelRegionGiveTheSameResults) {
    ThreadCount const threads(2);
    std::mt19937 engine(23);
    auto const first = plateauLine(engine, 11);
    auto const second = plateauLine(engine, 9);
    SegmentGrouper const groupers[2] = {
        SegmentGrouper(first.first, first.second, true, SegmentGrouper::MinMax),
        SegmentGrouper(second.first, second.second, false, SegmentGrouper::Variance)};
    std::vector<int> expected[2];
    groupers[0].computeGroups(expected[0]);
    groupers[1].computeGroups(expected[1]);

    // Two host threads each call the library at once, once on different groupers and once on the same.
    for (bool const same : {false, true}) {
        std::vector<int> results[2];
        std::vector<int> progressThread[2];
        int teamSize = 0;
#pragma omp parallel num_threads(2)
        {
            int const host = omp_get_thread_num();
            SegmentGrouper const& grouper = groupers[same ? 0 : host];
            grouper.computeGroups(results[host], [&progressThread, host](int, int) {
                progressThread[host].push_back(omp_get_thread_num());
            });
#pragma omp single
            teamSize = omp_get_num_threads();
        }
        for (int host = 0; host < teamSize; ++host) {
            EXPECT_EQ(results[host], expected[same ? 0 : host]) << same << " " << host;
            // Progress stays on the host thread that called, which is still in the host's team.
            EXPECT_EQ(progressThread[host], std::vector<int>(progressThread[host].size(), host));
            EXPECT_FALSE(progressThread[host].empty());
        }
    }
}

TEST(ComputeGroups, ProgressExceptionReachesTheCallerAndLeavesTheResult) {
    SegmentGrouper const grouper({1.0, 2.0, 8.0, 9.0}, {1.0, 1.0, 1.0, 1.0}, true, SegmentGrouper::Variance);
    std::vector<int> result{5};
    EXPECT_THROW(grouper.computeGroups(result,
                                       [](int tried, int) {
                                           if (tried == 2) {
                                               throw std::runtime_error("stop");
                                           }
                                       }),
                 std::runtime_error);
    EXPECT_EQ(result, (std::vector<int>{5}));
    int calls = 0;
    SegmentGrouper(std::vector<double>{1.0}, std::vector<double>{1.0}, true, SegmentGrouper::Variance)
        .computeGroups(result, [&calls](int, int) { ++calls; });
    EXPECT_EQ(calls, 0);
}

}  // namespace
