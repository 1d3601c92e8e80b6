// calculateOptimalMasterIndices end to end with the cross-entropy optimiser.
#include <Kestrel/MasterOptimizer4Interpolation.h>

#include "ReferenceToyModel.h"

#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace Kestrel {
namespace {

std::shared_ptr<DrawbeadToyModel const> modelOf(ReferenceToyModel::Line const& line) {
    return std::make_shared<DrawbeadToyModel const>(line.lengths, line.bounds, line.closed,
                                                    &line.transitions);
}

// Scores like the toy model's optimiser, counting the calls and remembering the smallest position seen.
class CountingModel : public MasterOptimizer4Interpolation {
  public:
    explicit CountingModel(std::shared_ptr<DrawbeadToyModel const> const& model)
        : MasterOptimizer4Interpolation(model->getMinMaxData(),
                                        [](std::vector<double> const&) { return 0.0; }),
          inner(model) {}

    MasterOptimizer4DrawbeadToyModel inner;
    mutable std::atomic<long> calls{0};
    mutable std::atomic<int> smallestPosition{std::numeric_limits<int>::max()};

  private:
    std::shared_ptr<std::vector<double>> getInterpolation(
        std::vector<int> const& masterIndices, std::vector<double> const& masterValues) const override {
        return inner.interpolate(masterIndices, masterValues);
    }
    double geometryBasedEvaluation(std::vector<int> const& masterIndices) const override {
        ++calls;
        for (int const position : masterIndices) {
            int seen = smallestPosition.load();
            while (position < seen && !smallestPosition.compare_exchange_weak(seen, position)) {
            }
        }
        return inner.evaluateMasterChoice(masterIndices);
    }
};

class ThrowingModel : public MasterOptimizer4Interpolation {
  public:
    explicit ThrowingModel(int n)
        : MasterOptimizer4Interpolation(std::vector<std::pair<double, double>>(n, {0.0, 1.0}),
                                        [](std::vector<double> const&) { return 0.0; }) {}

  private:
    std::shared_ptr<std::vector<double>> getInterpolation(std::vector<int> const&,
                                                          std::vector<double> const&) const override {
        return nullptr;
    }
    double geometryBasedEvaluation(std::vector<int> const& masterIndices) const override {
        if (masterIndices.front() == 1) {
            throw std::runtime_error("unusable master choice");
        }
        return 1.0;
    }
};

// Scores like the toy model's optimiser, but the first evaluation on each thread first runs a whole master
// search of its own (on another object, on the same thread) and records whether the choice it was asked
// to score stayed the same meanwhile.
class NestingModel : public CountingModel {
  public:
    using CountingModel::CountingModel;

    mutable std::atomic<int> nestedSearches{0};
    mutable std::atomic<int> changedChoices{0};

