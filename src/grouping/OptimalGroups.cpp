// The exact counterpart of computeGroups: the best grouping for every number of groups, found by the exact
// searches of OptimalGroupingSearch.h and scored with the grouper's own objective, then the same choice of
// the number of groups as the cross-entropy search makes.
#include <Kestrel/SegmentGrouper.h>

#include "GroupCountChoice.h"
#include "OptimalGroupingSearch.h"

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <stdexcept>
#include <string>

namespace Kestrel {

namespace {

[[noreturn]] void reject(std::string const& what) {
    throw std::invalid_argument("SegmentGrouper: " + what);
}

// The constructor has checked that values and lengths pair up and are finite; a search also needs lengths
// that are not negative.
void checkLine(std::vector<double> const& lengths) {
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        if (lengths[i] < 0.0) {
            std::ostringstream text;
            text << "length " << i << " is negative (" << lengths[i] << ")";
            reject(text.str());
        }
    }
}

void checkNumberOfGroups(int numberOfGroups, int n) {
    if (numberOfGroups < 1 || numberOfGroups > n) {
        std::ostringstream text;
        text << "numberOfGroups " << numberOfGroups << " is outside 1 ... " << n
             << " (the number of segments)";
        reject(text.str());
    }
}

}  // namespace

double SegmentGrouper::scoreOptimalStarts(int numberOfGroups, std::vector<int> const& starts) const {
    if (numberOfGroups == 1) {
        return dispersionMeasure == Variance ? calculateGroupDispersionVariance(0, 0)
                                             : calculateGroupDispersionMinMax(0, 0);
    }
    return dispersionMeasure == Variance ? evaluateVariance(starts) : evaluateMinMax(starts);
}

std::vector<std::vector<int>> SegmentGrouper::searchOptimalStarts(int firstCount, int lastCount) const {
    if (lastCount >= 2 && dispersionMeasure != MinMax && dispersionMeasure != Variance) {
        throw std::logic_error("Missing implementation");
    }
    int const firstSearched = std::max(2, firstCount);
    if (firstSearched > lastCount) {
        std::vector<std::vector<int>> starts(static_cast<std::size_t>(lastCount) + 1);
        starts[1].assign(1, 0);
        return starts;
    }
    std::vector<std::vector<int>> starts =
        dispersionMeasure == Variance ? optimalVarianceStarts(values, closed, firstSearched, lastCount)
                                      : optimalMinMaxStarts(values, closed, firstSearched, lastCount);
    if (firstCount == 1) {
        starts[1].assign(1, 0);
    }
    return starts;
}

double SegmentGrouper::calculateOptimalGrouping(int numberOfGroups, std::vector<int>& starts) const {
    checkLine(lengths);
    checkNumberOfGroups(numberOfGroups, getNumOfSegments());
    std::vector<int> found =
        searchOptimalStarts(numberOfGroups, numberOfGroups)[static_cast<std::size_t>(numberOfGroups)];
    double const value = scoreOptimalStarts(numberOfGroups, found);
    starts.swap(found);
    return value;
}

void SegmentGrouper::calculateOptimalGroupings(std::vector<double>& bestValues,
                                               std::vector<std::vector<int>>& bestStarts) const {
    calculateOptimalGroupings(bestValues, bestStarts, boost::function<void(int, int)>());
}

void SegmentGrouper::calculateOptimalGroupings(
    std::vector<double>& bestValues, std::vector<std::vector<int>>& bestStarts,
    boost::function<void(int numberOfGroupsDone, int numberOfSegments)> const& progress) const {
    checkLine(lengths);
    int const n = getNumOfSegments();
    std::vector<std::vector<int>> starts(1);
    if (n >= 1) {
        starts = searchOptimalStarts(1, n);
    }
    std::vector<double> value(starts.size(), 0.0);
    for (int k = 1; k <= n; ++k) {
        value[static_cast<std::size_t>(k)] = scoreOptimalStarts(k, starts[static_cast<std::size_t>(k)]);
        if (progress) {
            progress(k, n);
        }
    }
    bestValues.swap(value);
    bestStarts.swap(starts);
}

void SegmentGrouper::computeOptimalGroups(std::vector<int>& result) const {
    computeOptimalGroups(result, boost::function<void(int, int)>());
}

void SegmentGrouper::computeOptimalGroups(
    std::vector<int>& result,
    boost::function<void(int numberOfGroupsDone, int numberOfSegments)> const& progress) const {
    checkLine(lengths);
    if (getNumOfSegments() == 1) {
        result.assign(1, 0);
        return;
    }
    std::vector<double> bestValues;
    std::vector<std::vector<int>> bestStarts;
    calculateOptimalGroupings(bestValues, bestStarts, progress);
    result = bestStarts[grouping::chooseNumberOfGroups(
        bestValues, bestStarts,
        [this](std::vector<int> const& starts) { return isAcceptableGrouping(starts); })];
}

}  // namespace Kestrel
