#include "RemainingIndices.h"

namespace Kestrel {
namespace sampling {
namespace {

int countBits(std::uint64_t word) {
    return __builtin_popcountll(word);
}

// The bit number of the (rank + 1)-th set bit of `word`. Requires: rank < countBits(word).
int selectBit(std::uint64_t word, unsigned rank) {
    int offset = 0;
    for (int width = 32; width >= 8; width /= 2) {
        std::uint64_t const low = word & ((std::uint64_t{1} << width) - 1);
        unsigned const lowCount = static_cast<unsigned>(countBits(low));
        if (rank >= lowCount) {
            rank -= lowCount;
            word >>= width;
            offset += width;
        } else {
            word = low;
        }
    }
    for (;; ++offset, word >>= 1) {
        if (word & 1) {
            if (rank == 0) {
                return offset;
            }
            --rank;
        }
    }
}

}  // namespace

RemainingIndices::RemainingIndices(std::size_t count) : words_((count + 63) / 64, ~std::uint64_t{0}) {
    if (count % 64 != 0) {
        words_.back() = (std::uint64_t{1} << (count % 64)) - 1;
    }
    std::size_t const wordCount = words_.size();
    tree_.assign(wordCount + 1, 0);
    for (std::size_t i = 1; i <= wordCount; ++i) {
        tree_[i] += static_cast<std::uint32_t>(countBits(words_[i - 1]));
        std::size_t const parent = i + (i & (~i + 1));
        if (parent <= wordCount) {
            tree_[parent] += tree_[i];
        }
    }
    highestStep_ = 1;
    while (highestStep_ * 2 <= wordCount) {
        highestStep_ *= 2;
    }
}

std::size_t RemainingIndices::takeAt(std::size_t position) {
    std::size_t const wordCount = words_.size();
    std::size_t node = 0;
    std::size_t rank = position;
    for (std::size_t step = highestStep_; step > 0; step /= 2) {
        std::size_t const next = node + step;
        if (next <= wordCount && tree_[next] <= rank) {
            node = next;
            rank -= tree_[next];
        }
    }
    // `node` words lie wholly before the wanted entry: it is in word `node` (0-based).
    int const bit = selectBit(words_[node], static_cast<unsigned>(rank));
    words_[node] &= ~(std::uint64_t{1} << bit);
    for (std::size_t i = node + 1; i <= wordCount; i += i & (~i + 1)) {
        --tree_[i];
    }
    return node * 64 + static_cast<std::size_t>(bit);
}

}  // namespace sampling
}  // namespace Kestrel
