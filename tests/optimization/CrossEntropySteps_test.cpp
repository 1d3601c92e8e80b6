// Matrix entropy, population sizes, convergence tests, exclusion lists and the matrix update.
#include "CrossEntropySteps.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

using namespace Kestrel::optimization;

double const kInfinity = std::numeric_limits<double>::infinity();
double const kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(RowPerplexity, DeterministicAndEmptyRowsHavePerplexityOne) {
    EXPECT_EQ(1, rowPerplexity({}));
    EXPECT_EQ(1, rowPerplexity({0.0, 0.0}));
    EXPECT_EQ(1, rowPerplexity({1.0, 0.0, 0.0}));
    EXPECT_EQ(1, rowPerplexity({0.9, 0.1}));  // exp(H) = 1.38
    EXPECT_EQ(1, rowPerplexity({0.6, 0.4}));  // exp(H) = 1.96, entropy just below ln 2
}

TEST(RowPerplexity, TruncatesTheExponentialOfTheEntropy) {
    EXPECT_EQ(2, rowPerplexity({0.5, 0.5}));
    EXPECT_EQ(2, rowPerplexity({0.2, 0.3, 0.5}));  // exp(H) = 2.80
    EXPECT_EQ(4, rowPerplexity({0.25, 0.25, 0.25, 0.25}));
    // exp(ln 8) rounds to 7.999999999999998 and truncates to 7.
    EXPECT_EQ(7, rowPerplexity(std::vector<double>(8, 0.125)));
}

TEST(RowPerplexity, IgnoresEntriesThatAreNotPositive) {
    EXPECT_EQ(rowPerplexity({0.5, 0.5}), rowPerplexity({0.5, -3.0, 0.0, 0.5, kNaN}));
}

TEST(RowPerplexity, UnnormalisedRowsUseTheEntriesAsGiven) {
    // p * log(1 / p) is negative for p > 1: exp(H) < 1 gives 1.
    EXPECT_EQ(1, rowPerplexity({5.0, 5.0}));
    // 1000 entries of 1/e: H = 1000 / e, far beyond the int range.
    EXPECT_EQ(std::numeric_limits<int>::max(), rowPerplexity(std::vector<double>(1000, std::exp(-1.0))));
}

TEST(EntropyCount, SumsThePerplexitiesOfAllRows) {
    std::vector<std::vector<double>> const matrix{{0.2, 0.3, 0.5}, {0.5, 0.5, 0.0}, {1.0, 0.0, 0.0}, {}};
    EXPECT_EQ(2 + 2 + 1 + 1, entropyCount(matrix));
    EXPECT_EQ(0, entropyCount({}));
}

TEST(PopulationSize, StaticPopulationWithoutBaseIsRowsTimesFactorTimesRowsMinusOne) {
    Population const population = populationSize(5.0, 0, true, 10, 999);
    EXPECT_EQ(450, population.size);
    EXPECT_FALSE(population.capped);
    EXPECT_EQ(static_cast<int>(7.0 * 0.3 * 6.0), populationSize(0.3, 0, true, 7, 999).size);
    EXPECT_EQ(0, populationSize(5.0, 0, true, 1, 1).size);
    EXPECT_EQ(0, populationSize(5.0, 0, true, 0, 0).size);
}

TEST(PopulationSize, AdaptivePopulationWithoutBaseIsEntropyTimesFactor) {
    Population const population = populationSize(2.5, 0, false, 4, 6);
    EXPECT_EQ(15, population.size);
    EXPECT_FALSE(population.capped);
    EXPECT_EQ(0, populationSize(0.1, 0, false, 4, 6).size);
}

TEST(PopulationSize, EntropySizeAboveOneAndAQuarterBaseIsCappedToBase) {
    Population const population = populationSize(2.5, 4, true, 4, 6);  // base 10, S = 15 > 12.5
    EXPECT_EQ(10, population.size);
    EXPECT_TRUE(population.capped);
}

TEST(PopulationSize, EntropySizeUpToOneAndAQuarterBaseTakesTheLarger) {
    Population at = populationSize(2.5, 5, true, 4, 6);  // base 12, S = 15 = 1.25 * 12
    EXPECT_EQ(15, at.size);
    EXPECT_FALSE(at.capped);
    Population below = populationSize(2.5, 8, false, 4, 6);  // base 20, S = 15
    EXPECT_EQ(20, below.size);
    EXPECT_FALSE(below.capped);
}

