// The margin proof.
//
// Notation: the short side of the matrix has m lines (rows of a wide matrix, columns of a tall one), all
// of which every assignment uses; C is the cost, u and v the dual values of the shortest-augmenting-path
// solution s, r = C - u - v the reduced costs (>= 0, 0 on s, v <= 0 and v = 0 on unused long-side lines).
//
// 1. Margin of s. For any other assignment t, cost(t) - cost(s) = sum_t r - sum_s r - sum of v over the
//    long-side lines that s uses and t does not. The difference of t and s splits into alternating
//    cycles and alternating paths from a line unused by s to a line unused by t. If no cycle and no such
//    path consists only of "tight" edges (computed reduced cost below theta + delta) ending at a line with
//    -v below theta, every part of every t contains an edge with exact reduced cost >= theta or ends at a
//    line with -v >= theta, so cost(t) - cost(s) >= theta - m * (delta0 + mu + 2 * delta), where delta
//    bounds the rounding of the computed reduced costs, delta0 their largest negative value and mu their
//    largest magnitude on s.
//
// 2. What the Munkres steps can return. Their working matrix stays >= 0 and equals C - U - V + E, with
//    potentials U, V built from the subtracted minima and the adjustments h (V <= 0, and 0 on long-side
//    lines never starred) and E the accumulated rounding. Their result l has working values below
//    DBL_EPSILON plus rounding, so cost(l) - cost(t) <= m * DBL_EPSILON + 2 * m * B for every t, where B
//    bounds |E|. With R the largest element, every working value stays below 2R (up to rounding; an
//    unstarred long-side line bounds the potentials), every operation's result below 4R, and there are at
//    most m (m + 1) / 2 adjustments (each covers a new line or augments), each rounding an element at most
//    twice: B <= 2 K (DBL_EPSILON (2R + DBL_EPSILON) 1.01 + denorm_min) with K = 1 + m (m + 1).
//
// Choosing theta - m * (delta0 + mu + 2 * delta) above m * DBL_EPSILON + 2 * m * B makes any other
// assignment cost more than the steps' result can exceed the optimum, so the steps return s.
#include "UniqueOptimumSolver.h"

#include "ShortestAugmentingPath.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <limits>

