// Construction of a grouper: the line's data and the equal-values adjustment.
#include <Kestrel/SegmentGrouper.h>

#include "GroupingInputChecks.h"

#include <cmath>
#include <cstddef>

namespace Kestrel {

namespace {

// Neighbours (no wrap) differ by at most `tolerance`; fewer than two values count as all equal.
bool allNeighboursEqual(std::vector<double> const& values, double tolerance) {
    for (std::size_t i = 1; i < values.size(); ++i) {
        if (!(std::abs(values[i] - values[i - 1]) <= tolerance)) {
            return false;
        }
    }
    return true;
}

}  // namespace

SegmentGrouper::SegmentGrouper(std::vector<double> const& segmentValues,
                               std::vector<double> const& segmentLengths, bool closedLine,
                               DispersionMeasure measure)
    : values(segmentValues), lengths(segmentLengths), closed(closedLine), dispersionMeasure(measure) {
    grouping::checkSegmentLine(values, lengths);
    // Uniform values carry no information to group by; they are replaced by values derived from the
    // lengths (shorter segments get larger values), with an alternating ripple when the lengths are
    // uniform too. The tolerance shrinks as the total length grows.
    double totalLength = 0.0;
    for (double const length : lengths) {
        totalLength += length;
    }
    if (totalLength == 0.0) {
        return;
    }
    double const tolerance = 0.001 / totalLength;
    if (!allNeighboursEqual(values, tolerance)) {
        return;
    }
    double const share = (0.1 * totalLength) / static_cast<double>(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = 1.0 / (0.9 * lengths[i] + share);
    }
    if (!allNeighboursEqual(values, tolerance)) {
        return;
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        double const factor = i % 2 == 0 ? 0.95 : 0.85;
        values[i] = 1.0 / (factor * lengths[i] + share);
    }
}

SegmentGrouper::~SegmentGrouper() = default;

int SegmentGrouper::getNumOfSegments() const {
    return static_cast<int>(values.size());
}

bool SegmentGrouper::isClosed() const {
    return closed;
}

std::vector<double> const& SegmentGrouper::accessValues() const {
    return values;
}

}  // namespace Kestrel
