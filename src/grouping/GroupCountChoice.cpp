// The choice of the number of groups: the largest admissible improvement, widened by the half-gain rule.
#include "GroupCountChoice.h"

#include <algorithm>

namespace Kestrel::grouping {

namespace {

// Decrease of the objective from k-1 to k groups for k = 2 ... n, counted only from the first admissible
// grouping on; the finest grouping gets 1.0 when nothing is admissible before it.
std::vector<double> gains(std::vector<double> const& bestValue,
                          std::vector<std::vector<int>> const& bestStarts,
                          std::function<bool(std::vector<int> const&)> const& isAcceptable) {
    std::size_t const n = bestValue.size() - 1;
    std::vector<double> gain(n + 1, 0.0);
    bool acceptableFound = false;
    for (std::size_t k = 2; k <= n; ++k) {
        if (!acceptableFound && isAcceptable(bestStarts[k])) {
            acceptableFound = true;
        }
        if (acceptableFound) {
            gain[k] = bestValue[k - 1] - bestValue[k];
        } else if (k == n) {
            gain[k] = 1.0;
        }
    }
    return gain;
}

// The number of groups with the largest gain (the smallest on ties), then the largest number of groups up
// to min(2 kbest, n/2 + 1) whose gain still exceeds half of that first gain.
std::size_t largestWidenedGain(std::vector<double> const& gain) {
    int const n = static_cast<int>(gain.size()) - 1;
    int best = 0;
    for (int k = 1; k <= n; ++k) {
        if (gain[static_cast<std::size_t>(k)] > gain[static_cast<std::size_t>(best)]) {
            best = k;
        }
    }
    if (best >= 1 && n >= 2 && 2 * best - 2 <= n) {
        int const limit = std::min(2 * best, n / 2 + 1);
        double const threshold = 0.5 * gain[static_cast<std::size_t>(best)];
        int widened = best;
        for (int j = best + 1; j <= limit; ++j) {
            if (gain[static_cast<std::size_t>(j)] > threshold) {
                widened = j;
            }
        }
        best = widened;
    }
    return static_cast<std::size_t>(best);
}

}  // namespace

std::size_t chooseNumberOfGroups(std::vector<double> const& bestValue,
                                 std::vector<std::vector<int>> const& bestStarts,
                                 std::function<bool(std::vector<int> const&)> const& isAcceptable) {
    return largestWidenedGain(gains(bestValue, bestStarts, isAcceptable));
}

}  // namespace Kestrel::grouping