namespace Kestrel::assignment {
namespace {

// Elements above this are left to the steps: 4R must stay finite with room to spare.
constexpr double kLargestElement = 1e300;
// Tight edges beyond this many per short-side line end the proof early: such matrices are full of
// near-ties and the steps decide anyway.
constexpr std::size_t kTightEdgesPerLine = 4;

struct TightEdge {
    int line;    // short-side line
    int target;  // long-side line
};

// True when the tight edges close an alternating cycle, or form an alternating path from a long-side line
// unused by the solution to a used one whose dual is within theta of zero.
bool tightEdgesAllowAnotherOptimum(std::vector<TightEdge> const& tight, std::vector<int> const& columnOfRow,
                                   std::vector<double> const& columnDual, int nShort, int nLong,
                                   double theta) {
    std::vector<int> rowOfColumn(nLong, -1);
    for (int row = 0; row < nShort; ++row)
        rowOfColumn[columnOfRow[row]] = row;

    // Arc a -> b: line a can take the long-side line that b holds. Built as a compressed adjacency list.
    std::vector<int> arcStart(nShort + 1, 0);
    std::vector<char> reachesFree(nShort, 0);
    for (TightEdge const& edge : tight) {
        if (rowOfColumn[edge.target] >= 0)
            ++arcStart[edge.line + 1];
        else
            reachesFree[edge.line] = 1;
    }
    for (int row = 0; row < nShort; ++row)
        arcStart[row + 1] += arcStart[row];
    std::vector<int> arcHead(arcStart[nShort]);
    std::vector<int> fill(arcStart.begin(), arcStart.end() - 1);
    std::vector<int> inDegree(nShort, 0);
    for (TightEdge const& edge : tight) {
        int const holder = rowOfColumn[edge.target];
        if (holder >= 0) {
            arcHead[fill[edge.line]++] = holder;
            ++inDegree[holder];
        }
    }

    // A cycle exists exactly when repeatedly removing lines without incoming arcs leaves some behind.
    std::vector<int> queue;
    queue.reserve(nShort);
    for (int row = 0; row < nShort; ++row)
        if (inDegree[row] == 0)
            queue.push_back(row);
    for (std::size_t at = 0; at < queue.size(); ++at)
        for (int arc = arcStart[queue[at]]; arc < arcStart[queue[at] + 1]; ++arc)
            if (--inDegree[arcHead[arc]] == 0)
                queue.push_back(arcHead[arc]);
    if (static_cast<int>(queue.size()) != nShort)
        return true;

    // Without cycles the arcs are acyclic; `queue` is a topological order. Walking it backwards, a line
    // reaches a free long-side line if it has a tight edge to one or an arc to a line that does.
    for (auto it = queue.rbegin(); it != queue.rend(); ++it) {
        int const row = *it;
        for (int arc = arcStart[row]; arc < arcStart[row + 1] && !reachesFree[row]; ++arc)
            reachesFree[row] = reachesFree[arcHead[arc]];
        if (reachesFree[row] && -columnDual[columnOfRow[row]] < theta)
            return true;
    }
    return false;
}

}  // namespace

UniqueOptimumOutcome findUniqueOptimum(std::vector<std::vector<double>> const& rowMajor,
                                       double const* distMatrixIn, MatrixShape shape, int* assignment) {
    double const eps = DBL_EPSILON;
    double const tiny = std::numeric_limits<double>::denorm_min();
    bool const wide = shape.rows <= shape.columns;
    int const nShort = wide ? shape.rows : shape.columns;
    int const nLong = wide ? shape.columns : shape.rows;
    if (nShort == 0)
        return UniqueOptimumOutcome::NotApplicable;

    // Short-side lines as contiguous rows: the caller's rows, or the columns of the column-major copy.
    std::vector<double const*> lines(nShort);
    for (int line = 0; line < nShort; ++line)
        lines[line] = wide ? rowMajor[line].data() : distMatrixIn + static_cast<std::size_t>(nLong) * line;

    double largest = 0.0;
    for (int line = 0; line < nShort; ++line) {
        double const* cost = lines[line];
        for (int k = 0; k < nLong; ++k) {
            if (cost[k] < 0.0)
                return UniqueOptimumOutcome::NotApplicable;
            largest = std::max(largest, cost[k]);
        }
    }
    double const m = nShort;
    double const operationsPerElement = 1.0 + m * (m + 1.0);
    if (largest > kLargestElement || operationsPerElement * eps > 0.1)
        return UniqueOptimumOutcome::NotApplicable;

    DualSolution const solution = solveByShortestAugmentingPaths(lines.data(), nShort, nLong);
    std::vector<int> const& columnOfRow = solution.columnOfRow;
    std::vector<double> const& u = solution.rowDual;
    std::vector<double> const& v = solution.columnDual;

    double largestRowDual = 0.0;
    double largestColumnDual = 0.0;
    for (double value : u)
        largestRowDual = std::max(largestRowDual, std::fabs(value));
    for (double value : v) {
        if (!(value <= 0.0))
            return UniqueOptimumOutcome::NearTieFound;
        largestColumnDual = std::max(largestColumnDual, -value);
    }
    if (!std::isfinite(largestRowDual) || !std::isfinite(largestColumnDual))
        return UniqueOptimumOutcome::NearTieFound;

    // Bounds of part 2, then of part 1 (see the top of this file).
    double const stepsRounding = 2.0 * operationsPerElement * (eps * (2.0 * largest + eps) * 1.01 + tiny);
    double const stepsSlack = m * eps + 2.0 * m * stepsRounding;
    double const delta = 2.0 * eps * (largest + largestRowDual + largestColumnDual) + 4.0 * tiny;
    double const delta0Allowed = stepsSlack / m;
    double mu = 0.0;
    for (int line = 0; line < nShort; ++line) {
        int const col = columnOfRow[line];
        mu = std::max(mu, std::fabs((lines[line][col] - u[line]) - v[col]));
    }
    double const theta = (stepsSlack + m * (delta0Allowed + mu + 2.0 * delta)) * (1.0 + 1e-6) + tiny;
    double const tightBelow = theta + delta;

    std::vector<TightEdge> tight;
    std::size_t const maxTight = kTightEdgesPerLine * static_cast<std::size_t>(nShort) + 64;
    double lowestReduced = 0.0;
    for (int line = 0; line < nShort; ++line) {
        double const* cost = lines[line];
        double const rowDual = u[line];
        int const assigned = columnOfRow[line];
        for (int k = 0; k < nLong; ++k) {
            double const reduced = (cost[k] - rowDual) - v[k];
            lowestReduced = std::min(lowestReduced, reduced);
            if (reduced < tightBelow && k != assigned) {
                if (tight.size() == maxTight)
                    return UniqueOptimumOutcome::NearTieFound;
                tight.push_back(TightEdge{line, k});
            }
        }
    }
    if (-lowestReduced > delta0Allowed)
        return UniqueOptimumOutcome::NearTieFound;
    if (tightEdgesAllowAnotherOptimum(tight, columnOfRow, v, nShort, nLong, theta))
        return UniqueOptimumOutcome::NearTieFound;

    if (wide) {
        std::copy(columnOfRow.begin(), columnOfRow.end(), assignment);
    } else {
        std::fill(assignment, assignment + shape.rows, -1);
        for (int col = 0; col < nShort; ++col)
            assignment[columnOfRow[col]] = col;
    }
    return UniqueOptimumOutcome::Proved;
}

}  // namespace Kestrel::assignment
