#include "PositionDecoding.h"

#include "InstructionSets.h"

#if KESTREL_USE_SSE2
#include <emmintrin.h>
#endif
#if KESTREL_USE_RUNTIME_DISPATCH
#include <immintrin.h>
#endif

#include <array>
#include <cstddef>

namespace Kestrel {
namespace sampling {
namespace {

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

constexpr std::size_t kRanges = 16;        // sixteen 32-bit counts fill 512 bits
constexpr std::size_t kLeastToSplit = 65;  // up to 64 values fit one word of flags

// The flags of the values 0 ... count - 1 of a range of at most 64 values.
std::uint64_t allValues(std::size_t count) {
    return count == 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << count) - 1;
}

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

// Plain C++ on every processor: the byte table selects bits, the counts sit in an array.
namespace portable {

// The counts of values left below each of the 16 ranges. A step's range is the one before the first
// range whose count is above its position; taking a value out lowers every count above the position by
// one. Positions are below 2^31, so signed comparisons serve.
class RangeCounts {
  public:
    explicit RangeCounts(std::size_t const* starts) {
        for (std::size_t b = 0; b < kRanges; ++b) {
            below_[b] = static_cast<std::int32_t>(starts[b]);
        }
    }

    // Takes out the value at `position`: returns its range and sets `below` to the count of values left
    // below that range (which this step does not change).
    std::size_t take(std::uint32_t position, std::uint32_t& below) {
        std::int32_t const value = static_cast<std::int32_t>(position);
        std::size_t firstAbove = kRanges;
        for (std::size_t b = 0; b < kRanges; ++b) {
            if (below_[b] > value) {
                firstAbove = firstAbove == kRanges ? b : firstAbove;
                below_[b] -= 1;
            }
        }
        std::size_t const range = firstAbove - 1;
        below = static_cast<std::uint32_t>(below_[range]);
        return range;
    }

  private:
    std::int32_t below_[kRanges];
};

#define KESTREL_DECODING_TARGET
#include "PositionSteps.inc"
#undef KESTREL_DECODING_TARGET

}  // namespace portable

#if KESTREL_USE_SSE2
// Every x86-64 processor: the counts in four 128-bit registers, one comparison and one addition per step.
namespace baseline {

// The counts of values left below each of the 16 ranges, in four registers. A step's range is the number
// of counts not above its position minus one; taking a value out lowers the counts above the position by
// one (the comparison's all-ones mask is added). Positions are below 2^31, so signed comparisons serve.
class RangeCounts {
  public:
    explicit RangeCounts(std::size_t const* starts) {
        for (std::size_t b = 0; b < kRanges; ++b) {
            below_[b] = static_cast<std::int32_t>(starts[b]);
        }
        lanes_[0] = _mm_load_si128(reinterpret_cast<__m128i const*>(below_) + 0);
        lanes_[1] = _mm_load_si128(reinterpret_cast<__m128i const*>(below_) + 1);
        lanes_[2] = _mm_load_si128(reinterpret_cast<__m128i const*>(below_) + 2);
        lanes_[3] = _mm_load_si128(reinterpret_cast<__m128i const*>(below_) + 3);
    }

    // Takes out the value at `position`: returns its range and sets `below` to the count of values left
    // below that range (which this step does not change).
    std::size_t take(std::uint32_t position, std::uint32_t& below) {
        __m128i const broadcast = _mm_set1_epi32(static_cast<std::int32_t>(position));
        __m128i above[4];
        for (int r = 0; r < 4; ++r) {
            above[r] = _mm_cmpgt_epi32(lanes_[r], broadcast);
            lanes_[r] = _mm_add_epi32(lanes_[r], above[r]);
        }
        unsigned const aboveFlags = static_cast<unsigned>(_mm_movemask_epi8(
            _mm_packs_epi16(_mm_packs_epi32(above[0], above[1]), _mm_packs_epi32(above[2], above[3]))));
        std::size_t const range = static_cast<std::size_t>(__builtin_ctz(aboveFlags | 0x10000u)) - 1;
        for (int r = 0; r < 4; ++r) {
            _mm_store_si128(reinterpret_cast<__m128i*>(below_) + r, lanes_[r]);
        }
        below = static_cast<std::uint32_t>(below_[range]);
        return range;
    }

  private:
    __m128i lanes_[4];
    alignas(16) std::int32_t below_[kRanges];
};

#define KESTREL_DECODING_TARGET
#include "PositionSteps.inc"
#undef KESTREL_DECODING_TARGET

}  // namespace baseline
#endif

#if KESTREL_USE_RUNTIME_DISPATCH
// Processors with 512-bit vectors and bit deposit: the counts in one register, the bit selection in two
// instructions. The same operations on the same integers, so the same result.
namespace wide {

#define KESTREL_DECODING_TARGET __attribute__((target("avx512f,bmi,bmi2")))

KESTREL_DECODING_TARGET int selectBit(std::uint64_t word, std::uint32_t rank) {
    return static_cast<int>(_tzcnt_u64(_pdep_u64(std::uint64_t{1} << rank, word)));
}

class RangeCounts {
  public:
    KESTREL_DECODING_TARGET explicit RangeCounts(std::size_t const* starts) {
        for (std::size_t b = 0; b < kRanges; ++b) {
            below_[b] = static_cast<std::int32_t>(starts[b]);
        }
        lanes_ = _mm512_load_si512(below_);
    }

    KESTREL_DECODING_TARGET std::size_t take(std::uint32_t position, std::uint32_t& below) {
        __m512i const broadcast = _mm512_set1_epi32(static_cast<std::int32_t>(position));
        __mmask16 const above = _mm512_cmpgt_epi32_mask(lanes_, broadcast);
        std::size_t const range = static_cast<std::size_t>(_tzcnt_u32(above | 0x10000u)) - 1;
        lanes_ = _mm512_mask_sub_epi32(lanes_, above, lanes_, _mm512_set1_epi32(1));
        _mm512_store_si512(below_, lanes_);
        below = static_cast<std::uint32_t>(below_[range]);
        return range;
    }

  private:
    __m512i lanes_;
    alignas(64) std::int32_t below_[kRanges];
};

#include "PositionSteps.inc"
#undef KESTREL_DECODING_TARGET

}  // namespace wide

bool wideInstructionsAvailable() {
    static bool const available = [] {
        __builtin_cpu_init();
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("bmi2");
    }();
    return available;
}
#endif

}  // namespace

std::vector<std::uint32_t> stepsTakingOut(std::vector<std::uint32_t> const& positions,
                                          [[maybe_unused]] DecodingInstructions instructions) {
    std::size_t const count = positions.size();
    std::vector<std::uint32_t> takenAt(count);
    std::vector<Step> steps(count < kLeastToSplit ? 0 : count);
    std::vector<Step> scratch(count < kLeastToSplit ? 0 : count);
#if KESTREL_USE_RUNTIME_DISPATCH
    if (instructions == DecodingInstructions::fastestAvailable && wideInstructionsAvailable()) {
        wide::decode(positions.data(), count, takenAt.data(), steps.data(), scratch.data());
        return takenAt;
    }
#endif
#if KESTREL_USE_SSE2
    if (instructions != DecodingInstructions::portable) {
        baseline::decode(positions.data(), count, takenAt.data(), steps.data(), scratch.data());
        return takenAt;
    }
#endif
    portable::decode(positions.data(), count, takenAt.data(), steps.data(), scratch.data());
    return takenAt;
}

}  // namespace sampling
}  // namespace Kestrel
