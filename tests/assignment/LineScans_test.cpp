#include "LineScans.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace Kestrel::assignment;

std::vector<double> randomLine(std::mt19937& engine, int n) {
    std::uniform_int_distribution<int> value(-20, 20);
    std::vector<double> line(n);
    for (double& element : line) {
        element = value(engine) * 0.25;
    }
    return line;
}

TEST(LineScans, ExtremesAndCountsMatchPlainLoopsForEveryLength) {
    std::mt19937 engine(5);
    for (int n = 1; n <= 40; ++n) {
        std::vector<double> const line = randomLine(engine, n);
        double minimum = 0.0;
        double maximum = 0.0;
        lineExtremes(line.data(), n, &minimum, &maximum);
        EXPECT_EQ(minimum, *std::min_element(line.begin(), line.end()));
        EXPECT_EQ(maximum, *std::max_element(line.begin(), line.end()));
        EXPECT_EQ(countEqual(line.data(), n, minimum), std::count(line.begin(), line.end(), minimum));
    }
}

TEST(LineScans, ReducedCostScanMatchesPlainLoopForEveryLength) {
    std::mt19937 engine(6);
    for (int n = 1; n <= 40; ++n) {
        std::vector<double> const cost = randomLine(engine, n);
        std::vector<double> const dual = randomLine(engine, n);
        double const rowDual = 0.75;
        double const limit = 0.5;
        double expectedLowest = 0.0;
        int expectedBelow = 0;
        for (int k = 0; k < n; ++k) {
            double const reduced = (cost[k] - rowDual) - dual[k];
            expectedLowest = std::min(expectedLowest, reduced);
            expectedBelow += reduced < limit;
        }
        double lowest = 1.0;
        int below = -1;
        scanReducedCosts(cost.data(), dual.data(), rowDual, n, limit, &lowest, &below);
        EXPECT_EQ(lowest, expectedLowest) << n;
        EXPECT_EQ(below, expectedBelow) << n;
    }
}

TEST(LineScans, NonFiniteValueIsFoundAtEveryPosition) {
    double const bad[] = {std::nan(""), std::numeric_limits<double>::infinity(),
                          -std::numeric_limits<double>::infinity()};
    for (int n = 1; n <= 9; ++n) {
        std::vector<double> line(n, 1.5);
        EXPECT_TRUE(allFinite(line.data(), n));
        for (int at = 0; at < n; ++at) {
            for (double value : bad) {
                std::vector<double> withBad = line;
                withBad[at] = value;
                EXPECT_FALSE(allFinite(withBad.data(), n)) << n << " " << at;
            }
        }
    }
}

// The passes of the exact steps against plain loops, bit for bit, for every length (with and without the
// paired part), with +infinity values and NaN keys among them.
TEST(LineScans, KeyFoldingAndMatchingMatchPlainLoopsForEveryLength) {
    std::mt19937 engine(9);
    double const inf = std::numeric_limits<double>::infinity();
    for (int n = 0; n <= 40; ++n) {
        std::vector<double> column = randomLine(engine, n);
        std::vector<double> const added = randomLine(engine, n);
        std::vector<double> blocked(n, 0.0);
        std::vector<double> keys = randomLine(engine, n);
        for (int k = 0; k < n; ++k) {
            column[k] = k % 7 == 3 ? inf : column[k];
            blocked[k] = k % 5 == 1 ? inf : 0.0;
            keys[k] = k % 9 == 4 ? inf : keys[k] + 2.0;
        }
        std::vector<double> expectedKeys = keys;
        double expectedSmallest = inf;
        for (int k = 0; k < n; ++k) {
            double const candidate = (((column[k] + added[k]) - 0.5) + blocked[k]) + 1.25;
            expectedKeys[k] = candidate < expectedKeys[k] ? candidate : expectedKeys[k];
            expectedSmallest = std::min(expectedSmallest, expectedKeys[k]);
        }
        std::vector<double> nonNegative(n);
        double expectedLargest = 0.0;
        for (int k = 0; k < n; ++k) {
            nonNegative[k] = column[k] < inf ? std::fabs(column[k]) : inf;
            expectedLargest =
                nonNegative[k] < inf ? std::max(expectedLargest, nonNegative[k]) : expectedLargest;
        }
        EXPECT_EQ(largestFinite(nonNegative.data(), n), expectedLargest) << n;
        double const smallest =
            lowerKeysByColumn(keys.data(), column.data(), added.data(), blocked.data(), 0.5, 1.25, n);
        EXPECT_EQ(keys, expectedKeys) << n;
        EXPECT_EQ(smallest, expectedSmallest) << n;
        EXPECT_EQ(smallestValue(keys.data(), n), expectedSmallest) << n;

        std::vector<int> expectedPositions;
        for (int k = 0; k < n; ++k) {
            if (keys[k] == smallest) {
                expectedPositions.push_back(k);
            }
        }
        std::vector<int> positions(n + 1);
        positions.resize(positionsOfValue(keys.data(), n, smallest, positions.data()));
        EXPECT_EQ(positions, expectedPositions) << n;

        std::vector<double> const values = randomLine(engine, n);
        std::vector<double> const shifts = randomLine(engine, n);
        std::vector<double> columnKeys(n);
        expectedPositions.clear();
        for (int k = 0; k < n; ++k) {
            double const left = ((values[k] - 0.25) - shifts[k]) + 0.75;
            // About half of the keys match; every third is NaN and matches nothing.
            columnKeys[k] = k % 3 == 0 ? std::nan("") : (k % 2 == 0 ? left - 1.0 : left - 1.5);
            if (k % 3 != 0 && k % 2 == 0) {
                expectedPositions.push_back(k);
            }
        }
        positions.assign(n + 1, -1);
        positions.resize(positionsOfMatches(values.data(), 0.25, shifts.data(), 0.75, columnKeys.data(), 1.0,
                                            n, positions.data()));
        EXPECT_EQ(positions, expectedPositions) << n;
    }
}

