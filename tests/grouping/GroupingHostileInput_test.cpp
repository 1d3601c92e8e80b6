// The grouper and its static measurements refuse inputs their computations cannot use, with
// std::invalid_argument naming the argument and the offending index or value, before any output.
#include <Kestrel/SegmentGrouper.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

using Kestrel::SegmentGrouper;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;
using Points = std::vector<std::pair<double, double>>;
using Segments = std::vector<std::pair<int, int>>;

double const kNaN = std::numeric_limits<double>::quiet_NaN();
double const kInfinity = std::numeric_limits<double>::infinity();

void expectRefusedLine(std::vector<double> const& values, std::vector<double> const& lengths,
                       char const* text) {
    EXPECT_THAT([&] { SegmentGrouper(values, lengths, false, SegmentGrouper::MinMax); },
                ThrowsMessage<std::invalid_argument>(HasSubstr(text)));
}

TEST(GrouperInput, MoreValuesThanLengthsIsRefused) {
    expectRefusedLine({1.0, 2.0, 3.0, 4.0}, {1.0, 1.0}, "values has 4 entries but lengths has 2");
}

TEST(GrouperInput, MoreLengthsThanValuesIsRefused) {
    expectRefusedLine({1.0}, {1.0, 1.0, 1.0}, "values has 1 entries but lengths has 3");
}

TEST(GrouperInput, NaNOrInfiniteValuesAreRefused) {
    expectRefusedLine({1.0, kNaN, 3.0}, {1.0, 1.0, 1.0}, "values[1] is nan");
    expectRefusedLine({1.0, 2.0, -kInfinity}, {1.0, 1.0, 1.0}, "values[2] is -inf");
}

TEST(GrouperInput, NaNOrInfiniteLengthsAreRefused) {
    expectRefusedLine({1.0, 2.0, 3.0}, {kNaN, 1.0, 1.0}, "lengths[0] is nan");
    expectRefusedLine({1.0, 2.0, 3.0}, {1.0, kInfinity, 1.0}, "lengths[1] is inf");
}

TEST(GrouperInput, EmptyLineIsStillValid) {
    SegmentGrouper const grouper({}, {}, true, SegmentGrouper::Variance);
    std::vector<int> result{4};
    grouper.computeGroups(result);
    EXPECT_TRUE(result.empty());
}

int recommend(std::vector<double> const& values, std::vector<int> const& starts) {
    unsetenv("KX_CONTROL_NUMBER_OF_LINE_DVS");
    return SegmentGrouper::calculateRecommendedNumberOfMasterSegments(false, values, starts, values);
}

void expectRefusedStarts(std::vector<double> const& values, std::vector<int> const& starts,
                         char const* text) {
    EXPECT_THAT([&] { recommend(values, starts); }, ThrowsMessage<std::invalid_argument>(HasSubstr(text)));
}

TEST(RecommendedMastersInput, StartBeyondTheValuesIsRefused) {
    expectRefusedStarts(std::vector<double>(8, 1.0), {0, 2, 4, 9},
                        "segmentStarts[3] = 9 is not an index of values (8 entries)");
}

TEST(RecommendedMastersInput, NegativeStartIsRefused) {
    expectRefusedStarts(std::vector<double>(8, 1.0), {-3, 2, 4, 6}, "segmentStarts[0] = -3 is not an index");
}

TEST(RecommendedMastersInput, TooFewOrNoValuesAreRefused) {
    expectRefusedStarts({1.0, 2.0, 3.0}, {0, 1, 2, 3},
                        "segmentStarts[3] = 3 is not an index of values (3 entries)");
    expectRefusedStarts({}, {0, 1, 2, 3}, "segmentStarts[0] = 0 is not an index of values (0 entries)");
}

TEST(RecommendedMastersInput, UnsortedOrRepeatedStartsAreRefused) {
    expectRefusedStarts(std::vector<double>(8, 1.0), {0, 4, 2, 6}, "segmentStarts[2] = 2 does not exceed");
    expectRefusedStarts(std::vector<double>(8, 1.0), {0, 2, 2, 6}, "segmentStarts[2] = 2 does not exceed");
}

TEST(RecommendedMastersInput, FewerThanFourSegmentsAreNotLookedAt) {
    EXPECT_EQ(3, recommend({}, {7, -1, 99}));
}

void expectRefusedPolyline(Points const& points, Segments const& segments, char const* text) {
    std::vector<double> curvature{9.0};
    std::vector<double> lengths{9.0};
    EXPECT_THAT(
        [&] { SegmentGrouper::calculateSegmentCurvature(points, false, segments, curvature, lengths); },
        ThrowsMessage<std::invalid_argument>(HasSubstr(text)));
    EXPECT_EQ(std::vector<double>{9.0}, curvature);
    EXPECT_EQ(std::vector<double>{9.0}, lengths);
}

Points const kLine{{0.0, 0.0}, {1.0, 0.5}, {2.0, 0.0}, {3.0, 1.0}, {4.0, 0.0}, {5.0, 0.5}};

TEST(CurvatureInput, SegmentBeyondThePointsIsRefused) {
    expectRefusedPolyline(kLine, {{0, 2}, {3, 6}}, "segments[1] = (3, 6) reaches outside the 6 points");
}

TEST(CurvatureInput, NegativeSegmentIndexIsRefused) {
    expectRefusedPolyline(kLine, {{-1, 2}}, "segments[0] = (-1, 2) reaches outside");
}

TEST(CurvatureInput, ReversedSegmentIsRefused) {
    expectRefusedPolyline(kLine, {{0, 1}, {4, 2}}, "segments[1] = (4, 2) is reversed");
}

TEST(CurvatureInput, SegmentsOutOfOrderAreRefused) {
    expectRefusedPolyline(kLine, {{3, 5}, {0, 2}}, "segments[1] = (0, 2) starts before the last point 5");
}

TEST(CurvatureInput, NaNPointIsRefused) {
    Points points = kLine;
    points[4].second = kNaN;
    expectRefusedPolyline(points, {{0, 2}, {3, 5}}, "points[4] = (4, nan) is not finite");
}

TEST(CurvatureInput, TouchingSegmentsAreValid) {
    std::vector<double> curvature;
    std::vector<double> lengths;
    SegmentGrouper::calculateSegmentCurvature(kLine, false, {{0, 2}, {2, 5}}, curvature, lengths);
    EXPECT_EQ(2u, curvature.size());
    EXPECT_EQ(2u, lengths.size());
}

}  // namespace
