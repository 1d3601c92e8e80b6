// The ascending list 0, 1, ..., n - 1 from which entries are taken out by position, in O(log n) per
// removal: the list is a bit set (one bit per index still present) with a Fenwick tree over the number of
// set bits of each 64-bit word (62 KB for a million indices, so it stays in the cache). Taking the entry at
// position j returns exactly what erasing the j-th element of the ascending list would return.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Kestrel {
namespace sampling {

class RemainingIndices {
  public:
    // All indices 0 ... count - 1 present.
    explicit RemainingIndices(std::size_t count);

    // Removes and returns the index at `position` (0-based, counting the indices still present in
    // ascending order). Requires: position < the number of indices still present < 2^32.
    std::size_t takeAt(std::size_t position);

  private:
    std::vector<std::uint64_t> words_;  // bit b of word w set: index 64 * w + b is present
    std::vector<std::uint32_t> tree_;   // Fenwick tree (1-based) over the set bits per word
};

}  // namespace sampling
}  // namespace Kestrel
