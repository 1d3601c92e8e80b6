#include "output/NumberFormat.h"
#include "pictures/Axis.h"
#include "pictures/Pictures.h"
#include "pictures/Svg.h"

#include <algorithm>
#include <cmath>

namespace ktx {

std::string curvaturePicture(std::vector<Point> const& points, bool closed,
                             std::vector<std::pair<int, int>> const& segments,
                             std::vector<double> const& curvature, std::string const& title) {
    double const width = 800;
    double const height = 600;
    WorldToPicture const map(points, width, height - 40, 30);
    double largest = 0.0;
    for (double const c : curvature) {
        if (std::isfinite(c)) {
            largest = std::max(largest, std::abs(c));
        }
    }
    SvgDocument svg(width, height);
    svg.text(width / 2, 24, title, 15, "middle");
    std::vector<Point> line;
    for (Point const& p : points) {
        auto const q = map(p);
        line.emplace_back(q.first, q.second + 40);
    }
    svg.beginGroup("line");
    if (closed && !line.empty()) {
        std::vector<Point> ring = line;
        ring.push_back(line.front());
        svg.polyline(ring, "#bbbbbb", 2);
    } else {
        svg.polyline(line, "#bbbbbb", 2);
    }
    svg.endGroup();
    svg.beginGroup("segments");
    for (std::size_t k = 0; k < segments.size(); ++k) {
        std::vector<Point> piece(line.begin() + segments[k].first, line.begin() + segments[k].second + 1);
        double const c = k < curvature.size() ? curvature[k] : 0.0;
        svg.polyline(piece, divergingColour(largest > 0 ? c / largest : 0.0), 6,
                     "segment " + std::to_string(k) + ": points " + std::to_string(segments[k].first) + "-" +
                         std::to_string(segments[k].second) + ", curvature " + formatNumber(c));
    }
    svg.endGroup();
    svg.text(10, height - 10,
             "red: clockwise (positive), blue: counter-clockwise (negative); largest |curvature| " +
                 readableNumber(largest),
             12);
    return svg.str();
}

}  // namespace ktx
