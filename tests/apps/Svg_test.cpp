#include "pictures/Svg.h"
#include "pictures/Axis.h"
#include "pictures/Pictures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

int countOf(std::string const& text, std::string const& needle) {
    int count = 0;
    for (auto at = text.find(needle); at != std::string::npos; at = text.find(needle, at + needle.size())) {
        ++count;
    }
    return count;
}

}  // namespace

TEST(Svg, EscapesTextAndTitles) {
    ktx::SvgDocument svg(10, 10);
    svg.text(0, 0, "a < b & \"c\"", 10);
    svg.rect(0, 0, 1, 1, "red", "x > y");
    std::string const text = svg.str();
    EXPECT_NE(text.find("a &lt; b &amp; &quot;c&quot;"), std::string::npos);
    EXPECT_NE(text.find("<title>x &gt; y</title>"), std::string::npos);
}

TEST(Svg, GroupsWrapTheirElements) {
    ktx::SvgDocument svg(10, 10);
    svg.beginGroup("points");
    svg.circle(1, 1, 1, "red");
    svg.circle(2, 2, 1, "red");
    svg.endGroup();
    std::string const text = svg.str();
    auto const begin = text.find("<g class=\"points\">");
    auto const end = text.find("</g>");
    ASSERT_NE(begin, std::string::npos);
    EXPECT_EQ(countOf(text.substr(begin, end - begin), "<circle "), 2);
}

TEST(Svg, NonFiniteCoordinatesAreWrittenAsZero) {
    ktx::SvgDocument svg(10, 10);
    svg.circle(std::numeric_limits<double>::quiet_NaN(), 1, 1, "red");
    EXPECT_NE(svg.str().find("cx=\"0.00\""), std::string::npos);
}

TEST(Svg, DivergingScaleRunsFromBlueThroughGreyToRed) {
    EXPECT_EQ(ktx::divergingColour(0.0), "#d9d9d9");
    EXPECT_EQ(ktx::divergingColour(5.0), ktx::divergingColour(1.0));
    EXPECT_NE(ktx::divergingColour(-1.0), ktx::divergingColour(1.0));
    EXPECT_EQ(ktx::divergingColour(-1.0).substr(0, 3), "#0d");  // little red at the blue end
}

TEST(Svg, WorldToPictureKeepsTheAspectRatioAndTurnsYUp) {
    ktx::WorldToPicture const map({{0, 0}, {10, 5}}, 220, 220, 10);
    auto const low = map({0, 0});
    auto const high = map({10, 5});
    EXPECT_DOUBLE_EQ(high.first - low.first, 200.0);
    EXPECT_DOUBLE_EQ(low.second - high.second, 100.0);  // y up in the world is up in the picture
}

TEST(Pictures, GroupPictureOfAWrappedGroupColoursBothEnds) {
    std::string const svg = ktx::groupPicture({1, 2, 3, 4}, {1, 1, 1, 1}, {1, 3}, true, "t");
    // Segments 1-2 form group 0, segments 3 and 0 group 1 (wrapping round).
    EXPECT_EQ(countOf(svg, ktx::groupColour(0)), 2);
    EXPECT_EQ(countOf(svg, ktx::groupColour(1)), 2);
}

TEST(Axis, TicksOfAUnitRangeAreHalves) {
    EXPECT_EQ(ktx::roundTicks(0, 1, 3), (std::vector<double>{0, 0.5, 1}));
    EXPECT_EQ(ktx::roundTicks(-20, 20, 4), (std::vector<double>{-20, -10, 0, 10, 20}));
}

