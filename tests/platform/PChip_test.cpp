#include <Kestrel/PChip.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct ReferenceCase {
    std::string name;
    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> queries;
    std::vector<double> values;
};

std::vector<double> readNumbers(std::string const& line, char tag) {
    std::istringstream stream(line);
    char found = 0;
    stream >> found;
    EXPECT_EQ(found, tag);
    std::vector<double> numbers;
    std::string token;
    while (stream >> token) {
        numbers.push_back(std::stod(token));
    }
    return numbers;
}

// Reference values written by data/pchip_reference.py from an independent implementation of the same
// interpolant.
std::vector<ReferenceCase> readReferenceCases() {
    std::ifstream in(std::string(KESTREL_TEST_DATA_DIR) + "/pchip_reference.txt");
    std::vector<ReferenceCase> cases;
    std::string line;
    while (std::getline(in, line)) {
        ReferenceCase current;
        current.name = line.substr(5);
        std::getline(in, line);
        current.x = readNumbers(line, 'x');
        std::getline(in, line);
        current.y = readNumbers(line, 'y');
        std::getline(in, line);
        current.queries = readNumbers(line, 'q');
        std::getline(in, line);
        current.values = readNumbers(line, 'v');
        cases.push_back(current);
    }
    return cases;
}

TEST(PChip, AgreesWithReferenceValuesToRelativeRounding) {
    std::vector<ReferenceCase> const cases = readReferenceCases();
    ASSERT_EQ(cases.size(), 14u);
    for (ReferenceCase const& reference : cases) {
        SCOPED_TRACE(reference.name);
        ASSERT_EQ(reference.queries.size(), reference.values.size());
        double scale = 0.0;
        for (double const y : reference.y) {
            scale = std::max(scale, std::abs(y));
        }
        std::vector<double> const values =
            Kestrel::PChip(reference.x, reference.y, false).interpolateAtQueryPoints(reference.queries);
        ASSERT_EQ(values.size(), reference.values.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            double const expected = reference.values[i];
            EXPECT_NEAR(values[i], expected, 1e-12 * std::max(std::abs(expected), scale))
                << "query " << reference.queries[i];
        }
    }
}

TEST(PChip, PassesThroughEveryKnot) {
    std::mt19937 engine(11);
    std::uniform_real_distribution<double> step(0.1, 2.0);
    std::normal_distribution<double> value(0.0, 3.0);
    for (int trial = 0; trial < 50; ++trial) {
        std::vector<double> x{0.0};
        std::vector<double> y{value(engine)};
        int const count = 2 + trial % 12;
        for (int i = 1; i < count; ++i) {
            x.push_back(x.back() + step(engine));
            y.push_back(value(engine));
        }
        std::vector<double> const values = Kestrel::PChip(x, y, false).interpolateAtQueryPoints(x);
        for (std::size_t i = 0; i < x.size(); ++i) {
            EXPECT_NEAR(values[i], y[i], 1e-12 * (1.0 + std::abs(y[i])));
        }
    }
}

TEST(PChip, MonotoneDataGivesMonotoneCurveWithoutOvershoot) {
    std::mt19937 engine(5);
    std::uniform_real_distribution<double> step(0.05, 1.5);
    for (int trial = 0; trial < 30; ++trial) {
        std::vector<double> x{0.0};
        std::vector<double> y{0.0};
        for (int i = 1; i < 10; ++i) {
            x.push_back(x.back() + step(engine));
            y.push_back(y.back() + (i % 3 == 0 ? 0.0 : step(engine)));
        }
        std::vector<double> queries;
        for (int j = 0; j <= 500; ++j) {
            queries.push_back(x.back() * j / 500.0);
        }
        std::vector<double> const values = Kestrel::PChip(x, y, false).interpolateAtQueryPoints(queries);
        for (std::size_t j = 1; j < values.size(); ++j) {
            EXPECT_GE(values[j], values[j - 1] - 1e-12);
        }
        EXPECT_GE(values.front(), y.front() - 1e-12);
        EXPECT_LE(values.back(), y.back() + 1e-12);
    }
}

TEST(PChip, TwoKnotsGiveTheStraightLineAlsoOutside) {
    Kestrel::PChip const line({1.0, 3.0}, {2.0, 6.0}, false);
    std::vector<double> const values = line.interpolateAtQueryPoints({-1.0, 1.0, 2.0, 3.0, 5.0});
    EXPECT_DOUBLE_EQ(values[0], -2.0);
    EXPECT_DOUBLE_EQ(values[1], 2.0);
    EXPECT_DOUBLE_EQ(values[2], 4.0);
    EXPECT_DOUBLE_EQ(values[3], 6.0);
    EXPECT_DOUBLE_EQ(values[4], 10.0);
}

TEST(PChip, ConstantDataStaysConstant) {
    std::vector<double> const x{0.0, 0.5, 2.0, 2.1, 7.0};
    std::vector<double> const y(x.size(), 4.25);
    for (double const value :
         Kestrel::PChip(x, y, true).interpolateAtQueryPoints({-3.0, 0.2, 1.0, 2.05, 9.0})) {
        EXPECT_EQ(value, 4.25);
    }
}

TEST(PChip, NonIncreasingAbscissaeAreSkippedWithoutThrowing) {
    std::vector<double> const x{0.0, 1.0, 1.0, 0.5, 2.0, 3.0};
    std::vector<double> const y{0.0, 1.0, 50.0, -50.0, 4.0, 9.0};
    std::vector<double> const kept_x{0.0, 1.0, 2.0, 3.0};
    std::vector<double> const kept_y{0.0, 1.0, 4.0, 9.0};
    Kestrel::PChip const withRepeats(x, y, false);
    EXPECT_EQ(withRepeats.getNumberOfKnots(), 4);
    std::vector<double> const queries{-0.5, 0.25, 1.0, 1.5, 2.75, 3.5};
    EXPECT_EQ(withRepeats.interpolateAtQueryPoints(queries),
              Kestrel::PChip(kept_x, kept_y, false).interpolateAtQueryPoints(queries));
}

TEST(PChip, OneKnotIsConstantAndNoKnotGivesNaN) {
    EXPECT_EQ(Kestrel::PChip({2.0}, {7.0}, false).interpolateAtQueryPoints({-1.0, 2.0, 8.0}),
              (std::vector<double>{7.0, 7.0, 7.0}));
    std::vector<double> const none = Kestrel::PChip({}, {}, false).interpolateAtQueryPoints({0.0});
    ASSERT_EQ(none.size(), 1u);
    EXPECT_TRUE(std::isnan(none[0]));
    EXPECT_EQ(Kestrel::PChip({1.0, 2.0}, {}, false).getNumberOfKnots(), 0);
}

}  // namespace
