// The drawbead toy model and the master optimisers refuse inputs their computations cannot use, with
// std::invalid_argument naming the argument and the offending index or value, before any work or output.
#include <Kestrel/MasterOptimizer4Interpolation.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

using Kestrel::DrawbeadToyModel;
using Kestrel::MasterOptimizer4DrawbeadToyModel;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;
using Bounds = std::vector<std::pair<double, double>>;

double const kNaN = std::numeric_limits<double>::quiet_NaN();
double const kInfinity = std::numeric_limits<double>::infinity();

std::shared_ptr<DrawbeadToyModel const> lineOf(std::vector<double> const& lengths, bool closed) {
    return std::make_shared<DrawbeadToyModel const>(lengths, Bounds(lengths.size(), {0.0, 1.0}), closed,
                                                    nullptr);
}

void expectRefusedModel(std::vector<double> const& lengths, Bounds const& bounds,
                        std::vector<double> const* transitions, char const* text) {
    EXPECT_THAT([&] { DrawbeadToyModel(lengths, bounds, true, transitions); },
                ThrowsMessage<std::invalid_argument>(HasSubstr(text)));
}

TEST(ToyModelInput, BoundsCountDifferentFromLengthsCountIsRefused) {
    expectRefusedModel({1.0, 2.0, 3.0}, Bounds(2, {0.0, 1.0}), nullptr,
                       "minMaxData has 2 pairs but segmentLengths has 3 entries");
    expectRefusedModel({1.0}, Bounds(4, {0.0, 1.0}), nullptr,
                       "minMaxData has 4 pairs but segmentLengths has 1");
}

TEST(ToyModelInput, NegativeNaNOrInfiniteLengthsAreRefused) {
    expectRefusedModel({1.0, -2.0, 3.0}, Bounds(3, {0.0, 1.0}), nullptr, "segmentLengths[1] is -2");
    expectRefusedModel({1.0, 2.0, kNaN}, Bounds(3, {0.0, 1.0}), nullptr, "segmentLengths[2] is nan");
    expectRefusedModel({kInfinity, 2.0, 3.0}, Bounds(3, {0.0, 1.0}), nullptr, "segmentLengths[0] is inf");
}

TEST(ToyModelInput, NegativeOrNaNTransitionsAreRefused) {
    std::vector<double> const negative{1.0, -0.5, 1.0};
    expectRefusedModel({1.0, 2.0, 3.0}, Bounds(3, {0.0, 1.0}), &negative, "transitionLengths[1] is -0.5");
    std::vector<double> const nan{kNaN};
    expectRefusedModel({1.0, 2.0, 3.0}, Bounds(3, {0.0, 1.0}), &nan, "transitionLengths[0] is nan");
}

TEST(ToyModelInput, DistancesOutsideTheLineAreRefused) {
    auto const model = lineOf({2.0, 4.0, 6.0}, true);
    EXPECT_THAT(
        [&] { model->distance(3, 0); },
        ThrowsMessage<std::invalid_argument>(HasSubstr("distance: from = 3 is not a segment (3 segments)")));
    EXPECT_THAT([&] { model->distance(0, -1); },
                ThrowsMessage<std::invalid_argument>(HasSubstr("distance: to = -1 is not a segment")));
    EXPECT_THAT([&] { model->fullDistance(INT_MIN, 1); },
                ThrowsMessage<std::invalid_argument>(HasSubstr("fullDistance: from = -2147483648")));
    EXPECT_THAT([&] { model->fullDistance(1, 7); },
                ThrowsMessage<std::invalid_argument>(HasSubstr("fullDistance: to = 7 is not a segment")));
    EXPECT_THAT([&] { model->getSegmentLength(3); },
                ThrowsMessage<std::invalid_argument>(HasSubstr("getSegmentLength: i = 3")));
    EXPECT_EQ(14.0, lineOf({2.0, 4.0, 6.0}, false)->fullDistance(0, 2));
}

TEST(ToyModelInput, PenaltyOfTooFewValuesIsRefused) {
    auto const model = lineOf({2.0, 4.0, 6.0}, true);
    EXPECT_THAT(
        [&] {
            model->calculatePenaltyValue({0.1, 0.2});
        },
        ThrowsMessage<std::invalid_argument>(HasSubstr("values has 2 entries for 3 segments")));
}

TEST(ToyModelInput, NullModelIsRefused) {
    EXPECT_THAT([] { MasterOptimizer4DrawbeadToyModel(nullptr); },
                ThrowsMessage<std::invalid_argument>(HasSubstr("model is null")));
}

TEST(ToyModelInput, InterpolationOutsideTheLineIsRefused) {
    MasterOptimizer4DrawbeadToyModel const optimiser(lineOf({2.0, 4.0, 6.0, 3.0}, false));
    EXPECT_THAT(
        [&] {
            optimiser.interpolate({0, 4}, {0.2, 0.8});
        },
        ThrowsMessage<std::invalid_argument>(
            HasSubstr("masterIndices[1] = 4 is not a segment (4 segments)")));
    EXPECT_THAT(
        [&] {
            optimiser.interpolate({-1, 2}, {0.2, 0.8});
        },
        ThrowsMessage<std::invalid_argument>(HasSubstr("masterIndices[0] = -1")));
}

