// Input of `ktx sample2d`: a polygon with optional holes and the number of points.
//
//   {"outer": [[0, 0], [100, 0], [100, 60], [0, 60]],
//    "holes": [[[40, 20], [60, 20], [60, 40], [40, 40]]],
//    "n": 12}
//
// Rings are lists of at least three [x, y] vertices in either orientation, not repeating the first vertex
// at the end. "holes" is optional. n is between 1 and kMaxSamples. At most kMaxOutlineEdges vertices in
// all; coordinates at most kMaxCoordinate in magnitude; the outer ring at least kMinPolygonExtent wide and
// high.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace ktx {

using Ring = std::vector<std::pair<double, double>>;

// The k-means step costs about n * 100 n distance computations per iteration: beyond this the run takes
// minutes.
constexpr int kMaxSamples = 2000;
// Checking that no two edges of the outline touch compares the pairs of edges whose x ranges overlap, in
// the worst case (long zigzag edges) every pair: at this many edges in all (outer ring and holes) that check
// alone takes a few seconds.
constexpr std::size_t kMaxOutlineEdges = 10000;
// The polygon's geometry multiplies coordinate differences: beyond this magnitude such products overflow,
// and for a polygon narrower than kMinPolygonExtent in x or y they underflow to 0.
constexpr double kMaxCoordinate = 1e150;
constexpr double kMinPolygonExtent = 1e-150;

struct Sample2dInput {
    Ring outer;
    std::vector<Ring> holes;
    int n = 0;
};

Sample2dInput parseSample2dInput(std::string const& text);

}  // namespace ktx
