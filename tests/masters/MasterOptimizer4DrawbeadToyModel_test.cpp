#include <Kestrel/MasterOptimizer4Interpolation.h>

#include "MasterSelectionTestAccess.h"
#include "ReferenceToyModel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace Kestrel {
namespace {

using Access = MasterSelectionTestAccess;
using Bounds = std::vector<std::pair<double, double>>;

std::shared_ptr<DrawbeadToyModel const> lineOf(std::vector<double> const& lengths, bool closed,
                                               Bounds const& bounds = {},
                                               std::vector<double> const* transitions = nullptr) {
    return std::make_shared<DrawbeadToyModel const>(
        lengths, bounds.empty() ? Bounds(lengths.size(), {0.0, 1.0}) : bounds, closed, transitions);
}

std::shared_ptr<DrawbeadToyModel const> modelOf(ReferenceToyModel::Line const& line) {
    return std::make_shared<DrawbeadToyModel const>(line.lengths, line.bounds, line.closed,
                                                    &line.transitions);
}

double mapped(double v) {
    return (1.0 - std::cos(3.141592653589793 * v)) * 0.5;
}

// Uniform line: every length and transition 1, so fullDistance(a, b) = 2 * (b - a) going forward.
std::shared_ptr<DrawbeadToyModel const> uniformLine(int n, bool closed) {
    return lineOf(std::vector<double>(n, 1.0), closed);
}

TEST(MasterOptimizer4DrawbeadToyModel, BaseGetsTheModelsBoundsAndPenaltyAsEvaluator) {
    Bounds const bounds{{0.1, 0.9}, {0.2, 0.8}, {0.3, 0.7}};
    auto const model = lineOf({2.0, 4.0, 6.0}, true, bounds);
    MasterOptimizer4DrawbeadToyModel const optimiser(model);
    EXPECT_EQ(Access::minMaxData(optimiser), bounds);
    EXPECT_EQ(Access::model(optimiser), model);
    std::vector<double> const values{0.25, 1.0, 0.75};
    EXPECT_EQ(Access::evaluator(optimiser)(values), model->calculatePenaltyValue(values));
}

TEST(MasterOptimizer4DrawbeadToyModel, EvaluationOfAnOpenLineExample) {
    MasterOptimizer4DrawbeadToyModel const optimiser(lineOf({2.0, 4.0, 6.0}, false));
    // S = 1 / fullDistance(0, 2) = 1 / 14; L = 12, M = 8, c = 1.5.
    double const expected = ((12.0 - 8.0) * (1.5 * 0.125)) / (12.0 * 12.0) + 1.0 / 14.0;
    EXPECT_EQ(optimiser.evaluateMasterChoice({0, 2}), expected);
    EXPECT_EQ(Access::geometryBasedEvaluation(optimiser, {0, 2}), expected);
}

TEST(MasterOptimizer4DrawbeadToyModel, EvaluationOfAClosedLineAddsTheWrapAroundPair) {
    MasterOptimizer4DrawbeadToyModel const optimiser(lineOf({2.0, 4.0, 6.0}, true));
    double const s = 1.0 / 14.0 + 1.0 / 6.0;
    double const expected = ((12.0 - 8.0) * (2.0 * 0.125)) / (12.0 * 12.0) + s;
    EXPECT_EQ(optimiser.evaluateMasterChoice({0, 2}), expected);
}

TEST(MasterOptimizer4DrawbeadToyModel, OneMasterOnAClosedLineAddsItsDistanceToItself) {
    MasterOptimizer4DrawbeadToyModel const optimiser(lineOf({2.0, 4.0, 6.0}, true));
    // fullDistance(1, 1) = 2 + 4 + 2 = 8.
    double const expected = ((12.0 - 4.0) * (1.0 * 0.125)) / (12.0 * 12.0) + 1.0 / 8.0;
    EXPECT_EQ(optimiser.evaluateMasterChoice({1}), expected);
    MasterOptimizer4DrawbeadToyModel const open(lineOf({2.0, 4.0, 6.0}, false));
    EXPECT_EQ(open.evaluateMasterChoice({1}), ((12.0 - 4.0) * (0.5 * 0.125)) / (12.0 * 12.0));
}

TEST(MasterOptimizer4DrawbeadToyModel, ZeroLengthMasterGivesNaN) {
    std::vector<double> const transitions{1.0, 1.0, 1.0};
    for (bool const closed : {false, true}) {
        MasterOptimizer4DrawbeadToyModel const optimiser(lineOf({2.0, 0.0, 6.0}, closed, {}, &transitions));
        EXPECT_TRUE(std::isnan(optimiser.evaluateMasterChoice({0, 1})));
        EXPECT_TRUE(std::isnan(optimiser.evaluateMasterChoice({1})));
        EXPECT_TRUE(std::isfinite(optimiser.evaluateMasterChoice({0, 2})));
    }
}

TEST(MasterOptimizer4DrawbeadToyModel, PositionOutsideTheLineGivesNaN) {
    for (int const n : {4, 600}) {
        for (bool const closed : {false, true}) {
            MasterOptimizer4DrawbeadToyModel const optimiser(uniformLine(n, closed));
            EXPECT_TRUE(std::isnan(optimiser.evaluateMasterChoice({-1, 1})));
            EXPECT_TRUE(std::isnan(optimiser.evaluateMasterChoice({0, n})));
            EXPECT_TRUE(std::isfinite(optimiser.evaluateMasterChoice({0, n - 1})));
        }
    }
}

TEST(MasterOptimizer4DrawbeadToyModel, EvaluationMatchesTheReferenceOnRandomChoices) {
    std::mt19937 engine(6);
    for (int trial = 0; trial < 400; ++trial) {
        int const n = 2 + trial % 40;
        bool const closed = trial % 2 == 1;
        ReferenceToyModel::Line const line = ReferenceToyModel::randomLine(engine, n, closed);
        MasterOptimizer4DrawbeadToyModel const optimiser(modelOf(line));
        int const m = 1 + static_cast<int>(engine() % static_cast<unsigned>(std::min(n, 9)));
        std::vector<int> choice = ReferenceToyModel::randomAscendingChoice(engine, n, m);
        if (trial % 4 >= 2) {
            std::shuffle(choice.begin(), choice.end(), engine);
        }
        EXPECT_EQ(optimiser.evaluateMasterChoice(choice), ReferenceToyModel::geometryScore(line, choice))
            << "trial " << trial;
    }
}

TEST(MasterOptimizer4DrawbeadToyModel, EvaluationOfLinesTooLongToTabulateMatchesTheReference) {
    std::mt19937 engine(9);
    for (int trial = 0; trial < 8; ++trial) {
        int const n = trial < 4 ? 512 : 513 + 40 * trial;
        bool const closed = trial % 2 == 1;
        ReferenceToyModel::Line const line = ReferenceToyModel::randomLine(engine, n, closed);
        MasterOptimizer4DrawbeadToyModel const optimiser(modelOf(line));
        for (int k = 0; k < 10; ++k) {
            std::vector<int> choice = ReferenceToyModel::randomAscendingChoice(engine, n, 1 + k);
            if (k % 2 == 1) {
                std::shuffle(choice.begin(), choice.end(), engine);
            }
            EXPECT_EQ(optimiser.evaluateMasterChoice(choice), ReferenceToyModel::geometryScore(line, choice))
                << "trial " << trial << " choice " << k;
        }
    }
}

TEST(MasterOptimizer4DrawbeadToyModel, ScoresFromTwoThreadsEqualScoresFromOne) {
    std::mt19937 engine(10);
    ReferenceToyModel::Line const line = ReferenceToyModel::randomLine(engine, 30, true);
    MasterOptimizer4DrawbeadToyModel const optimiser(modelOf(line));
    std::vector<std::vector<int>> choices;
    for (int k = 0; k < 2000; ++k) {
        std::vector<int> states = ReferenceToyModel::randomAscendingChoice(engine, 30, 2 + k % 7);
        for (int& state : states) {
            ++state;
        }
        choices.push_back(states);
    }
    auto const scoreAll = [&](int threads) {
        std::vector<double> scores(choices.size());
        int const count = static_cast<int>(choices.size());
#pragma omp parallel for schedule(static) num_threads(threads)
        for (int k = 0; k < count; ++k) {
            scores[k] = Access::masterChoiceEvaluator(optimiser, choices[k]);
        }
        return scores;
    };
    std::vector<double> const single = scoreAll(1);
    std::vector<double> const dual = scoreAll(2);
    for (std::size_t k = 0; k < choices.size(); ++k) {
        std::vector<int> positions = choices[k];
        for (int& p : positions) {
            --p;
        }
        EXPECT_EQ(single[k], ReferenceToyModel::geometryScore(line, positions)) << k;
        EXPECT_EQ(std::memcmp(&single[k], &dual[k], sizeof(double)), 0) << k;
    }
}

TEST(MasterOptimizer4DrawbeadToyModel, ObjectiveShiftsStatesToPositions) {
    std::mt19937 engine(7);
    ReferenceToyModel::Line const line = ReferenceToyModel::randomLine(engine, 12, true);
    MasterOptimizer4DrawbeadToyModel const optimiser(modelOf(line));
    EXPECT_EQ(Access::masterChoiceEvaluator(optimiser, {1, 4, 9}), optimiser.evaluateMasterChoice({0, 3, 8}));
    EXPECT_EQ(Access::masterChoiceEvaluator(optimiser, {12, 1}), optimiser.evaluateMasterChoice({11, 0}));
}

TEST(MasterOptimizer4DrawbeadToyModel, InterpolationBetweenMastersOnAnOpenLineIsLinearInDistance) {
    MasterOptimizer4DrawbeadToyModel const optimiser(uniformLine(5, false));
    auto const values = optimiser.interpolate({0, 4}, {0.2, 0.6});
    ASSERT_EQ(values->size(), 5u);
    EXPECT_EQ((*values)[0], mapped(0.2));
    EXPECT_EQ((*values)[4], mapped(0.6));
    for (int i = 1; i < 4; ++i) {
        double const d1 = 2.0 * i;
        double const d2 = 2.0 * (4 - i);
        EXPECT_EQ((*values)[i], mapped((d1 * 0.6 + d2 * 0.2) / (d2 + d1))) << i;
    }
}

TEST(MasterOptimizer4DrawbeadToyModel, InterpolationOnAClosedLineWrapsFromLastToFirstMaster) {
    MasterOptimizer4DrawbeadToyModel const optimiser(uniformLine(5, true));
    double const v1 = 0.1;
    double const v3 = 0.7;
    auto const values = optimiser.interpolate({1, 3}, {v1, v3});
    // Segment 0 lies between master 3 (distance 4, wrapping) and master 1 (distance 2).
    EXPECT_EQ((*values)[0], mapped((4.0 * v1 + 2.0 * v3) / (2.0 + 4.0)));
    EXPECT_EQ((*values)[2], mapped((2.0 * v3 + 2.0 * v1) / (2.0 + 2.0)));
    // Segment 4 lies between master 3 (distance 2) and master 1 (distance 4, wrapping).
    EXPECT_EQ((*values)[4], mapped((2.0 * v1 + 4.0 * v3) / (4.0 + 2.0)));
}

TEST(MasterOptimizer4DrawbeadToyModel, OpenLineIsConstantBeforeTheFirstAndAfterTheLastMaster) {
    MasterOptimizer4DrawbeadToyModel const optimiser(uniformLine(7, false));
    auto const values = optimiser.interpolate({2, 4}, {0.3, 0.9});
    EXPECT_EQ((*values)[0], mapped(0.3));
    EXPECT_EQ((*values)[1], mapped(0.3));
    EXPECT_EQ((*values)[5], mapped(0.9));
    EXPECT_EQ((*values)[6], mapped(0.9));
}

TEST(MasterOptimizer4DrawbeadToyModel, ValuesAreClampedBeforeTheCosineMapping) {
    MasterOptimizer4DrawbeadToyModel const unit(uniformLine(4, false));
    auto const extremes = unit.interpolate({0, 3}, {-0.5, 1.5});
    EXPECT_EQ((*extremes)[0], 0.0);
    EXPECT_EQ((*extremes)[3], 1.0);
    auto const exact = unit.interpolate({0, 3}, {0.0, 1.0});
    EXPECT_EQ((*exact)[0], 0.0);
    EXPECT_EQ((*exact)[3], 1.0);

    Bounds const narrow(4, {0.25, 0.75});
    MasterOptimizer4DrawbeadToyModel const clamped(lineOf(std::vector<double>(4, 1.0), false, narrow));
    auto const values = clamped.interpolate({0, 3}, {0.0, 1.0});
    EXPECT_EQ((*values)[0], mapped(0.25));
    EXPECT_EQ((*values)[3], mapped(0.75));
    // Interior values are interpolated from the unclamped master values, then clamped.
    EXPECT_EQ((*values)[1], mapped(std::max(0.25, (2.0 * 1.0 + 4.0 * 0.0) / (4.0 + 2.0))));
}

TEST(MasterOptimizer4DrawbeadToyModel, EnforceMinMaxDataRaisesThenLowers) {
    Bounds const bounds{{0.2, 0.4}, {0.0, 1.0}, {0.5, 0.5}};
    MasterOptimizer4DrawbeadToyModel const optimiser(lineOf({1.0, 1.0, 1.0}, false, bounds));
    std::vector<double> values{0.1, 0.7, 0.9};
    Access::enforceMinMaxData(optimiser, values);
    EXPECT_EQ(values, (std::vector<double>{0.2, 0.7, 0.5}));
    std::vector<double> high{0.5, 2.0, 0.1};
    Access::enforceMinMaxData(optimiser, high);
    EXPECT_EQ(high, (std::vector<double>{0.4, 1.0, 0.5}));
}

TEST(MasterOptimizer4DrawbeadToyModel, InterpolationMatchesTheReferenceOnRandomLines) {
    std::mt19937 engine(8);
    std::uniform_real_distribution<double> value(-0.2, 1.2);
    for (int trial = 0; trial < 400; ++trial) {
        int const n = 1 + trial % 40;
        bool const closed = trial % 2 == 1;
        ReferenceToyModel::Line const line = ReferenceToyModel::randomLine(engine, n, closed);
        MasterOptimizer4DrawbeadToyModel const optimiser(modelOf(line));
        int const m = 1 + static_cast<int>(engine() % static_cast<unsigned>(std::min(n, 8)));
        std::vector<int> const masters = ReferenceToyModel::randomAscendingChoice(engine, n, m);
        std::vector<double> masterValues(m);
        for (double& v : masterValues) {
            v = value(engine);
        }
        // On an open line the interpolation never measures from the last segment, so any choice is valid.
        auto const values = optimiser.interpolate(masters, masterValues);
        std::vector<double> const expected = ReferenceToyModel::interpolation(line, masters, masterValues);
        ASSERT_EQ(values->size(), expected.size());
        for (int i = 0; i < n; ++i) {
            EXPECT_EQ((*values)[i], expected[i]) << "trial " << trial << " segment " << i;
            EXPECT_GE((*values)[i], 0.0);
            EXPECT_LE((*values)[i], 1.0);
        }
    }
}

TEST(MasterOptimizer4DrawbeadToyModel, InterpolationWithoutMastersLeavesEveryValueNaN) {
    for (bool const closed : {false, true}) {
        MasterOptimizer4DrawbeadToyModel const optimiser(uniformLine(4, closed));
        auto const values = optimiser.interpolate({}, {});
        ASSERT_EQ(values->size(), 4u);
        for (double const v : *values) {
            EXPECT_TRUE(std::isnan(v));
        }
    }
}

TEST(MasterOptimizer4DrawbeadToyModel, InterpolationReturnsANewVectorEachCall) {
    MasterOptimizer4DrawbeadToyModel const optimiser(uniformLine(4, true));
    auto const first = optimiser.interpolate({0, 2}, {0.5, 0.5});
    auto const second = Access::getInterpolation(optimiser, {0, 2}, {0.5, 0.5});
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(*first, *second);
    EXPECT_EQ(first.use_count(), 1);
}

TEST(MasterOptimizer4DrawbeadToyModel, SanityCheckAcceptsAnything) {
    MasterOptimizer4DrawbeadToyModel const optimiser(uniformLine(3, false));
    EXPECT_NO_THROW(Access::sanityCheck(optimiser, {7, -3, 99}, {}));
    EXPECT_NO_THROW(Access::sanityCheck(optimiser, {}, {1.0, 2.0}));
}

TEST(MasterOptimizer4DrawbeadToyModel, CopiesAndMovesShareTheModel) {
    auto const model = lineOf({2.0, 4.0, 6.0, 3.0}, true);
    MasterOptimizer4DrawbeadToyModel const original(model);
    MasterOptimizer4DrawbeadToyModel copy(original);
    EXPECT_EQ(Access::model(copy), model);
    EXPECT_EQ(copy.evaluateMasterChoice({0, 2}), original.evaluateMasterChoice({0, 2}));
    MasterOptimizer4DrawbeadToyModel moved(std::move(copy));
    EXPECT_EQ(Access::model(moved), model);
    EXPECT_EQ(moved.evaluateMasterChoice({1, 3}), original.evaluateMasterChoice({1, 3}));
    MasterOptimizer4DrawbeadToyModel assigned(lineOf({1.0, 1.0}, false));
    assigned = original;
    EXPECT_EQ(*assigned.interpolate({0, 2}, {0.1, 0.6}), *original.interpolate({0, 2}, {0.1, 0.6}));
    assigned = std::move(moved);
    EXPECT_EQ(Access::minMaxData(assigned), model->getMinMaxData());
}

// A further derived model whose own score and interpolation the public helpers must reach.
class ConstantScoreModel : public MasterOptimizer4DrawbeadToyModel {
  public:
    using MasterOptimizer4DrawbeadToyModel::MasterOptimizer4DrawbeadToyModel;

  private:
    double geometryBasedEvaluation(std::vector<int> const& masterIndices) const override {
        return 100.0 + static_cast<double>(masterIndices.size());
    }
    std::shared_ptr<std::vector<double>> getInterpolation(
        std::vector<int> const&, std::vector<double> const& masterValues) const override {
        return std::make_shared<std::vector<double>>(masterValues);
    }
};

TEST(MasterOptimizer4DrawbeadToyModel, PublicHelpersDispatchThroughTheVirtualSlots) {
    ConstantScoreModel const derived(uniformLine(4, false));
    MasterOptimizer4Interpolation const& base = derived;
    EXPECT_EQ(derived.evaluateMasterChoice({0, 1, 2}), 103.0);
    EXPECT_EQ(base.evaluateMasterChoice({0}), 101.0);
    EXPECT_EQ(*base.interpolate({0, 1}, {7.0, 8.0}), (std::vector<double>{7.0, 8.0}));
    EXPECT_EQ(Access::masterChoiceEvaluator(base, {1, 2}), 102.0);
}

}  // namespace
}  // namespace Kestrel
