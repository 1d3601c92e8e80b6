// The exact counterpart of calculateOptimalMasterIndices for the toy model: checks the line and the
// pre-groups, prepares the score's terms and runs the search of OptimalMasterSearch.h.
#include <Kestrel/MasterOptimizer4Interpolation.h>

#include "LineGeometry.h"
#include "OptimalMasterSearch.h"

#include <cstddef>
#include <sstream>
#include <stdexcept>
#include <string>

namespace Kestrel {

namespace {

[[noreturn]] void reject(std::string const& what) {
    throw std::invalid_argument("MasterOptimizer4DrawbeadToyModel: " + what);
}

// Pre-group of every position: group g holds boundaries[g] ... boundaries[g + 1] - 1; positions before the
// first or from the last boundary on lie outside every group (-1). No boundaries restrict nothing.
std::vector<int> groupOfEveryPosition(std::vector<int> const* preGroups, int n) {
    std::vector<int> group(static_cast<std::size_t>(n), -1);
    if (preGroups == nullptr || preGroups->empty()) {
        for (int p = 0; p < n; ++p) {
            group[static_cast<std::size_t>(p)] = p;  // no restriction: every position a group of its own
        }
        return group;
    }
    std::vector<int> const& boundaries = *preGroups;
    for (std::size_t g = 0; g < boundaries.size(); ++g) {
        bool const ascending = g == 0 || boundaries[g - 1] < boundaries[g];
        if (boundaries[g] < 0 || boundaries[g] > n || !ascending) {
            std::ostringstream text;
            text << "preGroups entry " << g << " (" << boundaries[g] << ") must lie in 0 ... " << n
                 << " and above the entry before it";
            reject(text.str());
        }
    }
    for (std::size_t g = 0; g + 1 < boundaries.size(); ++g) {
        for (int p = boundaries[g]; p < boundaries[g + 1]; ++p) {
            group[static_cast<std::size_t>(p)] = static_cast<int>(g);
        }
    }
    return group;
}

}  // namespace

double MasterOptimizer4DrawbeadToyModel::calculateExactOptimalMasterIndices(
    int numberOfMasters, std::vector<int>& result, std::vector<int> const* preGroups) const {
    DrawbeadToyModel const& line = *model;
    int const n = static_cast<int>(line.getMinMaxData().size());
    MasterSearchLine search;
    for (int i = 0; i < n; ++i) {
        search.lengths.push_back(line.getSegmentLength(i));
    }
    if (numberOfMasters < 1 || numberOfMasters > n) {
        std::ostringstream text;
        text << "numberOfMasters " << numberOfMasters << " is outside 1 ... " << n
             << " (the number of segments)";
        reject(text.str());
    }
    search.group = groupOfEveryPosition(preGroups, n);
    search.closed = line.isClosed();
    double totalLength = 0.0;
    for (double const length : search.lengths) {
        totalLength += length;
    }
    double const weight =
        search.closed ? static_cast<double>(numberOfMasters) : static_cast<double>(numberOfMasters) - 0.5;
    search.lengthWeight = (weight * 0.125) / (totalLength * totalLength);
    search.constant = totalLength * search.lengthWeight;
    std::vector<double> reciprocal(static_cast<std::size_t>(n) * static_cast<std::size_t>(n));
    for (std::size_t from = 0; from < static_cast<std::size_t>(n); ++from) {
        double* const row = &reciprocal[from * static_cast<std::size_t>(n)];
        geometry->fullDistancesFrom(from, row);
        for (std::size_t to = 0; to < static_cast<std::size_t>(n); ++to) {
            row[to] = 1.0 / row[to];
        }
    }
    std::vector<int> found = optimalMasterPositions(search, numberOfMasters, reciprocal);
    if (found.empty()) {
        std::ostringstream text;
        text << "no admissible choice of " << numberOfMasters
             << " masters: too few segments of non-zero length or too few pre-groups";
        reject(text.str());
    }
    double const score = geometryBasedEvaluation(found);
    result.swap(found);
    return score;
}

}  // namespace Kestrel