// The integer test against a plain loop: lines of integers (with signs) from -2^31 to 2^31 - 1 pass, with
// bits whose lowest set bit is that of the OR of their magnitudes, and their extremes; a fraction, a value
// beyond that range, an infinity or NaN anywhere makes the line fail.
TEST(LineScans, SmallIntegerLinesMatchPlainLoopsForEveryLength) {
    std::mt19937 engine(12);
    for (int n = 1; n <= 24; ++n) {
        std::vector<double> line(n);
        std::uint64_t magnitudes = 0;
        for (double& value : line) {
            std::uint32_t const magnitude =
                static_cast<std::uint32_t>(engine() % 2147483648u) >> (engine() % 31);
            value = (engine() % 2 == 0 ? -1.0 : 1.0) * static_cast<double>(magnitude);
            magnitudes |= magnitude;
        }
        if (n % 5 == 0) {
            line[n / 2] = -2147483648.0;
            magnitudes |= std::uint64_t{1} << 31;
        }
        std::uint32_t bits = 0;
        double minimum = 0.0;
        double maximum = 0.0;
        ASSERT_TRUE(smallIntegerLine(line.data(), n, &bits, &minimum, &maximum)) << n;
        EXPECT_EQ(bits == 0, magnitudes == 0) << n;
        if (magnitudes != 0) {
            EXPECT_EQ(__builtin_ctz(bits), __builtin_ctzll(magnitudes)) << n;
        }
        EXPECT_EQ(minimum, *std::min_element(line.begin(), line.end())) << n;
        EXPECT_EQ(maximum, *std::max_element(line.begin(), line.end())) << n;
        for (int position = 0; position < n; ++position) {
            for (double const bad :
                 {0.5, -2.25, 2147483648.0, -2147483649.0, std::numeric_limits<double>::infinity(),
                  -std::numeric_limits<double>::infinity(), std::nan("")}) {
                std::vector<double> spoiled = line;
                spoiled[position] = bad;
                EXPECT_FALSE(smallIntegerLine(spoiled.data(), n, &bits, &minimum, &maximum))
                    << n << " at " << position;
            }
        }
    }
}

TEST(LineScans, CountBelowMatchesPlainLoopForEveryLength) {
    std::mt19937 engine(13);
    for (int n = 0; n <= 24; ++n) {
        std::vector<double> line = randomLine(engine, n);
        if (n > 2) {
            line[n / 2] = -0.0;
        }
        int const expected =
            static_cast<int>(std::count_if(line.begin(), line.end(), [](double v) { return v < 0.0; }));
        EXPECT_EQ(countBelow(line.data(), n, 0.0), expected) << n;
    }
}

