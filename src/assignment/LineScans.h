// Passes over one contiguous line of values used by the assignment solver's checks, margin proof and exact
// steps; lines are doubles, or floats where the exact steps keep their matrix narrow. With SSE2 (every x86-64
// processor) they handle two values per instruction; the plain loops give the same results elsewhere. Each
// lane performs the same operations in the same order as the plain loop.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "InstructionSets.h"

#if KESTREL_USE_SSE2
#include <emmintrin.h>
#endif

namespace Kestrel::assignment {

// A cell of the narrowest storage of the exact steps' reduced matrix: an integer from 0 to 65534, or
// kForbidden for +infinity. It converts to a double only through widen, so that no reading of it can miss
// the +infinity.
struct NarrowCell {
    static constexpr std::uint16_t kForbidden = 65535;
    std::uint16_t bits;
};
static_assert(sizeof(NarrowCell) == 2, "narrow cells are packed two bytes each");

// The value of a cell of any storage as a double, exactly.
inline double widen(double cell) {
    return cell;
}
inline double widen(float cell) {
    return cell;
}
inline double widen(NarrowCell cell) {
    return cell.bits == NarrowCell::kForbidden ? std::numeric_limits<double>::infinity()
                                               : static_cast<double>(cell.bits);
}

#if KESTREL_USE_SSE2
// Two consecutive cells as doubles, as widen gives them; the passes below read matrices stored as doubles,
// floats or narrow cells.
inline __m128d loadTwo(double const* cells) {
    return _mm_loadu_pd(cells);
}
inline __m128d loadTwo(float const* cells) {
    return _mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<__m128i const*>(cells))));
}
// Stores the two differences as cells[0] and cells[1]; each must be an integer from 0 to 65534 or +infinity
// (which becomes kForbidden).
inline void storeTwoNarrow(NarrowCell* cells, __m128d differences) {
    __m128i const whole = _mm_cvttpd_epi32(_mm_min_pd(differences, _mm_set1_pd(NarrowCell::kForbidden)));
    // The low halves of the two 32-bit integers, side by side in the low 32 bits.
    std::int32_t const pair = _mm_cvtsi128_si32(_mm_shufflelo_epi16(whole, 0x08));
    std::memcpy(cells, &pair, sizeof(pair));
}

inline __m128d loadTwo(NarrowCell const* cells) {
    std::int32_t pair = 0;
    std::memcpy(&pair, cells, sizeof(pair));
    __m128d const values = _mm_cvtepi32_pd(_mm_unpacklo_epi16(_mm_cvtsi32_si128(pair), _mm_setzero_si128()));
    // kForbidden + infinity is +infinity; every other value gains +0.0 and stays as it is.
    __m128d const forbidden = _mm_cmpeq_pd(values, _mm_set1_pd(NarrowCell::kForbidden));
    return _mm_add_pd(values, _mm_and_pd(forbidden, _mm_set1_pd(std::numeric_limits<double>::infinity())));
}
#endif

// True when every value[0 .. n) is finite (x - x is 0 exactly for finite x, NaN otherwise).
inline bool allFinite(double const* values, int n) {
    int k = 0;
    bool finite = true;
#if KESTREL_USE_SSE2
    __m128d all = _mm_castsi128_pd(_mm_set1_epi32(-1));
    for (; k + 2 <= n; k += 2) {
        __m128d const value = _mm_loadu_pd(values + k);
        all = _mm_and_pd(all, _mm_cmpeq_pd(_mm_sub_pd(value, value), _mm_setzero_pd()));
    }
    finite = _mm_movemask_pd(all) == 3;
#endif
    for (; k < n; ++k) {
        finite = finite && values[k] - values[k] == 0.0;
    }
    return finite;
}

