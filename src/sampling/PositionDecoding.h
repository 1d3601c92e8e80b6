// Decodes a sequence of list positions against the ascending list 0, 1, ..., n - 1: step i takes out the
// entry at position positions[i] of what is left (counting from 0), as erasing it from the middle of the
// list would. n = positions.size(); every position must be below n - i. The result says, for every entry
// of the list, at which step it was taken out (the inverse of the sequence of entries taken out).
//
// Cost O(n log n), all of it streaming through memory: the steps are split, in their order, among sixteen
// consecutive ranges of the values (a step goes to the range whose count of values still left below it is
// the largest one not above its position, and its position becomes relative to that range), recursively,
// down to ranges of at most 64 values, which a 64-bit word of flags settles, two ranges side by side.
// On x86-64 the counts of values left below the sixteen ranges sit in vector registers, so one comparison
// finds a step's range and one addition updates them; elsewhere (or built with KESTREL_PORTABLE) a plain
// loop over the sixteen counts does the same integer operations.
#pragma once

#include <cstdint>
#include <vector>

namespace Kestrel {
namespace sampling {

// The instructions the decoding may use: plain C++ only; those of every processor of its family (SSE2 on
// x86-64, plain C++ elsewhere); or the fastest the processor offers (512-bit vectors and bit deposit where
// present, else the baseline). All three give the same result.
enum class DecodingInstructions { portable, baseline, fastestAvailable };

// result[v]: the step that takes out entry v. Requires: positions[i] < positions.size() - i, and fewer
// than 2^31 positions.
std::vector<std::uint32_t> stepsTakingOut(
    std::vector<std::uint32_t> const& positions,
    DecodingInstructions instructions = DecodingInstructions::fastestAvailable);

}  // namespace sampling
}  // namespace Kestrel