// The passes that read the exact steps' reduced matrix give, on a line of narrower cells, what they give on
// the doubles those cells stand for: key folding, elementwise minimum, positions and counts of values.
template <typename Cell>
void expectScansAgree(std::mt19937& engine, std::vector<Cell> const& narrow, std::vector<double> const& wide,
                      std::vector<double> const& targets) {
    int const n = static_cast<int>(wide.size());
    std::vector<double> const added = randomLine(engine, n);
    std::vector<double> const blocked(n, 0.0);
    std::vector<double> keysFromWide = randomLine(engine, n);
    std::vector<double> keysFromNarrow = keysFromWide;
    EXPECT_EQ(
        lowerKeysByColumn(keysFromNarrow.data(), narrow.data(), added.data(), blocked.data(), 0.5, 1.0, n),
        lowerKeysByColumn(keysFromWide.data(), wide.data(), added.data(), blocked.data(), 0.5, 1.0, n));
    EXPECT_EQ(keysFromNarrow, keysFromWide) << n;
    std::vector<double> minimumOfWide(n, 70000.0);
    std::vector<double> minimumOfNarrow(n, 70000.0);
    lowerToElementwiseMinimum(minimumOfWide.data(), wide.data(), n);
    lowerToElementwiseMinimum(minimumOfNarrow.data(), narrow.data(), n);
    EXPECT_EQ(minimumOfNarrow, minimumOfWide) << n;
    for (double const target : targets) {
        std::vector<int> positionsInWide(n + 1);
        std::vector<int> positionsInNarrow(n + 1);
        positionsInWide.resize(positionsOfValue(wide.data(), n, target, positionsInWide.data()));
        positionsInNarrow.resize(positionsOfValue(narrow.data(), n, target, positionsInNarrow.data()));
        EXPECT_EQ(positionsInNarrow, positionsInWide) << n << " " << target;
        EXPECT_EQ(positionsInWide.size(),
                  static_cast<std::size_t>(std::count(wide.begin(), wide.end(), target)))
            << n << " " << target;
        EXPECT_EQ(countEqual(narrow.data(), n, target), countEqual(wide.data(), n, target))
            << n << " " << target;
    }
}

// Float lines, with and without the groups of four.
TEST(LineScans, FloatLinesScanAsTheirDoubles) {
    std::mt19937 engine(14);
    double const inf = std::numeric_limits<double>::infinity();
    for (int n = 0; n <= 24; ++n) {
        std::vector<double> wide = randomLine(engine, n);
        for (int k = 0; k < n; ++k) {
            wide[k] = k % 5 == 2 ? inf : std::fabs(wide[k]);
        }
        std::vector<float> const narrow(wide.begin(), wide.end());
        expectScansAgree(engine, narrow, wide, {0.0, 2.5, inf});
    }
}

// Narrow cells read as the doubles they stand for (kForbidden as +infinity), with and without the groups of
// eight, for targets that are narrow cells and targets that are not.
TEST(LineScans, NarrowLinesScanAsTheirDoubles) {
    std::mt19937 engine(16);
    double const inf = std::numeric_limits<double>::infinity();
    for (int n = 0; n <= 40; ++n) {
        std::vector<NarrowCell> narrow(n);
        std::vector<double> wide(n);
        for (int k = 0; k < n; ++k) {
            std::uint16_t const bits = engine() % 5 == 0 ? NarrowCell::kForbidden
                                       : engine() % 3 == 0
                                           ? 0
                                           : static_cast<std::uint16_t>(65534 - engine() % 70000 % 65535);
            narrow[k] = NarrowCell{bits};
            wide[k] = bits == NarrowCell::kForbidden ? inf : static_cast<double>(bits);
            EXPECT_EQ(widen(narrow[k]), wide[k]);
        }
        expectScansAgree(engine, narrow, wide, {0.0, 65534.0, inf, 7.5});
    }
}

// The column extremes taken row by row, against plain loops: the minimum keeps the earlier of equal values
// (-0.0 before 0.0), and the finite maximum passes over +infinity.
TEST(LineScans, ElementwiseExtremesMatchPlainLoopsForEveryLength) {
    std::mt19937 engine(15);
    double const inf = std::numeric_limits<double>::infinity();
    for (int n = 0; n <= 24; ++n) {
        std::vector<double> minimum = randomLine(engine, n);
        std::vector<double> maximum = randomLine(engine, n);
        std::vector<double> values = randomLine(engine, n);
        for (int k = 0; k < n; ++k) {
            values[k] = k % 4 == 1 ? inf : (k % 4 == 2 ? -0.0 : values[k]);
            minimum[k] = k % 4 == 2 ? 0.0 : minimum[k];
        }
        for (bool const finiteMaximum : {false, true}) {
            std::vector<double> expectedMinimum = minimum;
            std::vector<double> expectedMaximum = maximum;
            for (int k = 0; k < n; ++k) {
                expectedMinimum[k] = values[k] < minimum[k] ? values[k] : minimum[k];
                bool const counts = !finiteMaximum || values[k] < inf;
                expectedMaximum[k] = counts && values[k] > maximum[k] ? values[k] : maximum[k];
            }
            std::vector<double> lowered = minimum;
            std::vector<double> raised = maximum;
            if (finiteMaximum) {
                widenToElementwiseExtremes<true>(lowered.data(), raised.data(), values.data(), n);
            } else {
                widenToElementwiseExtremes<false>(lowered.data(), raised.data(), values.data(), n);
            }
            for (int k = 0; k < n; ++k) {
                EXPECT_EQ(std::signbit(lowered[k]), std::signbit(expectedMinimum[k])) << n << " at " << k;
            }
            EXPECT_EQ(lowered, expectedMinimum) << n;
            EXPECT_EQ(raised, expectedMaximum) << n;
        }
    }
}

}  // namespace
