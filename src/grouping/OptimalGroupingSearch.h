// Exact searches for the best division of a line into k consecutive groups, one per dispersion measure.
//
// Both searches return, for every number of groups k in a range, the 0-based group starts of a grouping
// whose objective is the smallest over all groupings into k groups (open line: the first group starts at
// segment 0; closed line: the groups may start anywhere and the last one wraps to the first start). Among
// the groupings they find equal they return the lexicographically smallest starts. The caller evaluates
// the returned starts with the grouper's own objective. Deterministic for any number of OpenMP threads.
#pragma once

#include <vector>

namespace Kestrel {

// Largest group range. The optimum is one of the O(n^2) group ranges: for every k a binary search over
// them, each step a greedy cover of the line by groups no wider than the candidate range. Ranges are exact
// (a largest minus a smallest value), so the optimum and the tie-break are exact. Returns a vector of
// lastCount + 1 entries; entry k for k = firstCount ... lastCount holds the starts, the others are empty.
// Cost: O(n^2 log n) time and O(n^2) memory for all k. Requires 2 <= firstCount <= lastCount <= n and
// finite values.
std::vector<std::vector<int>> optimalMinMaxStarts(std::vector<double> const& values, bool closed,
                                                  int firstCount, int lastCount);

// Segment-weighted sum of the group variances, by dynamic programming over the group starts with every
// group's count * variance tabulated exactly as the objective computes it. Groupings within a relative
// 1e-13 of the optimum count as equal, so that rounding never hides a lexicographically smaller optimum.
// Same result layout as optimalMinMaxStarts. Cost: open line O(n^3 / 6) time for all k (O(k n^2) for
// groupings into at most k groups) and O(n^2) memory; closed line, one such search per first start,
// O(n^4 / 24) time.
std::vector<std::vector<int>> optimalVarianceStarts(std::vector<double> const& values, bool closed,
                                                    int firstCount, int lastCount);

}  // namespace Kestrel
