// The margin proof.
//
// Notation: the short side of the matrix has m lines (rows of a wide matrix, columns of a tall one), all
// of which every assignment uses; C is the cost, u and v the dual values of the shortest-augmenting-path
// solution s, r = C - u - v the reduced costs (>= 0, 0 on s, v <= 0 and v = 0 on unused long-side lines).
//
// (1) Margin of s. For any other assignment t, cost(t) - cost(s) = sum_t r - sum_s r - (sum of v over the
//    long-side lines that s uses and t does not). The difference of t and s splits into alternating cycles
//    and alternating chains from a line unused by s to a line unused by t. Let w = (computed r) + delta0,
//    where delta0 >= the largest negative computed r; then exact r >= w - delta0 - delta on every edge,
//    with delta bounding the rounding of a computed reduced cost, and exact r <= mu + delta on s. So
//    cost(t) - cost(s) >= W - m * (delta0 + mu + 2 * delta), where W is the smallest weight of a cycle
//    (sum of w over its edges outside s) or chain (the same plus -v of the line given up) of t and s.
//    A cycle or chain lighter than theta uses only edges with w < theta: a bounded graph search over those
//    few edges decides whether one exists.
//
// (2) What the Munkres steps can return. Their working matrix D stays >= 0 and equals C - U - V + E, with
//    potentials U, V built from the subtracted minima and the adjustments h (V <= 0, and 0 on long-side
//    lines never starred) and E the accumulated rounding. Their result l has working values below
//    DBL_EPSILON at its zero tests, so cost(l) - cost(t) <= m * DBL_EPSILON + E_l + E_t for every t, where
//    E_a bounds the sum of |E| over the m cells of assignment a. To bound E_a:
//    - the dual objective of U, V never decreases, so at every moment the working values on the cells of
//      a sum to at most G_a + E_a, where G_a = cost(a) - L0 and L0 is the sum of the first reduction's
//      minima (one per short-side line);
//    - an adjustment by h rounds a cell of value x at most twice, by at most 1.01 DBL_EPSILON (x + h) in
//      all, and the first reduction by DBL_EPSILON / 2 times the reduced value;
//    - there are at most S = m (m + 1) / 2 adjustments (each covers a new line or augments), and their h
//      sum to H <= R + B, R the largest element and B a bound on any single cell's rounding (a line never
//      starred gains every h, and its dual cannot exceed an unstarred cell's cost);
//    so E_a <= (1.01 DBL_EPSILON (S G_a + m H) + DBL_EPSILON G_a / 2) / (1 - 1.01 DBL_EPSILON S), ignoring
//    the denormal terms added in the code. With G_l <= G_s + Z, Z = cost(l) - cost(s) solves to
//    Z <= (m DBL_EPSILON + 2 E_s) / (1 - a), a the coefficient of Z in E_l. B itself comes from the cruder
//    bound that every working value stays below 2R and every rounding below DBL_EPSILON (3R) / 2.
//
// With theta - m * (delta0 + mu + 2 * delta) above that bound on Z, any other assignment costs more than
// the steps' result can exceed the optimum, so the steps return s.
#include "UniqueOptimumSolver.h"

#include "LineScans.h"
#include "NearOptimumSearch.h"
#include "ShortestAugmentingPath.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>

