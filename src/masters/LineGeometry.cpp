#include "LineGeometry.h"

#include <limits>
#include <utility>

namespace Kestrel {

MasterOptimizer4DrawbeadToyModel::Geometry::Geometry(std::shared_ptr<DrawbeadToyModel const> line)
    : model(std::move(line)),
      n(model->getMinMaxData().size()),
      closed(model->isClosed()),
      lengths(n),
      zeroWeightTerms(n) {
    for (std::size_t i = 0; i < n; ++i) {
        lengths[i] = model->getSegmentLength(static_cast<int>(i));
        totalLength += lengths[i];
        zeroWeightTerms[i] = 0.0 / (static_cast<double>(n) * lengths[i]);
    }
    if (n == 0 || n > kMaxTabulatedSegments) {
        return;
    }
    fullDistances.resize(n * n);
    for (std::size_t from = 0; from < n; ++from) {
        fullDistancesFrom(from, &fullDistances[from * n]);
    }
}

// fullDistance(from, to) is the running sum 0.5 * l[from] + t[from] (+ l[k] + t[k] for each segment passed)
// completed by + 0.5 * l[to]: one walk around the line from `from` gives the whole row, with exactly the
// additions the model makes.
void MasterOptimizer4DrawbeadToyModel::Geometry::fullDistancesFrom(std::size_t from, double* row) const {
    std::vector<double> const& transitions = model->getTransitionLengths();
    double running = 0.5 * lengths[from];
    running += transitionAfter(transitions, from);
    row[from] = running + 0.5 * lengths[from];
    for (std::size_t step = 1; step < n; ++step) {
        std::size_t const to = (from + step) % n;
        row[to] = running + 0.5 * lengths[to];
        running += lengths[to];
        running += transitionAfter(transitions, to);
    }
}

double MasterOptimizer4DrawbeadToyModel::Geometry::fullDistance(int from, int to) const {
    if (fullDistances.empty()) {
        return model->fullDistance(from, to);
    }
    return fullDistances[static_cast<std::size_t>(from) * n + static_cast<std::size_t>(to)];
}

double MasterOptimizer4DrawbeadToyModel::Geometry::score(std::vector<int> const& masterIndices) const {
    // The optimiser hands out position -1 when pre-groups leave fewer groups than masters: such a choice is
    // unusable, like one with a zero-length master, and is never read out of range.
    for (int const master : masterIndices) {
        if (master < 0 || static_cast<std::size_t>(master) >= n) {
            return std::numeric_limits<double>::quiet_NaN();
        }
    }
    std::size_t const m = masterIndices.size();
    double sum = 0.0;
    for (std::size_t k = 1; k < m; ++k) {
        sum += 1.0 / fullDistance(masterIndices[k - 1], masterIndices[k]);
    }
    if (closed && m > 0) {
        sum += 1.0 / fullDistance(masterIndices[m - 1], masterIndices[0]);
    }
    double masterLength = 0.0;
    for (int const master : masterIndices) {
        sum += zeroWeightTerms[master];
        masterLength += lengths[master];
    }
    double const weight = closed ? static_cast<double>(m) : static_cast<double>(m) - 0.5;
    return ((totalLength - masterLength) * (weight * 0.125)) / (totalLength * totalLength) + sum;
}

}  // namespace Kestrel