TEST(PopulationSize, BaseIsTruncatedProductOfFactorAndBasePopulation) {
    // base = (int)(0.5 * 3) = 1, S = (int)(0.5 * 3) = 1: not capped, max(1, 1).
    Population const population = populationSize(0.5, 3, true, 9, 3);
    EXPECT_EQ(1, population.size);
    // base = (int)(0.3 * 3) = 0: falls back to the static rule.
    EXPECT_EQ(static_cast<int>(9.0 * 0.3 * 8.0), populationSize(0.3, 3, true, 9, 3).size);
}

TEST(Stalled, NeedsStallIterationsEqualValues) {
    EXPECT_FALSE(stalled({1.0, 1.0}, 3));
    EXPECT_TRUE(stalled({1.0, 1.0, 1.0}, 3));
    EXPECT_TRUE(stalled({5.0, 1.0, 1.0, 1.0}, 3));
    EXPECT_FALSE(stalled({1.0, 1.0, 1.0, 2.0}, 3));
    EXPECT_FALSE(stalled({1.0, 2.0, 1.0}, 3));
}

TEST(Stalled, ComparesExactlyAndNaNIsNeverEqual) {
    EXPECT_FALSE(stalled({1.0, 1.0, std::nextafter(1.0, 2.0)}, 3));
    EXPECT_FALSE(stalled({kNaN, kNaN, kNaN}, 3));
    EXPECT_TRUE(stalled({kInfinity, kInfinity}, 2));
}

TEST(Stalled, OneOrFewerStallIterationsStallAtOnce) {
    EXPECT_TRUE(stalled({3.0}, 1));
    EXPECT_TRUE(stalled({3.0}, 0));
    EXPECT_TRUE(stalled({3.0}, -4));
    EXPECT_TRUE(stalled({kNaN}, 1));
    EXPECT_FALSE(stalled({}, 1));
}

TEST(FirstSmallest, TakesTheFirstOfEqualMinima) {
    EXPECT_EQ(1u, firstSmallest({3.0, 1.0, 2.0, 1.0}));
    EXPECT_EQ(2u, firstSmallest({kNaN, 4.0, -1.0, kNaN}));
}

TEST(FirstSmallest, NothingBelowInfinityGivesIndexZero) {
    EXPECT_EQ(0u, firstSmallest({kInfinity, kInfinity}));
    EXPECT_EQ(0u, firstSmallest({kNaN, kInfinity}));
    EXPECT_EQ(0u, firstSmallest({}));
}

TEST(BuildExclusionLists, GroupedNodesListTheirGroupAndUngroupedNodesListAllUngrouped) {
    // Items 0 ... 6 are nodes 1 ... 7; boundaries {1, 3, 5}: groups {2, 3} and {4, 5} (node numbers),
    // ungrouped nodes 1, 6 and 7.
    std::vector<std::vector<int>> const lists = buildExclusionLists({1, 3, 5}, 8);
    std::vector<std::vector<int>> const expected{{},     {1, 6, 7}, {2, 3},    {2, 3},
                                                 {4, 5}, {4, 5},    {1, 6, 7}, {1, 6, 7}};
    EXPECT_EQ(expected, lists);
}

TEST(BuildExclusionLists, BoundariesCoveringEveryItem) {
    // Boundaries {0, 2, 4} over items 0 ... 3 (nodes 1 ... 4): groups {1, 2} and {3, 4}, nothing ungrouped.
    std::vector<std::vector<int>> const expected{{}, {1, 2}, {1, 2}, {3, 4}, {3, 4}};
    EXPECT_EQ(expected, buildExclusionLists({0, 2, 4}, 5));
}

TEST(BuildExclusionLists, SingleBoundarySplitsIntoUngroupedHeadAndTail) {
    // One boundary b0 = 2: B0 = Bk = 3, so every node is outside every group.
    std::vector<std::vector<int>> const expected{{}, {1, 2, 3, 4}, {1, 2, 3, 4}, {1, 2, 3, 4}, {1, 2, 3, 4}};
    EXPECT_EQ(expected, buildExclusionLists({2}, 5));
}

TEST(BuildExclusionLists, EmptyBoundariesGiveNoLists) {
    EXPECT_TRUE(buildExclusionLists({}, 5).empty());
}

