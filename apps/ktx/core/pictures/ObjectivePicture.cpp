#include "output/NumberFormat.h"
#include "pictures/Pictures.h"
#include "pictures/Svg.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ktx {

std::string objectivePicture(std::vector<double> const& crossEntropy, std::vector<double> const& exact,
                             std::string const& title) {
    double const width = 800;
    double const height = 320;
    double const left = 60;
    double const right = 20;
    double const top = 50;
    double const bottom = 60;
    std::size_t const n = std::max(crossEntropy.size(), exact.size());
    double high = 0.0;
    for (auto const* series : {&crossEntropy, &exact}) {
        for (std::size_t k = 1; k < series->size(); ++k) {
            if (std::isfinite((*series)[k])) {
                high = std::max(high, (*series)[k]);
            }
        }
    }
    if (!(high > 0.0)) {
        high = 1.0;
    }
    double const xStep = n > 2 ? (width - left - right) / static_cast<double>(n - 2) : 0.0;
    auto const xOf = [&](std::size_t k) { return left + static_cast<double>(k - 1) * xStep; };
    auto const yOf = [&](double v) { return height - bottom - v / high * (height - top - bottom); };

    SvgDocument svg(width, height);
    svg.text(width / 2, 24, title, 15, "middle");
    svg.line(left, height - bottom, width - right, height - bottom, "#555555", 1);
    svg.line(left, top, left, height - bottom, "#555555", 1);
    svg.text(width / 2, height - 18, "number of groups k", 12, "middle");
    svg.text(left - 6, top + 4, formatNumber(high), 11, "end");
    svg.text(left - 6, height - bottom + 4, "0", 11, "end");
    struct Series {
        char const* name;
        std::vector<double> const* values;
        char const* colour;
    };
    for (Series const& series :
         {Series{"cross-entropy", &crossEntropy, "#d95f02"}, Series{"exact", &exact, "#1b9e77"}}) {
        svg.beginGroup(series.name);
        std::vector<std::pair<double, double>> points;
        for (std::size_t k = 1; k < series.values->size(); ++k) {
            double const value = (*series.values)[k];
            if (std::isfinite(value)) {
                points.emplace_back(xOf(k), yOf(value));
                svg.circle(
                    xOf(k), yOf(value), 2.5, series.colour,
                    std::string(series.name) + ", k = " + std::to_string(k) + ": " + formatNumber(value));
            }
        }
        svg.polyline(points, series.colour, 1.5);
        svg.endGroup();
    }
    svg.text(width - right, top - 8, "orange: cross-entropy search, green: exact optimum", 11, "end");
    return svg.str();
}

}  // namespace ktx
