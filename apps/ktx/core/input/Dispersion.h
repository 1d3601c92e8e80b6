// How the spread of the values inside a group is measured: largest minus smallest value, or the population
// variance. The grouping input chooses it by name, and the group report measures with it.
#pragma once

namespace ktx {

enum class Dispersion { MinMax, Variance };

// The name the input and the output use: "minmax" or "variance".
inline char const* dispersionName(Dispersion measure) {
    return measure == Dispersion::MinMax ? "minmax" : "variance";
}

}  // namespace ktx
