// The recommended number of master segments and its override through KX_CONTROL_NUMBER_OF_LINE_DVS.
#include <Kestrel/SegmentGrouper.h>

#include <gtest/gtest.h>

#include <boost/lexical_cast.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

using Kestrel::SegmentGrouper;

char const* const kVariable = "KX_CONTROL_NUMBER_OF_LINE_DVS";

// Sets the override for the lifetime of the object and removes it afterwards.
class OverrideVariable {
  public:
    explicit OverrideVariable(char const* text) {
        if (text != nullptr) {
            ::setenv(kVariable, text, 1);
        } else {
            ::unsetenv(kVariable);
        }
    }
    ~OverrideVariable() { ::unsetenv(kVariable); }
    OverrideVariable(OverrideVariable const&) = delete;
    OverrideVariable& operator=(OverrideVariable const&) = delete;
};

int recommend(bool closed, std::vector<double> const& values, std::vector<int> const& starts,
              std::vector<double> const& weights) {
    return SegmentGrouper::calculateRecommendedNumberOfMasterSegments(closed, values, starts, weights);
}

// Reference implementation of the recommendation, unoptimised, for comparison on random lines.
int referenceRecommendation(bool closed, std::vector<double> const& values, std::vector<int> const& starts,
                            std::vector<double> const& weights, std::string const& text) {
    int const S = static_cast<int>(starts.size());
    if (S < 4) {
        return std::min(S, 3);
    }
    std::vector<double> mean(S);
    for (int s = 0; s < S; ++s) {
        int const end = s < S - 1 ? starts[s + 1] : static_cast<int>(values.size());
        double sum = 0.0;
        int count = 0;
        for (int i = starts[s]; i < end; ++i) {
            sum += values[i];
            count++;
        }
        if (s == S - 1 && closed && starts[0] > 0) {
            for (int i = 0; i < starts[0]; ++i) {
                sum += values[i];
                count++;
            }
        }
        mean[s] = sum / count;
    }
    double scale = 0.0;
    for (int s = 0; s < S; ++s) {
        scale += std::abs(mean[s]);
    }
    scale = scale / S;
    std::vector<double> jump;
    for (int s = 1; s < S; ++s) {
        jump.push_back(std::abs(mean[s] - mean[s - 1]));
    }
    if (closed) {
        jump.push_back(std::abs(mean[0] - mean[S - 1]));
    }
    std::vector<double> sorted = jump;
    std::sort(sorted.begin(), sorted.end());
    int const J = static_cast<int>(sorted.size());
    int const h = S / 2;
    double T;
    if (J % 2 == 1) {
        T = (sorted[h - 1] + sorted[h + 1 < J ? h + 1 : J - 1]) * 0.5 * 0.25;
    } else {
        T = (sorted[h - 1] + sorted[h]) * 0.5 * 0.25;
    }
    int bigJumps = 0;
    for (double const j : jump) {
        bigJumps += j >= T ? 1 : 0;
    }
    double X = 0.0;
    double const s = 0.333 * scale;
    if (s > 0) {
        for (int j = 0; j <= S - 2; ++j) {
            if (jump[j] < T && mean[j] * mean[j + 1] < 0) {
                X += std::tanh(std::max(std::abs(mean[j]), mean[j + 1]) / s);
            }
        }
        if (closed && jump[S - 1] < T && mean[S - 1] * mean[0] < 0) {
            X += std::tanh(std::max(std::abs(mean[S - 1]), mean[0]) / s);
        }
    }
    int E = bigJumps + static_cast<int>(X);
    if (E % 2 == 1) {
        E += 1;
    }
    int R = E > 8 ? E / 2 : 4;
    R = std::min(R, S);
    if (text.empty()) {
        return R;
    }
    int value = 0;
    try {
        value = boost::lexical_cast<int>(text);
    } catch (boost::bad_lexical_cast const&) {
        return R;
    }
    int const level = std::min(value, 4);
    if (level <= 0) {
        return R;
    }
    int const upper = std::min(std::max(E, 8), S);
    if (level == 4) {
        return upper;
    }
    int const m = level - 1;
    if (weights.size() != values.size()) {
        return upper;
    }
    double weightSum = 0.0;
    for (double const weight : weights) {
        weightSum += weight;
    }
    if (weightSum == 0.0) {
        return upper;
    }
    double w = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        w += std::abs(values[i]) * weights[i];
    }
    double const base = R >= 8 ? 1.0 : std::sqrt(R * 0.125);
    double const a = 1.0 / (1.0 + std::tanh(1.0));
    double const f =
        w < 0.1 ? 0.0 : (std::tanh(1.0 / w - 1.0) * a + (1.0 - a)) * std::pow(std::tanh(1.0 / w), m);
    double const p = std::min(1.0, std::max(base, f));
    int c = static_cast<int>(std::ceil(upper * (1.0 - p) + R * p));
    if (c % 2 != upper % 2) {
        c += 1;
    }
    return std::max(R, std::min(upper, c));
}

