// Successive shortest augmenting paths with row and column potentials: row by row, a Dijkstra search in
// reduced costs from the new row finds the cheapest way to reach an unassigned column, the potentials are
// moved by the search distances and the path is flipped.
#include "ShortestAugmentingPath.h"

#include <algorithm>
#include <limits>

namespace Kestrel::assignment {
namespace {

// Lowers the distance of every open column reachable more cheaply through `row`. Scanned columns carry
// +infinity in `blocked`, so their candidate never wins; the loop has no branches and, with the arrays
// declared unaliased (__restrict, understood by GCC, Clang and MSVC), vectorises.
void relaxFromRow(double const* __restrict cost, double offset, double row, double const* __restrict v,
                  double const* __restrict blocked, double* __restrict distance,
                  double* __restrict reachedFrom, int nCols) {
    for (int col = 0; col < nCols; ++col) {
        double const candidate = ((offset + cost[col]) - v[col]) + blocked[col];
        bool const better = candidate < distance[col];
        distance[col] = better ? candidate : distance[col];
        reachedFrom[col] = better ? row : reachedFrom[col];
    }
}

// Smallest distance among the open columns, in four interleaved chains so that it vectorises.
double lowestOpenDistance(double const* __restrict distance, double const* __restrict blocked, int nCols) {
    double const infinity = std::numeric_limits<double>::infinity();
    double lowest[4] = {infinity, infinity, infinity, infinity};
    int col = 0;
    for (; col + 4 <= nCols; col += 4)
        for (int lane = 0; lane < 4; ++lane) {
            double const value = distance[col + lane] + blocked[col + lane];
            lowest[lane] = value < lowest[lane] ? value : lowest[lane];
        }
    for (; col < nCols; ++col) {
        double const value = distance[col] + blocked[col];
        lowest[0] = value < lowest[0] ? value : lowest[0];
    }
    return std::min(std::min(lowest[0], lowest[1]), std::min(lowest[2], lowest[3]));
}

// Square problems start from the column minima as column duals (row duals 0), each column given to the
// first row holding its minimum when that row is still free: a dual-feasible start in which most rows
// are already assigned along tight edges, so that fewer and shorter searches remain.
void reduceColumns(double const* const* rows, int nRows, int nCols, std::vector<int>& columnOfRow,
                   std::vector<int>& rowOfColumn, std::vector<double>& v) {
    std::vector<int> lowestRow(nCols, 0);
    for (int col = 0; col < nCols; ++col)
        v[col] = rows[0][col];
    for (int row = 1; row < nRows; ++row) {
        double const* cost = rows[row];
        for (int col = 0; col < nCols; ++col) {
            bool const lower = cost[col] < v[col];
            v[col] = lower ? cost[col] : v[col];
            lowestRow[col] = lower ? row : lowestRow[col];
        }
    }
    for (int col = 0; col < nCols; ++col) {
        int const row = lowestRow[col];
        if (columnOfRow[row] < 0) {
            columnOfRow[row] = col;
            rowOfColumn[col] = row;
        }
    }
}

}  // namespace

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
    std::vector<double> distance(nCols);     // shortest reduced distance found to each column
    std::vector<double> reachedFrom(nCols);  // row from which each column was reached (as a double)
    std::vector<double> blocked(nCols);  // 0 for columns still open in this search, +infinity once scanned
    std::vector<int> scannedColumns;     // columns scanned in this search, in scan order
    std::vector<int> visitedRows;        // rows reached in this search, the start row first
    scannedColumns.reserve(nCols);
    visitedRows.reserve(nRows);

    if (nRows == nCols)
        reduceColumns(rows, nRows, nCols, columnOfRow, rowOfColumn, v);

    for (int startRow = 0; startRow < nRows; ++startRow) {
        if (columnOfRow[startRow] >= 0)
            continue;
        std::fill(distance.begin(), distance.end(), infinity);
        std::fill(blocked.begin(), blocked.end(), 0.0);
        scannedColumns.clear();
        visitedRows.clear();
        double reached = 0.0;  // distance of the column scanned last
        int row = startRow;
        int sink = -1;
        while (sink < 0) {
            visitedRows.push_back(row);
            relaxFromRow(rows[row], reached - u[row], static_cast<double>(row), v.data(), blocked.data(),
                         distance.data(), reachedFrom.data(), nCols);
            double const lowest = lowestOpenDistance(distance.data(), blocked.data(), nCols);
            if (!(lowest < infinity))
                return std::nullopt;
            int col = 0;
            while (distance[col] + blocked[col] != lowest)
                ++col;
            reached = lowest;
            blocked[col] = infinity;
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
            int const from = static_cast<int>(reachedFrom[col]);
            rowOfColumn[col] = from;
            int const previous = columnOfRow[from];
            columnOfRow[from] = col;
            if (from == startRow)
                break;
            col = previous;
        }
    }
    if (nRows == nCols) {
        // Shift the duals so that every column dual is <= 0; reduced costs are unchanged.
        double const shift = *std::max_element(v.begin(), v.end());
        for (double& value : v)
            value -= shift;
        for (double& value : u)
            value += shift;
    }
    return solution;
}

}  // namespace Kestrel::assignment
