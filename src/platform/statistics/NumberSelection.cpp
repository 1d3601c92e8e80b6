#include "NumberSelection.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>

namespace Kestrel {
namespace Tessel {
namespace {

constexpr std::uint64_t kSignBit = std::uint64_t{1} << 63;

// Buckets per counting round: each round leaves the keys of one bucket, a range 2^10 times narrower.
constexpr int kBucketBits = 10;
constexpr std::size_t kBuckets = std::size_t{1} << kBucketBits;

// Counts of consecutive keys go to different copies of the histogram, so that a run of keys in one bucket
// does not make every increment wait for the one before.
constexpr std::size_t kHistogramCopies = 4;

// From this many keys down, a comparison-based selection of what is left is cheaper than another count.
constexpr std::size_t kFewKeys = 64;

// Negative numbers have their bits inverted (larger magnitudes come first), non-negative ones their sign
// bit set (above every negative number): -0.0 maps just below +0.0.
std::uint64_t keyOf(double x) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &x, sizeof bits);
    std::uint64_t const negative = std::uint64_t{0} - (bits >> 63);
    return bits ^ (negative | kSignBit);
}

double numberOf(std::uint64_t key) {
    std::uint64_t const bits = (key & kSignBit) != 0 ? key ^ kSignBit : ~key;
    double x = 0.0;
    std::memcpy(&x, &bits, sizeof x);
    return x;
}

int bitWidth(std::uint64_t x) {
    return x == 0 ? 0 : 64 - __builtin_clzll(x);
}

// The keys of positions `rank` and `rank` + 1 of keys[0 ... count - 1] in ascending order.
std::pair<std::uint64_t, std::uint64_t> selectFew(std::uint64_t* keys, std::size_t count, std::size_t rank) {
    std::nth_element(keys, keys + rank, keys + count);
    return {keys[rank], *std::min_element(keys + rank + 1, keys + count)};
}

}  // namespace

std::optional<std::pair<double, double>> neighbouringNumbers(std::vector<double> const& values,
                                                             std::size_t position) {
    std::size_t count = values.size();
    if (count > std::numeric_limits<std::uint32_t>::max()) {
        return std::nullopt;
    }
    std::vector<std::uint64_t> keys(count);
    std::uint64_t lowest = ~std::uint64_t{0};
    std::uint64_t highest = 0;
    bool anyNan = false;
    for (std::size_t i = 0; i < count; ++i) {
        double const x = values[i];
        anyNan = anyNan || x != x;
        std::uint64_t const key = keyOf(x);
        keys[i] = key;
        lowest = std::min(lowest, key);
        highest = std::max(highest, key);
    }
    if (anyNan) {
        return std::nullopt;
    }

    // keys[0 ... count - 1] hold the keys of sorted positions `first` ... `first` + count - 1, all within
    // lowest ... highest; rank = position - first, and position + 1 lies among them too.
    std::size_t rank = position;
    std::array<std::uint32_t, kHistogramCopies * kBuckets> histogram;
    while (count > kFewKeys && lowest != highest) {
        int const shift = std::max(0, bitWidth(highest - lowest) - kBucketBits);
        histogram.fill(0);
        for (std::size_t i = 0; i < count; ++i) {
            ++histogram[(i % kHistogramCopies) * kBuckets + ((keys[i] - lowest) >> shift)];
        }
        // The buckets holding positions rank and rank + 1, and how many keys lie before the first of them.
        std::size_t before = 0;
        std::size_t bucket = 0;
        std::size_t firstBucket = kBuckets;
        std::size_t beforeFirst = 0;
        for (;; ++bucket) {
            std::size_t inBucket = 0;
            for (std::size_t copy = 0; copy < kHistogramCopies; ++copy) {
                inBucket += histogram[copy * kBuckets + bucket];
            }
            if (firstBucket == kBuckets && before + inBucket > rank) {
                firstBucket = bucket;
                beforeFirst = before;
            }
            before += inBucket;
            if (before > rank + 1) {
                break;
            }
        }
        std::size_t const lastBucket = bucket;
        if (shift == 0) {
            return std::pair<double, double>{numberOf(lowest + firstBucket), numberOf(lowest + lastBucket)};
        }
        if (lastBucket != firstBucket) {
            // Position rank is the largest key of its bucket, rank + 1 the smallest of the next bucket
            // holding any.
            std::uint64_t largest = 0;
            std::uint64_t smallest = ~std::uint64_t{0};
            for (std::size_t i = 0; i < count; ++i) {
                std::uint64_t const key = keys[i];
                std::uint64_t const keyBucket = (key - lowest) >> shift;
                largest = keyBucket == firstBucket ? std::max(largest, key) : largest;
                smallest = keyBucket == lastBucket ? std::min(smallest, key) : smallest;
            }
            return std::pair<double, double>{numberOf(largest), numberOf(smallest)};
        }
        // Keep the keys of that bucket, in place: a range 2^kBucketBits times narrower.
        std::size_t kept = 0;
        for (std::size_t i = 0; i < count; ++i) {
            std::uint64_t const key = keys[i];
            keys[kept] = key;
            kept += ((key - lowest) >> shift) == firstBucket ? 1 : 0;
        }
        count = kept;
        rank -= beforeFirst;
        lowest += std::uint64_t{firstBucket} << shift;
        std::uint64_t const bucketWidth = (std::uint64_t{1} << shift) - 1;
        highest = highest - lowest > bucketWidth ? lowest + bucketWidth : highest;
    }
    if (lowest == highest) {
        return std::pair<double, double>{numberOf(lowest), numberOf(lowest)};
    }
    std::pair<std::uint64_t, std::uint64_t> const around = selectFew(keys.data(), count, rank);
    return std::pair<double, double>{numberOf(around.first), numberOf(around.second)};
}

}  // namespace Tessel
}  // namespace Kestrel
