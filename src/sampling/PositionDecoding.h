// Turns a sequence of list positions into the entries they take out of the ascending list 0, 1, ..., n - 1:
// step i takes out the entry at position positions[i] of what is left (counting from 0), as erasing it
// from the middle of the list would. n = positions.size(); every position must be below n - i.
//
// Cost O(n log n), all of it streaming through memory: the steps are split, in their order, between the
// lower and the upper half of the values (a step goes to the lower half when its position is below the
// number of lower values still left, else to the upper half with that number subtracted), recursively,
// down to ranges of at most 64 values, which a 64-bit word of flags settles.
#pragma once

#include <cstdint>
#include <vector>

namespace Kestrel {
namespace sampling {

// Replaces each position by the entry it takes out. Requires: positions[i] < positions.size() - i.
void takeOutInOrder(std::vector<std::uint32_t>& positions);

}  // namespace sampling
}  // namespace Kestrel
