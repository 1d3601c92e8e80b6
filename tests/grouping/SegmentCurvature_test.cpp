// Curvature and arc length of the segments of a polyline.
#include "SegmentGrouperTestAccess.h"

#include <Kestrel/SegmentGrouper.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <utility>
#include <vector>

namespace {

using Kestrel::SegmentGrouper;
using Access = Kestrel::SegmentGrouperTestAccess;
using Points = std::vector<std::pair<double, double>>;
using Segments = std::vector<std::pair<int, int>>;

double const kPi = 3.14159265358979323846;

// `count` points on a circle of radius r around (cx, cy), from angle `from` in steps of `step` radians
// (positive: counter-clockwise).
Points circlePoints(double r, double cx, double cy, double from, double step, int count) {
    Points points;
    for (int i = 0; i < count; ++i) {
        double const angle = from + step * i;
        points.emplace_back(cx + r * std::cos(angle), cy + r * std::sin(angle));
    }
    return points;
}

// Segments of `size` points with two points left out between neighbours (gaps to close; the midpoint of
// each gap lies halfway along a chord).
Segments segmentsWithGaps(int count, int size) {
    Segments segments;
    for (int k = 0; k < count; ++k) {
        segments.emplace_back(k * (size + 2), k * (size + 2) + size - 1);
    }
    return segments;
}

// A segment resampled at 25 parameters measures the turning between its first and last chord directions,
// which lie half a sample step inside its ends: the curvature of an arc comes out as (23/24) / r.
double const kSampledShare = 23.0 / 24.0;

double polylineLength(Points const& points, bool closed) {
    double length = 0.0;
    for (std::size_t i = 1; i < points.size(); ++i) {
        length += std::hypot(points[i].first - points[i - 1].first, points[i].second - points[i - 1].second);
    }
    if (closed) {
        length += std::hypot(points.front().first - points.back().first,
                             points.front().second - points.back().second);
    }
    return length;
}

TEST(SegmentCurvature, NoSegmentsGiveEmptyCurvature) {
    std::vector<double> curvature{1.0, 2.0};
    std::vector<double> lengths{3.0};
    SegmentGrouper::calculateSegmentCurvature({{0, 0}, {1, 0}, {2, 1}}, false, {}, curvature, lengths);
    EXPECT_TRUE(curvature.empty());
    EXPECT_EQ(lengths, (std::vector<double>{3.0}));
}

TEST(SegmentCurvature, TwoPointsGiveZeroCurvatureAndLeaveLengthsAlone) {
    std::vector<double> curvature;
    std::vector<double> lengths{3.0};
    SegmentGrouper::calculateSegmentCurvature({{0, 0}, {1, 1}}, true, {{0, 0}, {1, 1}, {0, 1}}, curvature,
                                              lengths);
    EXPECT_EQ(curvature, (std::vector<double>{0.0, 0.0, 0.0}));
    EXPECT_EQ(lengths, (std::vector<double>{3.0}));
    Access::extendedSegmentCurvature({{0, 0}, {1, 1}}, false, {{0, 1}}, curvature, lengths);
    EXPECT_EQ(curvature, (std::vector<double>{0.0}));
    EXPECT_EQ(lengths, (std::vector<double>{3.0}));
}

TEST(SegmentCurvature, StraightLineHasZeroCurvature) {
    Points points;
    for (int i = 0; i < 30; ++i) {
        points.emplace_back(1.0 + 0.5 * i + 0.01 * i * i, -2.0 + 1.0 * i + 0.02 * i * i);
    }
    for (bool const closed : {false, true}) {
        std::vector<double> curvature;
        std::vector<double> lengths;
        SegmentGrouper::calculateSegmentCurvature(points, closed, segmentsWithGaps(3, 8), curvature, lengths);
        ASSERT_EQ(curvature.size(), 3u);
        if (!closed) {
            for (double const value : curvature) {
                EXPECT_NEAR(value, 0.0, 1e-9);
            }
        }
    }
    std::vector<double> curvature;
    std::vector<double> lengths;
    Access::extendedSegmentCurvature(points, false, {{0, 10}, {10, 29}}, curvature, lengths);
    EXPECT_NEAR(curvature[0], 0.0, 1e-9);
    EXPECT_NEAR(curvature[1], 0.0, 1e-9);
}

TEST(SegmentCurvature, OpenCircleArcsGiveMinusOneOverRadiusCounterClockwisePlusClockwise) {
    for (double const radius : {0.5, 3.0, 40.0, 1000.0}) {
        for (double const direction : {1.0, -1.0}) {
            Points const points = circlePoints(radius, 7.0, -3.0, 0.4, direction * kPi / 40.0, 44);
            std::vector<double> curvature;
            std::vector<double> lengths;
            SegmentGrouper::calculateSegmentCurvature(points, false, segmentsWithGaps(4, 9), curvature,
                                                      lengths);
            ASSERT_EQ(curvature.size(), 4u);
            for (double const value : curvature) {
                EXPECT_NEAR(value * radius, -direction * kSampledShare, 0.01) << "radius " << radius;
            }
        }
    }
}

TEST(SegmentCurvature, ClosedCircleGivesMinusOneOverRadiusOnEverySegment) {
    for (double const radius : {0.5, 3.0, 40.0, 1000.0}) {
        for (double const direction : {1.0, -1.0}) {
            // 48 points round the whole circle, the first not repeated: the closing chord completes it.
            Points const points = circlePoints(radius, -2.0, 5.0, 1.0, direction * kPi / 24.0, 48);
            std::vector<double> curvature;
            std::vector<double> lengths;
            SegmentGrouper::calculateSegmentCurvature(points, true, segmentsWithGaps(4, 10), curvature,
                                                      lengths);
            ASSERT_EQ(curvature.size(), 4u);
            double total = 0.0;
            for (std::size_t k = 0; k < curvature.size(); ++k) {
                EXPECT_NEAR(curvature[k] * radius, -direction * kSampledShare, 0.005)
                    << "radius " << radius << " k " << k;
                total += lengths[k];
            }
            // The extended segments cover the loop once, closing chord included (the inserted boundaries lie
            // on the interpolated curve, slightly outside the chords).
            EXPECT_NEAR(total, polylineLength(points, true), 1e-4 * polylineLength(points, true));
        }
    }
}

TEST(SegmentCurvature, ClosedCircleWithRepeatedFirstPointAndSegmentAcrossTheStart) {
    Points points = circlePoints(2.0, 0.0, 0.0, 0.0, kPi / 20.0, 40);
    points.push_back(points.front());
    std::vector<double> curvature;
    std::vector<double> lengths;
    SegmentGrouper::calculateSegmentCurvature(points, true, {{3, 12}, {15, 25}, {28, 36}}, curvature,
                                              lengths);
    ASSERT_EQ(curvature.size(), 3u);
    double total = 0.0;
    for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_NEAR(curvature[k] * 2.0, -kSampledShare, 0.005) << k;
        total += lengths[k];
    }
    EXPECT_NEAR(total, polylineLength(points, false), 1e-4 * polylineLength(points, false));
}

