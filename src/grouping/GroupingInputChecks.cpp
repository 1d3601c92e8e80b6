#include "GroupingInputChecks.h"

#include "MessageText.h"

#include <cmath>
#include <stdexcept>
#include <string>

namespace Kestrel::grouping {

using common::entryText;
using common::numberText;

namespace {

void checkFinite(char const* name, std::vector<double> const& entries) {
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (!std::isfinite(entries[i])) {
            throw std::invalid_argument("SegmentGrouper: " + entryText(name, i) + " is " +
                                        numberText(entries[i]) + " (must be finite)");
        }
    }
}

}  // namespace

void checkSegmentLine(std::vector<double> const& values, std::vector<double> const& lengths) {
    if (values.size() != lengths.size()) {
        throw std::invalid_argument("SegmentGrouper: values has " + std::to_string(values.size()) +
                                    " entries but lengths has " + std::to_string(lengths.size()) +
                                    " (one of each per segment)");
    }
    checkFinite("values", values);
    checkFinite("lengths", lengths);
}

void checkSegmentStarts(std::vector<int> const& segmentStarts, std::size_t valueCount) {
    for (std::size_t s = 0; s < segmentStarts.size(); ++s) {
        int const start = segmentStarts[s];
        if (start < 0 || static_cast<std::size_t>(start) >= valueCount) {
            throw std::invalid_argument(
                "calculateRecommendedNumberOfMasterSegments: " + entryText("segmentStarts", s) + " = " +
                std::to_string(start) + " is not an index of values (" + std::to_string(valueCount) +
                " entries)");
        }
        if (s > 0 && !(segmentStarts[s - 1] < start)) {
            throw std::invalid_argument(
                "calculateRecommendedNumberOfMasterSegments: " + entryText("segmentStarts", s) + " = " +
                std::to_string(start) + " does not exceed " + entryText("segmentStarts", s - 1) + " = " +
                std::to_string(segmentStarts[s - 1]) + " (starts must be strictly ascending)");
        }
    }
}

void checkPolylineSegments(std::vector<std::pair<double, double>> const& points,
                           std::vector<std::pair<int, int>> const& segments) {
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (!std::isfinite(points[i].first) || !std::isfinite(points[i].second)) {
            throw std::invalid_argument("calculateSegmentCurvature: " + entryText("points", i) + " = (" +
                                        numberText(points[i].first) + ", " + numberText(points[i].second) +
                                        ") is not finite");
        }
    }
    int const count = static_cast<int>(points.size());
    for (std::size_t k = 0; k < segments.size(); ++k) {
        int const first = segments[k].first;
        int const last = segments[k].second;
        std::string const segment =
            entryText("segments", k) + " = (" + std::to_string(first) + ", " + std::to_string(last) + ")";
        if (first < 0 || last >= count) {
            throw std::invalid_argument("calculateSegmentCurvature: " + segment + " reaches outside the " +
                                        std::to_string(count) + " points");
        }
        if (first > last) {
            throw std::invalid_argument("calculateSegmentCurvature: " + segment +
                                        " is reversed (first point after last point)");
        }
        if (k > 0 && first < segments[k - 1].second) {
            throw std::invalid_argument(
                "calculateSegmentCurvature: " + segment + " starts before the last point " +
                std::to_string(segments[k - 1].second) + " of " + entryText("segments", k - 1));
        }
    }
}

}  // namespace Kestrel::grouping
