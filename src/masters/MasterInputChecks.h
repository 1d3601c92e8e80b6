// Checks of the inputs of the drawbead toy model and the master optimisers that their computations rely
// on. Each costs at most one pass over its input and throws std::invalid_argument naming the argument and
// the offending index or value.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace Kestrel::masters {

// One (minimum, maximum) pair per segment; every segment length and transition length finite and not
// negative.
void checkToyModelLine(std::vector<double> const& segmentLengths,
                       std::vector<std::pair<double, double>> const& minMaxData,
                       std::vector<double> const& transitionLengths);

// 0 <= index < n; `where` names the operation and the argument, e.g. "DrawbeadToyModel::distance: from".
void checkSegmentIndex(char const* where, int index, std::size_t n);

// Pre-group boundaries over n positions: strictly ascending within 0 ... n, and at least `masters` groups
// to take them from (the positions outside every group count as one more group).
void checkMasterPreGroups(std::vector<int> const& preGroups, std::size_t n, int masters);

// Masters of an interpolation over n positions: strictly ascending within 0 ... n - 1, one value each.
void checkInterpolationMasters(std::vector<int> const& masterIndices, std::vector<double> const& masterValues,
                               std::size_t n);

// Every length positive: a master on a zero-length segment scores NaN, so no search can rank it.
void checkSearchableLengths(std::vector<double> const& lengths);

}  // namespace Kestrel::masters
