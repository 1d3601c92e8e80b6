#include "output/NumberFormat.h"
#include "pictures/Axis.h"
#include "pictures/Pictures.h"
#include "pictures/Svg.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ktx {

std::string mastersPicture(std::vector<double> const& lengths,
                           std::vector<std::pair<double, double>> const& ranges,
                           std::vector<int> const& masters, std::vector<double> const& values,
                           std::string const& title) {
    double const width = 800;
    double const height = 300;
    double const left = 64;
    double const right = 20;
    double const top = 50;
    double const bottom = 66;
    std::size_t const n = lengths.size();

    double totalLength = 0.0;
    double low = std::numeric_limits<double>::max();
    double high = std::numeric_limits<double>::lowest();
    for (std::size_t i = 0; i < n; ++i) {
        totalLength += lengths[i];
        low = std::min(low, ranges[i].first);
        high = std::max(high, ranges[i].second);
        if (i < values.size() && std::isfinite(values[i])) {
            low = std::min(low, values[i]);
            high = std::max(high, values[i]);
        }
    }
    if (!(high > low)) {
        high = low + 1.0;
    }
    double const xScale = totalLength > 0 ? (width - left - right) / totalLength : 0.0;
    double const yScale = (height - top - bottom) / (high - low);
    auto const yOf = [&](double v) { return height - bottom - (v - low) * yScale; };

    std::vector<bool> isMaster(n, false);
    for (int const m : masters) {
        if (m >= 0 && static_cast<std::size_t>(m) < n) {
            isMaster[m] = true;
        }
    }
    SvgDocument svg(width, height);
    svg.text(width / 2, 24, title, 15, "middle");
    std::vector<double> centre(n, 0.0);
    svg.beginGroup("segments");
    double x = left;
    for (std::size_t i = 0; i < n; ++i) {
        double const w = lengths[i] * xScale;
        centre[i] = x + w / 2;
        double const y = yOf(ranges[i].second);
        double const h = std::max(yOf(ranges[i].first) - y, 1.0);
        std::string label = "segment " + std::to_string(i) + ": range " + formatNumber(ranges[i].first) +
                            " to " + formatNumber(ranges[i].second);
        if (i < values.size()) {
            label += ", value " + formatNumber(values[i]);
        }
        svg.rect(x, y, std::max(w - 0.5, 0.5), h, isMaster[i] ? "#f5c77e" : "#dde3ea",
                 label + (isMaster[i] ? " (master)" : ""));
        x += w;
    }
    svg.endGroup();
    drawValueAxis(svg, left - 6, low, high, yOf);
    drawSegmentNumbers(svg, centre, height - bottom + 16);
    if (!values.empty()) {
        std::vector<Point> curve;
        for (std::size_t i = 0; i < n && i < values.size(); ++i) {
            if (std::isfinite(values[i])) {
                curve.emplace_back(centre[i], yOf(values[i]));
            }
        }
        svg.beginGroup("values");
        svg.polyline(curve, "#2c3e50", 2);
        svg.endGroup();
    }
    svg.beginGroup("masters");
    for (int const m : masters) {
        if (m < 0 || static_cast<std::size_t>(m) >= n) {
            continue;
        }
        double const v = static_cast<std::size_t>(m) < values.size() && std::isfinite(values[m])
                             ? values[m]
                             : (ranges[m].first + ranges[m].second) / 2;
        svg.circle(centre[m], yOf(v), 5, "#d35400", "master at segment " + std::to_string(m));
    }
    svg.endGroup();
    svg.text(left, height - 12,
             std::to_string(n) + " segments, " + std::to_string(masters.size()) +
                 " masters (orange); bars show each segment's admissible range" +
                 (values.empty() ? "" : ", the line the interpolated values"),
             12);
    return svg.str();
}

}  // namespace ktx
