// The margin proof.
//
// Notation: the short side of the matrix has m lines (rows of a wide matrix, columns of a tall one), all
// of which every assignment uses; C is the cost (negative values allowed, +infinity for a forbidden pair,
// which no assignment considered here uses), u and v the dual values of the shortest-augmenting-path
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
//    few edges decides whether one exists. Forbidden pairs have w = +infinity and never take part.
//
// (2) What the Munkres steps can return. Their working matrix D stays >= 0 and equals C - U - V + E, with
//    potentials U, V built from the subtracted minima and the adjustments h (V <= 0, and 0 on long-side
//    lines never starred) and E the accumulated rounding. Let R be the largest span (largest minus
//    smallest finite cost) of a short-side line: the first reduction subtracts each line's minimum, so the
//    finite working values start in [0, R] whatever the sign of C. Their result l has working values below
//    DBL_EPSILON at its zero tests, so cost(l) - cost(t) <= m * DBL_EPSILON + E_l + E_t for every t, where
//    E_a bounds the sum of |E| over the m cells of assignment a. To bound E_a:
//    - the dual objective of U, V never decreases, so at every moment the working values on the cells of
//      a sum to at most G_a + E_a, where G_a = cost(a) - L0 and L0 is the sum of the first reduction's
//      minima (one per short-side line);
//    - an adjustment by h rounds a cell of value x at most twice, by at most 1.01 DBL_EPSILON (x + h) in
//      all, and the first reduction by DBL_EPSILON / 2 times the reduced value;
//    - there are at most S = m (m + 1) / 2 adjustments (each covers a new line or augments), and their h
//      sum to H <= K (R + B), B a bound on any single cell's rounding. K = 1 when every short-side line
//      holds at least m finite costs: at each adjustment a short-side line never starred (hence never
//      covered) meets a long-side line never starred (hence never covered, so it lost every h) at a finite
//      cell, whose working value C - minimum - H stays >= -B. K = m for a square matrix with forbidden
//      pairs: each adjustment raises the dual objective by h times (m - number of covered lines) >= h, and
//      the objective cannot pass cost(l) + E_l, so H <= G_l + E_l <= m (R + B). Other matrices with
//      forbidden pairs are left to the steps;
//    so E_a <= (1.01 DBL_EPSILON (S G_a + m H) + DBL_EPSILON G_a / 2) / (1 - 1.01 DBL_EPSILON S), ignoring
//    the denormal terms added in the code. With G_l <= G_s + Z, Z = cost(l) - cost(s) solves to
//    Z <= (m DBL_EPSILON + 2 E_s) / (1 - a), a the coefficient of Z in E_l. B itself comes from the cruder
//    bound that every working value stays below (K + 1) (R + B) and every rounding below DBL_EPSILON times
//    1.5 such values.
//
// (3) Exact matrices. When every finite cost is a multiple of one power of two 2^e with e >= -52 and
//    (2 K + 1) R < 2^(52 + e) (the bound of exactRange), B = 0 above: the working values start in [0, R],
//    H <= K R, and every value the steps form stays below R + 2 H, so every one of them is exact, and a
//    non-zero working value is at least 2^e >= DBL_EPSILON, so the zero test finds exact zeros only. Then
//    E = 0 and the steps' result has working value 0 on each of its cells: it is an exact optimum, Z = 0.
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

constexpr double kEps = DBL_EPSILON;
// Added to every bound that a chain of roundings feeds, so that results in the subnormal range (where the
// relative error bounds do not hold) still stay covered.
constexpr double kTiny = std::numeric_limits<double>::denorm_min();

// Costs above this are left to the steps: the working values (up to 2 (K + 1) R) and the search distances
// (sums of up to 2^32 reduced costs) must stay finite.
constexpr double kLargestCost = 1e280;
// Near-tight edges beyond this many per short-side line end the proof early: such matrices are full of
// near-ties and the steps decide anyway.
constexpr std::size_t kNearTightEdgesPerLine = 8;

// The short side of the matrix as m contiguous lines of nLong costs: the caller's rows, or the columns of
// the column-major copy.
struct ShortSide {
    std::vector<double const*> lines;
    int m = 0;
    int nLong = 0;
    bool wide = true;
};

