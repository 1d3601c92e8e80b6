// Shortest-augmenting-path solver of the assignment problem with dual values, used to find (and then prove
// unique) the optimum of matrices without ties. Not a replacement for the Munkres steps: which optimum it
// returns among several equal ones is not defined.
#pragma once

#include <optional>
#include <vector>

namespace Kestrel::assignment {

// Optimal assignment of every row of a nRows x nCols problem (nRows <= nCols) to distinct columns, with
// the dual values it ends with: reduced costs cost(i, j) - rowDual[i] - columnDual[j] are >= 0 up to
// rounding, 0 on the assignment, every columnDual <= 0 and exactly 0 on columns left unassigned.
struct DualSolution {
    std::vector<int> columnOfRow;
    std::vector<double> rowDual;
    std::vector<double> columnDual;
};

// rows[i] points to the nCols costs of row i (contiguous). Requires nRows <= nCols, no NaN or -infinity,
// and an assignment of every row that avoids the +infinity costs (forbidden pairs). Costs may be negative.
// Returns nothing if the search distances overflow (costs near the largest double).
// Each row is added by one Dijkstra search over the columns in reduced costs: O(nRows * nCols) per row in
// the worst case, O(nRows^2 * nCols) in all. Working memory is O(nCols), allocated once.
std::optional<DualSolution> solveByShortestAugmentingPaths(double const* const* rows, int nRows, int nCols);

}  // namespace Kestrel::assignment
