// The fast route of the assignment solver: find the optimum by shortest augmenting paths, then prove from
// its dual values that no other assignment comes within a margin of it that covers every rounding error
// of the Munkres steps. Under that proof the Munkres steps return exactly this assignment, so it can be
// returned without running them.
#pragma once

#include "MatrixCheck.h"

#include <vector>

namespace Kestrel::assignment {

// Why the fast route did or did not apply; `Proved` is the only outcome that fills `assignment`.
enum class UniqueOptimumOutcome {
    Proved,         // the optimum is unique by the safe margin
    NotApplicable,  // negative or too large elements, or no rows or columns: the steps run
    NearTieFound,   // another assignment may come within the margin: the steps decide
};

// rowMajor is the caller's matrix, distMatrixIn its column-major copy (row + nRows * col indexing), which
// is read only for a matrix taller than wide and may be null otherwise; range is
// surveyMatrix(rowMajor).exactRange (ExactMunkresSteps.h), which the caller needs for its own choice of route
// too. On `Proved`, assignment[row] holds the column of each row (-1 for rows left out of a tall matrix),
// which is the assignment the Munkres steps produce for this matrix. Otherwise `assignment` is untouched.
UniqueOptimumOutcome findUniqueOptimum(std::vector<std::vector<double>> const& rowMajor,
                                       double const* distMatrixIn, MatrixShape shape, double range,
                                       int* assignment);

// The most short-side lines, of nOfLines, that may hold their minimum twice or more for the proof to be
// attempted (one in eight): with more the matrix is full of exact ties, and findUniqueOptimum returns
// NearTieFound at once (the steps decide). A caller that knows the count beforehand may skip the call, and
// what it prepares for it.
int mostLinesWithRepeatedMinimum(int nOfLines);

}  // namespace Kestrel::assignment
