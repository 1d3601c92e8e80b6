// The built-in example of `ktx demo`: a closed drawbead line around the rounded-rectangle opening of a
// deep-drawing die, 400 mm x 250 mm with 60 mm corner radii, cut into 30 segments (6 on each long side,
// 3 on each short side, 3 around each corner), with a normalised drawbead restraint per segment: high on
// the long sides where the sheet flows freely, lower on the short sides, lowest in the corners where the
// flange is compressed.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace ktx {

struct DemoLine {
    std::string description;
    std::vector<std::pair<double, double>> points;  // counter-clockwise, the first point not repeated
    std::vector<std::pair<int, int>> segments;      // first and last point of each segment
    std::vector<double> values;                     // normalised restraint per segment, in [0, 1]
    std::vector<std::pair<double, double>> ranges;  // admissible restraint per segment
};

DemoLine makeDemoLine();

}  // namespace ktx
