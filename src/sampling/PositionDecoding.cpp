#include "PositionDecoding.h"

#include <array>
#include <cstddef>

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

// The bit number of the (rank + 1)-th set bit of `word`, without branches: byte b of `through` counts
// the set bits of bytes 0 ... b; the wanted byte is the number of bytes whose count is at most rank.
// Requires: rank < the number of set bits of `word`.
int selectBit(std::uint64_t word, std::uint32_t rank) {
    std::uint64_t const through = bitsPerByte(word) * kOnes;
    std::uint64_t const atMostRank =
        ((rank * kOnes) | kHigh) - through;  // high bit set where through <= rank
    unsigned const byte = static_cast<unsigned>((((atMostRank & kHigh) >> 7) * kOnes) >> 56);
    std::uint32_t const before = static_cast<std::uint32_t>(((through << 8) >> (8 * byte)) & 0xff);
    unsigned const value = static_cast<unsigned>(word >> (8 * byte)) & 0xff;
    return static_cast<int>(8 * byte + kBytes.setBit[value][rank - before]);
}

// A step still to be placed: its position within the current value range and its step number.
struct Step {
    std::uint32_t position;
    std::uint32_t index;
};

// Places the `count` steps in `steps` (in step order) within the values base ... base + count - 1: a range
// of n values receives exactly n steps, because every value is taken out once. `scratch` has room for
// `count` steps. The split uses masks instead of branches (its outcomes are random).
void place(Step* steps, Step* scratch, std::size_t count, std::uint32_t base, std::uint32_t* entries) {
    if (count <= 64) {
        std::uint64_t left = count == 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << count) - 1;
        for (std::size_t i = 0; i < count; ++i) {
            int const bit = selectBit(left, steps[i].position);
            left &= ~(std::uint64_t{1} << bit);
            entries[steps[i].index] = base + static_cast<std::uint32_t>(bit);
        }
        return;
    }
    std::size_t const lowerCount = count / 2;
    std::uint32_t lowerLeft = static_cast<std::uint32_t>(lowerCount);
    std::size_t lower = 0;
    std::size_t upper = lowerCount;
    for (std::size_t i = 0; i < count; ++i) {
        Step const step = steps[i];
        std::uint32_t const goesLower = step.position < lowerLeft ? 1u : 0u;
        std::size_t const target = upper + ((lower - upper) & (std::size_t{0} - goesLower));
        scratch[target] = Step{step.position - (lowerLeft & (goesLower - 1u)), step.index};
        lower += goesLower;
        upper += 1u - goesLower;
        lowerLeft -= goesLower;
    }
    place(scratch, steps, lowerCount, base, entries);
    place(scratch + lowerCount, steps + lowerCount, count - lowerCount,
          base + static_cast<std::uint32_t>(lowerCount), entries);
}

}  // namespace

void takeOutInOrder(std::vector<std::uint32_t>& positions) {
    std::size_t const count = positions.size();
    std::vector<Step> steps(count);
    std::vector<Step> scratch(count);
    for (std::size_t i = 0; i < count; ++i) {
        steps[i] = {positions[i], static_cast<std::uint32_t>(i)};
    }
    place(steps.data(), scratch.data(), count, 0, positions.data());
}

}  // namespace sampling
}  // namespace Kestrel
