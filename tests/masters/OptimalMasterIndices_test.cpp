// The exact master search against a reference that scores every admissible choice, and against the
// cross-entropy search.
#include <Kestrel/MasterOptimizer4Interpolation.h>

#include "ReferenceToyModel.h"

#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
#include <vector>

namespace Kestrel {
namespace {

std::shared_ptr<DrawbeadToyModel const> modelOf(ReferenceToyModel::Line const& line) {
    return std::make_shared<DrawbeadToyModel const>(line.lengths, line.bounds, line.closed,
                                                    &line.transitions);
}

// Whether a choice keeps at most one master per pre-group and at most one outside every group (no
// pre-groups: no restriction), and puts no master on a segment of length zero.
bool isAdmissible(ReferenceToyModel::Line const& line, std::vector<int> const& choice,
                  std::vector<int> const& groups) {
    int const n = static_cast<int>(line.lengths.size());
    std::vector<int> perGroup(groups.size() + 1, 0);
    for (int const p : choice) {
        if (p < 0 || p >= n || !(line.lengths[p] > 0.0)) {
            return false;
        }
        if (groups.empty()) {
            continue;  // no pre-groups: no restriction
        }
        std::size_t slot = groups.size();  // outside every group
        for (std::size_t g = 0; g + 1 < groups.size(); ++g) {
            if (p >= groups[g] && p < groups[g + 1]) {
                slot = g;
            }
        }
        if (++perGroup[slot] > 1) {
            return false;
        }
    }
    return true;
}

struct ReferenceChoice {
    bool found = false;
    double score = 0.0;
    std::vector<int> positions;
};

// Scores every ascending choice of `masters` positions; keeps the smallest score and the lexicographically
// smallest choice reaching it exactly.
ReferenceChoice referenceOptimalMasters(ReferenceToyModel::Line const& line,
                                        MasterOptimizer4DrawbeadToyModel const& optimiser, int masters,
                                        std::vector<int> const& groups) {
    int const n = static_cast<int>(line.lengths.size());
    ReferenceChoice best;
    std::vector<bool> pick(static_cast<std::size_t>(n), false);
    std::fill(pick.begin(), pick.begin() + masters, true);
    do {
        std::vector<int> choice;
        for (int i = 0; i < n; ++i) {
            if (pick[static_cast<std::size_t>(i)]) {
                choice.push_back(i);
            }
        }
        if (!isAdmissible(line, choice, groups)) {
            continue;
        }
        double const score = optimiser.evaluateMasterChoice(choice);
        EXPECT_EQ(score, ReferenceToyModel::geometryScore(line, choice));
        if (!best.found || score < best.score || (score == best.score && choice < best.positions)) {
            best = {true, score, choice};
        }
    } while (std::prev_permutation(pick.begin(), pick.end()));
    return best;
}

// Lengths from a few levels (ties) or continuous, now and then a segment of length zero.
ReferenceToyModel::Line randomLineWithTies(std::mt19937& engine, int n, bool closed) {
    ReferenceToyModel::Line line = ReferenceToyModel::randomLine(engine, n, closed);
    int const kind = static_cast<int>(engine() % 3);
    for (double& length : line.lengths) {
        if (kind == 0) {
            length = engine() % 2 == 0 ? 1.0 : 2.0;
        } else if (kind == 1 && engine() % 6 == 0) {
            length = 0.0;
        }
    }
    line.transitions.clear();
    int const count = closed ? n : n - 1;
    for (int i = 0; i < count; ++i) {
        line.transitions.push_back(std::min(line.lengths[i], line.lengths[(i + 1) % n]));
    }
    return line;
}

std::vector<int> randomPreGroups(std::mt19937& engine, int n) {
    std::vector<int> boundaries;
    for (int b = 0; b <= n; ++b) {
        if (engine() % 4 == 0) {
            boundaries.push_back(b);
        }
    }
    return boundaries;
}

class OptimalMastersAgainstReference : public ::testing::TestWithParam<std::tuple<bool, bool>> {};

TEST_P(OptimalMastersAgainstReference, SmallestScoreOnRandomLinesUpTo14Segments) {
    bool const closed = std::get<0>(GetParam());
    bool const withPreGroups = std::get<1>(GetParam());
    std::mt19937 engine(closed ? (withPreGroups ? 41u : 43u) : (withPreGroups ? 47u : 53u));
    int admissibleLines = 0;
    for (int trial = 0; trial < 60; ++trial) {
        int const n = 1 + trial % 14;
        int const masters = 1 + static_cast<int>(engine() % static_cast<unsigned>(std::min(n, 6)));
        ReferenceToyModel::Line const line = randomLineWithTies(engine, n, closed);
        std::vector<int> const groups = withPreGroups ? randomPreGroups(engine, n) : std::vector<int>{};
        MasterOptimizer4DrawbeadToyModel const optimiser(modelOf(line));
        ReferenceChoice const reference = referenceOptimalMasters(line, optimiser, masters, groups);
        std::vector<int> result{-5};
        SCOPED_TRACE(::testing::Message() << "trial " << trial << ", n = " << n << ", masters = " << masters);
        if (!reference.found) {
            EXPECT_THROW(optimiser.calculateExactOptimalMasterIndices(masters, result, &groups),
                         std::invalid_argument);
            EXPECT_EQ(result, std::vector<int>{-5});
            continue;
        }
        ++admissibleLines;
        double const score = optimiser.calculateExactOptimalMasterIndices(masters, result, &groups);
        ASSERT_EQ(result.size(), static_cast<std::size_t>(masters));
        EXPECT_TRUE(std::is_sorted(result.begin(), result.end()));
        EXPECT_TRUE(isAdmissible(line, result, groups));
        EXPECT_EQ(score, optimiser.evaluateMasterChoice(result));
        EXPECT_GE(score, reference.score);
        EXPECT_LE(score, reference.score + std::abs(reference.score) * 1e-12);
        EXPECT_LE(result, reference.positions);
    }
    EXPECT_GE(admissibleLines, 30);
}

TEST_P(OptimalMastersAgainstReference, NeverWorseThanTheCrossEntropySearch) {
    bool const closed = std::get<0>(GetParam());
    bool const withPreGroups = std::get<1>(GetParam());
    std::mt19937 engine(closed ? 7u : 11u);
    for (int trial = 0; trial < 5; ++trial) {
        int const n = 10 + 3 * trial;
        int const masters = 2 + trial % 3;
        ReferenceToyModel::Line const line = ReferenceToyModel::randomLine(engine, n, closed);
        std::vector<int> const groups{0, 3, 6, 9};
        std::vector<int> const* preGroups = withPreGroups ? &groups : nullptr;
        MasterOptimizer4DrawbeadToyModel const optimiser(modelOf(line));
        std::vector<int> crossEntropy;
        optimiser.calculateOptimalMasterIndices(masters, crossEntropy, preGroups);
        std::vector<int> exact;
        double const score = optimiser.calculateExactOptimalMasterIndices(masters, exact, preGroups);
        double const found = optimiser.evaluateMasterChoice(crossEntropy);
        EXPECT_LE(score, found + std::abs(found) * 1e-12) << "trial " << trial;
    }
}

INSTANTIATE_TEST_SUITE_P(OpenAndClosedWithAndWithoutPreGroups, OptimalMastersAgainstReference,
                         ::testing::Combine(::testing::Bool(), ::testing::Bool()));

TEST(OptimalMasters, SameChoiceForOneAndTwoThreads) {
    std::mt19937 engine(19);
    int const threads = omp_get_max_threads();
    for (bool const closed : {false, true}) {
        ReferenceToyModel::Line const line = ReferenceToyModel::randomLine(engine, closed ? 70 : 320, closed);
        MasterOptimizer4DrawbeadToyModel const optimiser(modelOf(line));
        std::vector<int> const groups{5, 20, 33, 41, 60};
        std::vector<int> results[2];
        double scores[2];
        for (int count = 1; count <= 2; ++count) {
            omp_set_num_threads(count);
            scores[count - 1] = optimiser.calculateExactOptimalMasterIndices(5, results[count - 1], &groups);
        }
        EXPECT_EQ(results[0], results[1]);
        EXPECT_EQ(scores[0], scores[1]);
    }
    omp_set_num_threads(threads);
}

TEST(OptimalMasters, ZeroLengthSegmentIsNeverAMaster) {
    ReferenceToyModel::Line line =
        ReferenceToyModel::randomLine(*std::make_unique<std::mt19937>(23), 8, false);
    std::fill(line.lengths.begin(), line.lengths.end(), 1.0);
    line.lengths[0] = 0.0;
    line.lengths[7] = 0.0;
    MasterOptimizer4DrawbeadToyModel const optimiser(modelOf(line));
    std::vector<int> result;
    double const score = optimiser.calculateExactOptimalMasterIndices(2, result, nullptr);
    EXPECT_FALSE(std::isnan(score));
    EXPECT_EQ(result, (std::vector<int>{1, 6}));
}

TEST(OptimalMasters, BadInputIsRejectedWithInvalidArgument) {
    std::mt19937 engine(31);
    ReferenceToyModel::Line line = ReferenceToyModel::randomLine(engine, 6, true);
    MasterOptimizer4DrawbeadToyModel const optimiser(modelOf(line));
    std::vector<int> result{3};
    std::vector<int> const unsorted{3, 1};
    std::vector<int> const outside{0, 7};
    EXPECT_THROW(optimiser.calculateExactOptimalMasterIndices(0, result, nullptr), std::invalid_argument);
    EXPECT_THROW(optimiser.calculateExactOptimalMasterIndices(7, result, nullptr), std::invalid_argument);
    EXPECT_THROW(optimiser.calculateExactOptimalMasterIndices(2, result, &unsorted), std::invalid_argument);
    EXPECT_THROW(optimiser.calculateExactOptimalMasterIndices(2, result, &outside), std::invalid_argument);
    std::vector<int> const tooFewGroups{0, 3};  // one group and one ungrouped run: at most two masters
    EXPECT_THROW(optimiser.calculateExactOptimalMasterIndices(3, result, &tooFewGroups),
                 std::invalid_argument);
    EXPECT_EQ(result, std::vector<int>{3});
    try {
        optimiser.calculateExactOptimalMasterIndices(7, result, nullptr);
    } catch (std::invalid_argument const& error) {
        EXPECT_STREQ(error.what(),
                     "MasterOptimizer4DrawbeadToyModel: numberOfMasters 7 is outside 1 ... 6 (the number of "
                     "segments)");
    }
}

}  // namespace
}  // namespace Kestrel
