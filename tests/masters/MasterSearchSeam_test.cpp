// What calculateOptimalMasterIndices hands to the cross-entropy optimiser and how it reads the answer back,
// observed through a recording stand-in linked in place of the optimiser.
#include <Kestrel/MasterOptimizer4Interpolation.h>

#include "RecordingCrossEntropyOptimization.h"

#include <gtest/gtest.h>

#include <atomic>
#include <numeric>
#include <vector>

namespace Kestrel {
namespace {

using recording::recorder;
using Optimiser = CombinatorialCrossEntropyOptimization;

// A model whose score records the positions it was asked about and counts the calls.
class RecordingModel : public MasterOptimizer4Interpolation {
  public:
    explicit RecordingModel(int n)
        : MasterOptimizer4Interpolation(std::vector<std::pair<double, double>>(n, {0.0, 1.0}),
                                        [](std::vector<double> const&) { return 0.0; }) {}

    mutable std::atomic<int> calls{0};
    mutable std::vector<std::vector<int>> seen;

  private:
    std::shared_ptr<std::vector<double>> getInterpolation(std::vector<int> const&,
                                                          std::vector<double> const&) const override {
        return nullptr;
    }
    double geometryBasedEvaluation(std::vector<int> const& masterIndices) const override {
        ++calls;
        seen.push_back(masterIndices);
        return std::accumulate(masterIndices.begin(), masterIndices.end(), 0.5);
    }
};

class MasterSearchSeam : public ::testing::Test {
  protected:
    void SetUp() override { recorder() = recording::Recorder{}; }
};

TEST_F(MasterSearchSeam, MatrixHasOneRowMoreThanPositionsAndUniformRows) {
    for (int const n : {2, 3, 7, 10, 40}) {
        recorder() = recording::Recorder{};
        recorder().scripted = {1, 2};
        RecordingModel const model(n);
        std::vector<int> result;
        model.calculateOptimalMasterIndices(2, result, nullptr);

        std::vector<std::vector<double>> const& matrix = recorder().matrix;
        ASSERT_EQ(matrix.size(), static_cast<std::size_t>(n + 1));
        for (std::vector<double> const& row : matrix) {
            ASSERT_EQ(row.size(), static_cast<std::size_t>(n));
        }
        double rowZeroSum = 0.0;
        for (double const entry : matrix[0]) {
            EXPECT_EQ(entry, 1.0 / n);
            rowZeroSum += entry;
        }
        EXPECT_NEAR(rowZeroSum, 1.0, 1e-14);
        for (int i = 1; i <= n; ++i) {
            int zeros = 0;
            for (int column = 0; column < n; ++column) {
                if (column == i - 1) {
                    EXPECT_EQ(matrix[i][column], 0.0);
                } else {
                    EXPECT_EQ(matrix[i][column], 1.0 / static_cast<double>(n - 1));
                }
                zeros += matrix[i][column] == 0.0 ? 1 : 0;
            }
            EXPECT_EQ(zeros, 1) << "row " << i;
        }
    }
}

TEST_F(MasterSearchSeam, OptimiserRunsUnorderedSelectionsWithTheFixedSettings) {
    recorder().scripted = {2, 5, 6};
    RecordingModel const model(8);
    std::vector<int> result;
    model.calculateOptimalMasterIndices(3, result, nullptr);

    EXPECT_EQ(recorder().pathLength, 3);
    EXPECT_FALSE(recorder().ordered);
    ASSERT_TRUE(recorder().parameters.has_value());
    Optimiser::Parameters const& p = *recorder().parameters;
    EXPECT_EQ(p.smoothing, 0.8);
    EXPECT_EQ(p.quantile, 0.05);
    EXPECT_EQ(p.sampleFactor, 5.0);
    EXPECT_EQ(p.stallIterations, 3);
    EXPECT_TRUE(p.checkBestStall);
    EXPECT_EQ(p.maxIterations, 30);
    EXPECT_EQ(p.populationDynamics, Optimiser::StaticPopulation);
    EXPECT_TRUE(recorder().callbackWasNull);
    EXPECT_EQ(recorder().basePopulation, 0);
    EXPECT_EQ(recorder().events,
              (std::vector<std::string>{"construct", "setPreGroups", "optimize", "destroy"}));
}

TEST_F(MasterSearchSeam, ResultIsClearedThenShiftedToZeroBasedPositions) {
    recorder().scripted = {1, 4, 8};
    RecordingModel const model(8);
    std::vector<int> result{42, 43, 44, 45, 46};
    model.calculateOptimalMasterIndices(3, result, nullptr);
    EXPECT_TRUE(recorder().resultOnEntry.empty());
    EXPECT_EQ(result, (std::vector<int>{0, 3, 7}));
}

TEST_F(MasterSearchSeam, ObjectiveScoresPositionsOneBelowTheStates) {
    recorder().scripted = {1, 2};
    recorder().probes = {{1, 2}, {3, 9, 10}, {0}};
    RecordingModel const model(10);
    std::vector<int> result;
    model.calculateOptimalMasterIndices(2, result, nullptr);
    EXPECT_EQ(model.seen, (std::vector<std::vector<int>>{{0, 1}, {2, 8, 9}, {-1}}));
    EXPECT_EQ(recorder().probeScores, (std::vector<double>{1.5, 19.5, -0.5}));
}

TEST_F(MasterSearchSeam, PreGroupsArePassedThroughUnchanged) {
    recorder().scripted = {1, 3};
    RecordingModel const model(6);
    std::vector<int> const groups{0, 2, 4};
    std::vector<int> result;
    model.calculateOptimalMasterIndices(2, result, &groups);
    EXPECT_EQ(recorder().preGroups, &groups);
    model.calculateOptimalMasterIndices(2, result, nullptr);
    EXPECT_EQ(recorder().preGroups, nullptr);
}

TEST_F(MasterSearchSeam, MoreMastersThanPositionsSearchesForAllPositions) {
    recorder().scripted = {1, 2, 3, 4};
    RecordingModel const model(4);
    std::vector<int> result;
    model.calculateOptimalMasterIndices(9, result, nullptr);
    EXPECT_EQ(recorder().pathLength, 4);
    EXPECT_EQ(result, (std::vector<int>{0, 1, 2, 3}));
}

TEST_F(MasterSearchSeam, OneMasterNeedsNoOptimiser) {
    RecordingModel const model(5);
    std::vector<int> result{7, 8};
    model.calculateOptimalMasterIndices(1, result, nullptr);
    EXPECT_EQ(result, (std::vector<int>{0}));
    std::vector<int> const groups{3, 4};
    model.calculateOptimalMasterIndices(1, result, &groups);
    EXPECT_EQ(result, (std::vector<int>{3}));
    std::vector<int> const empty;
    model.calculateOptimalMasterIndices(1, result, &empty);
    EXPECT_EQ(result, (std::vector<int>{0}));
    EXPECT_TRUE(recorder().events.empty());
    EXPECT_EQ(model.calls, 0);
}

TEST_F(MasterSearchSeam, NoMastersOrNoPositionsClearTheResultWithoutOptimiser) {
    RecordingModel const model(5);
    std::vector<int> result{7, 8};
    model.calculateOptimalMasterIndices(0, result, nullptr);
    EXPECT_TRUE(result.empty());
    result = {7};
    model.calculateOptimalMasterIndices(-3, result, nullptr);
    EXPECT_TRUE(result.empty());
    RecordingModel const empty(0);
    for (int const masters : {1, 2, 5}) {
        result = {7};
        empty.calculateOptimalMasterIndices(masters, result, nullptr);
        EXPECT_TRUE(result.empty());
    }
    EXPECT_TRUE(recorder().events.empty());
    EXPECT_EQ(model.calls + empty.calls, 0);
}

TEST_F(MasterSearchSeam, OnePositionGivesItWithoutOptimiser) {
    RecordingModel const model(1);
    std::vector<int> const groups{0};
    for (int const masters : {2, 3, 100}) {
        std::vector<int> result{5, 6};
        model.calculateOptimalMasterIndices(masters, result, masters == 3 ? &groups : nullptr);
        EXPECT_EQ(result, (std::vector<int>{0}));
    }
    EXPECT_TRUE(recorder().events.empty());
    EXPECT_EQ(model.calls, 0);
}

}  // namespace
}  // namespace Kestrel