TEST(ToyModelInput, InterpolationWithTooFewValuesIsRefused) {
    MasterOptimizer4DrawbeadToyModel const optimiser(lineOf({2.0, 4.0, 6.0, 3.0}, true));
    EXPECT_THAT(
        [&] {
            optimiser.interpolate({0, 2, 3}, {0.2});
        },
        ThrowsMessage<std::invalid_argument>(HasSubstr("masterValues has 1 entries for 3 masters")));
}

TEST(ToyModelInput, InterpolationWithUnsortedMastersIsRefused) {
    MasterOptimizer4DrawbeadToyModel const optimiser(lineOf({2.0, 4.0, 6.0, 3.0}, true));
    EXPECT_THAT(
        [&] {
            optimiser.interpolate({2, 0}, {0.2, 0.4});
        },
        ThrowsMessage<std::invalid_argument>(
            HasSubstr("masterIndices[1] = 0 does not exceed masterIndices[0] = 2")));
    EXPECT_THAT(
        [&] {
            optimiser.interpolate({1, 1}, {0.2, 0.4});
        },
        ThrowsMessage<std::invalid_argument>(HasSubstr("masterIndices[1] = 1 does not exceed")));
}

void expectRefusedSearch(MasterOptimizer4DrawbeadToyModel const& optimiser, int masters,
                         std::vector<int> const* preGroups, char const* text) {
    std::vector<int> result{-7, 99};
    EXPECT_THAT([&] { optimiser.calculateOptimalMasterIndices(masters, result, preGroups); },
                ThrowsMessage<std::invalid_argument>(HasSubstr(text)));
    EXPECT_EQ((std::vector<int>{-7, 99}), result);
}

TEST(MasterSearchInput, UnsortedOrRepeatedPreGroupsAreRefused) {
    MasterOptimizer4DrawbeadToyModel const optimiser(lineOf({2.0, 4.0, 6.0, 3.0, 5.0, 1.0}, true));
    std::vector<int> const unsorted{0, 4, 2};
    expectRefusedSearch(optimiser, 2, &unsorted, "preGroups[2] = 2 does not exceed preGroups[1] = 4");
    std::vector<int> const repeated{0, 2, 2, 5};
    expectRefusedSearch(optimiser, 2, &repeated, "preGroups[2] = 2 does not exceed preGroups[1] = 2");
}

TEST(MasterSearchInput, PreGroupsOutsideThePositionsAreRefused) {
    MasterOptimizer4DrawbeadToyModel const optimiser(lineOf({2.0, 4.0, 6.0, 3.0, 5.0, 1.0}, true));
    std::vector<int> const beyond{0, 3, 7};
    expectRefusedSearch(optimiser, 2, &beyond, "preGroups[2] = 7 lies outside 0 ... 6");
    std::vector<int> const limits{INT_MIN, INT_MAX};
    expectRefusedSearch(optimiser, 2, &limits, "preGroups[0] = -2147483648 lies outside");
}

TEST(MasterSearchInput, FewerGroupsThanMastersAreRefused) {
    MasterOptimizer4DrawbeadToyModel const optimiser(lineOf({2.0, 4.0, 6.0, 3.0, 5.0, 1.0}, true));
    std::vector<int> const groups{0, 3, 6};
    expectRefusedSearch(optimiser, 3, &groups, "preGroups leave 2 groups for 3 masters");
    std::vector<int> const withUngrouped{0, 3};
    std::vector<int> result;
    optimiser.calculateOptimalMasterIndices(2, result, &withUngrouped);
    ASSERT_EQ(2u, result.size());
    EXPECT_LT(result[0], 3);
    EXPECT_GE(result[1], 3);
}

TEST(MasterSearchInput, ZeroLengthSegmentIsRefused) {
    std::vector<double> const transitions{1.0, 1.0, 1.0, 1.0};
    auto const model = std::make_shared<DrawbeadToyModel const>(std::vector<double>{2.0, 0.0, 6.0, 3.0},
                                                                Bounds(4, {0.0, 1.0}), false, &transitions);
    MasterOptimizer4DrawbeadToyModel const optimiser(model);
    expectRefusedSearch(optimiser, 2, nullptr, "segment 1 has length 0");
    // Scoring a choice by hand keeps its defined NaN, and a single master needs no search.
    EXPECT_TRUE(std::isnan(optimiser.evaluateMasterChoice({0, 1})));
    std::vector<int> single;
    optimiser.calculateOptimalMasterIndices(1, single, nullptr);
    EXPECT_EQ(std::vector<int>{0}, single);
}

TEST(MasterSearchInput, CopiesKeepTheSearchCheck) {
    auto const model = std::make_shared<DrawbeadToyModel const>(std::vector<double>{2.0, 4.0, 0.0},
                                                                Bounds(3, {0.0, 1.0}), true, nullptr);
    MasterOptimizer4DrawbeadToyModel const original(model);
    MasterOptimizer4DrawbeadToyModel const copy(original);
    expectRefusedSearch(copy, 2, nullptr, "segment 2 has length 0");
}

}  // namespace
