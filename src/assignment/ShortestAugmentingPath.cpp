// Successive shortest augmenting paths with row and column potentials: row by row, a Dijkstra search in
// reduced costs from the new row finds the cheapest way to reach an unassigned column, the potentials are
// moved by the search distances and the path is flipped.
#include "ShortestAugmentingPath.h"

#include <algorithm>
#include <limits>

#include "InstructionSets.h"

#if KESTREL_USE_SSE2
#include <emmintrin.h>
#endif

namespace Kestrel::assignment {
namespace {

// Lowers the distance of every open column reachable more cheaply through `row` and returns the smallest
// distance among the open columns (distance + blocked) afterwards. Scanned columns carry +infinity in
// `blocked`, so their candidate never wins and they never hold the smallest. The loop has no branches;
// with SSE2 (every x86-64 processor) two columns go per instruction, with the same operations in the same
// order as the plain loop (the smallest of a set does not depend on the order in which it is taken).
double relaxFromRow(double const* cost, double offset, double row, double const* v, double const* blocked,
                    double* distance, double* reachedFrom, int nCols) {
    double lowest = std::numeric_limits<double>::infinity();
    int col = 0;
#if KESTREL_USE_SSE2
    __m128d const offsets = _mm_set1_pd(offset);
    __m128d const rows = _mm_set1_pd(row);
    __m128d lowests = _mm_set1_pd(lowest);
    for (; col + 2 <= nCols; col += 2) {
        __m128d const blocks = _mm_loadu_pd(blocked + col);
        __m128d const candidate = _mm_add_pd(
            _mm_sub_pd(_mm_add_pd(offsets, _mm_loadu_pd(cost + col)), _mm_loadu_pd(v + col)), blocks);
        __m128d const current = _mm_loadu_pd(distance + col);
        __m128d const better = _mm_cmplt_pd(candidate, current);
        __m128d const updated = _mm_or_pd(_mm_and_pd(better, candidate), _mm_andnot_pd(better, current));
        _mm_storeu_pd(distance + col, updated);
        __m128d const from = _mm_loadu_pd(reachedFrom + col);
        _mm_storeu_pd(reachedFrom + col, _mm_or_pd(_mm_and_pd(better, rows), _mm_andnot_pd(better, from)));
        lowests = _mm_min_pd(_mm_add_pd(updated, blocks), lowests);
    }
    double pair[2];
    _mm_storeu_pd(pair, lowests);
    lowest = std::min(pair[0], pair[1]);
#endif
    for (; col < nCols; ++col) {
        double const candidate = ((offset + cost[col]) - v[col]) + blocked[col];
        if (candidate < distance[col]) {
            distance[col] = candidate;
            reachedFrom[col] = row;
        }
        lowest = std::min(lowest, distance[col] + blocked[col]);
    }
    return lowest;
}

// Square problems start from the column minima as column duals (row duals 0), each column given to the
// first row holding its minimum when that row is still free: a dual-feasible start in which most rows
// are already assigned along tight edges, so that fewer and shorter searches remain.
void reduceColumns(double const* const* rows, int nRows, int nCols, std::vector<int>& columnOfRow,
                   std::vector<int>& rowOfColumn, std::vector<double>& v) {
    std::vector<int> lowestRow(nCols, 0);
    for (int col = 0; col < nCols; ++col) {
        v[col] = rows[0][col];
    }
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

    // Dual-feasible start, so that every reduced cost the searches meet is >= 0 whatever the sign of the
    // costs: square problems start from the column minima, the others from each row's minimum.
    if (nRows == nCols) {
        reduceColumns(rows, nRows, nCols, columnOfRow, rowOfColumn, v);
    } else {
        for (int row = 0; row < nRows; ++row) {
            u[row] = *std::min_element(rows[row], rows[row] + nCols);
        }
    }

    for (int startRow = 0; startRow < nRows; ++startRow) {
        if (columnOfRow[startRow] >= 0) {
            continue;
        }
        std::fill(distance.begin(), distance.end(), infinity);
        std::fill(blocked.begin(), blocked.end(), 0.0);
        scannedColumns.clear();
        visitedRows.clear();
        double reached = 0.0;  // distance of the column scanned last
        int row = startRow;
        int sink = -1;
        while (sink < 0) {
            visitedRows.push_back(row);
            double const lowest =
                relaxFromRow(rows[row], reached - u[row], static_cast<double>(row), v.data(), blocked.data(),
                             distance.data(), reachedFrom.data(), nCols);
            if (!(lowest < infinity)) {
                return std::nullopt;
            }
            int col = 0;
            while (distance[col] + blocked[col] != lowest) {
                ++col;
            }
            reached = lowest;
            blocked[col] = infinity;
            scannedColumns.push_back(col);
            if (rowOfColumn[col] < 0) {
                sink = col;
            } else {
                row = rowOfColumn[col];
            }
        }

        u[startRow] += reached;
        for (std::size_t k = 1; k < visitedRows.size(); ++k) {
            int const visited = visitedRows[k];
            u[visited] += reached - distance[columnOfRow[visited]];
        }
        for (int col : scannedColumns) {
            v[col] -= reached - distance[col];
        }

        for (int col = sink;;) {
            int const from = static_cast<int>(reachedFrom[col]);
            rowOfColumn[col] = from;
            int const previous = columnOfRow[from];
            columnOfRow[from] = col;
            if (from == startRow) {
                break;
            }
            col = previous;
        }
    }
    if (nRows == nCols) {
        // Shift the duals so that every column dual is <= 0; reduced costs are unchanged.
        double const shift = *std::max_element(v.begin(), v.end());
        for (double& value : v) {
            value -= shift;
        }
        for (double& value : u) {
            value += shift;
        }
    }
    return solution;
}

}  // namespace Kestrel::assignment
