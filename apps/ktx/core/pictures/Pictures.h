// The SVG pictures of the ktx commands. Each picture groups its parts in <g class="..."> elements:
//   group strip:  "segments" (one rect per segment, coloured by group), "boundaries" (one line per group
//   start) curvature:    "line" (the whole polyline), "segments" (one polyline per segment, coloured by
//   curvature) sample points: "outline" (outer ring and holes), "points" (one circle per point) masters:
//   "segments" (one rect per segment), "masters" (one circle per master) objective against k:
//   "cross-entropy" and "exact" (one polyline and one circle per number of groups each)
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace ktx {

using Point = std::pair<double, double>;

// Bars of width proportional to the segment lengths and height proportional to the values, coloured by
// the group of each segment (grey when not grouped).
std::string groupPicture(std::vector<double> const& values, std::vector<double> const& lengths,
                         std::vector<int> const& groupStarts, bool closed, std::string const& title);

// The polyline in grey (with its closing chord when closed) with each segment drawn over it, red for positive
// curvature (clockwise), blue for negative (counter-clockwise), paler for smaller magnitudes.
std::string curvaturePicture(std::vector<Point> const& points, bool closed,
                             std::vector<std::pair<int, int>> const& segments,
                             std::vector<double> const& curvature, std::string const& title);

// The polygon (outer ring filled, holes white) and the points as dots.
std::string samplePicture(std::vector<Point> const& outer, std::vector<std::vector<Point>> const& holes,
                          std::vector<Point> const& points, std::string const& title);

// Bars of width proportional to the segment lengths showing each segment's admissible range, and, when
// `values` is not empty, its value; masters are marked with a dot.
std::string mastersPicture(std::vector<double> const& lengths,
                           std::vector<std::pair<double, double>> const& ranges,
                           std::vector<int> const& masters, std::vector<double> const& values,
                           std::string const& title);

// The objective of the best grouping for every number of groups k (entry k of each vector, entry 0 unused)
// as two lines over k: the cross-entropy search's and the exact optimum.
std::string objectivePicture(std::vector<double> const& crossEntropy, std::vector<double> const& exact,
                             std::string const& title);

}  // namespace ktx
