#include <Kestrel/Tessel/StatisticalCalculator.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <vector>

namespace {

using Kestrel::Tessel::StatisticalCalculator;

StatisticalCalculator loaded(std::vector<double> const& values) {
    StatisticalCalculator calculator(static_cast<int>(values.size()));
    calculator.loadDataSet(values);
    return calculator;
}

TEST(StatisticalCalculator, QuantileInterpolatesBetweenOrderStatistics) {
    StatisticalCalculator const calculator = loaded({4.0, 1.0, 3.0, 2.0, 5.0});
    EXPECT_EQ(calculator.getQuantile(0.0, 0), 1.0);
    EXPECT_EQ(calculator.getQuantile(1.0, 0), 5.0);
    EXPECT_EQ(calculator.getQuantile(0.5, 0), 3.0);
    EXPECT_EQ(calculator.getQuantile(0.05, 0), 1.0 + 0.2 * (2.0 - 1.0));
    EXPECT_EQ(calculator.getQuantile(0.3, 0), 2.0 + (1.2 - 1.0) * (3.0 - 2.0));
}

TEST(StatisticalCalculator, QuantileOfOneValueIsThatValue) {
    EXPECT_EQ(loaded({7.5}).getQuantile(0.05, 0), 7.5);
    EXPECT_EQ(loaded({7.5}).getQuantile(1.0, 0), 7.5);
}

TEST(StatisticalCalculator, QuantileMatchesReferenceFormulaOnRandomData) {
    std::mt19937 engine(11);
    std::uniform_int_distribution<int> size(1, 200);
    std::normal_distribution<double> value(0.0, 3.0);
    for (int trial = 0; trial < 200; ++trial) {
        std::vector<double> data(static_cast<std::size_t>(size(engine)));
        for (double& x : data) {
            x = value(engine);
        }
        double const level = static_cast<double>(trial % 21) / 20.0;
        std::vector<double> sorted(data);
        std::sort(sorted.begin(), sorted.end());
        double const h = static_cast<double>(sorted.size() - 1) * level;
        std::size_t const lo = static_cast<std::size_t>(std::floor(h));
        double const expected = lo + 1 < sorted.size() ? sorted[lo] + (h - static_cast<double>(lo)) *
                                                                          (sorted[lo + 1] - sorted[lo])
                                                       : sorted[lo];
        EXPECT_EQ(loaded(data).getQuantile(level, 0), expected);
    }
}

TEST(StatisticalCalculator, QuantileSortsNaNAfterEveryNumber) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<double> data;
    for (int i = 0; i < 100; ++i) {
        data.push_back(i % 3 == 0 ? nan : static_cast<double>(100 - i));
    }
    StatisticalCalculator const calculator = loaded(data);
    EXPECT_EQ(calculator.getQuantile(0.0, 0), 2.0);
    EXPECT_EQ(calculator.getQuantile(0.05, 0),
              8.0 + (4.95 - 4.0) * (9.0 - 8.0));  // numbers 2, 3, 5, 6, 8, 9, ...
    EXPECT_TRUE(std::isnan(calculator.getQuantile(1.0, 0)));
}

TEST(StatisticalCalculator, LevelsOutsideTheUnitIntervalTakeTheNearestEnd) {
    StatisticalCalculator const calculator = loaded({3.0, 1.0, 2.0});
    EXPECT_EQ(calculator.getQuantile(-0.5, 0), 1.0);
    EXPECT_EQ(calculator.getQuantile(7.0, 0), 3.0);
    EXPECT_TRUE(std::isnan(calculator.getQuantile(std::numeric_limits<double>::quiet_NaN(), 0)));
}

TEST(StatisticalCalculator, InfiniteLevelsTakeTheNearestEndEvenForOneValue) {
    double const infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(loaded({4.0}).getQuantile(infinity, 0), 4.0);
    EXPECT_EQ(loaded({4.0}).getQuantile(-infinity, 0), 4.0);
    StatisticalCalculator const calculator = loaded({3.0, 1.0, 2.0});
    EXPECT_EQ(calculator.getQuantile(infinity, 0), 3.0);
    EXPECT_EQ(calculator.getQuantile(-infinity, 0), 1.0);
}

TEST(StatisticalCalculator, VarianceIsTwoPassPopulationVarianceForZero) {
    std::vector<double> const data{0.1, 0.7, 0.2, 1.9, 3.3};
    double sum = 0.0;
    for (double const x : data) {
        sum += x;
    }
    double const mean = sum / 5.0;
    double squares = 0.0;
    for (double const x : data) {
        squares += (x - mean) * (x - mean);
    }
    EXPECT_EQ(loaded(data).getVariance(0), squares / 5.0);
    EXPECT_EQ(loaded(data).getVariance(1), squares / 4.0);
}

TEST(StatisticalCalculator, VarianceOfConstantDataIsZero) {
    EXPECT_EQ(loaded({2.5, 2.5, 2.5}).getVariance(0), 0.0);
}

TEST(StatisticalCalculator, MinimumAndMaximum) {
    StatisticalCalculator const calculator = loaded({3.0, -1.0, 8.0, 2.0});
    EXPECT_EQ(calculator.getMinimum(), -1.0);
    EXPECT_EQ(calculator.getMaximum(), 8.0);
    EXPECT_EQ(calculator.getNumberOfValues(), 4);
}

TEST(StatisticalCalculator, LoadReplacesPreviousData) {
    StatisticalCalculator calculator(2);
    calculator.loadDataSet({1.0, 2.0});
    calculator.loadDataSet({10.0});
    EXPECT_EQ(calculator.getNumberOfValues(), 1);
    EXPECT_EQ(calculator.getMaximum(), 10.0);
}

TEST(StatisticalCalculator, EmptyDataSetIsRejected) {
    StatisticalCalculator const calculator(0);
    EXPECT_THROW(calculator.getQuantile(0.5, 0), std::domain_error);
    EXPECT_THROW(calculator.getVariance(0), std::domain_error);
    EXPECT_THROW(calculator.getMinimum(), std::domain_error);
    EXPECT_THROW(calculator.getMaximum(), std::domain_error);
}

}  // namespace
