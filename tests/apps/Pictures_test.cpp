// The SVG pictures of ktx, compared by structure: which parts they have and how many elements each part
// holds, never byte for byte.
#include "KtxRunner.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using ktx::testing::countOf;
using ktx::testing::examplePath;
using ktx::testing::KtxRun;
using ktx::testing::readFile;
using ktx::testing::runKtx;
using ktx::testing::ScratchFolder;
using ktx::testing::svgGroup;

namespace {

void expectWellFormedSvg(std::string const& svg) {
    EXPECT_EQ(svg.rfind("<?xml", 0), 0u);
    EXPECT_EQ(countOf(svg, "<svg "), 1);
    EXPECT_NE(svg.find("</svg>\n"), std::string::npos);
    EXPECT_EQ(countOf(svg, "<g "), countOf(svg, "</g>"));
    EXPECT_EQ(countOf(svg, "<title>"), countOf(svg, "</title>"));
}

}  // namespace

TEST(KtxPictures, GroupStripHasOneBarPerSegmentAndOneBoundaryPerGroup) {
    ScratchFolder const folder;
    KtxRun const run = runKtx({"group", examplePath("group.json"), "--svg", folder.path("groups.svg")});
    ASSERT_EQ(run.status, 0) << run.err;
    std::string const svg = readFile(folder.path("groups.svg"));
    expectWellFormedSvg(svg);
    std::size_t const groups = nlohmann::json::parse(run.out)["groupStarts"].size();
    EXPECT_EQ(countOf(svgGroup(svg, "segments"), "<rect "), 12);
    EXPECT_EQ(countOf(svgGroup(svg, "boundaries"), "<line "), static_cast<int>(groups));
    // Bars of different groups have different colours: as many colours as groups.
    std::string const bars = svgGroup(svg, "segments");
    int colours = 0;
    for (std::string const colour : {"#4e79a7", "#f28e2b", "#59a14f", "#e15759"}) {
        colours += countOf(bars, colour) > 0 ? 1 : 0;
    }
    EXPECT_EQ(colours, static_cast<int>(groups));
}

TEST(KtxPictures, CurvaturePictureDrawsTheLineAndEverySegment) {
    ScratchFolder const folder;
    KtxRun const run = runKtx({"curvature", examplePath("curvature.json"), "--svg", folder.path("c.svg")});
    ASSERT_EQ(run.status, 0) << run.err;
    std::string const svg = readFile(folder.path("c.svg"));
    expectWellFormedSvg(svg);
    EXPECT_EQ(countOf(svgGroup(svg, "line"), "<polyline "), 1);
    EXPECT_EQ(countOf(svgGroup(svg, "segments"), "<polyline "), 5);
    // The whole line has all 12 points.
    std::string const line = svgGroup(svg, "line");
    auto const points = line.substr(line.find("points=\""), line.find("\" fill") - line.find("points=\""));
    EXPECT_EQ(countOf(points, ","), 12);
}

TEST(KtxPictures, SamplePictureHasTheOutlineTheHolesAndOneDotPerPoint) {
    ScratchFolder const folder;
    KtxRun const run = runKtx({"sample2d", examplePath("sample2d.json"), "--svg", folder.path("s.svg")});
    ASSERT_EQ(run.status, 0) << run.err;
    std::string const svg = readFile(folder.path("s.svg"));
    expectWellFormedSvg(svg);
    EXPECT_EQ(countOf(svgGroup(svg, "outline"), "<polygon "), 3);
    EXPECT_EQ(countOf(svgGroup(svg, "points"), "<circle "), 16);
}

TEST(KtxPictures, MastersPictureMarksEveryMaster) {
    ScratchFolder const folder;
    KtxRun const run = runKtx({"masters", examplePath("masters.json"), "--svg", folder.path("m.svg")});
    ASSERT_EQ(run.status, 0) << run.err;
    std::string const svg = readFile(folder.path("m.svg"));
    expectWellFormedSvg(svg);
    EXPECT_EQ(countOf(svgGroup(svg, "segments"), "<rect "), 12);
    EXPECT_EQ(countOf(svgGroup(svg, "masters"), "<circle "), 4);
    EXPECT_EQ(countOf(svgGroup(svg, "values"), "<polyline "), 1);
}

TEST(KtxPictures, DemoPicturesShowThirtySegments) {
    ScratchFolder const folder;
    KtxRun const run = runKtx({"demo", "--dir", folder.path()});
    ASSERT_EQ(run.status, 0) << run.err;
    std::string const grouping = readFile(folder.path("grouping.svg"));
    std::string const curvature = readFile(folder.path("curvature.svg"));
    std::string const masters = readFile(folder.path("masters.svg"));
    for (std::string const* svg : {&grouping, &curvature, &masters}) {
        expectWellFormedSvg(*svg);
    }
    EXPECT_EQ(countOf(svgGroup(grouping, "segments"), "<rect "), 30);
    EXPECT_GE(countOf(svgGroup(grouping, "boundaries"), "<line "), 2);
    EXPECT_EQ(countOf(svgGroup(curvature, "segments"), "<polyline "), 30);
    EXPECT_EQ(countOf(svgGroup(masters, "segments"), "<rect "), 30);
    EXPECT_GE(countOf(svgGroup(masters, "masters"), "<circle "), 2);
}
