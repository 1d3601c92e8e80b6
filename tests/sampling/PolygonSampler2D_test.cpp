#include <Kestrel/PopulationSampling.h>

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <stdexcept>
#include <string>

namespace {

using Kestrel::PolygonSampler2D;
using Point = PolygonSampler2D::Point;
using Ring = PolygonSampler2D::Ring;

Ring const kBlank{{0.0, 0.0}, {4.0, 0.0}, {4.0, 3.0}, {0.0, 3.0}};
Ring const kSquareHole{{1.0, 1.0}, {2.0, 1.0}, {2.0, 2.0}, {1.0, 2.0}};
Ring const kTriangleHole{{2.5, 0.5}, {3.5, 0.5}, {3.0, 2.5}};  // clockwise would work as well

bool insideBlankRectangle(Point const& p) {
    return p.first > 0.0 && p.first < 4.0 && p.second > 0.0 && p.second < 3.0;
}

bool insideSquareHole(Point const& p) {
    return p.first >= 1.0 && p.first <= 2.0 && p.second >= 1.0 && p.second <= 2.0;
}

// Barycentric test against the triangle hole, boundary included.
bool insideTriangleHole(Point const& p) {
    auto side = [&](Point const& a, Point const& b) {
        return (b.first - a.first) * (p.second - a.second) - (b.second - a.second) * (p.first - a.first);
    };
    double const s0 = side(kTriangleHole[0], kTriangleHole[1]);
    double const s1 = side(kTriangleHole[1], kTriangleHole[2]);
    double const s2 = side(kTriangleHole[2], kTriangleHole[0]);
    return s0 >= 0.0 && s1 >= 0.0 && s2 >= 0.0;
}

std::vector<Point> candidatesOf(PolygonSampler2D& polygon, int count) {
    std::vector<Point> out;
    polygon.generateCandidates(count, out);
    return out;
}

void expectRejected(Ring outer, std::vector<Ring> holes, std::string const& fragment) {
    try {
        PolygonSampler2D polygon(std::move(outer), std::move(holes));
        ADD_FAILURE() << "accepted, expected a message with: " << fragment;
    } catch (std::invalid_argument const& error) {
        std::string const message = error.what();
        EXPECT_NE(message.find("PolygonSampler2D: "), std::string::npos) << message;
        EXPECT_NE(message.find(fragment), std::string::npos) << message;
    }
}

TEST(PolygonSampler2D, Candidates_LieInsideTheOuterRing) {
    PolygonSampler2D polygon(kBlank, {kSquareHole, kTriangleHole});
    std::vector<Point> const candidates = candidatesOf(polygon, 5000);
    ASSERT_EQ(candidates.size(), 5000u);
    for (Point const& p : candidates) {
        EXPECT_TRUE(insideBlankRectangle(p)) << p.first << ", " << p.second;
        EXPECT_TRUE(polygon.contains(p));
    }
}

TEST(PolygonSampler2D, Candidates_LeaveHolesEmpty) {
    PolygonSampler2D polygon(kBlank, {kSquareHole, kTriangleHole});
    int inHoles = 0;
    for (Point const& p : candidatesOf(polygon, 20000)) {
        inHoles += insideSquareHole(p) || insideTriangleHole(p);
    }
    EXPECT_EQ(inHoles, 0);
}

TEST(PolygonSampler2D, Candidates_AreUniformOverTheArea) {
    // Chi-square over a 10 x 10 grid of equal cells: with 99 degrees of freedom, 148.2 is the 0.1 % level.
    PolygonSampler2D polygon({{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}});
    int const count = 20000;
    std::vector<int> cells(100, 0);
    for (Point const& p : candidatesOf(polygon, count)) {
        int const column = std::min(9, static_cast<int>(p.first * 10.0));
        int const row = std::min(9, static_cast<int>(p.second * 10.0));
        ++cells[static_cast<std::size_t>(row * 10 + column)];
    }
    double const expected = count / 100.0;
    double chiSquare = 0.0;
    for (int const observed : cells) {
        chiSquare += (observed - expected) * (observed - expected) / expected;
    }
    EXPECT_LT(chiSquare, 148.2);
}

TEST(PolygonSampler2D, Candidates_SplitByAreaAroundAHole) {
    // Left of x = 2 the blank has area 6 - 1 (square hole); right of it 6 - 1 (triangle hole): equal halves.
    PolygonSampler2D polygon(kBlank, {kSquareHole, kTriangleHole});
    int const count = 40000;
    int left = 0;
    for (Point const& p : candidatesOf(polygon, count)) {
        left += p.first < 2.0;
    }
    double const fraction = static_cast<double>(left) / count;
    EXPECT_NEAR(fraction, 0.5, 4.0 * std::sqrt(0.25 / count));
}

TEST(PolygonSampler2D, SameCountGivesSameCandidatesOnEveryCall) {
    PolygonSampler2D polygon(kBlank, {kSquareHole});
    PolygonSampler2D copy = polygon;
    EXPECT_EQ(candidatesOf(polygon, 300), candidatesOf(polygon, 300));
    EXPECT_EQ(candidatesOf(polygon, 300), candidatesOf(copy, 300));
}

TEST(PolygonSampler2D, NonPositiveCount_GivesNoCandidates) {
    PolygonSampler2D polygon(kBlank);
    std::vector<Point> out{{1.0, 1.0}};
    polygon.generateCandidates(0, out);
    EXPECT_TRUE(out.empty());
    polygon.generateCandidates(-4, out);
    EXPECT_TRUE(out.empty());
}

TEST(PolygonSampler2D, EitherOrientationAndAClosingVertexGiveTheSamePolygon) {
    Ring clockwise(kBlank.rbegin(), kBlank.rend());
    Ring closedHole = kSquareHole;
    closedHole.push_back(kSquareHole.front());
    PolygonSampler2D counterClockwise(kBlank, {kSquareHole});
    PolygonSampler2D other(clockwise, {closedHole});
    EXPECT_EQ(candidatesOf(counterClockwise, 500), candidatesOf(other, 500));
    EXPECT_DOUBLE_EQ(other.getArea(), 11.0);
}

TEST(PolygonSampler2D, Area_IsOuterAreaMinusHoles) {
    EXPECT_DOUBLE_EQ(PolygonSampler2D(kBlank).getArea(), 12.0);
    EXPECT_DOUBLE_EQ(PolygonSampler2D(kBlank, {kSquareHole, kTriangleHole}).getArea(), 12.0 - 1.0 - 1.0);
}

TEST(PolygonSampler2D, Contains_FollowsOuterRingAndHoles) {
    PolygonSampler2D polygon(kBlank, {kSquareHole});
    EXPECT_TRUE(polygon.contains({0.5, 0.5}));
    EXPECT_FALSE(polygon.contains({1.5, 1.5}));
    EXPECT_FALSE(polygon.contains({5.0, 1.0}));
    EXPECT_FALSE(polygon.contains({1.0, -1.0}));
}

TEST(PolygonSampler2D, Samples_AreWellSpreadPointsOfAConcaveOutline) {
    // A U-shaped blank: the samples are candidates, so none lands in the notch.
    PolygonSampler2D polygon({{0, 0}, {6, 0}, {6, 4}, {4, 4}, {4, 1}, {2, 1}, {2, 4}, {0, 4}});
    std::vector<Point> samples;
    polygon.calculateSamples(25, samples);
    ASSERT_EQ(samples.size(), 25u);
    EXPECT_EQ(std::set<Point>(samples.begin(), samples.end()).size(), 25u);
    for (Point const& p : samples) {
        EXPECT_TRUE(polygon.contains(p));
        EXPECT_FALSE(p.first > 2.0 && p.first < 4.0 && p.second > 1.0) << p.first << ", " << p.second;
    }
}

TEST(PolygonSampler2D, RingWithFewerThanThreeVertices_IsRejected) {
    expectRejected({{0, 0}, {1, 0}}, {}, "outer ring has fewer than three vertices");
    expectRejected({{0, 0}, {1, 0}, {0, 0}}, {}, "outer ring has fewer than three vertices");
    expectRejected(kBlank, {{{1, 1}, {2, 2}}}, "hole 0 has fewer than three vertices");
}

TEST(PolygonSampler2D, DegenerateRings_AreRejected) {
    expectRejected({{0, 0}, {1, 0}, {1, 0}, {0, 1}}, {}, "outer ring vertices 1 and 2 coincide");
    expectRejected({{0, 0}, {1, 1}, {2, 2}}, {}, "outer ring has zero area");
    expectRejected({{0, 0}, {1, 0}, {std::nan(""), 1}}, {},
                   "outer ring vertex 2 has a non-finite coordinate");
    expectRejected({{0, 0}, {4, 0}, {4, 3}, {4, 5}, {4, 4}, {0, 3}}, {},
                   "outer ring edge 2 and outer ring edge 4 touch or cross");
}

TEST(PolygonSampler2D, SliverCoveringAlmostNothingOfItsBox_IsRejected) {
    expectRejected({{0, 0}, {1, 1}, {1, 1 + 1e-7}}, {}, "covers less than a millionth of its bounding box");
}

TEST(PolygonSampler2D, SelfIntersectingRing_IsRejected) {
    expectRejected({{0, 0}, {2, 2}, {2, 0}, {0, 2}}, {},
                   "outer ring edge 0 and outer ring edge 2 touch or cross");
    expectRejected(kBlank, {{{1, 1}, {2, 2}, {2, 1}, {1, 2}}},
                   "hole 0 edge 0 and hole 0 edge 2 touch or cross");
    // A ring that touches itself at one vertex (two loops) is rejected too.
    expectRejected({{0, 0}, {2, 0}, {1, 1}, {2, 2}, {0, 2}, {1, 1}}, {}, "touch or cross");
}

TEST(PolygonSampler2D, HolesCrossingOrOutsideTheOutline_AreRejected) {
    expectRejected(kBlank, {{{3, 1}, {5, 1}, {5, 2}, {3, 2}}},
                   "outer ring edge 1 and hole 0 edge 0 touch or cross");
    expectRejected(kBlank, {{{0, 1}, {1, 1}, {1, 2}}}, "touch or cross");
    expectRejected(kBlank, {{{5, 1}, {6, 1}, {6, 2}}}, "hole 0 does not lie inside the outer ring");
    expectRejected(kBlank, {kSquareHole, {{1.2, 1.2}, {1.8, 1.2}, {1.5, 1.8}}}, "hole 1 lies inside hole 0");
    expectRejected(kBlank, {kSquareHole, {{1.5, 1.5}, {3, 1.5}, {3, 2.5}}}, "hole 0 edge");
}

}  // namespace
