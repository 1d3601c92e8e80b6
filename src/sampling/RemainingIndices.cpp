#include "RemainingIndices.h"

#include <array>

namespace Kestrel {
namespace sampling {
namespace {

// Per byte value: its number of set bits, and the bit number of its (r + 1)-th set bit.
struct ByteTables {
    std::array<std::uint8_t, 256> bitCount{};
    std::array<std::array<std::uint8_t, 8>, 256> setBit{};

    constexpr ByteTables() {
        for (unsigned value = 0; value < 256; ++value) {
            std::uint8_t count = 0;
            for (unsigned bit = 0; bit < 8; ++bit) {
                if (value & (1u << bit)) {
                    setBit[value][count] = static_cast<std::uint8_t>(bit);
                    ++count;
                }
            }
            bitCount[value] = count;
        }
    }
};

constexpr ByteTables kBytes;

std::uint32_t countBits(std::uint64_t word) {
    std::uint32_t count = 0;
    for (int byte = 0; byte < 8; ++byte) {
        count += kBytes.bitCount[(word >> (8 * byte)) & 0xff];
    }
    return count;
}

// The bit number of the (rank + 1)-th set bit of `word`. Requires: rank < countBits(word).
int selectBit(std::uint64_t word, std::uint32_t rank) {
    for (int byte = 0;; ++byte) {
        unsigned const value = static_cast<unsigned>(word >> (8 * byte)) & 0xff;
        std::uint32_t const count = kBytes.bitCount[value];
        if (rank < count) {
            return 8 * byte + kBytes.setBit[value][rank];
        }
        rank -= count;
    }
}

}  // namespace

RemainingIndices::RemainingIndices(std::size_t count) {
    // The tree covers a power-of-two number of words (the extra ones empty), so the descent needs no
    // bounds test and runs without branches.
    std::size_t wordCount = 1;
    while (wordCount * 64 < count) {
        wordCount *= 2;
    }
    words_.assign(wordCount, 0);
    for (std::size_t w = 0; w < count / 64; ++w) {
        words_[w] = ~std::uint64_t{0};
    }
    if (count % 64 != 0) {
        words_[count / 64] = (std::uint64_t{1} << (count % 64)) - 1;
    }
    tree_.assign(wordCount + 1, 0);
    for (std::size_t i = 1; i <= wordCount; ++i) {
        tree_[i] += countBits(words_[i - 1]);
        std::size_t const parent = i + (i & (~i + 1));
        if (parent <= wordCount) {
            tree_[parent] += tree_[i];
        }
    }
}

std::size_t RemainingIndices::takeAt(std::size_t position) {
    std::size_t const wordCount = words_.size();
    std::size_t node = 0;
    std::uint32_t rank = static_cast<std::uint32_t>(position);
    for (std::size_t step = wordCount / 2; step > 0; step /= 2) {
        std::uint32_t const below = tree_[node + step];
        bool const skip = below <= rank;
        node = skip ? node + step : node;
        rank = skip ? rank - below : rank;
    }
    // `node` words lie wholly before the wanted entry: it is in word `node` (0-based).
    int const bit = selectBit(words_[node], rank);
    words_[node] &= ~(std::uint64_t{1} << bit);
    for (std::size_t i = node + 1; i <= wordCount; i += i & (~i + 1)) {
        --tree_[i];
    }
    return node * 64 + static_cast<std::size_t>(bit);
}

}  // namespace sampling
}  // namespace Kestrel
