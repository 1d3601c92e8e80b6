#include "output/GroupReport.h"

#include <gtest/gtest.h>

TEST(GroupReport, OpenLineGroupsEndAtTheLineEnd) {
    std::vector<ktx::GroupSummary> const groups =
        ktx::summariseGroups({1, 2, 5, 7, 6}, {1, 2, 3, 4, 5}, false, ktx::Dispersion::MinMax, {0, 2});
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups[0].end, 2);
    EXPECT_EQ(groups[0].segments, 2);
    EXPECT_DOUBLE_EQ(groups[0].length, 3.0);
    EXPECT_DOUBLE_EQ(groups[0].dispersion, 1.0);
    EXPECT_EQ(groups[1].end, 5);
    EXPECT_DOUBLE_EQ(groups[1].length, 12.0);
    EXPECT_DOUBLE_EQ(groups[1].dispersion, 2.0);
}

TEST(GroupReport, ClosedLineLastGroupWrapsToTheFirstStart) {
    std::vector<ktx::GroupSummary> const groups =
        ktx::summariseGroups({1, 2, 5, 7, 1}, {1, 2, 3, 4, 5}, true, ktx::Dispersion::Variance, {1, 4});
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups[1].start, 4);
    EXPECT_EQ(groups[1].end, 1);
    EXPECT_EQ(groups[1].segments, 2);  // segments 4 and 0
    EXPECT_DOUBLE_EQ(groups[1].length, 6.0);
    EXPECT_DOUBLE_EQ(groups[1].dispersion, 0.0);  // values 1 and 1
    // Segments 1-3: values 2, 5, 7, mean 14/3.
    double const mean = 14.0 / 3.0;
    double const variance =
        ((2 - mean) * (2 - mean) + (5 - mean) * (5 - mean) + (7 - mean) * (7 - mean)) / 3.0;
    EXPECT_DOUBLE_EQ(groups[0].dispersion, variance);
}

TEST(GroupReport, SingleGroupOfAClosedLineHoldsEverySegment) {
    std::vector<ktx::GroupSummary> const groups =
        ktx::summariseGroups({1, 2, 3}, {1, 1, 1}, true, ktx::Dispersion::MinMax, {2});
    ASSERT_EQ(groups.size(), 1u);
    EXPECT_EQ(groups[0].segments, 3);
    EXPECT_DOUBLE_EQ(groups[0].dispersion, 2.0);
}

TEST(GroupReport, SegmentsWithoutGroupAreMarked) {
    EXPECT_EQ(ktx::groupOfSegments({}, 3, false), (std::vector<int>{-1, -1, -1}));
    EXPECT_EQ(ktx::groupOfSegments({1, 3}, 4, true), (std::vector<int>{1, 0, 0, 1}));
}