// Ten segments of two points each, all with the mean 2: nine jumps of 0, all big, E = 10, R = 5.
struct FlatLine {
    std::vector<double> values = std::vector<double>(20, 2.0);
    std::vector<int> starts{0, 2, 4, 6, 8, 10, 12, 14, 16, 18};
    std::vector<double> weights = std::vector<double>(20, 0.05);
};

TEST(RecommendedMasterSegments, FewerThanFourSegmentsGiveTheirCountWithoutReadingTheEnvironment) {
    OverrideVariable const level("4");
    std::vector<double> const values{1.0, 5.0, -3.0, 2.0, 8.0};
    EXPECT_EQ(recommend(false, values, {}, values), 0);
    EXPECT_EQ(recommend(false, values, {0, 2}, values), 2);
    EXPECT_EQ(recommend(true, values, {0, 1, 3}, values), 3);
}

TEST(RecommendedMasterSegments, EqualMeansMakeEveryJumpBig) {
    OverrideVariable const unset(nullptr);
    FlatLine const line;
    EXPECT_EQ(recommend(false, line.values, line.starts, line.weights), 5);
}

TEST(RecommendedMasterSegments, OpenLineOfFourSegmentsReadsTheLastJumpForTheThreshold) {
    OverrideVariable const unset(nullptr);
    std::vector<double> const values{0.0, 1.0, 3.0, 33.0};
    EXPECT_EQ(recommend(false, values, {0, 1, 2, 3}, values), 4);
    EXPECT_EQ(referenceRecommendation(false, values, {0, 1, 2, 3}, values, ""), 4);
}

TEST(RecommendedMasterSegments, ManyBigJumpsGiveHalfTheRoundedUpCount) {
    OverrideVariable const unset(nullptr);
    // Twelve segments alternating between 0 and 10: eleven big jumps, E = 12, R = 6.
    std::vector<double> values;
    std::vector<int> starts;
    for (int s = 0; s < 12; ++s) {
        starts.push_back(static_cast<int>(values.size()));
        values.push_back(s % 2 == 0 ? 0.0 : 10.0);
        values.push_back(s % 2 == 0 ? 0.0 : 10.0);
    }
    EXPECT_EQ(recommend(false, values, starts, values), 6);
    // Closed, the line adds a twelfth jump (10 to 0): E = 12 still.
    EXPECT_EQ(recommend(true, values, starts, values), 6);
}

TEST(RecommendedMasterSegments, ClosedLineAddsTheJumpAndSignChangeBetweenLastAndFirstSegment) {
    OverrideVariable const unset(nullptr);
    // Fifteen segments, one point each: ten big jumps of 40, a jump of 17, and small jumps of 6 across zero
    // between 3 and -3 (T = 10, scale s = 0.333 * 253 / 15). Open: 11 big jumps, the three small sign
    // changes add 3 * tanh(3 / s) = 1.67, so E = 12 and R = 6. Closed: the jump from -3 back to 3 is one
    // more small sign change, X = 2.23, E = 14 and R = 7.
    std::vector<double> const values{3, 20, -20, 20, -20, 20, -20, 20, -20, 20, -20, 3, -3, 3, -3};
    std::vector<int> starts;
    for (int s = 0; s < 15; ++s) {
        starts.push_back(s);
    }
    EXPECT_EQ(recommend(false, values, starts, values), 6);
    EXPECT_EQ(recommend(true, values, starts, values), 7);
}