TEST(SegmentCurvature, ClosedLineWithOneSegmentIsMeasuredAsOpen) {
    Points const points = circlePoints(3.0, 1.0, 1.0, 0.0, kPi / 30.0, 20);
    std::vector<double> closedCurvature;
    std::vector<double> closedLengths;
    SegmentGrouper::calculateSegmentCurvature(points, true, {{2, 15}}, closedCurvature, closedLengths);
    std::vector<double> openCurvature;
    std::vector<double> openLengths;
    SegmentGrouper::calculateSegmentCurvature(points, false, {{2, 15}}, openCurvature, openLengths);
    EXPECT_EQ(closedCurvature, openCurvature);
    EXPECT_EQ(closedLengths, openLengths);
    // The single extended segment runs from the first to the last point.
    EXPECT_NEAR(openLengths[0], polylineLength(points, false), 1e-12);
}

TEST(SegmentCurvature, GapBoundaryIsAnExistingPointWhenItLiesExactlyAtTheMidpoint) {
    Points points;
    for (int i = 0; i <= 6; ++i) {
        points.emplace_back(i, 0.0);
    }
    std::vector<double> curvature;
    std::vector<double> lengths;
    // Gap from point 2 to point 4: midpoint at arc length 3, point 3.
    SegmentGrouper::calculateSegmentCurvature(points, false, {{0, 2}, {4, 6}}, curvature, lengths);
    EXPECT_EQ(lengths, (std::vector<double>{3.0, 3.0}));
    // Gap from point 2 to point 3: a point is inserted at arc length 2.5.
    SegmentGrouper::calculateSegmentCurvature(points, false, {{0, 2}, {3, 6}}, curvature, lengths);
    EXPECT_EQ(lengths, (std::vector<double>{3.0, 3.0, 2.5, 3.5}));
    EXPECT_EQ(curvature, (std::vector<double>{0.0, 0.0}));
}

