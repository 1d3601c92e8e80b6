#include "pictures/Axis.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace ktx {

std::vector<double> roundTicks(double low, double high, int count) {
    if (!std::isfinite(low)) {
        return {};
    }
    double const span = high - low;
    if (!(span > 0) || !std::isfinite(span)) {
        return {low};
    }
    double const raw = span / count;
    double const magnitude = std::pow(10.0, std::floor(std::log10(raw)));
    // The largest round step near span / count that still leaves two ticks inside the range.
    double step = magnitude;
    for (double const factor : {10.0, 5.0, 2.0}) {
        if (factor * magnitude <= 1.5 * raw && factor * magnitude <= span / 2) {
            step = factor * magnitude;
            break;
        }
    }
    std::vector<double> ticks;
    double const first = std::ceil(low / step);
    for (int i = 0;; ++i) {
        double const tick = (first + i) * step;
        if (tick > high + step * 1e-9) {
            break;
        }
        ticks.push_back(std::abs(tick) < step * 1e-9 ? 0.0 : tick);
    }
    return ticks;
}

std::string readableNumber(double value, int digits) {
    if (value == 0) {
        return "0";
    }
    char buffer[64];
    double const magnitude = std::abs(value);
    if (!(magnitude >= 1e-4 && magnitude < 1e6)) {
        std::snprintf(buffer, sizeof buffer, "%.*g", digits, value);
        return buffer;
    }
    // Plain decimals: as many as `digits` significant digits need, trailing zeros dropped.
    int const exponent = static_cast<int>(std::floor(std::log10(magnitude)));
    int const decimals = std::max(0, digits - 1 - exponent);
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
    std::string text = buffer;
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.') {
            text.pop_back();
        }
    }
    return text == "-0" ? "0" : text;
}

void drawValueAxis(SvgDocument& svg, double x, double low, double high,
                   std::function<double(double)> const& yOf) {
    svg.beginGroup("axis");
    svg.line(x, yOf(low), x, yOf(high), "#555555", 1);
    for (double const tick : roundTicks(low, high, 3)) {
        double const y = yOf(tick);
        svg.line(x - 4, y, x, y, "#555555", 1);
        svg.text(x - 6, y + 4, readableNumber(tick), 10, "end");
    }
    svg.endGroup();
}

void drawSegmentNumbers(SvgDocument& svg, std::vector<double> const& centres, double y) {
    svg.beginGroup("segment-numbers");
    double lastEnd = -1e300;
    for (std::size_t i = 0; i < centres.size(); ++i) {
        std::string const label = std::to_string(i);
        double const halfWidth = 3.2 * static_cast<double>(label.size()) + 2;
        if (centres[i] - halfWidth >= lastEnd) {
            svg.text(centres[i], y, label, 10, "middle");
            lastEnd = centres[i] + halfWidth;
        }
    }
    svg.endGroup();
}

}  // namespace ktx
