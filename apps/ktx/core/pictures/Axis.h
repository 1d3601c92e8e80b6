// Reading aids of the bar pictures: a value axis with a few labelled round ticks, the segment numbers under
// the bars, and numbers rounded for reading in captions (the exact values stay in the hover titles).
#pragma once

#include "pictures/Svg.h"

#include <functional>
#include <string>
#include <vector>

namespace ktx {

// Round values (multiples of 1, 2 or 5 times a power of ten) in [low, high], about `count` of them (at
// least 2, at most 2 count + 1), in ascending order. Requires count >= 2. A range that is empty or not finite
// gives {low} when low is finite and nothing otherwise.
std::vector<double> roundTicks(double low, double high, int count);

// `value` with at most `digits` significant digits and no trailing zeros: "0.0167", "1200", "2.5e-07".
std::string readableNumber(double value, int digits = 3);

// Draws in <g class="axis"> a vertical axis at `x` from `low` to `high`, with a tick and a label on its
// left for each round value between them. `yOf` maps a value to its pixel row.
void drawValueAxis(SvgDocument& svg, double x, double low, double high,
                   std::function<double(double)> const& yOf);

// Draws in <g class="segment-numbers"> the number of each segment centred at `centres[i]` on row `y`,
// leaving out a number that would touch the previous one drawn (narrow bars).
void drawSegmentNumbers(SvgDocument& svg, std::vector<double> const& centres, double y);

}  // namespace ktx