TEST(SegmentCurvature, CallingTwiceAppendsASecondSetOfLengths) {
    Points const points = circlePoints(5.0, 0.0, 0.0, 0.0, 0.1, 30);
    std::vector<double> curvature;
    std::vector<double> lengths;
    Segments const segments = segmentsWithGaps(3, 8);
    SegmentGrouper::calculateSegmentCurvature(points, false, segments, curvature, lengths);
    ASSERT_EQ(lengths.size(), 3u);
    std::vector<double> const first = lengths;
    SegmentGrouper::calculateSegmentCurvature(points, false, segments, curvature, lengths);
    ASSERT_EQ(lengths.size(), 6u);
    EXPECT_EQ(std::vector<double>(lengths.begin() + 3, lengths.end()), first);
    EXPECT_EQ(curvature.size(), 3u);
}

TEST(SegmentCurvature, SegmentWithoutArcLengthHasZeroCurvature) {
    Points const points = circlePoints(5.0, 0.0, 0.0, 0.0, 0.1, 10);
    std::vector<double> curvature;
    std::vector<double> lengths;
    Access::extendedSegmentCurvature(points, false, {{0, 4}, {4, 4}, {4, 9}}, curvature, lengths);
    ASSERT_EQ(curvature.size(), 3u);
    EXPECT_EQ(curvature[1], 0.0);
    EXPECT_EQ(lengths[1], 0.0);
    EXPECT_NEAR(curvature[0] * 5.0, -kSampledShare, 0.03);  // at the line's start: one-sided end slopes
}

TEST(SegmentCurvature, RandomLinesGiveOneFiniteCurvatureAndOneLengthPerSegment) {
    std::mt19937 engine(17);
    std::uniform_real_distribution<double> coordinate(-10.0, 10.0);
    for (int trial = 0; trial < 200; ++trial) {
        int const count = 3 + trial % 40;
        Points points;
        for (int i = 0; i < count; ++i) {
            points.emplace_back(coordinate(engine), coordinate(engine));
        }
        // Ascending segments of random size with random gaps (possibly none, possibly touching).
        Segments segments;
        int first = std::uniform_int_distribution<int>(0, 2)(engine);
        while (first < count - 1) {
            int const last = std::min(count - 1, first + std::uniform_int_distribution<int>(1, 6)(engine));
            segments.emplace_back(first, last);
            first = last + std::uniform_int_distribution<int>(0, 3)(engine);
        }
        for (bool const closed : {false, true}) {
            std::vector<double> curvature{5.0};
            std::vector<double> lengths{-1.0};
            SegmentGrouper::calculateSegmentCurvature(points, closed, segments, curvature, lengths);
            ASSERT_EQ(curvature.size(), segments.size());
            ASSERT_EQ(lengths.size(), segments.size() + 1);
            if (segments.empty()) {
                continue;
            }
            double total = 0.0;
            for (std::size_t k = 0; k < segments.size(); ++k) {
                EXPECT_TRUE(std::isfinite(curvature[k])) << "trial " << trial << " k " << k;
                EXPECT_GE(lengths[k + 1], 0.0);
                total += lengths[k + 1];
            }
            // The extended segments cover the whole line once (the loop on a closed line with two or more
            // segments), up to the inserted points lying on the curve rather than on the chords.
            bool const loop = closed && segments.size() >= 2;
            double const expected = polylineLength(points, loop);
            EXPECT_GE(total, expected * (1.0 - 1e-12)) << "trial " << trial;
            EXPECT_LE(total, expected * 1.5) << "trial " << trial;
        }
    }
}

}  // namespace
