#include "PositionDecoding.h"

#include <emmintrin.h>

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

// The first split reads the positions as drawn; the step number is the place in that sequence.
struct DrawnSteps {
    std::uint32_t const* positions;
    Step operator[](std::size_t i) const { return Step{positions[i], static_cast<std::uint32_t>(i)}; }
};

struct SplitSteps {
    Step const* steps;
    Step operator[](std::size_t i) const { return steps[i]; }
};

constexpr std::size_t kRanges = 16;        // four 128-bit registers of 32-bit counts
constexpr std::size_t kLeastToSplit = 65;  // up to 64 values fit one word of flags

// The flags of the values 0 ... count - 1 of a range of at most 64 values.
std::uint64_t allValues(std::size_t count) {
    return count == 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << count) - 1;
}

// Settles `count` steps within the values base + b for the set bits b of `left`, which counts at
// least `count` values.
template <typename Source>
void settle(Source steps, std::size_t count, std::uint64_t left, std::uint32_t base, std::uint32_t* takenAt) {
    for (std::size_t i = 0; i < count; ++i) {
        int const bit = selectBit(left, steps[i].position);
        left &= ~(std::uint64_t{1} << bit);
        takenAt[base + static_cast<std::uint32_t>(bit)] = steps[i].index;
    }
}

// Settles two ranges of at most 64 values side by side: each step of a range waits for the step before
// it, so two ranges at once keep the processor busy while it waits.
void settleTwo(Step const* first, std::size_t firstCount, std::uint32_t firstBase, Step const* second,
               std::size_t secondCount, std::uint32_t secondBase, std::uint32_t* takenAt) {
    std::uint64_t firstLeft = allValues(firstCount);
    std::uint64_t secondLeft = allValues(secondCount);
    std::size_t const both = firstCount < secondCount ? firstCount : secondCount;
    for (std::size_t i = 0; i < both; ++i) {
        int const firstBit = selectBit(firstLeft, first[i].position);
        int const secondBit = selectBit(secondLeft, second[i].position);
        firstLeft &= ~(std::uint64_t{1} << firstBit);
        secondLeft &= ~(std::uint64_t{1} << secondBit);
        takenAt[firstBase + static_cast<std::uint32_t>(firstBit)] = first[i].index;
        takenAt[secondBase + static_cast<std::uint32_t>(secondBit)] = second[i].index;
    }
    settle(SplitSteps{first + both}, firstCount - both, firstLeft, firstBase, takenAt);
    settle(SplitSteps{second + both}, secondCount - both, secondLeft, secondBase, takenAt);
}

template <typename Source>
void split(Source source, Step* target, Step* spare, std::size_t count, std::uint32_t base,
           std::uint32_t* takenAt);

// Splits the `count` steps of `source` (in step order) among 16 ranges of `width` consecutive values
// (the last ones shorter or empty) into `target`, each range's steps in step order, then places each
// range. A range of w values receives exactly w steps, because every value is taken out once. The
// counts of values left below each range sit in four registers: a step's range is the number of counts
// not above its position minus one, and taking a value out lowers the counts above the position by one
// (the comparison's all-ones mask is added). Positions are below 2^31, so signed comparisons serve.
template <typename Source>
void split(Source source, Step* target, Step* spare, std::size_t count, std::uint32_t base,
           std::uint32_t* takenAt) {
    std::size_t const width = (count + kRanges - 1) / kRanges;
    std::array<std::size_t, kRanges + 1> start;
    for (std::size_t b = 0; b <= kRanges; ++b) {
        start[b] = b * width < count ? b * width : count;
    }
    alignas(16) std::array<std::int32_t, kRanges> below;
    std::array<std::size_t, kRanges> cursor;
    for (std::size_t b = 0; b < kRanges; ++b) {
        below[b] = static_cast<std::int32_t>(start[b]);
        cursor[b] = start[b];
    }
    __m128i* const belowLanes = reinterpret_cast<__m128i*>(below.data());
    __m128i below0 = _mm_load_si128(belowLanes + 0);
    __m128i below1 = _mm_load_si128(belowLanes + 1);
    __m128i below2 = _mm_load_si128(belowLanes + 2);
    __m128i below3 = _mm_load_si128(belowLanes + 3);
    for (std::size_t i = 0; i < count; ++i) {
        Step const step = source[i];
        __m128i const position = _mm_set1_epi32(static_cast<std::int32_t>(step.position));
        __m128i const above0 = _mm_cmpgt_epi32(below0, position);
        __m128i const above1 = _mm_cmpgt_epi32(below1, position);
        __m128i const above2 = _mm_cmpgt_epi32(below2, position);
        __m128i const above3 = _mm_cmpgt_epi32(below3, position);
        below0 = _mm_add_epi32(below0, above0);
        below1 = _mm_add_epi32(below1, above1);
        below2 = _mm_add_epi32(below2, above2);
        below3 = _mm_add_epi32(below3, above3);
        unsigned const aboveFlags = static_cast<unsigned>(_mm_movemask_epi8(
            _mm_packs_epi16(_mm_packs_epi32(above0, above1), _mm_packs_epi32(above2, above3))));
        std::size_t const range = static_cast<std::size_t>(__builtin_ctz(aboveFlags | 0x10000u)) - 1;
        // The counts at and below the step's range are unchanged by this step.
        _mm_store_si128(belowLanes + 0, below0);
        _mm_store_si128(belowLanes + 1, below1);
        _mm_store_si128(belowLanes + 2, below2);
        _mm_store_si128(belowLanes + 3, below3);
        target[cursor[range]++] = Step{step.position - static_cast<std::uint32_t>(below[range]), step.index};
    }
    std::size_t waiting = kRanges;  // a range of at most 64 values not yet settled
    for (std::size_t b = 0; b < kRanges; ++b) {
        std::size_t const size = start[b + 1] - start[b];
        std::uint32_t const rangeBase = base + static_cast<std::uint32_t>(start[b]);
        if (size >= kLeastToSplit) {
            split(SplitSteps{target + start[b]}, spare + start[b], target + start[b], size, rangeBase,
                  takenAt);
        } else if (waiting == kRanges) {
            waiting = b;
        } else {
            settleTwo(target + start[waiting], start[waiting + 1] - start[waiting],
                      base + static_cast<std::uint32_t>(start[waiting]), target + start[b], size, rangeBase,
                      takenAt);
            waiting = kRanges;
        }
    }
    if (waiting != kRanges) {
        settle(SplitSteps{target + start[waiting]}, start[waiting + 1] - start[waiting],
               allValues(start[waiting + 1] - start[waiting]),
               base + static_cast<std::uint32_t>(start[waiting]), takenAt);
    }
}

}  // namespace

std::vector<std::uint32_t> stepsTakingOut(std::vector<std::uint32_t> const& positions) {
    std::size_t const count = positions.size();
    std::vector<std::uint32_t> takenAt(count);
    if (count < kLeastToSplit) {
        settle(DrawnSteps{positions.data()}, count, allValues(count), 0, takenAt.data());
        return takenAt;
    }
    std::vector<Step> steps(count);
    std::vector<Step> scratch(count);
    split(DrawnSteps{positions.data()}, steps.data(), scratch.data(), count, 0, takenAt.data());
    return takenAt;
}

}  // namespace sampling
}  // namespace Kestrel
