// Passes over one contiguous line of doubles used by the assignment solver's checks and margin proof.
// With SSE2 (every x86-64 processor) they handle two values per instruction; the plain loops give the same
// results elsewhere. Each lane performs the same operations in the same order as the plain loop.
#pragma once

#include <algorithm>

#include "InstructionSets.h"

#if KESTREL_USE_SSE2
#include <emmintrin.h>
#endif

namespace Kestrel::assignment {

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
inline void lowerToElementwiseMinimum(double* minimum, double const* values, int n) {
    int k = 0;
#if KESTREL_USE_SSE2
    for (; k + 2 <= n; k += 2) {
        _mm_storeu_pd(minimum + k, _mm_min_pd(_mm_loadu_pd(values + k), _mm_loadu_pd(minimum + k)));
    }
#endif
    for (; k < n; ++k) {
        minimum[k] = values[k] < minimum[k] ? values[k] : minimum[k];
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

// Number of values[0 .. n) equal to `target`.
inline int countEqual(double const* values, int n, double target) {
    int count = 0;
    int k = 0;
#if KESTREL_USE_SSE2
    __m128d const targets = _mm_set1_pd(target);
    for (; k + 2 <= n; k += 2) {
        int const mask = _mm_movemask_pd(_mm_cmpeq_pd(_mm_loadu_pd(values + k), targets));
        count += (mask & 1) + (mask >> 1);
    }
#endif
    for (; k < n; ++k) {
        count += values[k] == target;
    }
    return count;
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

}  // namespace Kestrel::assignment
