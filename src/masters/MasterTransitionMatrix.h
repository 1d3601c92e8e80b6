// The starting transition matrix of the master search over n positions.
#pragma once

#include <cstddef>
#include <vector>

namespace Kestrel::masters {

// n + 1 rows of n entries. Row 0 is the distribution of the first position drawn: 1 / n everywhere. Row
// i >= 1 follows position i - 1: 1 / (n - 1) everywhere except column i - 1, which is 0, so a position
// never follows itself. 1 / (n - 1) is computed in double from the unsigned count, unguarded.
std::vector<std::vector<double>> buildMasterTransitionMatrix(std::size_t n);

}  // namespace Kestrel::masters
