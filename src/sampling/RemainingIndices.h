// The ascending list 0, 1, ..., n - 1 from which entries are taken out by position, in O(log n) per
// removal: the list is a bit set (one bit per index still present) in blocks of 64 words; a Fenwick tree
// over the blocks (1 KB for a million indices) leads to the block, a small Fenwick tree over the block's
// words (two cache lines) to the word. Each removal touches few cache lines. Taking the entry at
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
    static constexpr std::size_t kWordsPerBlock = 64;
    static constexpr std::size_t kIndicesPerBlock = 64 * kWordsPerBlock;

    std::vector<std::uint64_t> words_;      // bit b of word w set: index 64 * w + b is present
    std::vector<std::uint16_t> wordTrees_;  // per block, a Fenwick tree over the set bits of its words
    std::vector<std::uint32_t> blockTree_;  // Fenwick tree (1-based) over the set bits per block
};

}  // namespace sampling
}  // namespace Kestrel
