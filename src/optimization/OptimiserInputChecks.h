// Checks of the optimiser's inputs that the walk and the matrix update rely on: a matrix of finite,
// non-negative weights with rows long enough for the update, and pre-group boundaries that describe
// groups of items. Each check costs one pass over its input and throws std::invalid_argument naming the
// offending argument, row, entry or value.
#pragma once

#include <string>
#include <vector>

namespace Kestrel::optimization {

// Requires of `matrix` (n rows): every row has at least n - 1 entries, every entry is finite and not
// negative, and every row's sum (in entry order) is finite. `what` names the matrix in the message, e.g.
// "optimize: the transition matrix". Throws std::invalid_argument.
void checkTransitionMatrix(std::vector<std::vector<double>> const& matrix, std::string const& what);

// Requires 0 <= smoothing <= 1: the update (1 - smoothing) * old + smoothing * frequency then keeps every
// weight finite and not negative.
void checkSmoothing(double smoothing);

// Requires of pre-group `boundaries` for a matrix of `rows` rows: strictly ascending, each within
// 0 ... rows - 1 (0-based items; the last boundary may be one past the last item). Throws
// std::invalid_argument naming the index and value of the first offending boundary.
void checkPreGroupBoundaries(std::vector<int> const& boundaries, int rows);

}  // namespace Kestrel::optimization
