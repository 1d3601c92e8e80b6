// Feasibility of a cost matrix with forbidden pairs: whether min(rows, columns) pairs can be assigned
// without using any +infinity element.
#pragma once

#include "MatrixCheck.h"

#include <vector>

namespace Kestrel::assignment {

// True when the finite elements of the row-major matrix hold a matching of min(rows, columns) pairs (no two
// in one row or one column). Requires the shape that surveyMatrix found for the matrix.
// Guarantees: O(E sqrt(V)) time over the E finite elements (Hopcroft-Karp), O(E) memory.
bool hasCompleteMatching(std::vector<std::vector<double>> const& rowMajor, MatrixShape shape);

}  // namespace Kestrel::assignment