  private:
    double geometryBasedEvaluation(std::vector<int> const& masterIndices) const override {
        thread_local bool searched = false;
        if (!searched) {
            searched = true;
            std::vector<int> const asked(masterIndices);
            std::vector<int> nested;
            inner.calculateOptimalMasterIndices(2, nested, nullptr);
            ++nestedSearches;
            if (masterIndices != asked) {
                ++changedChoices;
            }
        }
        return inner.evaluateMasterChoice(masterIndices);
    }
};

std::vector<int> search(MasterOptimizer4Interpolation const& optimiser, int masters,
                        std::vector<int> const* preGroups = nullptr) {
    std::vector<int> result{-7, 99};
    optimiser.calculateOptimalMasterIndices(masters, result, preGroups);
    return result;
}

void expectAscendingInside(std::vector<int> const& result, int n) {
    for (std::size_t k = 0; k < result.size(); ++k) {
        EXPECT_GE(result[k], 0);
        EXPECT_LT(result[k], n);
        if (k > 0) {
            EXPECT_LT(result[k - 1], result[k]);
        }
    }
}

TEST(MasterOptimizer4Interpolation, UsageExampleGivesTwoMastersAndInterpolatedValues) {
    auto model = std::make_shared<Kestrel::DrawbeadToyModel const>(
        std::vector<double>{2.0, 4.0, 6.0, 3.0, 5.0}, std::vector<std::pair<double, double>>(5, {0.1, 0.9}),
        true, nullptr);
    Kestrel::MasterOptimizer4DrawbeadToyModel optimiser(model);
    std::vector<int> masters;
    optimiser.calculateOptimalMasterIndices(2, masters, nullptr);
    ASSERT_EQ(masters.size(), 2u);
    expectAscendingInside(masters, 5);
    EXPECT_TRUE(std::isfinite(optimiser.evaluateMasterChoice(masters)));
    auto const values = optimiser.interpolate(masters, {0.3, 0.7});
    ASSERT_EQ(values->size(), 5u);
    for (double const v : *values) {
        EXPECT_GE(v, (1.0 - std::cos(3.141592653589793 * 0.1)) * 0.5);
        EXPECT_LE(v, (1.0 - std::cos(3.141592653589793 * 0.9)) * 0.5);
    }
}

TEST(MasterOptimizer4Interpolation, ResultsAreAscendingDistinctPositionsOfTheLine) {
    std::mt19937 engine(11);
    for (int trial = 0; trial < 8; ++trial) {
        int const n = 5 + 2 * trial;
        int const masters = 2 + trial % 3;
        CountingModel const optimiser(modelOf(ReferenceToyModel::randomLine(engine, n, trial % 2 == 0)));
        std::vector<int> const result = search(optimiser, masters);
        ASSERT_EQ(result.size(), static_cast<std::size_t>(masters)) << "trial " << trial;
        expectAscendingInside(result, n);
        EXPECT_GT(optimiser.calls, 0);
        EXPECT_GE(optimiser.smallestPosition, 0);
    }
}

TEST(MasterOptimizer4Interpolation, FindsTheBestChoiceOnSmallLines) {
    std::mt19937 engine(12);
    for (int trial = 0; trial < 6; ++trial) {
        int const n = 6 + trial;
        int const masters = 2 + trial % 2;
        ReferenceToyModel::Line const line = ReferenceToyModel::randomLine(engine, n, trial % 2 == 1);
        MasterOptimizer4DrawbeadToyModel const optimiser(modelOf(line));
        std::vector<int> const result = search(optimiser, masters);
        double best = std::numeric_limits<double>::infinity();
        std::vector<int> choice(masters);
        // Every ascending choice of `masters` positions out of n.
        std::vector<bool> pick(n, false);
        std::fill(pick.end() - masters, pick.end(), true);
        do {
            choice.clear();
            for (int i = 0; i < n; ++i) {
                if (pick[i]) {
                    choice.push_back(i);
                }
            }
            best = std::min(best, ReferenceToyModel::geometryScore(line, choice));
        } while (std::next_permutation(pick.begin(), pick.end()));
        EXPECT_EQ(optimiser.evaluateMasterChoice(result), best) << "trial " << trial;
    }
}

TEST(MasterOptimizer4Interpolation, PreGroupsAllowAtMostOneMasterPerGroup) {
    std::mt19937 engine(13);
    // Groups {0..3}, {4..7}, {8..11}; positions 12..15 lie outside every group.
    std::vector<int> const groups{0, 4, 8, 12};
    for (int trial = 0; trial < 4; ++trial) {
        int const masters = 2 + trial % 3;
        CountingModel const optimiser(modelOf(ReferenceToyModel::randomLine(engine, 16, trial % 2 == 0)));
        std::vector<int> const result = search(optimiser, masters, &groups);
        ASSERT_EQ(result.size(), static_cast<std::size_t>(masters));
        expectAscendingInside(result, 16);
        std::vector<int> perGroup(4, 0);
        for (int const position : result) {
            ++perGroup[position / 4];
        }
        for (int g = 0; g < 4; ++g) {
            EXPECT_LE(perGroup[g], 1) << "trial " << trial << " group " << g;
        }
    }
}

TEST(MasterOptimizer4Interpolation, PositionsOutsideEveryPreGroupHoldAtMostOneMaster) {
    std::mt19937 engine(20);
    // Groups {2..5} and {6..9}; positions 0, 1 and 10..13 lie outside and count as one more group.
    std::vector<int> const groups{2, 6, 10};
    for (int trial = 0; trial < 4; ++trial) {
        CountingModel const optimiser(modelOf(ReferenceToyModel::randomLine(engine, 14, trial % 2 == 0)));
        std::vector<int> const result = search(optimiser, 2 + trial % 2, &groups);
        expectAscendingInside(result, 14);
        int outside = 0;
        int first = 0;
        int second = 0;
        for (int const position : result) {
            outside += position < 2 || position >= 10 ? 1 : 0;
            first += position >= 2 && position < 6 ? 1 : 0;
            second += position >= 6 && position < 10 ? 1 : 0;
        }
        EXPECT_LE(outside, 1) << "trial " << trial;
        EXPECT_LE(first, 1) << "trial " << trial;
        EXPECT_LE(second, 1) << "trial " << trial;
    }
}

TEST(MasterOptimizer4Interpolation, SameChoiceForOneAndTwoThreads) {
    std::mt19937 engine(14);
    int const threads = omp_get_max_threads();
    for (int trial = 0; trial < 4; ++trial) {
        int const n = 10 + 4 * trial;
        ReferenceToyModel::Line const line = ReferenceToyModel::randomLine(engine, n, trial % 2 == 1);
        MasterOptimizer4DrawbeadToyModel const optimiser(modelOf(line));
        std::vector<int> const groups{1, 4, 7};
        std::vector<int> const* preGroups = trial == 3 ? &groups : nullptr;
        omp_set_num_threads(1);
        std::vector<int> const single = search(optimiser, 3, preGroups);
        omp_set_num_threads(2);
        std::vector<int> const dual = search(optimiser, 3, preGroups);
        EXPECT_EQ(single, dual) << "trial " << trial;
        EXPECT_EQ(search(optimiser, 3, preGroups), dual) << "trial " << trial;
    }
    omp_set_num_threads(threads);
}

TEST(MasterOptimizer4Interpolation, ConcurrentCallsOnOneObjectAgree) {
    std::mt19937 engine(15);
    MasterOptimizer4DrawbeadToyModel const optimiser(modelOf(ReferenceToyModel::randomLine(engine, 9, true)));
    std::vector<int> const expected = search(optimiser, 3);
    std::vector<int> first;
    std::vector<int> second;
    std::thread a([&] { first = search(optimiser, 3); });
    std::thread b([&] { second = search(optimiser, 3); });
    a.join();
    b.join();
    EXPECT_EQ(first, expected);
    EXPECT_EQ(second, expected);
}

TEST(MasterOptimizer4Interpolation, ASearchInsideAnEvaluationLeavesTheChoiceBeingScoredAlone) {
    std::mt19937 engine(18);
    auto const model = modelOf(ReferenceToyModel::randomLine(engine, 9, false));
    NestingModel const nesting(model);
    std::vector<int> const found = search(nesting, 3);
    EXPECT_GE(nesting.nestedSearches.load(), 1);
    EXPECT_EQ(nesting.changedChoices.load(), 0);
    EXPECT_EQ(found, search(MasterOptimizer4DrawbeadToyModel(model), 3));
}

TEST(MasterOptimizer4Interpolation, CallableThroughABaseReference) {
    std::mt19937 engine(16);
    auto const model = modelOf(ReferenceToyModel::randomLine(engine, 8, false));
    MasterOptimizer4DrawbeadToyModel const derived(model);
    MasterOptimizer4Interpolation const& base = derived;
    std::vector<int> const viaBase = search(base, 3);
    EXPECT_EQ(viaBase, search(derived, 3));
    EXPECT_EQ(base.evaluateMasterChoice(viaBase), derived.evaluateMasterChoice(viaBase));
}

TEST(MasterOptimizer4Interpolation, OneMasterIsTheFirstPositionOrPreGroupStartWithoutEvaluating) {
    std::mt19937 engine(17);
    CountingModel const optimiser(modelOf(ReferenceToyModel::randomLine(engine, 10, true)));
    EXPECT_EQ(search(optimiser, 1), (std::vector<int>{0}));
    std::vector<int> const groups{3, 6};
    EXPECT_EQ(search(optimiser, 1, &groups), (std::vector<int>{3}));
    std::vector<int> const empty;
    EXPECT_EQ(search(optimiser, 1, &empty), (std::vector<int>{0}));
    EXPECT_EQ(optimiser.calls, 0);
}

TEST(MasterOptimizer4Interpolation, NoMastersOrNoPositionsGiveAnEmptyResult) {
    std::mt19937 engine(18);
    CountingModel const optimiser(modelOf(ReferenceToyModel::randomLine(engine, 6, false)));
    EXPECT_TRUE(search(optimiser, 0).empty());
    EXPECT_TRUE(search(optimiser, -1).empty());
    CountingModel const none(modelOf(ReferenceToyModel::Line{}));
    EXPECT_TRUE(search(none, 1).empty());
    EXPECT_TRUE(search(none, 3).empty());
    EXPECT_EQ(optimiser.calls + none.calls, 0);
}

TEST(MasterOptimizer4Interpolation, MoreMastersThanPositionsTakesEveryPosition) {
    std::mt19937 engine(19);
    CountingModel const optimiser(modelOf(ReferenceToyModel::randomLine(engine, 5, true)));
    EXPECT_EQ(search(optimiser, 9), (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_EQ(search(optimiser, 9), search(optimiser, 5));
}

TEST(MasterOptimizer4Interpolation, OnePositionIsTheOnlyMaster) {
    std::vector<double> const lengths{2.0};
    auto const model = std::make_shared<DrawbeadToyModel const>(
        lengths, std::vector<std::pair<double, double>>{{0.0, 1.0}}, true, nullptr);
    CountingModel const optimiser(model);
    EXPECT_EQ(search(optimiser, 2), (std::vector<int>{0}));
    EXPECT_EQ(search(optimiser, 5), (std::vector<int>{0}));
    EXPECT_EQ(optimiser.calls, 0);
}

TEST(MasterOptimizer4Interpolation, ObjectiveExceptionReachesTheCaller) {
    ThrowingModel const optimiser(6);
    std::vector<int> result{4, 5};
    try {
        optimiser.calculateOptimalMasterIndices(2, result, nullptr);
        FAIL() << "no exception";
    } catch (std::runtime_error const& error) {
        EXPECT_STREQ(error.what(), "unusable master choice");
    }
    EXPECT_TRUE(result.empty());
}

}  // namespace
}  // namespace Kestrel
