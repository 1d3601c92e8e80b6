// The choice of the grouping: one cross-entropy optimisation per number of groups, then the number of
// groups with the largest admissible improvement, widened by the half-gain rule.
#include <Kestrel/CombinatorialCrossEntropyOptimization.h>
#include <Kestrel/SegmentGrouper.h>

#include "GroupCountChoice.h"
#include "ParallelFor.h"
#include "SegmentSearchSettings.h"

#include <cstddef>
#include <functional>

namespace Kestrel {

namespace {

using Matrix = std::vector<std::vector<double>>;

// Transition weights over the segment numbers 1 ... n: row 0 the first number drawn (segment 0 on an open
// line, any segment on a closed one), row i the number following i (any other segment).
Matrix groupStartTransitions(int n, bool closed) {
    Matrix matrix(static_cast<std::size_t>(n) + 1);
    matrix[0].assign(static_cast<std::size_t>(n), closed ? 1.0 / static_cast<double>(n) : 0.0);
    if (!closed) {
        matrix[0][0] = 1.0;
    }
    for (std::size_t i = 1; i < matrix.size(); ++i) {
        matrix[i].assign(static_cast<std::size_t>(n), 1.0 / static_cast<double>(n - 1));
        matrix[i][i - 1] = 0.0;
    }
    return matrix;
}

}  // namespace

double SegmentGrouper::optimizeIntraGroupVariation(int numberOfGroups, std::vector<int>& starts) const {
    if (numberOfGroups == 1) {
        double const dispersion = dispersionMeasure == Variance ? calculateGroupDispersionVariance(0, 0)
                                                                : calculateGroupDispersionMinMax(0, 0);
        starts.assign(1, 0);
        return dispersion;
    }
    using std::placeholders::_1;
    CombinatorialCrossEntropyOptimization::Objective const objective =
        std::bind(&SegmentGrouper::evaluate, this, _1);
    CombinatorialCrossEntropyOptimization optimiser(
        numberOfGroups, groupStartTransitions(getNumOfSegments(), closed), objective, false);
    CombinatorialCrossEntropyOptimization::Parameters const parameters = common::segmentSearchParameters();
    std::vector<int> result;
    double const best = optimiser.optimize(parameters, result, nullptr, 0);
    starts = result;
    for (int& start : starts) {
        start -= 1;
    }
    return best;
}

void SegmentGrouper::computeGroups(std::vector<int>& result) const {
    computeGroups(result, boost::function<void(int, int)>());
}

void SegmentGrouper::computeGroups(
    std::vector<int>& result,
    boost::function<void(int numberOfGroupsTried, int numberOfSegments)> const& progress) const {
    if (getNumOfSegments() == 1) {
        result.assign(1, 0);
        return;
    }
    std::vector<double> bestValue;
    std::vector<std::vector<int>> bestStarts;
    calculateCrossEntropyGroupings(bestValue, bestStarts, progress);
    result = bestStarts[grouping::chooseNumberOfGroups(
        bestValue, bestStarts,
        [this](std::vector<int> const& starts) { return isAcceptableGrouping(starts); })];
}

void SegmentGrouper::calculateCrossEntropyGroupings(
    std::vector<double>& bestValues, std::vector<std::vector<int>>& bestStarts,
    boost::function<void(int numberOfGroupsTried, int numberOfSegments)> const& progress) const {
    int const n = getNumOfSegments();
    std::size_t const size = static_cast<std::size_t>(n < 0 ? 0 : n) + 1;
    std::vector<double> value(size, 0.0);
    std::vector<std::vector<int>> starts(size);
    // The optimisations for different k share nothing (each has its own optimiser and its own seeded
    // stream), so they run side by side, one per thread at a time, each on one thread. Progress is
    // reported in increasing k on the calling thread.
    common::forEachTaskReportingInOrder(
        n,
        [&](std::ptrdiff_t task) {
            std::size_t const k = static_cast<std::size_t>(task) + 1;
            value[k] = optimizeIntraGroupVariation(static_cast<int>(k), starts[k]);
        },
        [&](std::ptrdiff_t task) {
            if (progress) {
                progress(static_cast<int>(task) + 1, n);
            }
        });
    bestValues.swap(value);
    bestStarts.swap(starts);
}

}  // namespace Kestrel
