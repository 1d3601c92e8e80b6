// Search for an assignment that comes within a limit of a given optimum, among the few edges whose reduced
// cost is nearly zero. Part of the uniqueness proof of the fast assignment route.
#pragma once

#include <vector>

namespace Kestrel::assignment {

// Nodes are the short-side lines of the problem. Arc a -> b (weight >= 0) says that line a can take the
// long-side line that b holds at that extra reduced cost. freeWeight[a] is the smallest extra cost of line a
// taking a long-side line that nobody holds (+infinity if none is near), releaseWeight[a] the saving lost
// when the long-side line of a is given up (its dual value, negated).
struct NearOptimumGraph {
    std::vector<int> arcStart;  // arcs of node a: arcHead[arcStart[a] .. arcStart[a + 1])
    std::vector<int> arcHead;
    std::vector<double> arcWeight;
    std::vector<double> freeWeight;
    std::vector<double> releaseWeight;
};

// True when another assignment may lie within `limit` of the optimum: a cycle of arcs whose weights sum
// below `limit`, or a chain a -> ... -> b with releaseWeight[a] + arc weights + freeWeight[b] below it.
// Also true when the near-tight part of the graph is too entangled to search cheaply.
bool anotherAssignmentWithin(NearOptimumGraph const& graph, double limit);

}  // namespace Kestrel::assignment
