// Checks of the inputs of the grouper and its static measurements that their computations rely on. Each
// costs one pass over its input and throws std::invalid_argument naming the argument and the offending
// index or value.
#pragma once

#include <utility>
#include <vector>

namespace Kestrel::grouping {

// values and lengths: the same number of entries, every entry finite.
void checkSegmentLine(std::vector<double> const& values, std::vector<double> const& lengths);

// segmentStarts: strictly ascending, each within 0 ... valueCount - 1 (so that every segment holds at
// least one value).
void checkSegmentStarts(std::vector<int> const& segmentStarts, std::size_t valueCount);

// points: finite coordinates. segments: 0 <= first <= last < points.size(), and each segment starting at
// or after the last point of the one before it.
void checkPolylineSegments(std::vector<std::pair<double, double>> const& points,
                           std::vector<std::pair<int, int>> const& segments);

}  // namespace Kestrel::grouping