// minimum[k] = values[k] < minimum[k] ? values[k] : minimum[k] for k in [0, n): an equal value keeps the
// earlier minimum, as a scan that replaces the minimum only by smaller values does.
template <typename Cell>
inline void lowerToElementwiseMinimum(double* minimum, Cell const* values, int n) {
    int k = 0;
#if KESTREL_USE_SSE2
    for (; k + 2 <= n; k += 2) {
        _mm_storeu_pd(minimum + k, _mm_min_pd(loadTwo(values + k), _mm_loadu_pd(minimum + k)));
    }
#endif
    for (; k < n; ++k) {
        double const value = widen(values[k]);
        minimum[k] = value < minimum[k] ? value : minimum[k];
    }
}

// For k in [0, n): minimum[k] = values[k] < minimum[k] ? values[k] : minimum[k] (an equal value keeps the
// earlier minimum) and maximum[k] = values[k] > maximum[k] ? values[k] : maximum[k], where with
// kFiniteMaximum a value of +infinity never raises the maximum.
template <bool kFiniteMaximum>
inline void widenToElementwiseExtremes(double* minimum, double* maximum, double const* values, int n) {
    double const inf = std::numeric_limits<double>::infinity();
    int k = 0;
#if KESTREL_USE_SSE2
    __m128d const infs = _mm_set1_pd(inf);
    for (; k + 2 <= n; k += 2) {
        __m128d const value = _mm_loadu_pd(values + k);
        _mm_storeu_pd(minimum + k, _mm_min_pd(value, _mm_loadu_pd(minimum + k)));
        __m128d const previous = _mm_loadu_pd(maximum + k);
        if (kFiniteMaximum) {
            __m128d const raise = _mm_and_pd(_mm_cmplt_pd(value, infs), _mm_cmpgt_pd(value, previous));
            _mm_storeu_pd(maximum + k, _mm_or_pd(_mm_and_pd(raise, value), _mm_andnot_pd(raise, previous)));
        } else {
            _mm_storeu_pd(maximum + k, _mm_max_pd(value, previous));
        }
    }
#endif
    for (; k < n; ++k) {
        double const value = values[k];
        minimum[k] = value < minimum[k] ? value : minimum[k];
        maximum[k] = (!kFiniteMaximum || value < inf) && value > maximum[k] ? value : maximum[k];
    }
}

// Smallest and largest of values[0 .. n), n >= 1, all finite.
inline void lineExtremes(double const* values, int n, double* minimum, double* maximum) {
    double low = values[0];
    double high = values[0];
    int k = 0;
#if KESTREL_USE_SSE2
    __m128d lows = _mm_set1_pd(low);
    __m128d highs = lows;
    for (; k + 2 <= n; k += 2) {
        __m128d const value = _mm_loadu_pd(values + k);
        lows = _mm_min_pd(value, lows);
        highs = _mm_max_pd(value, highs);
    }
    double pair[2];
    _mm_storeu_pd(pair, lows);
    low = std::min(pair[0], pair[1]);
    _mm_storeu_pd(pair, highs);
    high = std::max(pair[0], pair[1]);
#endif
    for (; k < n; ++k) {
        low = std::min(low, values[k]);
        high = std::max(high, values[k]);
    }
    *minimum = low;
    *maximum = high;
}

// Comparisons for countWhere: on two lanes at once and on one value.
struct EqualTo {
#if KESTREL_USE_SSE2
    static __m128d lanes(__m128d values, __m128d targets) {
        return _mm_cmpeq_pd(values, targets);
    }
#endif
    static bool one(double value, double target) {
        return value == target;
    }
};
struct Below {
#if KESTREL_USE_SSE2
    static __m128d lanes(__m128d values, __m128d targets) {
        return _mm_cmplt_pd(values, targets);
    }
#endif
    static bool one(double value, double target) {
        return value < target;
    }
};

