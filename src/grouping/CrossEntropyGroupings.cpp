// The cross-entropy search's best grouping for every number of groups, the table computeGroups chooses
// from, for comparisons with the exact search and for plots of the objective against k.
#include <Kestrel/SegmentGrouper.h>

#include <cstddef>

namespace Kestrel {

void SegmentGrouper::calculateCrossEntropyGroupings(
    std::vector<double>& bestValues, std::vector<std::vector<int>>& bestStarts,
    boost::function<void(int numberOfGroupsTried, int numberOfSegments)> const& progress) const {
    int const n = getNumOfSegments();
    std::vector<double> value(static_cast<std::size_t>(n) + 1, 0.0);
    std::vector<std::vector<int>> starts(static_cast<std::size_t>(n) + 1);
    for (int k = 1; k <= n; ++k) {
        value[static_cast<std::size_t>(k)] =
            optimizeIntraGroupVariation(k, starts[static_cast<std::size_t>(k)]);
        if (progress) {
            progress(k, n);
        }
    }
    bestValues.swap(value);
    bestStarts.swap(starts);
}

}  // namespace Kestrel
