// The choice of the number of groups from the best grouping found for every number of groups k = 1 ... n.
// Shared by every search that produces one best grouping per k, so that all of them pick k the same way.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace Kestrel::grouping {

// `bestValue[k]` and `bestStarts[k]` (k = 1 ... n, entry 0 unused) are the objective value and the 0-based
// starts of the best grouping into k groups; `isAcceptable` judges a grouping by its starts.
// Gains: gain[k] = bestValue[k - 1] - bestValue[k] for every k from the first admissible grouping on
// (k = 2 ... n; admissibility is asked only until the first admissible one), else 0, except that the finest
// grouping gets 1.0 when nothing before it is admissible. The number of groups is the one with the largest
// gain (the smallest k on ties, 0 when no gain is positive), then widened to the largest j up to
// min(2 k, n / 2 + 1) whose gain exceeds half of that first gain. Returns the chosen k (0 ... n).
// Requires: bestValue.size() == bestStarts.size() >= 1.
std::size_t chooseNumberOfGroups(std::vector<double> const& bestValue,
                                 std::vector<std::vector<int>> const& bestStarts,
                                 std::function<bool(std::vector<int> const&)> const& isAcceptable);

}  // namespace Kestrel::grouping
