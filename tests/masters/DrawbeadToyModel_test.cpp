#include <Kestrel/MasterOptimizer4Interpolation.h>

#include "ReferenceToyModel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace Kestrel {
namespace {

using Bounds = std::vector<std::pair<double, double>>;

DrawbeadToyModel lineOf(std::vector<double> const& lengths, bool closed,
                        std::vector<double> const* transitions = nullptr) {
    return DrawbeadToyModel(lengths, Bounds(lengths.size(), {0.0, 1.0}), closed, transitions);
}

std::vector<double> const& transitionsOf(DrawbeadToyModel const& model) {
    return model.getTransitionLengths();
}

DrawbeadToyModel modelOf(ReferenceToyModel::Line const& line) {
    return DrawbeadToyModel(line.lengths, line.bounds, line.closed, &line.transitions);
}

TEST(DrawbeadToyModel, OpenLineTransitionsAreTheShorterNeighbour) {
    EXPECT_EQ(transitionsOf(lineOf({2.0, 4.0, 6.0}, false)), (std::vector<double>{2.0, 4.0}));
    EXPECT_EQ(transitionsOf(lineOf({5.0, 1.0, 3.0, 7.0}, false)), (std::vector<double>{1.0, 1.0, 3.0}));
}

TEST(DrawbeadToyModel, ClosedLineTransitionsWrapToTheFirstSegment) {
    EXPECT_EQ(transitionsOf(lineOf({2.0, 4.0, 6.0}, true)), (std::vector<double>{2.0, 4.0, 2.0}));
    EXPECT_EQ(transitionsOf(lineOf({5.0, 1.0, 3.0, 7.0}, true)), (std::vector<double>{1.0, 1.0, 3.0, 5.0}));
}

TEST(DrawbeadToyModel, NoSegmentsGiveNoTransitions) {
    EXPECT_TRUE(transitionsOf(lineOf({}, false)).empty());
    EXPECT_TRUE(transitionsOf(lineOf({}, true)).empty());
}

TEST(DrawbeadToyModel, OneSegmentHasATransitionOnlyWhenClosed) {
    EXPECT_TRUE(transitionsOf(lineOf({3.5}, false)).empty());
    EXPECT_EQ(transitionsOf(lineOf({3.5}, true)), (std::vector<double>{3.5}));
}

TEST(DrawbeadToyModel, TwoSegmentsHaveOneTransitionOpenAndTwoClosed) {
    EXPECT_EQ(transitionsOf(lineOf({3.5, 1.5}, false)), (std::vector<double>{1.5}));
    EXPECT_EQ(transitionsOf(lineOf({3.5, 1.5}, true)), (std::vector<double>{1.5, 1.5}));
}

TEST(DrawbeadToyModel, GivenTransitionsAreUsedAsTheyStand) {
    std::vector<double> const given{9.0, 8.0, 7.0, 6.0, 5.0};
    DrawbeadToyModel const model = lineOf({2.0, 4.0, 6.0}, false, &given);
    EXPECT_EQ(transitionsOf(model), given);
    EXPECT_EQ(model.fullDistance(0, 1), 1.0 + 9.0 + 2.0);
    std::vector<double> const empty;
    EXPECT_TRUE(transitionsOf(lineOf({2.0, 4.0, 6.0}, true, &empty)).empty());
}

TEST(DrawbeadToyModel, AccessorsReturnTheConstructionData) {
    Bounds const bounds{{0.1, 0.2}, {0.3, 0.4}};
    DrawbeadToyModel const model({1.25, 2.5}, bounds, true, nullptr);
    EXPECT_EQ(model.getSegmentLength(0), 1.25);
    EXPECT_EQ(model.getSegmentLength(1), 2.5);
    EXPECT_EQ(model.getMinMaxData(), bounds);
    EXPECT_TRUE(model.isClosed());
    EXPECT_FALSE(lineOf({1.0}, false).isClosed());
}

TEST(DrawbeadToyModel, DistanceSumsTheSegmentsStrictlyBetween) {
    DrawbeadToyModel const open = lineOf({2.0, 4.0, 6.0}, false);
    EXPECT_EQ(open.distance(0, 2), 4.0);
    EXPECT_EQ(open.distance(0, 1), 0.0);
    EXPECT_EQ(open.distance(1, 1), 0.0);
    DrawbeadToyModel const longer = lineOf({1.0, 2.0, 4.0, 8.0, 16.0}, false);
    EXPECT_EQ(longer.distance(0, 4), 14.0);
    EXPECT_EQ(longer.distance(1, 3), 4.0);
}

TEST(DrawbeadToyModel, DistanceBackwardsWrapsAlsoOnAnOpenLine) {
    DrawbeadToyModel const open = lineOf({1.0, 2.0, 4.0, 8.0, 16.0}, false);
    EXPECT_EQ(open.distance(3, 1), 16.0 + 1.0);
    EXPECT_EQ(open.distance(4, 0), 0.0);
    EXPECT_EQ(lineOf({1.0, 2.0, 4.0, 8.0, 16.0}, true).distance(2, 0), 8.0 + 16.0);
}

TEST(DrawbeadToyModel, FullDistanceRunsFromMiddleToMiddle) {
    EXPECT_EQ(lineOf({2.0, 4.0, 6.0}, false).fullDistance(0, 2), 14.0);
    EXPECT_EQ(lineOf({2.0, 4.0, 6.0}, false).fullDistance(0, 1), 1.0 + 2.0 + 2.0);
    EXPECT_EQ(lineOf({2.0, 4.0, 6.0}, true).fullDistance(2, 0), 6.0);
    EXPECT_EQ(lineOf({2.0, 4.0, 6.0}, true).fullDistance(1, 0), 2.0 + 4.0 + 6.0 + 2.0 + 1.0);
}

TEST(DrawbeadToyModel, MissingTransitionsCountAsZero) {
    DrawbeadToyModel const open = lineOf({2.0, 4.0, 6.0}, false);
    EXPECT_EQ(open.fullDistance(2, 2), 3.0 + 0.0 + 3.0);
    EXPECT_EQ(open.fullDistance(1, 0), 2.0 + 4.0 + 6.0 + 0.0 + 1.0);
    std::vector<double> const shorter{1.0};
    DrawbeadToyModel const closed = lineOf({2.0, 4.0, 6.0}, true, &shorter);
    EXPECT_EQ(closed.fullDistance(0, 2), 1.0 + 1.0 + 4.0 + 0.0 + 3.0);
    // Pairs (1, 2) and (2, 0) have no transition of their own; the closing pair takes the last entry.
    std::vector<double> const values{0.0, 1.0, 0.0};
    double const r01 = 1.0 / 4.0;
    double const r12 = 1.0 / 5.0;
    double const r20 = 0.0 / 5.0;
    EXPECT_EQ(closed.calculatePenaltyValue(values),
              ((0.0 + (r01 * r01) * 4.0) + (r12 * r12) * 5.0) + (r20 * r20) * 5.0);
    std::vector<double> const none;
    EXPECT_EQ(lineOf({2.0, 2.0}, true, &none).calculatePenaltyValue({0.0, 1.0}), 0.5 + 0.5);
}

TEST(DrawbeadToyModel, FullDistanceToItselfIsLengthPlusTransition) {
    DrawbeadToyModel const closed = lineOf({2.0, 4.0, 6.0}, true);
    EXPECT_EQ(closed.fullDistance(0, 0), 2.0 + 2.0);
    EXPECT_EQ(closed.fullDistance(2, 2), 6.0 + 2.0);
    EXPECT_EQ(lineOf({3.0}, true).fullDistance(0, 0), 6.0);
}

TEST(DrawbeadToyModel, DistancesMatchTheReferenceOnRandomLines) {
    std::mt19937 engine(4);
    for (int trial = 0; trial < 200; ++trial) {
        int const n = 2 + trial % 15;
        ReferenceToyModel::Line const line = ReferenceToyModel::randomLine(engine, n, trial % 2 == 0);
        DrawbeadToyModel const model = modelOf(line);
        std::uniform_int_distribution<int> position(0, n - 1);
        for (int pair = 0; pair < 10; ++pair) {
            int const from = position(engine);
            int const to = position(engine);
            EXPECT_EQ(model.distance(from, to), ReferenceToyModel::distance(line, from, to));
            EXPECT_EQ(model.fullDistance(from, to), ReferenceToyModel::fullDistance(line, from, to));
        }
    }
}

TEST(DrawbeadToyModel, PenaltyOfAnOpenLineHasNoClosingTerm) {
    // lengths {2, 4, 6}, transitions {2, 4}: w = 5 and 9.
    DrawbeadToyModel const open = lineOf({2.0, 4.0, 6.0}, false);
    std::vector<double> const values{0.0, 1.0, 0.0};
    double const first = (1.0 / 5.0) * (1.0 / 5.0) * 5.0;
    double const second = (1.0 / 9.0) * (1.0 / 9.0) * 9.0;
    EXPECT_EQ(open.calculatePenaltyValue(values), 0.0 + first + second);
    EXPECT_NEAR(open.calculatePenaltyValue(values), 1.0 / 5.0 + 1.0 / 9.0, 1e-15);
}

TEST(DrawbeadToyModel, PenaltyOfAClosedLineAddsTheClosingTerm) {
    DrawbeadToyModel const open = lineOf({2.0, 4.0, 6.0}, false);
    DrawbeadToyModel const closed = lineOf({2.0, 4.0, 6.0}, true);
    std::vector<double> const values{0.25, 1.0, 0.75};
    // Closing pair (2, 0): w = (6 + 2) * 0.5 + 2 = 6, d = 0.5.
    double const r = 0.5 / 6.0;
    EXPECT_EQ(closed.calculatePenaltyValue(values), open.calculatePenaltyValue(values) + (r * r) * 6.0);
    std::vector<double> const flat{0.5, 0.5, 0.5};
    EXPECT_EQ(closed.calculatePenaltyValue(flat), 0.0);
}

TEST(DrawbeadToyModel, PenaltyWithFewerThanTwoSegmentsIsZero) {
    EXPECT_EQ(lineOf({}, false).calculatePenaltyValue({}), 0.0);
    EXPECT_EQ(lineOf({3.0}, false).calculatePenaltyValue({0.7}), 0.0);
    EXPECT_EQ(lineOf({3.0}, true).calculatePenaltyValue({0.7}), 0.0);
}

TEST(DrawbeadToyModel, PenaltyOfAZeroMiddleToMiddleDistanceIsNotFinite) {
    std::vector<double> const none{0.0};
    DrawbeadToyModel const model = lineOf({0.0, 0.0}, false, &none);
    EXPECT_FALSE(std::isfinite(model.calculatePenaltyValue({0.0, 1.0})));
}

TEST(DrawbeadToyModel, PenaltyMatchesTheReferenceOnRandomLines) {
    std::mt19937 engine(5);
    std::uniform_real_distribution<double> value(-1.0, 2.0);
    for (int trial = 0; trial < 300; ++trial) {
        int const n = 1 + trial % 30;
        ReferenceToyModel::Line const line = ReferenceToyModel::randomLine(engine, n, trial % 3 == 0);
        std::vector<double> values(n);
        for (double& v : values) {
            v = value(engine);
        }
        EXPECT_EQ(modelOf(line).calculatePenaltyValue(values), ReferenceToyModel::penalty(line, values));
    }
}

TEST(DrawbeadToyModel, CopiesAndMovesKeepTheLine) {
    DrawbeadToyModel const original = lineOf({2.0, 4.0, 6.0}, true);
    DrawbeadToyModel copy = original;
    EXPECT_EQ(copy.fullDistance(2, 0), 6.0);
    DrawbeadToyModel moved = std::move(copy);
    EXPECT_EQ(moved.fullDistance(2, 0), 6.0);
    EXPECT_TRUE(moved.isClosed());
    moved = lineOf({1.0, 1.0}, false);
    EXPECT_FALSE(moved.isClosed());
    EXPECT_EQ(transitionsOf(moved), (std::vector<double>{1.0}));
}

}  // namespace
}  // namespace Kestrel