TEST(EliteTransitionCounts, UpdateMovesCountedTransitionsTowardsTheirFrequency) {
    EliteTransitionCounts counts;
    counts.reset(3);
    counts.addSelection({1, 2});
    counts.addSelection({1});
    std::vector<std::vector<double>> matrix(3, std::vector<double>(2, 0.4));
    counts.updateMatrix(matrix, 0.25);
    double const kept = (1.0 - 0.25) * 0.4;
    // Row 0: (0, 1) counted twice out of 2. Row 1: (1, 2) once out of 1. Row 2: nothing, decays.
    EXPECT_EQ(kept + 0.25 * 1.0, matrix[0][0]);
    EXPECT_EQ(kept + 0.25 * 0.0, matrix[0][1]);
    EXPECT_EQ(kept + 0.0, matrix[1][0]);
    EXPECT_EQ(kept + 0.25 * 1.0, matrix[1][1]);
    EXPECT_EQ(kept + 0.0, matrix[2][0]);
    EXPECT_EQ(kept + 0.0, matrix[2][1]);
}

TEST(EliteTransitionCounts, FrequencyIsCountOverTheRowTotal) {
    EliteTransitionCounts counts;
    counts.reset(4);
    counts.addSelection({1, 3});
    counts.addSelection({2, 3});
    counts.addSelection({3});
    std::vector<std::vector<double>> matrix(4, std::vector<double>(3, 0.0));
    counts.updateMatrix(matrix, 1.0);
    EXPECT_EQ(1.0 / 3.0, matrix[0][0]);
    EXPECT_EQ(1.0 / 3.0, matrix[0][1]);
    EXPECT_EQ(1.0 / 3.0, matrix[0][2]);
    EXPECT_EQ(1.0, matrix[1][2]);
    EXPECT_EQ(1.0, matrix[2][2]);
}

TEST(EliteTransitionCounts, UpdateUsesTheWeightedSumForm) {
    // (1 - a) * old + a * f and old + a * (f - old) round differently for these values.
    double const old = 0.1;
    double const smoothing = 0.8;
    double const frequency = 1.0 / 3.0;
    ASSERT_NE((1.0 - smoothing) * old + smoothing * frequency, old + smoothing * (frequency - old));
    EliteTransitionCounts counts;
    counts.reset(4);
    counts.addSelection({1});
    counts.addSelection({2});
    counts.addSelection({3});
    std::vector<std::vector<double>> matrix(4, std::vector<double>(3, old));
    counts.updateMatrix(matrix, smoothing);
    EXPECT_EQ((1.0 - smoothing) * old + smoothing * frequency, matrix[0][0]);
}

TEST(EliteTransitionCounts, TransitionsToNodeZeroOrBeyondTheMatrixAreNotRead) {
    EliteTransitionCounts counts;
    counts.reset(3);
    counts.addSelection({0, 2, 7, 1});  // (0,0), (0,2), (2,7), (7,1)
    std::vector<std::vector<double>> matrix(3, std::vector<double>(2, 0.5));
    counts.updateMatrix(matrix, 0.5);
    EXPECT_EQ(0.25, matrix[0][0]);
    EXPECT_EQ(0.75, matrix[0][1]);
    EXPECT_EQ(0.25, matrix[1][0]);  // (7, 1) starts beyond the matrix
    EXPECT_EQ(0.25, matrix[2][0]);  // (2, 7) ends beyond it, row 2 has no total
    EXPECT_EQ(0.25, matrix[2][1]);
}

TEST(EliteTransitionCounts, OneRowIsNeverUpdated) {
    EliteTransitionCounts counts;
    counts.reset(1);
    counts.addSelection({0, 0});
    std::vector<std::vector<double>> matrix{{0.3, 0.7}};
    counts.updateMatrix(matrix, 0.5);
    EXPECT_EQ((std::vector<std::vector<double>>{{0.3, 0.7}}), matrix);
}

TEST(EliteTransitionCounts, ResetForgetsEarlierSelections) {
    EliteTransitionCounts counts;
    counts.reset(3);
    counts.addSelection({1, 2});
    counts.reset(3);
    counts.addSelection({2});
    std::vector<std::vector<double>> matrix(3, std::vector<double>(2, 0.0));
    counts.updateMatrix(matrix, 1.0);
    EXPECT_EQ(0.0, matrix[0][0]);
    EXPECT_EQ(1.0, matrix[0][1]);
    EXPECT_EQ(0.0, matrix[1][1]);
}

}  // namespace
