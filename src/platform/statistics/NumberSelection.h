// Two neighbouring order statistics of data without NaN, found by counting instead of comparing.
//
// Every number is mapped to an unsigned key whose integer order is the calculator's order of numbers
// (-0.0 before +0.0; equal keys are equal bits). The keys around the wanted positions are then narrowed
// down by counting them in buckets of their leading bits: each round is one pass over the keys still in
// question that takes no branch depending on the data, so it costs the same for scores that change from
// call to call as for sorted ones (a comparison-based selection mispredicts about every other branch on
// such data, several times its cost here). The values returned are those of the fully sorted data, bit
// for bit.
#pragma once

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace Kestrel {
namespace Tessel {

// The values at positions `position` and `position + 1` of `values` sorted ascending, -0.0 before +0.0,
// or nothing when `values` holds a NaN or more values than a 32-bit count holds. Requires
// position + 1 < values.size().
std::optional<std::pair<double, double>> neighbouringNumbers(std::vector<double> const& values,
                                                             std::size_t position);

}  // namespace Tessel
}  // namespace Kestrel
