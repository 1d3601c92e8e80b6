// What `ktx group` reports about a grouping: per group its segments, length and dispersion, measured on
// the values as given.
#pragma once

#include "input/Dispersion.h"

#include <vector>

namespace ktx {

struct GroupSummary {
    int start = 0;            // first segment
    int end = 0;              // one past the last segment; not above `start` when the group wraps round
    int segments = 0;         // number of segments
    double length = 0.0;      // sum of the segment lengths
    double dispersion = 0.0;  // largest minus smallest value, or population variance
};

// Group k runs from starts[k] to starts[k + 1]; the last group ends at the line's end (open line) or wraps
// round to starts[0] (closed line). Requires `values` and `lengths` of one size n (one entry per segment)
// and `starts` ascending within 0 ... n - 1. Each group's dispersion is measured by `measure`.
std::vector<GroupSummary> summariseGroups(std::vector<double> const& values,
                                          std::vector<double> const& lengths, bool closed, Dispersion measure,
                                          std::vector<int> const& starts);

// The group index of every segment (-1 for segments in no group, which only an empty grouping leaves).
std::vector<int> groupOfSegments(std::vector<int> const& starts, int segments, bool closed);

}  // namespace ktx
