// Input of `ktx group`: one line's segment values and lengths.
//
//   {"closed": true, "measure": "minmax", "values": [...], "lengths": [...]}
//
// "closed" defaults to false, "measure" ("minmax" or "variance") to "minmax".
#pragma once

#include "input/Dispersion.h"

#include <string>
#include <vector>

namespace ktx {

struct GroupInput {
    std::vector<double> values;   // one per segment, finite
    std::vector<double> lengths;  // one per segment, positive
    bool closed = false;
    Dispersion measure = Dispersion::MinMax;
};

// Throws InputError naming the offending field.
GroupInput parseGroupInput(std::string const& text);

}  // namespace ktx
