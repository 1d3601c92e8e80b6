// Successive shortest augmenting paths with row and column potentials: row by row, a Dijkstra search in
// reduced costs from the new row finds the cheapest way to reach an unassigned column, the potentials are
// moved by the search distances and the path is flipped.
#include "ShortestAugmentingPath.h"

#include <limits>

namespace Kestrel::assignment {

std::optional<DualSolution> solveByShortestAugmentingPaths(double const* const* rows, int nRows, int nCols) {
    double const infinity = std::numeric_limits<double>::infinity();
    DualSolution solution;
    solution.columnOfRow.assign(nRows, -1);
    solution.rowDual.assign(nRows, 0.0);
    solution.columnDual.assign(nCols, 0.0);
    std::vector<int>& columnOfRow = solution.columnOfRow;
    std::vector<double>& u = solution.rowDual;
    std::vector<double>& v = solution.columnDual;

    std::vector<int> rowOfColumn(nCols, -1);
    std::vector<double> distance(nCols);  // shortest reduced distance found to each column
    std::vector<int> predecessor(nCols);  // row from which each column was reached
    std::vector<int> remaining(nCols);    // columns not yet scanned, unordered
    std::vector<int> scannedColumns;      // columns scanned in this search, in scan order
    std::vector<int> visitedRows;         // rows reached in this search, the start row first
    scannedColumns.reserve(nCols);
    visitedRows.reserve(nRows);

    for (int startRow = 0; startRow < nRows; ++startRow) {
        for (int col = 0; col < nCols; ++col) {
            remaining[col] = nCols - 1 - col;
            distance[col] = infinity;
        }
        scannedColumns.clear();
        visitedRows.clear();
        int nRemaining = nCols;
        double reached = 0.0;  // distance of the column scanned last
        int row = startRow;
        int sink = -1;
        while (sink < 0) {
            visitedRows.push_back(row);
            double const* cost = rows[row];
            double const offset = reached - u[row];
            double lowest = infinity;
            int lowestAt = -1;
            for (int at = 0; at < nRemaining; ++at) {
                int const col = remaining[at];
                double const candidate = offset + cost[col] - v[col];
                if (candidate < distance[col]) {
                    predecessor[col] = row;
                    distance[col] = candidate;
                }
                if (distance[col] < lowest || (distance[col] == lowest && rowOfColumn[col] < 0)) {
                    lowest = distance[col];
                    lowestAt = at;
                }
            }
            if (lowestAt < 0 || !(lowest < infinity))
                return std::nullopt;
            reached = lowest;
            int const col = remaining[lowestAt];
            remaining[lowestAt] = remaining[--nRemaining];
            scannedColumns.push_back(col);
            if (rowOfColumn[col] < 0)
                sink = col;
            else
                row = rowOfColumn[col];
        }

        u[startRow] += reached;
        for (std::size_t k = 1; k < visitedRows.size(); ++k) {
            int const visited = visitedRows[k];
            u[visited] += reached - distance[columnOfRow[visited]];
        }
        for (int col : scannedColumns)
            v[col] -= reached - distance[col];

        for (int col = sink;;) {
            int const from = predecessor[col];
            rowOfColumn[col] = from;
            int const previous = columnOfRow[from];
            columnOfRow[from] = col;
            if (from == startRow)
                break;
            col = previous;
        }
    }
    return solution;
}

}  // namespace Kestrel::assignment