namespace Kestrel::assignment {
namespace {

// Elements above this are left to the steps: 4R, and the search distances (sums of up to 2^32 reduced
// costs), must stay finite.
constexpr double kLargestElement = 1e280;
// Near-tight edges beyond this many per short-side line end the proof early: such matrices are full of
// near-ties and the steps decide anyway.
constexpr std::size_t kNearTightEdgesPerLine = 8;

// When more than one line in this many holds its minimum twice or more, the matrix is full of exact ties
// and the proof is not attempted (it would almost surely fail): the steps decide at once.
constexpr int kRepeatedMinimumShare = 8;

struct NearTightEdge {
    int line;    // short-side line
    int target;  // long-side line
    double weight;
};

NearOptimumGraph buildGraph(std::vector<NearTightEdge> const& edges, std::vector<int> const& columnOfRow,
                            std::vector<double> const& columnDual, int nShort, int nLong) {
    std::vector<int> rowOfColumn(nLong, -1);
    for (int row = 0; row < nShort; ++row)
        rowOfColumn[columnOfRow[row]] = row;

    NearOptimumGraph graph;
    graph.arcStart.assign(nShort + 1, 0);
    graph.freeWeight.assign(nShort, std::numeric_limits<double>::infinity());
    graph.releaseWeight.resize(nShort);
    for (int row = 0; row < nShort; ++row)
        graph.releaseWeight[row] = -columnDual[columnOfRow[row]];
    for (NearTightEdge const& edge : edges) {
        if (rowOfColumn[edge.target] >= 0)
            ++graph.arcStart[edge.line + 1];
        else
            graph.freeWeight[edge.line] = std::min(graph.freeWeight[edge.line], edge.weight);
    }
    for (int row = 0; row < nShort; ++row)
        graph.arcStart[row + 1] += graph.arcStart[row];
    graph.arcHead.resize(graph.arcStart[nShort]);
    graph.arcWeight.resize(graph.arcStart[nShort]);
    std::vector<int> fill(graph.arcStart.begin(), graph.arcStart.end() - 1);
    for (NearTightEdge const& edge : edges) {
        int const holder = rowOfColumn[edge.target];
        if (holder >= 0) {
            int const at = fill[edge.line]++;
            graph.arcHead[at] = holder;
            graph.arcWeight[at] = edge.weight;
        }
    }
    return graph;
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

    // The largest element, the sum L0 of the minima that the steps' first reduction subtracts, and how
    // many lines hold their minimum more than once.
    double largest = 0.0;
    double reducedTotal = 0.0;
    int linesWithRepeatedMinimum = 0;
    for (int line = 0; line < nShort; ++line) {
        double const* cost = lines[line];
        double lineMinimum = 0.0;
        double lineMaximum = 0.0;
        lineExtremes(cost, nLong, &lineMinimum, &lineMaximum);
        if (lineMinimum < 0.0)
            return UniqueOptimumOutcome::NotApplicable;
        int const minimumCount = countEqual(cost, nLong, lineMinimum);
        largest = std::max(largest, lineMaximum);
        reducedTotal += lineMinimum;
        linesWithRepeatedMinimum += minimumCount > 1;
        if (linesWithRepeatedMinimum > nShort / kRepeatedMinimumShare)
            return UniqueOptimumOutcome::NearTieFound;
    }
    double const m = nShort;
    double const adjustments = m * (m + 1.0) / 2.0;
    double const operationsPerElement = 1.0 + 2.0 * adjustments;
    if (largest > kLargestElement || operationsPerElement * eps > 0.1)
        return UniqueOptimumOutcome::NotApplicable;

    std::optional<DualSolution> const found = solveByShortestAugmentingPaths(lines.data(), nShort, nLong);
    if (!found)
        return UniqueOptimumOutcome::NotApplicable;
    DualSolution const& solution = *found;
    std::vector<int> const& columnOfRow = solution.columnOfRow;
    std::vector<double> const& u = solution.rowDual;
    std::vector<double> const& v = solution.columnDual;

    double largestRowDual = 0.0;
    double largestColumnDual = 0.0;
    for (double value : u)
        largestRowDual = std::max(largestRowDual, std::fabs(value));
    // The proof needs v <= 0 everywhere and v == 0 on the long-side lines the solution leaves unused.
    std::vector<char> used(nLong, 0);
    for (int col : columnOfRow)
        used[col] = 1;
    for (int k = 0; k < nLong; ++k) {
        if (!(v[k] <= 0.0) || (!used[k] && v[k] != 0.0))
            return UniqueOptimumOutcome::NearTieFound;
        largestColumnDual = std::max(largestColumnDual, -v[k]);
    }
    if (!std::isfinite(largestRowDual) || !std::isfinite(largestColumnDual))
        return UniqueOptimumOutcome::NearTieFound;

    // Bounds (2), then (1) (see the top of this file). delta0 is bounded in advance and
    // checked after the pass over all reduced costs.
    double optimumCost = 0.0;
    for (int line = 0; line < nShort; ++line)
        optimumCost += lines[line][columnOfRow[line]];
    double const gap =
        std::max(0.0, optimumCost - reducedTotal) + 2.0 * m * eps * (optimumCost + reducedTotal) + tiny;
    double const cellRounding = operationsPerElement * (eps * 1.5 * (2.0 * largest + eps) * 1.01 + tiny) /
                                (1.0 - 3.0 * operationsPerElement * eps);
    double const adjustmentTotal = 1.01 * largest + cellRounding;
    double const shrink = 1.0 - 1.01 * eps * adjustments;
    double const optimumRounding = (1.01 * eps * (adjustments * gap + m * adjustmentTotal) + 0.5 * eps * gap +
                                    operationsPerElement * m * tiny) /
                                   shrink;
    double const excessCoefficient = (1.01 * eps * adjustments + 0.5 * eps) / shrink;
    double const stepsSlack = (m * eps + 2.0 * optimumRounding) / (1.0 - excessCoefficient) * 1.01;
    double const delta = 2.0 * eps * (largest + largestRowDual + largestColumnDual) + 4.0 * tiny;
    double const delta0 = std::max(stepsSlack / m, 16.0 * delta);
    double mu = 0.0;
    for (int line = 0; line < nShort; ++line) {
        int const col = columnOfRow[line];
        mu = std::max(mu, std::fabs((lines[line][col] - u[line]) - v[col]));
    }
    double const theta = (stepsSlack + m * (delta0 + mu + 2.0 * delta)) * (1.0 + 1e-6) + tiny;
    // A sum of up to 2m weights computed in double stays below (1 + 2m DBL_EPSILON) times its exact value,
    // so every cycle or chain lighter than theta is computed lighter than this limit.
    double const limit = theta * (1.0 + 4.0 * m * eps);

    // Per line, a first pass finds the lowest reduced cost and counts those below the
    // limit; only when some edge besides the assigned one is below it does a second loop collect them.
    std::size_t const maxEdges = kNearTightEdgesPerLine * static_cast<std::size_t>(nShort) + 64;
    std::vector<NearTightEdge> edges;
    edges.reserve(maxEdges);
    double lowestReduced = 0.0;
    for (int line = 0; line < nShort; ++line) {
        double const* cost = lines[line];
        double const rowDual = u[line];
        double lineLowest = 0.0;
        int nBelow = 0;
        scanReducedCosts(cost, v.data(), rowDual, nLong, limit, &lineLowest, &nBelow);
        lowestReduced = std::min(lowestReduced, lineLowest);
        if (nBelow <= 1)
            continue;
        if (edges.size() + static_cast<std::size_t>(nBelow) > maxEdges + 1)
            return UniqueOptimumOutcome::NearTieFound;
        int const assigned = columnOfRow[line];
        for (int k = 0; k < nLong; ++k) {
            double const reduced = (cost[k] - rowDual) - v[k];
            if (reduced < limit && k != assigned)
                edges.push_back(NearTightEdge{line, k, reduced + delta0});
        }
    }
    if (-lowestReduced > delta0)
        return UniqueOptimumOutcome::NearTieFound;
    if (anotherAssignmentWithin(buildGraph(edges, columnOfRow, v, nShort, nLong), limit))
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