TEST(Axis, TicksAreFewRoundEquallySpacedValuesInsideTheRange) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> exponent(-12, 12);
    std::uniform_real_distribution<double> unit(-1, 1);
    for (int trial = 0; trial < 500; ++trial) {
        double const scale = std::pow(10.0, exponent(random));
        double const a = unit(random) * scale;
        double const b = unit(random) * scale;
        double const low = std::min(a, b);
        double const high = std::max(a, b);
        std::vector<double> const ticks = ktx::roundTicks(low, high, 4);
        ASSERT_GE(ticks.size(), 2u) << low << " " << high;
        ASSERT_LE(ticks.size(), 9u) << low << " " << high;
        double const step = ticks[1] - ticks[0];
        double const mantissa = step / std::pow(10.0, std::floor(std::log10(step)));
        EXPECT_TRUE(std::abs(mantissa - 1) < 1e-6 || std::abs(mantissa - 2) < 1e-6 ||
                    std::abs(mantissa - 5) < 1e-6 || std::abs(mantissa - 10) < 1e-6)
            << step;
        for (std::size_t i = 0; i < ticks.size(); ++i) {
            EXPECT_GE(ticks[i], low - step * 1e-6);
            EXPECT_LE(ticks[i], high + step * 1e-6);
            if (i > 0) {
                EXPECT_NEAR(ticks[i] - ticks[i - 1], step, step * 1e-6);
            }
        }
    }
}

TEST(Axis, AnEmptyOrInfiniteRangeHasAtMostOneTick) {
    EXPECT_EQ(ktx::roundTicks(3, 3, 4), (std::vector<double>{3}));
    EXPECT_EQ(ktx::roundTicks(-1e308, 1e308, 4), (std::vector<double>{-1e308}));
    EXPECT_TRUE(ktx::roundTicks(std::nan(""), 1, 4).empty());
}

TEST(Axis, ReadableNumbersHaveThreeSignificantDigits) {
    EXPECT_EQ(ktx::readableNumber(1.0 / 60.0), "0.0167");
    EXPECT_EQ(ktx::readableNumber(-1.0 / 60.0), "-0.0167");
    EXPECT_EQ(ktx::readableNumber(1200), "1200");
    EXPECT_EQ(ktx::readableNumber(0.5), "0.5");
    EXPECT_EQ(ktx::readableNumber(2.0 / 3.0), "0.667");
    EXPECT_EQ(ktx::readableNumber(2.5e-7), "2.5e-07");
    EXPECT_EQ(ktx::readableNumber(3e12), "3e+12");
    EXPECT_EQ(ktx::readableNumber(0.0), "0");
    EXPECT_EQ(ktx::readableNumber(-0.00001), "-1e-05");
}

TEST(Axis, SegmentNumbersLeaveOutWhatWouldOverlap) {
    std::vector<double> wide;
    std::vector<double> narrow;
    for (int i = 0; i < 100; ++i) {
        wide.push_back(30.0 * i);
        narrow.push_back(2.0 * i);
    }
    ktx::SvgDocument wideSvg(3000, 50);
    ktx::drawSegmentNumbers(wideSvg, wide, 40);
    EXPECT_EQ(countOf(wideSvg.str(), "<text "), 100);
    EXPECT_NE(wideSvg.str().find(">99</text>"), std::string::npos);
    ktx::SvgDocument narrowSvg(200, 50);
    ktx::drawSegmentNumbers(narrowSvg, narrow, 40);
    int const drawn = countOf(narrowSvg.str(), "<text ");
    EXPECT_GE(drawn, 10);
    EXPECT_LE(drawn, 25);
    EXPECT_NE(narrowSvg.str().find(">0</text>"), std::string::npos);
}

TEST(Axis, ValueAxisLabelsEachTick) {
    ktx::SvgDocument svg(200, 200);
    ktx::drawValueAxis(svg, 40, 0, 1, [](double v) { return 180 - 160 * v; });
    std::string const text = svg.str();
    EXPECT_EQ(countOf(text, "<text "), 3);
    EXPECT_NE(text.find(">0.5</text>"), std::string::npos);
    EXPECT_EQ(countOf(text, "<line "), 4);  // the axis and three ticks
}
