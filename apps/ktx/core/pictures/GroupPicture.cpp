#include "output/GroupReport.h"
#include "output/NumberFormat.h"
#include "pictures/Axis.h"
#include "pictures/Pictures.h"
#include "pictures/Svg.h"

#include <algorithm>
#include <cmath>

namespace ktx {

std::string groupPicture(std::vector<double> const& values, std::vector<double> const& lengths,
                         std::vector<int> const& groupStarts, bool closed, std::string const& title) {
    double const width = 800;
    double const height = 280;
    double const left = 64;
    double const right = 20;
    double const top = 40;
    double const bottom = 60;
    int const n = static_cast<int>(values.size());

    double totalLength = 0.0;
    double largest = 0.0;
    double smallest = 0.0;
    for (int i = 0; i < n; ++i) {
        totalLength += lengths[i];
        largest = std::max(largest, values[i]);
        smallest = std::min(smallest, values[i]);
    }
    double const span = largest - smallest > 0 ? largest - smallest : 1.0;
    double const xScale = totalLength > 0 ? (width - left - right) / totalLength : 0.0;
    double const yScale = (height - top - bottom) / span;
    double const baseline = top + largest * yScale;  // y of the value 0

    SvgDocument svg(width, height);
    svg.text(width / 2, 24, title, 15, "middle");
    std::vector<int> const group = groupOfSegments(groupStarts, n, closed);
    std::vector<double> segmentX(static_cast<std::size_t>(n) + 1, left);
    std::vector<double> centres(static_cast<std::size_t>(n), left);
    svg.beginGroup("segments");
    double x = left;
    for (int i = 0; i < n; ++i) {
        segmentX[i] = x;
        double const w = lengths[i] * xScale;
        centres[i] = x + w / 2;
        double const y = values[i] >= 0 ? baseline - values[i] * yScale : baseline;
        double const h = std::max(std::abs(values[i]) * yScale, 1.0);
        std::string const colour = group[i] >= 0 ? groupColour(group[i]) : "#999999";
        svg.rect(x, y, std::max(w - 0.5, 0.5), h, colour,
                 "segment " + std::to_string(i) + ": value " + formatNumber(values[i]) + ", length " +
                     formatNumber(lengths[i]) + (group[i] >= 0 ? ", group " + std::to_string(group[i]) : ""));
        x += w;
    }
    segmentX[n] = x;
    svg.endGroup();
    svg.line(left, baseline, width - right, baseline, "#333333", 1);
    drawValueAxis(svg, left - 6, smallest, largest, [&](double v) { return baseline - v * yScale; });
    drawSegmentNumbers(svg, centres, height - bottom + 16);
    svg.beginGroup("boundaries");
    for (std::size_t k = 0; k < groupStarts.size(); ++k) {
        double const bx = segmentX[groupStarts[k]];
        svg.line(bx, top - 6, bx, height - bottom + 4, "#222222", 1.5);
    }
    svg.endGroup();
    svg.text(left, height - 12,
             std::to_string(n) + " segments, " + std::to_string(groupStarts.size()) + " groups" +
                 (closed ? " (closed line: the last group continues at the start)" : ""),
             12);
    return svg.str();
}

}  // namespace ktx
