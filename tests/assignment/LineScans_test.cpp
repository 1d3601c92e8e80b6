#include "LineScans.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
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

}  // namespace