ShortSide shortSideOf(std::vector<std::vector<double>> const& rowMajor, double const* distMatrixIn,
                      MatrixShape shape) {
    ShortSide side;
    side.wide = shape.rows <= shape.columns;
    side.m = side.wide ? shape.rows : shape.columns;
    side.nLong = side.wide ? shape.columns : shape.rows;
    side.lines.resize(side.m);
    for (int line = 0; line < side.m; ++line) {
        side.lines[line] =
            side.wide ? rowMajor[line].data() : distMatrixIn + static_cast<std::size_t>(side.nLong) * line;
    }
    return side;
}

// What the bounds need of C before the optimum is known.
struct LineSummary {
    double R = 0.0;            // largest span of a short-side line over its finite costs
    double largestCost = 0.0;  // largest finite |C|
    double L0 = 0.0;           // sum of the line minima that the steps' first reduction subtracts
    double L0Magnitude = 0.0;  // sum of their magnitudes, which bounds the rounding of L0
    int fewestFinite = 0;      // fewest finite costs on one short-side line
};

// Smallest and largest finite value and the number of finite values of a line with forbidden pairs.
void finiteExtremes(double const* cost, int n, double* minimum, double* maximum, int* nFinite) {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();
    int count = 0;
    for (int k = 0; k < n; ++k) {
        if (cost[k] < std::numeric_limits<double>::infinity()) {
            low = std::min(low, cost[k]);
            high = std::max(high, cost[k]);
            ++count;
        }
    }
    *minimum = low;
    *maximum = high;
    *nFinite = count;
}

// The summary, or nothing when too many lines hold their minimum more than once (a matrix of exact ties).
std::optional<LineSummary> summarizeLines(ShortSide const& side, bool forbiddenPairs) {
    LineSummary summary;
    summary.fewestFinite = side.nLong;
    int linesWithRepeatedMinimum = 0;
    for (int line = 0; line < side.m; ++line) {
        double const* cost = side.lines[line];
        double lineMinimum = 0.0;
        double lineMaximum = 0.0;
        if (forbiddenPairs) {
            int nFinite = 0;
            finiteExtremes(cost, side.nLong, &lineMinimum, &lineMaximum, &nFinite);
            summary.fewestFinite = std::min(summary.fewestFinite, nFinite);
        } else {
            lineExtremes(cost, side.nLong, &lineMinimum, &lineMaximum);
        }
        linesWithRepeatedMinimum += countEqual(cost, side.nLong, lineMinimum) > 1;
        if (linesWithRepeatedMinimum > mostLinesWithRepeatedMinimum(side.m)) {
            return std::nullopt;
        }
        summary.R = std::max(summary.R, lineMaximum - lineMinimum);
        summary.largestCost = std::max({summary.largestCost, std::fabs(lineMinimum), std::fabs(lineMaximum)});
        summary.L0 += lineMinimum;
        summary.L0Magnitude += std::fabs(lineMinimum);
    }
    return summary;
}

// Part (2): the bound on Z = cost(l) - cost(s), the most by which the steps' result can exceed the
// optimum s. G_s is cost(s) - L0, K the factor of the bound on H.
double stepsSlack(double m, LineSummary const& summary, double G_s, double K) {
    double const S = m * (m + 1.0) / 2.0;
    // Each cell is rounded once by the first reduction and at most twice per adjustment.
    double const operationsPerElement = 1.0 + 2.0 * S;
    double const B = operationsPerElement * (kEps * 1.5 * ((K + 1.0) * summary.R + kEps) * 1.01 + kTiny) /
                     (1.0 - 3.0 * (K + 1.0) * operationsPerElement * kEps);
    double const H = K * (1.01 * summary.R + B);
    double const shrink = 1.0 - 1.01 * kEps * S;
    double const E_s =
        (1.01 * kEps * (S * G_s + m * H) + 0.5 * kEps * G_s + operationsPerElement * m * kTiny) / shrink;
    double const a = (1.01 * kEps * S + 0.5 * kEps) / shrink;
    // The last factor covers the rounding of this very computation.
    return (m * kEps + 2.0 * E_s) / (1.0 - a) * 1.01;
}

// Part (3): whether every value the steps form is exact, given the matrix's exactRange. The span R is exact
// on the grid, and the factor covers the rounding of the product.
bool stepsAreExact(double range, LineSummary const& summary, double K) {
    return range > 0.0 && (2.0 * K + 1.0) * summary.R * (1.0 + 1e-9) < range;
}

// Part (1): the rounding of reduced costs (delta), the allowance for negative computed ones (delta0) and the
// search limit below which a cycle or chain weight could hide an assignment within the steps' slack.
struct Margin {
    double delta = 0.0;
    double delta0 = 0.0;
    double limit = 0.0;
};

