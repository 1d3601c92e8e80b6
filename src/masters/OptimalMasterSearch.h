// Exact search for the master positions with the smallest toy-model score.
#pragma once

#include <functional>
#include <vector>

namespace Kestrel {

// The score of m ascending masters p0 < ... < p(m-1) is a constant plus the sum of 1 / fullDistance over
// consecutive masters (and from the last back to the first on a closed line) minus a weight times the sum
// of the masters' lengths, so it decomposes into one term per master and one per consecutive pair. The
// search is a dynamic programme over the masters from the last to the first (per first master on a closed
// line); the positions are then read forwards, each the smallest one whose best completion stays within a
// relative 1e-13 of the optimum.
struct MasterSearchLine {
    std::vector<double> lengths;  // per position; positions of length 0 can never be masters
    std::vector<int> group;  // per position: its pre-group, or -1 outside every group (at most one master)
    bool closed = false;
    double lengthWeight = 0.0;  // (c * 0.125) / L^2: how much a unit of master length lowers the score
    double constant = 0.0;  // L * lengthWeight, the score's part that no choice changes (for the tolerance)
};

// The lexicographically smallest ascending choice of `masters` positions (among those the search finds
// equal) with the smallest score; empty when no choice is admissible (too few positions of non-zero length,
// or too few groups). `reciprocal(from, to)` is 1 / fullDistance(from, to). Deterministic for any number of
// OpenMP threads. Cost: O(m n^2) open, O(m n^3 / 3) closed.
std::vector<int> optimalMasterPositions(MasterSearchLine const& line, int masters,
                                        std::vector<double> const& reciprocal);

}  // namespace Kestrel