TEST(RecommendedMasterSegments, ClosedLineLastSegmentTakesInTheValuesBeforeTheFirstStart) {
    OverrideVariable const unset(nullptr);
    // The last segment holds 1 and the head value 100: mean 50.5. Jumps 1 (seven), 48.5 and 49.5: T = 0.25,
    // all nine big, E = 10, R = 5. Without the head value the closing jump would be 0 and R = 4.
    std::vector<double> const values{100.0, 1.0, 2.0, 1.0, 2.0, 1.0, 2.0, 1.0, 2.0, 1.0};
    std::vector<int> const starts{1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(recommend(true, values, starts, values),
              referenceRecommendation(true, values, starts, values, ""));
    EXPECT_EQ(recommend(true, values, starts, values), 5);
}

TEST(RecommendedMasterSegments, OverrideLevelFourOrMoreGivesTheUpperBound) {
    FlatLine const line;
    for (char const* text : {"4", "9", "+4", "2147483647"}) {
        OverrideVariable const level(text);
        EXPECT_EQ(recommend(false, line.values, line.starts, line.weights), 10) << text;
    }
}

TEST(RecommendedMasterSegments, OverrideThatIsNotAPositiveIntKeepsTheRecommendation) {
    FlatLine const line;
    for (char const* text :
         {"", "abc", "0", "-2", "-0", " 3", "3 ", "3.0", "1e1", "0x3", "+", "-", "2147483648"}) {
        OverrideVariable const level(text);
        EXPECT_EQ(recommend(false, line.values, line.starts, line.weights), 5) << '"' << text << '"';
    }
}

TEST(RecommendedMasterSegments, OverrideLevelsOneToThreeBlendTowardsTheUpperBound) {
    FlatLine const line;
    // w = 20 * 2 * 0.05 = 2: f stays below base = sqrt(5/8), so c = ceil(10 (1 - base) + 5 base) = 7,
    // raised to 8 to match the parity of the upper bound 10.
    for (char const* text : {"1", "2", "3", "+2", "02"}) {
        OverrideVariable const level(text);
        EXPECT_EQ(recommend(false, line.values, line.starts, line.weights), 8) << text;
    }
}

TEST(RecommendedMasterSegments, OverrideLevelsOneToThreeWithWeightsOfAnotherLengthGiveTheUpperBound) {
    FlatLine const line;
    std::vector<double> const shortWeights(19, 0.05);
    std::vector<double> const zeroSum{1.0, -1.0};
    std::vector<double> zeroWeights(20, 0.0);
    for (char const* text : {"1", "2", "3"}) {
        OverrideVariable const level(text);
        EXPECT_EQ(recommend(false, line.values, line.starts, shortWeights), 10) << text;
        EXPECT_EQ(recommend(false, line.values, line.starts, zeroWeights), 10) << text;
    }
}

TEST(RecommendedMasterSegments, MatchesReferenceOnRandomLines) {
    std::mt19937 engine(404);
    std::normal_distribution<double> value(0.0, 3.0);
    std::uniform_real_distribution<double> weight(0.0, 0.2);
    char const* const texts[] = {"", "1", "2", "3", "4", "abc"};
    int differentLevels = 0;
    for (int trial = 0; trial < 300; ++trial) {
        int const points = 4 + trial % 60;
        std::vector<double> values(static_cast<std::size_t>(points));
        std::vector<double> weights(static_cast<std::size_t>(points));
        for (int i = 0; i < points; ++i) {
            values[i] = trial % 5 == 0 ? std::abs(value(engine)) * 0.01 : value(engine);
            weights[i] = weight(engine) / points;
        }
        std::vector<int> starts{trial % 3};
        for (int i = starts[0] + 1; i < points; ++i) {
            if (std::uniform_int_distribution<int>(0, 2)(engine) == 0) {
                starts.push_back(i);
            }
        }
        bool const closed = trial % 2 == 1;
        std::string const text = texts[trial % 6];
        OverrideVariable const level(text.c_str());
        int const result = recommend(closed, values, starts, weights);
        ASSERT_EQ(result, referenceRecommendation(closed, values, starts, weights, text))
            << "trial " << trial;
        ASSERT_GE(result, 0);
        ASSERT_LE(result, static_cast<int>(starts.size()));
        differentLevels += result != referenceRecommendation(closed, values, starts, weights, "") ? 1 : 0;
    }
    EXPECT_GT(differentLevels, 0);
}

}  // namespace