// Number of values[0 .. n) for which Comparison::one(value, target) holds.
template <typename Comparison, typename Cell>
inline int countWhere(Cell const* values, int n, double target) {
    int count = 0;
    int k = 0;
#if KESTREL_USE_SSE2
    __m128d const targets = _mm_set1_pd(target);
    for (; k + 2 <= n; k += 2) {
        int const mask = _mm_movemask_pd(Comparison::lanes(loadTwo(values + k), targets));
        count += (mask & 1) + (mask >> 1);
    }
#endif
    for (; k < n; ++k) {
        count += Comparison::one(widen(values[k]), target) ? 1 : 0;
    }
    return count;
}

// Number of values[0 .. n) equal to `target`.
template <typename Cell>
inline int countEqual(Cell const* values, int n, double target) {
    return countWhere<EqualTo>(values, n, target);
}

// Number of values[0 .. n) below `bound`.
inline int countBelow(double const* values, int n, double bound) {
    return countWhere<Below>(values, n, bound);
}

// Over k in [0, n): the lowest reduced cost (cost[k] - rowDual) - columnDual[k], starting from 0, and the
// number of reduced costs below `limit`.
inline void scanReducedCosts(double const* cost, double const* columnDual, double rowDual, int n,
                             double limit, double* lowest, int* nBelow) {
    double low = 0.0;
    int below = 0;
    int k = 0;
#if KESTREL_USE_SSE2
    __m128d const rowDuals = _mm_set1_pd(rowDual);
    __m128d const limits = _mm_set1_pd(limit);
    __m128d lows = _mm_setzero_pd();
    for (; k + 2 <= n; k += 2) {
        __m128d const reduced =
            _mm_sub_pd(_mm_sub_pd(_mm_loadu_pd(cost + k), rowDuals), _mm_loadu_pd(columnDual + k));
        lows = _mm_min_pd(reduced, lows);
        int const mask = _mm_movemask_pd(_mm_cmplt_pd(reduced, limits));
        below += (mask & 1) + (mask >> 1);
    }
    double pair[2];
    _mm_storeu_pd(pair, lows);
    low = std::min(pair[0], pair[1]);
#endif
    for (; k < n; ++k) {
        double const reduced = (cost[k] - rowDual) - columnDual[k];
        low = std::min(low, reduced);
        below += reduced < limit;
    }
    *lowest = low;
    *nBelow = below;
}

// For k in [0, n): keys[k] = candidate < keys[k] ? candidate : keys[k], with the candidate
// (((column[k] + added[k]) - subtracted) + blocked[k]) + total. Returns the smallest of the resulting keys
// (+infinity for n = 0); the smallest of a set does not depend on the order in which it is taken.
template <typename Cell>
inline double lowerKeysByColumn(double* keys, Cell const* column, double const* added, double const* blocked,
                                double subtracted, double total, int n) {
    double smallest = std::numeric_limits<double>::infinity();
    int k = 0;
#if KESTREL_USE_SSE2
    __m128d const subtracteds = _mm_set1_pd(subtracted);
    __m128d const totals = _mm_set1_pd(total);
    __m128d smallests = _mm_set1_pd(smallest);
    for (; k + 2 <= n; k += 2) {
        __m128d const candidate = _mm_add_pd(
            _mm_add_pd(_mm_sub_pd(_mm_add_pd(loadTwo(column + k), _mm_loadu_pd(added + k)), subtracteds),
                       _mm_loadu_pd(blocked + k)),
            totals);
        __m128d const key = _mm_min_pd(candidate, _mm_loadu_pd(keys + k));
        _mm_storeu_pd(keys + k, key);
        smallests = _mm_min_pd(key, smallests);
    }
    double pair[2];
    _mm_storeu_pd(pair, smallests);
    smallest = std::min(pair[0], pair[1]);
#endif
    for (; k < n; ++k) {
        double const candidate = (((widen(column[k]) + added[k]) - subtracted) + blocked[k]) + total;
        keys[k] = candidate < keys[k] ? candidate : keys[k];
        smallest = keys[k] < smallest ? keys[k] : smallest;
    }
    return smallest;
}

