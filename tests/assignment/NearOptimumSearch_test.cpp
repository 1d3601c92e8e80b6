#include "NearOptimumSearch.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>
#include <vector>

namespace {

using Kestrel::assignment::NearOptimumGraph;

double const kNone = std::numeric_limits<double>::infinity();

// Graph over `nNodes` lines from (tail, head, weight) arcs; no free lines, nothing lost on release.
NearOptimumGraph graphOf(int nNodes, std::vector<std::tuple<int, int, double>> const& arcs) {
    NearOptimumGraph graph;
    graph.arcStart.assign(nNodes + 1, 0);
    for (auto const& [tail, head, weight] : arcs) {
        ++graph.arcStart[tail + 1];
    }
    for (int node = 0; node < nNodes; ++node) {
        graph.arcStart[node + 1] += graph.arcStart[node];
    }
    graph.arcHead.resize(arcs.size());
    graph.arcWeight.resize(arcs.size());
    std::vector<int> fill(graph.arcStart.begin(), graph.arcStart.end() - 1);
    for (auto const& [tail, head, weight] : arcs) {
        graph.arcHead[fill[tail]] = head;
        graph.arcWeight[fill[tail]++] = weight;
    }
    graph.freeWeight.assign(nNodes, kNone);
    graph.releaseWeight.assign(nNodes, 0.0);
    return graph;
}

TEST(NearOptimumSearch, AcyclicArcsWithoutFreeLinesAllowNoOtherAssignment) {
    NearOptimumGraph const graph = graphOf(4, {{0, 1, 0.0}, {1, 2, 0.0}, {0, 2, 0.0}, {3, 2, 0.0}});
    EXPECT_FALSE(Kestrel::assignment::anotherAssignmentWithin(graph, 1.0));
}

TEST(NearOptimumSearch, CycleLighterThanTheLimitIsFound) {
    NearOptimumGraph const graph = graphOf(4, {{0, 1, 0.25}, {1, 2, 0.0}, {2, 0, 0.5}, {3, 0, 0.0}});
    EXPECT_TRUE(Kestrel::assignment::anotherAssignmentWithin(graph, 1.0));
}

TEST(NearOptimumSearch, CycleAtOrAboveTheLimitIsNotCounted) {
    NearOptimumGraph const graph = graphOf(3, {{0, 1, 0.5}, {1, 2, 0.25}, {2, 0, 0.25}});
    EXPECT_FALSE(Kestrel::assignment::anotherAssignmentWithin(graph, 1.0));
}

TEST(NearOptimumSearch, LightCycleInsideALargerComponentIsFound) {
    // 0 -> 1 -> 2 -> 0 weighs 1.5, but 1 -> 3 -> 1 weighs 0.5.
    NearOptimumGraph const graph =
        graphOf(4, {{0, 1, 0.5}, {1, 2, 0.5}, {2, 0, 0.5}, {1, 3, 0.25}, {3, 1, 0.25}});
    EXPECT_TRUE(Kestrel::assignment::anotherAssignmentWithin(graph, 1.0));
}

TEST(NearOptimumSearch, ChainToAFreeLineCountsTheReleaseOfItsFirstLine) {
    // Line 2 may take a free line (0.25); line 0 may take line 1's, line 1 may take line 2's (0.25 each).
    NearOptimumGraph graph = graphOf(3, {{0, 1, 0.25}, {1, 2, 0.25}});
    graph.freeWeight[2] = 0.25;
    graph.releaseWeight = {0.5, 5.0, 5.0};
    EXPECT_FALSE(Kestrel::assignment::anotherAssignmentWithin(graph, 1.25));
    EXPECT_TRUE(Kestrel::assignment::anotherAssignmentWithin(graph, 1.3));
}

TEST(NearOptimumSearch, DirectMoveToAFreeLineIsAChainOfOneLine) {
    NearOptimumGraph graph = graphOf(2, {});
    graph.freeWeight[1] = 0.125;
    graph.releaseWeight = {0.0, 0.25};
    EXPECT_TRUE(Kestrel::assignment::anotherAssignmentWithin(graph, 0.5));
    EXPECT_FALSE(Kestrel::assignment::anotherAssignmentWithin(graph, 0.375));
}

}  // namespace
