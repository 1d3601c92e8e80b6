#include "pictures/Svg.h"
#include "pictures/Pictures.h"

#include <gtest/gtest.h>

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
