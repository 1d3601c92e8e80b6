// Input of `ktx curvature`: a polyline and its segments.
//
//   {"closed": false, "points": [[x, y], ...], "segments": [[first, last], ...]}
//
// Each segment names the index of its first and of its last point; segments follow the line in order and
// may leave gaps or share an end point with the next segment, but must not overlap.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace ktx {

struct CurvatureInput {
    std::vector<std::pair<double, double>> points;  // at least two, no point repeating its predecessor
    std::vector<std::pair<int, int>> segments;      // 0 <= first < last < points, ordered along the line
    bool closed = false;
};

CurvatureInput parseCurvatureInput(std::string const& text);

}  // namespace ktx
