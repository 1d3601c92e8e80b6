// The fixed-seed path generator: its random stream, the walk's edge cases and the exclusion lists.
#include "HamiltonianPathMCGenerator.h"
#include "CrossEntropySteps.h"
#include "TestProblems.h"

#include <boost/random/mersenne_twister.hpp>
#include <boost/random/uniform_real_distribution.hpp>

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <vector>

namespace {

using Kestrel::optimization::HamiltonianPathMCGenerator;
using Paths = std::vector<std::vector<int>>;

TEST(HamiltonianPathMCGenerator, UniformDrawConsumesOneEngineOutputScaledByTwoToMinus32) {
    boost::random::mt19937 engine(193);
    boost::random::uniform_real_distribution<double> uniform(0.0, 1.0);
    std::mt19937 reference(193);
    for (int draw = 0; draw < 10000; ++draw) {
        double const expected = static_cast<double>(reference()) / 4294967296.0;
        ASSERT_EQ(expected, uniform(engine)) << "draw " << draw;
    }
    EXPECT_EQ(reference(), engine());
}

TEST(UniformStream, DrawsAreTheEngineOutputsScaledByTwoToMinus32InOrder) {
    Kestrel::optimization::UniformStream stream(193);
    std::mt19937 reference(193);
    std::vector<double> expected;
    for (int draw = 0; draw < 2000; ++draw) {
        expected.push_back(static_cast<double>(reference()) / 4294967296.0);
    }
    // Read in overlapping pieces, out of order: every draw keeps its place in the stream.
    double const* late = stream.draws(1500, 500);
    EXPECT_EQ(std::vector<double>(expected.begin() + 1500, expected.end()),
              std::vector<double>(late, late + 500));
    double const* early = stream.draws(10, 100);
    EXPECT_EQ(std::vector<double>(expected.begin() + 10, expected.begin() + 110),
              std::vector<double>(early, early + 100));
}

TEST(UniformStream, StreamAfterASharedPrefixDrawsLikeAFreshlySeededOne) {
    auto const prefix = std::make_shared<Kestrel::optimization::UniformPrefix const>(193, 1000);
    ASSERT_EQ(prefix->draws().size(), 1000u);
    Kestrel::optimization::UniformStream plain(193);
    double const* const plainDraws = plain.draws(0, 3000);
    std::vector<double> const expected(plainDraws, plainDraws + 3000);
    // Reads inside the prefix, then across its end, then beyond, then inside again.
    Kestrel::optimization::UniformStream continued(prefix);
    std::size_t const pieces[][2] = {{0, 1000}, {990, 20}, {1500, 1500}, {5, 10}, {0, 3000}};
    for (auto const& piece : pieces) {
        double const* draws = continued.draws(piece[0], piece[1]);
        EXPECT_EQ(std::vector<double>(expected.begin() + static_cast<std::ptrdiff_t>(piece[0]),
                                      expected.begin() + static_cast<std::ptrdiff_t>(piece[0] + piece[1])),
                  std::vector<double>(draws, draws + piece[1]))
            << "draws " << piece[0] << " ... " << piece[0] + piece[1] - 1;
    }
    // A stream that starts beyond the prefix gets the prefix's draws as well.
    Kestrel::optimization::UniformStream late(prefix);
    double const* tail = late.draws(2000, 1000);
    EXPECT_EQ(std::vector<double>(expected.begin() + 2000, expected.end()),
              std::vector<double>(tail, tail + 1000));
}

TEST(HamiltonianPathMCGenerator, GeneratorsOnASharedStreamDrawLikeFreshlySeededOnes) {
    std::mt19937 random(12);
    auto const matrix = OptimizationTests::randomMatrix(random, 9, 0.1);
    auto const stream = std::make_shared<Kestrel::optimization::UniformStream>(193);
    for (int generation = 0; generation < 3; ++generation) {
        HamiltonianPathMCGenerator seeded(matrix, 193);
        HamiltonianPathMCGenerator shared(matrix, stream);
        // Populations of growing size: later generators read draws earlier ones made, and more.
        for (int round = 0; round < 2; ++round) {
            Paths expected;
            Paths actual;
            seeded.generatePaths(20 * (generation + 1), expected, 5);
            shared.generatePaths(20 * (generation + 1), actual, 5);
            ASSERT_EQ(expected, actual) << "generation " << generation << " round " << round;
        }
    }
}

TEST(HamiltonianPathMCGenerator, SameMatrixAndSeedGiveIdenticalPopulations) {
    std::mt19937 random(3);
    auto const matrix = OptimizationTests::randomMatrix(random, 10, 0.2);
    HamiltonianPathMCGenerator first(matrix, 193);
    HamiltonianPathMCGenerator second(matrix, 193);
    Paths a;
    Paths b;
    first.generatePaths(200, a, 6);
    second.generatePaths(200, b, 6);
    EXPECT_EQ(a, b);
    HamiltonianPathMCGenerator other(matrix, 194);
    Paths c;
    other.generatePaths(200, c, 6);
    EXPECT_NE(a, c);
}

TEST(HamiltonianPathMCGenerator, SelectionsVisitEachNodeAtMostOnceAndNeverNodeZeroWithPositiveWeights) {
    std::mt19937 random(8);
    auto const matrix = OptimizationTests::randomMatrix(random, 9, 0.0);
    HamiltonianPathMCGenerator generator(matrix, 193);
    Paths paths;
    generator.generatePaths(300, paths, 8);
    ASSERT_EQ(300u, paths.size());
    for (std::vector<int> const& path : paths) {
        ASSERT_EQ(8u, path.size());
        std::set<int> const distinct(path.begin(), path.end());
        EXPECT_EQ(8u, distinct.size());
        EXPECT_EQ(0u, distinct.count(0));
    }
}

TEST(HamiltonianPathMCGenerator, FullPathsAreNotSorted) {
    std::vector<std::vector<double>> const matrix(6, std::vector<double>(5, 1.0));
    HamiltonianPathMCGenerator generator(matrix, 193);
    Paths paths;
    generator.generatePaths(50, paths, 5);
    int unsorted = 0;
    for (std::vector<int> const& path : paths) {
        unsorted += std::is_sorted(path.begin(), path.end()) ? 0 : 1;
    }
    EXPECT_GT(unsorted, 25);
}

TEST(HamiltonianPathMCGenerator, NothingLeftWithPositiveWeightWritesNodeZeroAndRestartsFromRowZero) {
    // Row 0 only allows node 1, row 1 only node 2 with weight 0: after node 1 the available total is 0,
    // the threshold is 0 and the walk stops at position 0. Row 0 then offers nothing new either.
    std::vector<std::vector<double>> const matrix{{1.0, 0.0}, {0.0, 0.0}, {1.0, 1.0}};
    HamiltonianPathMCGenerator generator(matrix, 193);
    Paths paths;
    generator.generatePaths(20, paths, 4);
    for (std::vector<int> const& path : paths) {
        EXPECT_EQ((std::vector<int>{1, 0, 0, 0}), path);
    }
}

TEST(HamiltonianPathMCGenerator, AllZeroFirstRowWritesNodeZeroEveryStep) {
    std::vector<std::vector<double>> const matrix{
        {0.0, 0.0, 0.0}, {1.0, 1.0, 1.0}, {1.0, 1.0, 1.0}, {1.0, 1.0, 1.0}};
    HamiltonianPathMCGenerator generator(matrix, 193);
    Paths paths;
    generator.generatePaths(5, paths, 3);
    for (std::vector<int> const& path : paths) {
        EXPECT_EQ((std::vector<int>{0, 0, 0}), path);
    }
}

TEST(HamiltonianPathMCGenerator, NodeZeroIsFollowedByADrawFromRowZero) {
    // Row 1 leaves only node 2, whose weight is 0 there: node 0 is written, then row 0 picks node 2.
    std::vector<std::vector<double>> const matrix{{1.0, 0.0}, {0.0, 0.0}, {0.0, 0.0}};
    std::vector<std::vector<double>> const restart{{1.0, 1e-300}, {0.0, 0.0}, {0.0, 0.0}};
    HamiltonianPathMCGenerator generator(restart, 193);
    Paths paths;
    generator.generatePaths(30, paths, 3);
    for (std::vector<int> const& path : paths) {
        // The first step picks node 2 only when u * total lands beyond the first weight: never here.
        EXPECT_EQ((std::vector<int>{1, 0, 2}), path);
    }
    HamiltonianPathMCGenerator stuck(matrix, 193);
    stuck.generatePaths(5, paths, 3);
    EXPECT_EQ((std::vector<int>{1, 0, 0}), paths.front());
}

TEST(HamiltonianPathMCGenerator, NodeBeyondTheLastRowIsFollowedByNodeZero) {
    // Two rows of three weights: row 0 can only reach node 3, which has no row of its own.
    std::vector<std::vector<double>> const matrix{{0.0, 0.0, 1.0}, {1.0, 1.0, 1.0}};
    HamiltonianPathMCGenerator generator(matrix, 193);
    Paths paths;
    generator.generatePaths(10, paths, 3);
    for (std::vector<int> const& path : paths) {
        EXPECT_EQ((std::vector<int>{3, 0, 0}), path);
    }
}

TEST(HamiltonianPathMCGenerator, ZeroWeightNodeIsNeverChosenWhileAPositiveOneIsAvailable) {
    std::mt19937 random(21);
    for (int trial = 0; trial < 40; ++trial) {
        int const rows = 2 + static_cast<int>(random() % 10);
        auto const matrix = OptimizationTests::randomMatrix(random, rows, 0.5);
        HamiltonianPathMCGenerator generator(matrix, static_cast<unsigned>(trial));
        Paths paths;
        generator.generatePaths(50, paths, rows + 1);
        for (std::vector<int> const& path : paths) {
            std::vector<bool> taken(static_cast<std::size_t>(rows), false);
            int last = 0;
            for (int const node : path) {
                std::vector<double> const& row = matrix[static_cast<std::size_t>(last)];
                bool positiveLeft = false;
                for (int j = 1; j < rows; ++j) {
                    positiveLeft = positiveLeft || (!taken[static_cast<std::size_t>(j)] && row[j - 1] > 0.0);
                }
                if (positiveLeft) {
                    ASSERT_GT(node, 0);
                    ASSERT_GT(row[static_cast<std::size_t>(node - 1)], 0.0);
                    ASSERT_FALSE(taken[static_cast<std::size_t>(node)]);
                } else {
                    ASSERT_EQ(0, node);
                }
                taken[static_cast<std::size_t>(node)] = true;
                last = node;
            }
        }
    }
}

TEST(HamiltonianPathMCGenerator, ExclusionListsKeepAtMostOneNodePerGroupAndOneUngroupedNode) {
    std::mt19937 random(17);
    for (int trial = 0; trial < 40; ++trial) {
        int const rows = 3 + static_cast<int>(random() % 12);
        auto const matrix = OptimizationTests::randomMatrix(random, rows, 0.0);
        std::vector<int> const groups = OptimizationTests::randomGroups(random, rows - 1);
        auto const lists = Kestrel::optimization::buildExclusionLists(groups, rows);
        // Group of each node: the index of the last boundary at or below it, -1 when ungrouped.
        auto groupOf = [&](int node) {
            int const item = node - 1;
            if (item < groups.front() || item >= groups.back()) {
                return -1;
            }
            int group = 0;
            while (groups[static_cast<std::size_t>(group) + 1] <= item) {
                ++group;
            }
            return group;
        };
        int const numberOfGroups = static_cast<int>(groups.size()) - 1;
        bool const hasUngrouped = groups.front() > 0 || groups.back() < rows - 1;
        int const distinctChoices = numberOfGroups + (hasUngrouped ? 1 : 0);

        HamiltonianPathMCGenerator generator(matrix, 193);
        Paths paths;
        int const pathLength = static_cast<int>(random() % static_cast<unsigned>(distinctChoices + 1));
        generator.generatePathsWithExclusions(60, paths, pathLength, lists);
        for (std::vector<int> const& path : paths) {
            ASSERT_EQ(static_cast<std::size_t>(pathLength), path.size());
            std::set<int> groupsSeen;
            for (int const node : path) {
                ASSERT_GT(node, 0) << "enough positive-weight nodes remain";
                ASSERT_TRUE(groupsSeen.insert(groupOf(node)).second) << "two nodes of one group";
            }
        }
    }
}

TEST(HamiltonianPathMCGenerator, ExclusionsExhaustedWriteNodeZero) {
    // Items 0 ... 3 in two groups {0, 1} and {2, 3}: a third step finds nothing available.
    std::vector<std::vector<double>> const matrix(5, std::vector<double>(4, 1.0));
    auto const lists = Kestrel::optimization::buildExclusionLists({0, 2, 4}, 5);
    HamiltonianPathMCGenerator generator(matrix, 193);
    Paths paths;
    generator.generatePathsWithExclusions(20, paths, 4, lists);
    for (std::vector<int> const& path : paths) {
        EXPECT_NE((path[0] - 1) / 2, (path[1] - 1) / 2);
        EXPECT_EQ(0, path[2]);
        EXPECT_EQ(0, path[3]);
    }
}

TEST(HamiltonianPathMCGenerator, PathLengthZeroGivesEmptySelections) {
    std::vector<std::vector<double>> const matrix(4, std::vector<double>(3, 1.0));
    HamiltonianPathMCGenerator generator(matrix, 193);
    Paths paths{{1, 2}};
    generator.generatePaths(7, paths, 0);
    EXPECT_EQ(Paths(7), paths);
}

TEST(HamiltonianPathMCGenerator, PathLengthZeroDrawsNothing) {
    std::vector<std::vector<double>> const matrix(4, std::vector<double>(3, 1.0));
    HamiltonianPathMCGenerator used(matrix, 193);
    HamiltonianPathMCGenerator fresh(matrix, 193);
    Paths paths;
    used.generatePaths(7, paths, 0);
    Paths afterEmpty;
    Paths expected;
    used.generatePaths(9, afterEmpty, 3);
    fresh.generatePaths(9, expected, 3);
    EXPECT_EQ(expected, afterEmpty);
}

TEST(HamiltonianPathMCGenerator, ZeroPathsReplaceEarlierContentByNothing) {
    std::vector<std::vector<double>> const matrix(4, std::vector<double>(3, 1.0));
    HamiltonianPathMCGenerator generator(matrix, 193);
    Paths paths{{1, 2}, {3}};
    generator.generatePaths(0, paths, 3);
    EXPECT_TRUE(paths.empty());
}

TEST(HamiltonianPathMCGenerator, EarlierContentIsReplaced) {
    std::vector<std::vector<double>> const matrix(4, std::vector<double>(3, 1.0));
    HamiltonianPathMCGenerator generator(matrix, 193);
    HamiltonianPathMCGenerator sameSeed(matrix, 193);
    Paths paths(12, std::vector<int>{9, 9, 9, 9, 9});
    Paths expected;
    generator.generatePaths(5, paths, 2);
    sameSeed.generatePaths(5, expected, 2);
    EXPECT_EQ(expected, paths);
}

TEST(HamiltonianPathMCGenerator, EngineContinuesAcrossCallsAndIsSharedByCopies) {
    std::mt19937 random(4);
    auto const matrix = OptimizationTests::randomMatrix(random, 7, 0.1);
    HamiltonianPathMCGenerator reference(matrix, 193);
    Paths firstHalf;
    Paths secondHalf;
    reference.generatePaths(10, firstHalf, 3);
    reference.generatePaths(10, secondHalf, 3);
    Paths whole;
    HamiltonianPathMCGenerator(matrix, 193).generatePaths(20, whole, 3);
    EXPECT_EQ(firstHalf, Paths(whole.begin(), whole.begin() + 10));
    EXPECT_EQ(secondHalf, Paths(whole.begin() + 10, whole.end()));

    HamiltonianPathMCGenerator original(matrix, 193);
    HamiltonianPathMCGenerator copy(original);
    Paths fromOriginal;
    Paths fromCopy;
    original.generatePaths(10, fromOriginal, 3);
    copy.generatePaths(10, fromCopy, 3);
    EXPECT_EQ(firstHalf, fromOriginal);
    EXPECT_EQ(secondHalf, fromCopy);
}

TEST(HamiltonianPathMCGenerator, LaterChangesOfTheMatrixDoNotReachTheGenerator) {
    std::vector<std::vector<double>> matrix(5, std::vector<double>(4, 1.0));
    HamiltonianPathMCGenerator generator(matrix, 193);
    HamiltonianPathMCGenerator sameSeed(matrix, 193);
    matrix[0] = {0.0, 0.0, 0.0, 1.0};
    Paths paths;
    Paths expected;
    generator.generatePaths(30, paths, 2);
    sameSeed.generatePaths(30, expected, 2);
    EXPECT_EQ(expected, paths);
}

}  // namespace
