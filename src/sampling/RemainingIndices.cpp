#include "RemainingIndices.h"

#include <array>

namespace Kestrel {
namespace sampling {
namespace {

constexpr std::uint64_t kOnes = 0x0101010101010101u;
constexpr std::uint64_t kHigh = 0x8080808080808080u;

// setBit[v][r]: the bit number of the (r + 1)-th set bit of the byte value v.
struct ByteTable {
    std::array<std::array<std::uint8_t, 8>, 256> setBit{};

    constexpr ByteTable() {
        for (unsigned value = 0; value < 256; ++value) {
            unsigned count = 0;
            for (unsigned bit = 0; bit < 8; ++bit) {
                if (value & (1u << bit)) {
                    setBit[value][count] = static_cast<std::uint8_t>(bit);
                    ++count;
                }
            }
        }
    }
};

constexpr ByteTable kBytes;

// Each byte of the result: the number of set bits in the same byte of `word`.
std::uint64_t bitsPerByte(std::uint64_t word) {
    word = word - ((word >> 1) & 0x5555555555555555u);
    word = (word & 0x3333333333333333u) + ((word >> 2) & 0x3333333333333333u);
    return (word + (word >> 4)) & 0x0f0f0f0f0f0f0f0fu;
}

std::uint32_t countBits(std::uint64_t word) {
    return static_cast<std::uint32_t>((bitsPerByte(word) * kOnes) >> 56);
}

// The bit number of the (rank + 1)-th set bit of `word`, without branches: byte b of `through` counts
// the set bits of bytes 0 ... b; the wanted byte is the number of bytes whose count is at most rank.
// Requires: rank < countBits(word).
int selectBit(std::uint64_t word, std::uint32_t rank) {
    std::uint64_t const through = bitsPerByte(word) * kOnes;
    std::uint64_t const atMostRank =
        ((rank * kOnes) | kHigh) - through;  // high bit set where through <= rank
    unsigned const byte = static_cast<unsigned>((((atMostRank & kHigh) >> 7) * kOnes) >> 56);
    std::uint32_t const before = static_cast<std::uint32_t>(((through << 8) >> (8 * byte)) & 0xff);
    unsigned const value = static_cast<unsigned>(word >> (8 * byte)) & 0xff;
    return static_cast<int>(8 * byte + kBytes.setBit[value][rank - before]);
}

}  // namespace

RemainingIndices::RemainingIndices(std::size_t count) {
    // The block tree covers a power-of-two number of blocks (the extra ones empty), so the descents need
    // no bounds test and run without branches.
    std::size_t blockCount = 1;
    while (blockCount * kIndicesPerBlock < count) {
        blockCount *= 2;
    }
    words_.assign(blockCount * kWordsPerBlock, 0);
    for (std::size_t w = 0; w < count / 64; ++w) {
        words_[w] = ~std::uint64_t{0};
    }
    if (count % 64 != 0) {
        words_[count / 64] = (std::uint64_t{1} << (count % 64)) - 1;
    }
    wordTrees_.assign(blockCount * kWordsPerBlock, 0);
    blockTree_.assign(blockCount + 1, 0);
    for (std::size_t block = 0; block < blockCount; ++block) {
        std::uint16_t* tree = &wordTrees_[block * kWordsPerBlock];  // node i (1-based) at tree[i - 1]
        std::uint32_t blockBits = 0;
        for (std::size_t i = 1; i <= kWordsPerBlock; ++i) {
            std::uint32_t const bits = countBits(words_[block * kWordsPerBlock + i - 1]);
            blockBits += bits;
            tree[i - 1] = static_cast<std::uint16_t>(tree[i - 1] + bits);
            std::size_t const parent = i + (i & (~i + 1));
            if (parent <= kWordsPerBlock) {
                tree[parent - 1] = static_cast<std::uint16_t>(tree[parent - 1] + tree[i - 1]);
            }
        }
        std::size_t const i = block + 1;
        blockTree_[i] += blockBits;
        std::size_t const parent = i + (i & (~i + 1));
        if (parent <= blockCount) {
            blockTree_[parent] += blockTree_[i];
        }
    }
}

std::size_t RemainingIndices::takeAt(std::size_t position) {
    std::size_t const blockCount = blockTree_.size() - 1;
    std::size_t block = 0;
    std::uint32_t rank = static_cast<std::uint32_t>(position);
    for (std::size_t step = blockCount / 2; step > 0; step /= 2) {
        std::uint32_t const below = blockTree_[block + step];
        std::uint32_t const skip = below <= rank ? 1u : 0u;  // masks instead of branches: 50/50 outcomes
        block += step & (std::size_t{0} - skip);
        rank -= below & (0u - skip);
    }
    // `block` blocks lie wholly before the wanted entry; now the words within block `block` (0-based).
    std::uint16_t* tree = &wordTrees_[block * kWordsPerBlock];
    std::size_t word = 0;
    for (std::size_t step = kWordsPerBlock / 2; step > 0; step /= 2) {
        std::uint32_t const below = tree[word + step - 1];
        std::uint32_t const skip = below <= rank ? 1u : 0u;  // masks instead of branches: 50/50 outcomes
        word += step & (std::size_t{0} - skip);
        rank -= below & (0u - skip);
    }
    std::size_t const index = block * kWordsPerBlock + word;
    int const bit = selectBit(words_[index], rank);
    words_[index] &= ~(std::uint64_t{1} << bit);
    for (std::size_t i = word + 1; i <= kWordsPerBlock; i += i & (~i + 1)) {
        --tree[i - 1];
    }
    for (std::size_t i = block + 1; i <= blockCount; i += i & (~i + 1)) {
        --blockTree_[i];
    }
    return index * 64 + static_cast<std::size_t>(bit);
}

}  // namespace sampling
}  // namespace Kestrel