Margin marginFor(ShortSide const& side, LineSummary const& summary, DualSolution const& solution, double Z) {
    std::vector<int> const& s = solution.columnOfRow;
    std::vector<double> const& u = solution.rowDual;
    std::vector<double> const& v = solution.columnDual;
    double const m = side.m;
    double largestU = 0.0;
    for (double const value : u) {
        largestU = std::max(largestU, std::fabs(value));
    }
    double largestV = 0.0;
    for (double const value : v) {
        largestV = std::max(largestV, -value);
    }
    Margin margin;
    // A reduced cost (C - u) - v is two subtractions of values bounded by these magnitudes.
    margin.delta = 2.0 * kEps * (summary.largestCost + largestU + largestV) + 4.0 * kTiny;
    // Bounded in advance (the slack spread over the m lines, or a multiple of delta) and checked against the
    // computed reduced costs afterwards.
    margin.delta0 = std::max(Z / m, 16.0 * margin.delta);
    double mu = 0.0;
    for (int line = 0; line < side.m; ++line) {
        int const col = s[line];
        mu = std::max(mu, std::fabs((side.lines[line][col] - u[line]) - v[col]));
    }
    // The relative factor and kTiny keep theta strictly above the bound after its own rounding.
    double const theta = (Z + m * (margin.delta0 + mu + 2.0 * margin.delta)) * (1.0 + 1e-6) + kTiny;
    // A sum of up to 2m weights computed in double stays below (1 + 2m DBL_EPSILON) times its exact value,
    // so every cycle or chain lighter than theta is computed lighter than this limit.
    margin.limit = theta * (1.0 + 4.0 * m * kEps);
    return margin;
}

struct NearTightEdge {
    int line;    // short-side line
    int target;  // long-side line
    double w;    // reduced cost + delta0
};

// The edges with reduced cost below the limit, other than those of s. Per line, a first pass finds the
// lowest reduced cost and counts those below the limit; only when some edge besides the assigned one is
// below it does a second loop collect them. Nothing when there are too many, or when a computed reduced
// cost is more negative than delta0 allows.
std::optional<std::vector<NearTightEdge>> collectNearTightEdges(ShortSide const& side,
                                                                DualSolution const& solution,
                                                                Margin const& margin) {
    std::vector<double> const& v = solution.columnDual;
    std::size_t const maxEdges = kNearTightEdgesPerLine * static_cast<std::size_t>(side.m) + 64;
    std::vector<NearTightEdge> edges;
    edges.reserve(maxEdges);
    double lowestReduced = 0.0;
    for (int line = 0; line < side.m; ++line) {
        double const* cost = side.lines[line];
        double const u = solution.rowDual[line];
        double lineLowest = 0.0;
        int nBelow = 0;
        scanReducedCosts(cost, v.data(), u, side.nLong, margin.limit, &lineLowest, &nBelow);
        lowestReduced = std::min(lowestReduced, lineLowest);
        if (nBelow <= 1) {
            continue;
        }
        if (edges.size() + static_cast<std::size_t>(nBelow) > maxEdges + 1) {
            return std::nullopt;
        }
        int const assigned = solution.columnOfRow[line];
        for (int k = 0; k < side.nLong; ++k) {
            double const reduced = (cost[k] - u) - v[k];
            if (reduced < margin.limit && k != assigned) {
                edges.push_back(NearTightEdge{line, k, reduced + margin.delta0});
            }
        }
    }
    if (-lowestReduced > margin.delta0) {
        return std::nullopt;
    }
    return edges;
}

NearOptimumGraph buildGraph(std::vector<NearTightEdge> const& edges, std::vector<int> const& columnOfRow,
                            std::vector<double> const& columnDual, int nShort, int nLong) {
    std::vector<int> rowOfColumn(nLong, -1);
    for (int row = 0; row < nShort; ++row) {
        rowOfColumn[columnOfRow[row]] = row;
    }

    NearOptimumGraph graph;
    graph.arcStart.assign(nShort + 1, 0);
    graph.freeWeight.assign(nShort, std::numeric_limits<double>::infinity());
    graph.releaseWeight.resize(nShort);
    for (int row = 0; row < nShort; ++row) {
        graph.releaseWeight[row] = -columnDual[columnOfRow[row]];
    }
    for (NearTightEdge const& edge : edges) {
        if (rowOfColumn[edge.target] >= 0) {
            ++graph.arcStart[edge.line + 1];
        } else {
            graph.freeWeight[edge.line] = std::min(graph.freeWeight[edge.line], edge.w);
        }
    }
    for (int row = 0; row < nShort; ++row) {
        graph.arcStart[row + 1] += graph.arcStart[row];
    }
    graph.arcHead.resize(graph.arcStart[nShort]);
    graph.arcWeight.resize(graph.arcStart[nShort]);
    std::vector<int> fill(graph.arcStart.begin(), graph.arcStart.end() - 1);
    for (NearTightEdge const& edge : edges) {
        int const holder = rowOfColumn[edge.target];
        if (holder >= 0) {
            int const at = fill[edge.line]++;
            graph.arcHead[at] = holder;
            graph.arcWeight[at] = edge.w;
        }
    }
    return graph;
}