// Smallest of values[0 .. n), +infinity for n = 0.
inline double smallestValue(double const* values, int n) {
    double smallest = std::numeric_limits<double>::infinity();
    int k = 0;
#if KESTREL_USE_SSE2
    __m128d smallests = _mm_set1_pd(smallest);
    for (; k + 2 <= n; k += 2) {
        smallests = _mm_min_pd(_mm_loadu_pd(values + k), smallests);
    }
    double pair[2];
    _mm_storeu_pd(pair, smallests);
    smallest = std::min(pair[0], pair[1]);
#endif
    for (; k < n; ++k) {
        smallest = values[k] < smallest ? values[k] : smallest;
    }
    return smallest;
}

#if KESTREL_USE_SSE2
// Appends k and k + 1 to positions[0 .. count) as the two bits of a comparison mask say; returns the count.
inline int appendPairPositions(int mask, int k, int* positions, int count) {
    positions[count] = k;
    count += mask & 1;
    positions[count] = k + 1;
    return count + (mask >> 1);
}
#endif

// Writes to positions, in ascending order, every k in [0, n) with values[k] == target; returns how many.
template <typename Cell>
inline int positionsOfValue(Cell const* values, int n, double target, int* positions) {
    int count = 0;
    int k = 0;
#if KESTREL_USE_SSE2
    // Floats four at a time, passing over a group without a match at once (the zeros of a reduced column
    // are few). Comparing as floats is comparing as doubles when the target is itself a float.
    if constexpr (std::is_same_v<Cell, float>) {
        if (static_cast<double>(static_cast<float>(target)) == target) {
            __m128 const targets = _mm_set1_ps(static_cast<float>(target));
            for (; k + 4 <= n; k += 4) {
                for (int mask = _mm_movemask_ps(_mm_cmpeq_ps(_mm_loadu_ps(values + k), targets)); mask != 0;
                     mask &= mask - 1) {
                    positions[count++] = k + __builtin_ctz(static_cast<unsigned>(mask));
                }
            }
        }
    }
    // Narrow cells eight at a time, the same way; each cell sets two bits of the byte mask.
    if constexpr (std::is_same_v<Cell, NarrowCell>) {
        if (target >= 0.0 && target < NarrowCell::kForbidden && target == std::floor(target)) {
            __m128i const targets =
                _mm_set1_epi16(static_cast<std::int16_t>(static_cast<std::uint16_t>(target)));
            for (; k + 8 <= n; k += 8) {
                __m128i const cells = _mm_loadu_si128(reinterpret_cast<__m128i const*>(values + k));
                for (int mask = _mm_movemask_epi8(_mm_cmpeq_epi16(cells, targets)) & 0x5555; mask != 0;
                     mask &= mask - 1) {
                    positions[count++] = k + __builtin_ctz(static_cast<unsigned>(mask)) / 2;
                }
            }
        }
    }
    __m128d const targets = _mm_set1_pd(target);
    for (; k + 2 <= n; k += 2) {
        int const mask = _mm_movemask_pd(_mm_cmpeq_pd(loadTwo(values + k), targets));
        count = appendPairPositions(mask, k, positions, count);
    }
#endif
    for (; k < n; ++k) {
        positions[count] = k;
        count += widen(values[k]) == target ? 1 : 0;
    }
    return count;
}

// Writes to positions, in ascending order, every k in [0, n) with
// ((values[k] - shift) - shifts[k]) + added == keys[k] + total; returns how many. A NaN key matches nothing.
inline int positionsOfMatches(double const* values, double shift, double const* shifts, double added,
                              double const* keys, double total, int n, int* positions) {
    int count = 0;
    int k = 0;
#if KESTREL_USE_SSE2
    __m128d const shiftss = _mm_set1_pd(shift);
    __m128d const addeds = _mm_set1_pd(added);
    __m128d const totals = _mm_set1_pd(total);
    for (; k + 2 <= n; k += 2) {
        __m128d const left = _mm_add_pd(
            _mm_sub_pd(_mm_sub_pd(_mm_loadu_pd(values + k), shiftss), _mm_loadu_pd(shifts + k)), addeds);
        __m128d const right = _mm_add_pd(_mm_loadu_pd(keys + k), totals);
        int const mask = _mm_movemask_pd(_mm_cmpeq_pd(left, right));
        count = appendPairPositions(mask, k, positions, count);
    }
#endif
    for (; k < n; ++k) {
        positions[count] = k;
        count += ((values[k] - shift) - shifts[k]) + added == keys[k] + total ? 1 : 0;
    }
    return count;
}

