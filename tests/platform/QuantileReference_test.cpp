// The quantile of StatisticalCalculator, which selects two order statistics, against ReferenceQuantile, a
// full sort of the values in the same order, bit for bit, on seeded random data full of ties, zeros of
// both signs, infinities and NaN of several bit patterns.
#include <Kestrel/Tessel/StatisticalCalculator.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace {

using Kestrel::Tessel::StatisticalCalculator;

std::uint64_t bitsOf(double x) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &x, sizeof bits);
    return bits;
}

double fromBits(std::uint64_t bits) {
    double x = 0.0;
    std::memcpy(&x, &bits, sizeof x);
    return x;
}

// Numbers ascending with -0.0 before +0.0, then NaN ascending by their bits.
bool referenceBefore(double a, double b) {
    bool const aNan = std::isnan(a);
    bool const bNan = std::isnan(b);
    if (aNan || bNan) {
        return aNan && bNan ? bitsOf(a) < bitsOf(b) : bNan;
    }
    return a < b || (a == b && std::signbit(a) && !std::signbit(b));
}

// The plain quantile: sort everything, interpolate between the two order statistics around the level.
double ReferenceQuantile(std::vector<double> values, double level) {
    if (std::isnan(level)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    std::sort(values.begin(), values.end(), referenceBefore);
    double const h = static_cast<double>(values.size() - 1) * std::min(std::max(level, 0.0), 1.0);
    double const floorOfH = std::floor(h);
    auto const lo = static_cast<std::size_t>(floorOfH);
    if (lo + 1 < values.size()) {
        return values[lo] + (h - floorOfH) * (values[lo + 1] - values[lo]);
    }
    return values[lo];
}

double quantile(std::vector<double> const& values, double level) {
    StatisticalCalculator calculator(static_cast<int>(values.size()));
    calculator.loadDataSet(values);
    return calculator.getQuantile(level, 0);
}

// A value drawn from a pool where ties, signed zeros, infinities and NaN are common.
double awkwardValue(std::mt19937_64& engine) {
    double const infinity = std::numeric_limits<double>::infinity();
    switch (engine() % 10) {
        case 0:
            return 0.0;
        case 1:
            return -0.0;
        case 2:
            return engine() % 2 == 0 ? infinity : -infinity;
        case 3: {
            // A NaN of either sign with a random payload (quiet or signalling).
            std::uint64_t const payload = (engine() & 0x000fffffffffffffULL) | 1;
            return fromBits((engine() % 2 == 0 ? 0x7ff0000000000000ULL : 0xfff0000000000000ULL) | payload);
        }
        case 4:
        case 5:
            return static_cast<double>(static_cast<int>(engine() % 7) - 3);  // ties
        default:
            return std::normal_distribution<double>(0.0, 10.0)(engine);
    }
}

std::vector<double> awkwardValues(std::mt19937_64& engine, std::size_t size) {
    std::vector<double> values(size);
    for (double& value : values) {
        value = awkwardValue(engine);
    }
    return values;
}

double randomLevel(std::mt19937_64& engine, std::size_t size) {
    switch (engine() % 6) {
        case 0:
            return 0.0;
        case 1:
            return 1.0;
        case 2:
            return 0.05;
        case 3:  // exactly on an order statistic
            return static_cast<double>(engine() % size) /
                   static_cast<double>(std::max<std::size_t>(size - 1, 1));
        default:
            return std::uniform_real_distribution<double>(0.0, 1.0)(engine);
    }
}

// Bit for bit, except that of two NaN operands an addition or multiplication may pass on either
// payload, depending on how the compiler ordered the operands: a NaN result is only required to be NaN.
// The largest value (level 1) is returned without arithmetic and is compared bit for bit even when NaN.
void expectSameQuantile(std::vector<double> const& values, double level, int trial) {
    double const actual = quantile(values, level);
    double const expected = ReferenceQuantile(values, level);
    if (std::isnan(expected) && level < 1.0) {
        EXPECT_TRUE(std::isnan(actual)) << "trial " << trial << ", level " << level;
    } else {
        EXPECT_EQ(bitsOf(actual), bitsOf(expected))
            << "trial " << trial << ", " << values.size() << " values, level " << level;
    }
}

TEST(QuantileReference, SelectionMatchesFullSortBitForBit) {
    std::mt19937_64 engine(2026);
    for (int trial = 0; trial < 4000; ++trial) {
        std::size_t const size = 1 + engine() % (trial % 2 == 0 ? 12 : 400);
        std::vector<double> const values = awkwardValues(engine, size);
        expectSameQuantile(values, randomLevel(engine, size), trial);
        expectSameQuantile(values, 1.0, trial);
    }
}

TEST(QuantileReference, ResultDoesNotDependOnLoadOrder) {
    std::mt19937_64 engine(77);
    for (int trial = 0; trial < 300; ++trial) {
        std::vector<double> values = awkwardValues(engine, 1 + engine() % 60);
        double const level = randomLevel(engine, values.size());
        std::uint64_t const first = bitsOf(quantile(values, level));
        std::uint64_t const largest = bitsOf(quantile(values, 1.0));
        for (int shuffle = 0; shuffle < 5; ++shuffle) {
            std::shuffle(values.begin(), values.end(), engine);
            double const again = quantile(values, level);
            EXPECT_TRUE(bitsOf(again) == first || (std::isnan(again) && std::isnan(fromBits(first))))
                << "trial " << trial;
            EXPECT_EQ(bitsOf(quantile(values, 1.0)), largest) << "trial " << trial;
        }
    }
}

// NaN-free data of the kinds a population's scores take: clustered around a value, with many ties, spread
// over many binary orders of magnitude, consecutive doubles, signed zeros and infinities, subnormals.
std::vector<double> numbersOfKind(std::mt19937_64& engine, std::size_t size, int kind) {
    std::vector<double> values(size);
    double const infinity = std::numeric_limits<double>::infinity();
    std::normal_distribution<double> normal(0.0, 1.0);
    double const centre =
        std::ldexp(1.0 + static_cast<double>(engine() % 1000) / 1000.0, static_cast<int>(engine() % 40) - 20);
    std::size_t const distinct = 1 + engine() % 50;
    std::uint64_t const ulpSpread = 1 + engine() % 3000;
    for (double& value : values) {
        switch (kind) {
            case 0:  // clustered
                value = centre * (1.0 + 1e-3 * normal(engine));
                break;
            case 1:  // few distinct values, so ties straddle every position
                value = centre + static_cast<double>(engine() % distinct);
                break;
            case 2:  // many orders of magnitude, both signs
                value = std::ldexp(normal(engine), static_cast<int>(engine() % 400) - 200);
                break;
            case 3:  // neighbouring doubles
                value = fromBits(bitsOf(centre) + engine() % ulpSpread);
                break;
            case 4: {  // signed zeros, infinities, subnormals and ordinary numbers
                std::uint64_t const pick = engine() % 6;
                value = pick == 0   ? 0.0
                        : pick == 1 ? -0.0
                        : pick == 2 ? (engine() % 2 == 0 ? infinity : -infinity)
                        : pick == 3 ? fromBits(engine() % 5000) * (engine() % 2 == 0 ? 1.0 : -1.0)
                                    : normal(engine);
                break;
            }
            default:  // a long run of equal scores below a spread tail, as late in a converging search
                value = engine() % 4 != 0 ? centre : centre + std::abs(normal(engine));
                break;
        }
    }
    return values;
}

TEST(QuantileReference, CountingSelectionOfNumbersMatchesFullSortBitForBit) {
    std::mt19937_64 engine(4242);
    for (int trial = 0; trial < 3000; ++trial) {
        int const kind = trial % 6;
        std::size_t const size = 2 + engine() % (trial % 3 == 0 ? 200 : trial % 3 == 1 ? 3000 : 20000);
        std::vector<double> const values = numbersOfKind(engine, size, kind);
        expectSameQuantile(values, 0.05, trial);
        expectSameQuantile(values, randomLevel(engine, size), trial);
    }
}

TEST(QuantileReference, NegativeZeroComesBeforePositiveZero) {
    // The largest value is returned as it is: +0.0 whenever a +0.0 is loaded, whatever the load order.
    EXPECT_FALSE(std::signbit(quantile({0.0, -0.0}, 1.0)));
    EXPECT_FALSE(std::signbit(quantile({-0.0, 0.0}, 1.0)));
    EXPECT_FALSE(std::signbit(quantile({-0.0, 0.0, -0.0, -1.0}, 1.0)));
    EXPECT_TRUE(std::signbit(quantile({-0.0, -1.0, -0.0}, 1.0)));
}

TEST(QuantileReference, AgreesWithOrdinarySortUpToZeroSignAndNanPayload) {
    std::mt19937_64 engine(5);
    for (int trial = 0; trial < 1000; ++trial) {
        std::vector<double> const values = awkwardValues(engine, 1 + engine() % 100);
        double const level = randomLevel(engine, values.size());
        std::vector<double> sorted(values);
        std::sort(sorted.begin(), sorted.end(),
                  [](double a, double b) { return a < b || (!std::isnan(a) && std::isnan(b)); });
        double const h = static_cast<double>(sorted.size() - 1) * level;
        auto const lo = static_cast<std::size_t>(std::floor(h));
        double const expected = lo + 1 < sorted.size()
                                    ? sorted[lo] + (h - std::floor(h)) * (sorted[lo + 1] - sorted[lo])
                                    : sorted[lo];
        double const actual = quantile(values, level);
        EXPECT_TRUE(actual == expected || (std::isnan(actual) && std::isnan(expected)))
            << "trial " << trial << ": " << actual << " vs " << expected;
    }
}

}  // namespace