// The proof needs v <= 0 everywhere, v == 0 on the long-side lines s leaves unused, and finite duals.
bool dualsHaveTheProvedForm(DualSolution const& solution, int nLong) {
    std::vector<char> used(nLong, 0);
    for (int const col : solution.columnOfRow) {
        used[col] = 1;
    }
    for (int k = 0; k < nLong; ++k) {
        double const v = solution.columnDual[k];
        if (!(v <= 0.0) || (!used[k] && v != 0.0) || !std::isfinite(v)) {
            return false;
        }
    }
    for (double const u : solution.rowDual) {
        if (!std::isfinite(u)) {
            return false;
        }
    }
    return true;
}

}  // namespace

// A matrix with more would almost surely fail the proof, so it is not attempted.
int mostLinesWithRepeatedMinimum(int nOfLines) {
    constexpr int kRepeatedMinimumShare = 8;
    return nOfLines / kRepeatedMinimumShare;
}

UniqueOptimumOutcome findUniqueOptimum(std::vector<std::vector<double>> const& rowMajor,
                                       double const* distMatrixIn, MatrixShape shape, double range,
                                       int* assignment) {
    ShortSide const side = shortSideOf(rowMajor, distMatrixIn, shape);
    if (side.m == 0) {
        return UniqueOptimumOutcome::NotApplicable;
    }
    std::optional<LineSummary> const summary = summarizeLines(side, shape.forbiddenPairs);
    if (!summary) {
        return UniqueOptimumOutcome::NearTieFound;
    }
    double const m = side.m;
    double K = 1.0;
    if (summary->fewestFinite < side.m) {
        if (side.m != side.nLong) {
            return UniqueOptimumOutcome::NotApplicable;
        }
        K = m;
    }
    double const operationsPerElement = 1.0 + m * (m + 1.0);
    if (summary->largestCost > kLargestCost || (K + 1.0) * operationsPerElement * kEps > 0.1) {
        return UniqueOptimumOutcome::NotApplicable;
    }

    std::optional<DualSolution> const found =
        solveByShortestAugmentingPaths(side.lines.data(), side.m, side.nLong);
    if (!found) {
        return UniqueOptimumOutcome::NotApplicable;
    }
    DualSolution const& solution = *found;
    if (!dualsHaveTheProvedForm(solution, side.nLong)) {
        return UniqueOptimumOutcome::NearTieFound;
    }

    double costOfS = 0.0;
    double magnitudeOfS = 0.0;
    for (int line = 0; line < side.m; ++line) {
        double const cost = side.lines[line][solution.columnOfRow[line]];
        costOfS += cost;
        magnitudeOfS += std::fabs(cost);
    }
    // G_s, enlarged by the rounding of the two sums of m terms that form it.
    double const G_s =
        std::max(0.0, costOfS - summary->L0) + 2.0 * m * kEps * (magnitudeOfS + summary->L0Magnitude) + kTiny;
    double const Z = stepsAreExact(range, *summary, K) ? 0.0 : stepsSlack(m, *summary, G_s, K);
    Margin const margin = marginFor(side, *summary, solution, Z);
    std::optional<std::vector<NearTightEdge>> const edges = collectNearTightEdges(side, solution, margin);
    if (!edges || anotherAssignmentWithin(
                      buildGraph(*edges, solution.columnOfRow, solution.columnDual, side.m, side.nLong),
                      margin.limit)) {
        return UniqueOptimumOutcome::NearTieFound;
    }

    if (side.wide) {
        std::copy(solution.columnOfRow.begin(), solution.columnOfRow.end(), assignment);
    } else {
        std::fill(assignment, assignment + shape.rows, -1);
        for (int col = 0; col < side.m; ++col) {
            assignment[solution.columnOfRow[col]] = col;
        }
    }
    return UniqueOptimumOutcome::Proved;
}

}  // namespace Kestrel::assignment