// Largest of values[0 .. n) below +infinity, all values >= 0; 0 when there is none.
inline double largestFinite(double const* values, int n) {
    double const inf = std::numeric_limits<double>::infinity();
    double largest = 0.0;
    int k = 0;
#if KESTREL_USE_SSE2
    __m128d const infs = _mm_set1_pd(inf);
    __m128d largests = _mm_setzero_pd();
    for (; k + 2 <= n; k += 2) {
        __m128d const value = _mm_loadu_pd(values + k);
        largests = _mm_max_pd(_mm_and_pd(_mm_cmplt_pd(value, infs), value), largests);
    }
    double pair[2];
    _mm_storeu_pd(pair, largests);
    largest = std::max(pair[0], pair[1]);
#endif
    for (; k < n; ++k) {
        double const finite = values[k] < inf ? values[k] : 0.0;
        largest = finite > largest ? finite : largest;
    }
    return largest;
}

// True when every values[k], k in [0, n), n >= 1, is an integer from -2^31 to 2^31 - 1 (so every one is
// finite); then ORs the integers' 32-bit two's complements into *bits, whose lowest set bit is thus the
// lowest set bit of any of their magnitudes (negation keeps the trailing zeros), and stores the smallest
// and the largest value. False, leaving the outputs unspecified, otherwise. (A value outside that range,
// an infinity or NaN converts to the integer -2^31, which does not equal it back.)
inline bool smallIntegerLine(double const* values, int n, std::uint32_t* bits, double* minimum,
                             double* maximum) {
    std::uint32_t ored = 0;
    double low = values[0];
    double high = values[0];
    bool integers = true;
    int k = 0;
#if KESTREL_USE_SSE2
    __m128d all = _mm_castsi128_pd(_mm_set1_epi32(-1));
    __m128i ors = _mm_setzero_si128();
    __m128d lows = _mm_set1_pd(low);
    __m128d highs = lows;
    for (; k + 2 <= n; k += 2) {
        __m128d const value = _mm_loadu_pd(values + k);
        __m128i const whole = _mm_cvttpd_epi32(value);
        all = _mm_and_pd(all, _mm_cmpeq_pd(_mm_cvtepi32_pd(whole), value));
        ors = _mm_or_si128(ors, whole);
        lows = _mm_min_pd(value, lows);
        highs = _mm_max_pd(value, highs);
    }
    integers = _mm_movemask_pd(all) == 3;
    std::uint32_t lanes[4];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(lanes), ors);
    ored = lanes[0] | lanes[1];
    double pair[2];
    _mm_storeu_pd(pair, lows);
    low = std::min(pair[0], pair[1]);
    _mm_storeu_pd(pair, highs);
    high = std::max(pair[0], pair[1]);
#endif
    for (; k < n && integers; ++k) {
        double const value = values[k];
        integers = value >= -2147483648.0 && value < 2147483648.0 &&
                   static_cast<double>(static_cast<std::int32_t>(value)) == value;
        ored |= integers ? static_cast<std::uint32_t>(static_cast<std::int32_t>(value)) : 0u;
        low = std::min(low, value);
        high = std::max(high, value);
    }
    if (integers) {
        *bits |= ored;
        *minimum = low;
        *maximum = high;
    }
    return integers;
}

}  // namespace Kestrel::assignment
