// Bad input never crashes ktx and never leaves an output file: each broken input gives exit status 2 and
// one line on standard error that names the input and the field (or line and column).
#include "KtxRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

using ktx::testing::fileExists;
using ktx::testing::folderEntries;
using ktx::testing::KtxRun;
using ktx::testing::readFile;
using ktx::testing::runKtx;
using ktx::testing::ScratchFolder;
using ktx::testing::writeFile;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

struct BrokenInput {
    std::string name;
    std::string command;
    std::string input;
    std::string message;  // part of the expected message
};

std::ostream& operator<<(std::ostream& out, BrokenInput const& broken) {
    return out << broken.name;
}

std::string const kLine = R"("lengths": [1, 2, 3], "ranges": [[0, 1], [0, 1], [0, 1]])";

std::vector<BrokenInput> const kBrokenInputs{
    {"MalformedJson", "group", "{\"values\": [1, 2,\n  ]}", "input.json:2:3: malformed JSON"},
    {"EmptyInput", "group", "", "input.json:1:1: malformed JSON"},
    {"TruncatedJson", "curvature", "{\"points\": [[0, 0], [1", "malformed JSON"},
    {"DocumentNotAnObject", "group", "[1, 2, 3]", "expected an object, got an array"},
    {"MissingField", "group", R"({"values": [1, 2]})", "field 'lengths': missing"},
    {"MistypedField", "group", R"({"values": [1, "2"], "lengths": [1, 1]})",
     "field 'values[1]': expected a number, got a string"},
    {"MistypedFlag", "group", R"({"closed": 1, "values": [1], "lengths": [1]})",
     "field 'closed': expected true or false"},
    {"UnknownField", "group", R"({"values": [1], "lengths": [1], "lenghts": [1]})",
     "field 'lenghts': unknown field"},
    {"UnknownMeasure", "group", R"({"values": [1], "lengths": [1], "measure": "range"})", "field 'measure'"},
    {"DifferentCounts", "group", R"({"values": [1, 2, 3], "lengths": [1, 2]})",
     "field 'lengths': has 2 entries but 'values' has 3"},
    {"NoSegments", "group", R"({"values": [], "lengths": []})", "field 'values': must not be empty"},
    {"ZeroLength", "group", R"({"values": [1, 2], "lengths": [1, 0]})",
     "field 'lengths[1]': must be positive"},
    {"InfiniteNumber", "group", R"({"values": [1, 1e999], "lengths": [1, 1]})",
     "input.json:1:16: number out of range: '1e999'"},
    {"NaNIsNotJson", "group", R"({"values": [1, NaN], "lengths": [1, 1]})", "malformed JSON"},
    {"PointIndexOutOfRange", "curvature", R"({"points": [[0, 0], [1, 0], [2, 1]], "segments": [[0, 3]]})",
     "field 'segments[0][1]': must be between 0 and 2, got 3"},
    {"OverlappingSegments", "curvature",
     R"({"points": [[0, 0], [1, 0], [2, 1], [3, 3]], "segments": [[0, 2], [1, 3]]})", "field 'segments[1]'"},
    {"RepeatedPoint", "curvature", R"({"points": [[0, 0], [0, 0], [2, 1]], "segments": [[0, 2]]})",
     "field 'points[1]': repeats the previous point"},
    {"PointWithThreeCoordinates", "curvature", R"({"points": [[0, 0, 0], [1, 0]], "segments": [[0, 1]]})",
     "field 'points[0]': expected a point [x, y]"},
    {"TooManyMasters", "masters", "{" + kLine + R"(, "masters": 4})",
     "field 'masters': must be between 1 and 3"},
    {"MasterIndexOutOfRange", "masters", "{" + kLine + R"(, "masterIndices": [0, 3]})",
     "field 'masterIndices[1]': must be between 0 and 2"},
    {"InvertedRange", "masters", R"({"lengths": [1, 2], "ranges": [[0, 1], [1, 0]], "masters": 1})",
     "field 'ranges[1]': minimum 1 is above maximum 0"},
    {"TransitionCount", "masters", "{" + kLine + R"(, "masters": 2, "transitions": [1, 1, 1]})",
     "field 'transitions': has 3 entries, expected 2"},
    {"MasterValuesCount", "masters", "{" + kLine + R"(, "masters": 2, "masterValues": [0.5]})",
     "field 'masterValues': has 1 entries but 'masters' has 2"},
    {"TooFewPreGroups", "masters", "{" + kLine + R"(, "masters": 3, "preGroups": [0, 3]})",
     "pre-groups allow at most 1 masters"},
    {"InfeasibleMatrix", "assign", "1,inf\n2,inf\n", "cost matrix is infeasible"},
    {"MinusInfinityWhenMinimising", "assign", "1,-inf\n2,3\n",
     "field 'cost matrix[0][1]': -inf is not a cost"},
    {"CsvNotANumber", "assign", "1,2\n3,x\n", "input.json:2:3: 'x' is not a number"},
    {"CsvRaggedRow", "assign", "1,2,3\n4,5\n", "input.json:2:1: row has 2 cells, expected 3"},
    {"CsvNaN", "assign", "1,nan\n2,3\n", "input.json:1:3: 'nan' is not a finite number"},
    {"NegativeCost", "assign", "1,2\n3,-4\n", "field 'cost matrix[1][1]': costs must not be negative"},
    {"JsonRaggedMatrix", "assign", R"({"costs": [[1, 2], [3]]})",
     "field 'costs[1]': has 1 columns but row 0 has 2"},
    {"ShortFactor", "lhs", R"({"factors": [{"candidates": [1, 2, 3]}, {"candidates": [1, 2]}]})",
     "field 'factors[1].candidates': has 2 candidates, fewer than the population size 3"},
    {"FactorIndexOutOfRange", "lhs", R"({"factors": [{"candidates": [1]}], "order": [0, 1]})",
     "field 'order[1]': must be between 0 and 0, got 1"},
    {"EmptyOrder", "lhs", R"({"factors": [{"candidates": [1]}], "order": []})",
     "field 'order': must not be empty"},
    {"RaggedCandidates", "lhs", R"({"factors": [{"candidates": [[1, 2], [3]]}]})",
     "field 'factors[0].candidates[1]': has 1 coordinates but the first candidate has 2"},
    {"RingTooSmall", "sample2d", R"({"outer": [[0, 0], [1, 0]], "n": 3})",
     "field 'outer': a ring needs at least 3"},
    {"SelfIntersectingRing", "sample2d", R"({"outer": [[0, 0], [1, 1], [1, 0], [0, 1]], "n": 3})",
     "field 'outer': invalid polygon"},
    {"HoleOutside", "sample2d",
     R"({"outer": [[0, 0], [1, 0], [1, 1], [0, 1]], "holes": [[[5, 5], [6, 5], [6, 6]]], "n": 3})",
     "field 'holes': invalid polygon"},
    {"ZeroSamples", "sample2d", R"({"outer": [[0, 0], [1, 0], [1, 1]], "n": 0})",
     "field 'n': must be between 1"},
    {"UnknownFunction", "anneal", R"({"function": "bohachevsky"})",
     "field 'function': unknown test function"},
    {"HimmelblauIn3D", "anneal", R"({"function": "himmelblau", "dimension": 3})", "field 'dimension'"},
    {"EmptyBox", "anneal", R"({"function": "sphere", "box": [[1, 1], [0, 1]]})",
     "field 'box[0]': expected lower < upper"},
    {"HugeBudget", "anneal", R"({"function": "sphere", "settings": {"evaluationBudget": 5000001}})",
     "field 'settings.evaluationBudget': must be between 1 and 5000000"},
    {"TooManyDimensions", "anneal", R"({"function": "sphere", "dimension": 21})",
     "field 'dimension': must be between 1 and 20, got 21"},
    {"FreeGradient", "anneal", R"({"function": "sphere", "settings": {"gradientCost": 0}})",
     "field 'settings.gradientCost': must be between 1 and 1000"},
    {"SeedOutOfRange", "anneal", R"({"function": "sphere", "seed": 99999999999})",
     "field 'seed': integer out of range"},
    // The annealer no longer integrates trajectories; its old step settings are named as unknown.
    {"RetiredLeapfrogSetting", "anneal", R"({"function": "sphere", "settings": {"stepFraction": 0.5}})",
     "field 'settings.stepFraction': unknown field"},
    {"TotalCostOverflows", "assign", "1e308,1e308\n1e308,1e308\n",
     "result 'cost' is inf: the input's numbers are too large"},
    {"InterpolatedValueOverflows", "masters",
     R"({"lengths": [1, 1, 1], "ranges": [[-1e308, 1e308], [0, 1], [0, 1]], "masterIndices": [0, 2],
         "masterValues": [1e308, -1e308]})",
     "result 'values[0]' is nan"},
    {"TotalLengthOverflows", "group", R"({"values": [1, 1], "lengths": [1e308, 1e308]})",
     "field 'lengths': the sum is inf in double precision"},
    {"MasterLineLengthOverflows", "masters",
     R"({"lengths": [1e308, 1e308], "ranges": [[0, 1], [0, 1]], "masters": 1})",
     "field 'lengths': the sum is inf in double precision"},
    {"ValueRangeOverflows", "group", R"({"values": [-1e308, 1e308], "lengths": [1, 1]})",
     "field 'values': the numbers are too far apart"},
    {"HugeSquare", "sample2d",
     R"({"outer": [[-1e308, -1e308], [1e308, -1e308], [1e308, 1e308], [-1e308, 1e308]], "n": 3})",
     "field 'outer[0]': coordinates beyond 1e+150 in magnitude overflow"},
    {"TinySquare", "sample2d", R"({"outer": [[0, 0], [1e-300, 0], [1e-300, 1e-300], [0, 1e-300]], "n": 3})",
     "field 'outer': the polygon spans only 1e-300 x 1e-300"},
    {"LongCsvCellIsCut", "assign", "\"" + std::string(100000, 'a') + "\",1\n",
     "1:1: '" + std::string(60, 'a') + "... (100000 bytes)' is not a number"},
    {"LongFieldNameIsCut", "group",
     R"({"values": [1], "lengths": [1], ")" + std::string(100000, 'k') + R"(": 1})",
     "field '" + std::string(60, 'k') + "... (100000 bytes)': unknown field"},
    {"LongMeasureIsCut", "group",
     R"({"values": [1], "lengths": [1], "measure": ")" + std::string(5000, 'm') + R"("})",
     "got \"" + std::string(60, 'm') + "... (5000 bytes)\""},
};

class KtxBrokenInput : public ::testing::TestWithParam<BrokenInput> {};

}  // namespace

TEST_P(KtxBrokenInput, ExitsWithStatusTwoAndOneLineNamingTheProblemWithoutOutputFile) {
    BrokenInput const& broken = GetParam();
    ScratchFolder const folder;
    writeFile(folder.path("input.json"), broken.input);
    KtxRun const run = runKtx({broken.command, folder.path("input.json"), "--output", folder.path("result")});
    EXPECT_EQ(run.status, 2) << run.err;
    EXPECT_THAT(run.err, StartsWith("ktx " + broken.command + ": "));
    EXPECT_THAT(run.err, HasSubstr(broken.message));
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(folderEntries(folder.path()), std::vector<std::string>{"input.json"});
}

INSTANTIATE_TEST_SUITE_P(Inputs, KtxBrokenInput, ::testing::ValuesIn(kBrokenInputs),
                         [](auto const& info) { return info.param.name; });

TEST(KtxBrokenInput, QuotedInputIsCutSoTheMessageStaysShort) {
    KtxRun const run = runKtx({"assign", "-"}, "1,\"" + std::string(1000000, '7') + "x\"\n");
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("... (1000001 bytes)' is not a number"));
    EXPECT_LT(run.err.size(), 200u) << run.err.substr(0, 300);
}

TEST(KtxBrokenInput, AnOutlineWithTooManyEdgesIsRefusedBeforeItsQuadraticCheck) {
    std::string ring;
    int const vertices = 10001;
    for (int i = 0; i < vertices; ++i) {
        double const angle = 6.283185307179586 * i / vertices;
        ring += (i > 0 ? "," : "") + std::string("[") + std::to_string(std::cos(angle)) + "," +
                std::to_string(std::sin(angle)) + "]";
    }
    KtxRun const run = runKtx({"sample2d", "-"}, R"({"n": 3, "outer": [)" + ring + "]}");
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("field 'outer': the outline has 10001 edges in all, more than 10000"));
}

namespace {

// A closed line of `segments` unit segments asking for `masters` masters.
std::string lineOfSegments(int segments, int masters) {
    std::string lengths;
    std::string ranges;
    for (int i = 0; i < segments; ++i) {
        lengths += i > 0 ? ", 1" : "1";
        ranges += i > 0 ? ", [0, 1]" : "[0, 1]";
    }
    return R"({"closed": true, "lengths": [)" + lengths + R"(], "ranges": [)" + ranges + R"(], "masters": )" +
           std::to_string(masters) + "}";
}

}  // namespace

TEST(KtxBrokenInput, AMasterSearchBeyondTheMemoryLimitIsRefusedWithItsSize) {
    KtxRun const line = runKtx({"masters", "-"}, lineOfSegments(2000, 4));
    EXPECT_EQ(line.status, 2);
    EXPECT_THAT(line.err,
                HasSubstr("field 'masters': searching 4 masters among 2000 segments needs about 2443 "
                          "MiB of memory, more than the limit of 2048 MiB"));
    KtxRun const manyMasters = runKtx({"masters", "-"}, lineOfSegments(5000, 2000));
    EXPECT_EQ(manyMasters.status, 2);
    EXPECT_THAT(manyMasters.err, HasSubstr("searching 2000 masters among 5000 segments needs about"));
}

TEST(KtxBadFiles, EndlessInputStopsAtTheSizeLimit) {
    KtxRun const byDefault = runKtx({"group", "/dev/zero"});
    EXPECT_EQ(byDefault.status, 2);
    EXPECT_EQ(
        byDefault.err,
        "ktx group: input '/dev/zero' is larger than 256 MiB, the limit; raise it with --max-input-mib\n");
    KtxRun const lowered = runKtx({"lhs", "-", "--max-input-mib", "1"}, std::string(2 << 20, ' '));
    EXPECT_EQ(lowered.status, 2);
    EXPECT_THAT(lowered.err, HasSubstr("input '<stdin>' is larger than 1 MiB, the limit"));
}

TEST(KtxBadFiles, RaisingTheSizeLimitAdmitsALargerInput) {
    std::string const padded = R"({"values": [1, 2], "lengths": [1, 1]})" + std::string(3 << 19, ' ');
    EXPECT_EQ(runKtx({"group", "-", "--max-input-mib", "1"}, padded).status, 2);
    KtxRun const raised = runKtx({"group", "-", "--max-input-mib", "2"}, padded);
    EXPECT_EQ(raised.status, 0) << raised.err;
    EXPECT_THAT(raised.out, HasSubstr("\"groupStarts\""));
}

TEST(KtxBadFiles, UnreadableInputFileIsNamed) {
    KtxRun const run = runKtx({"group", "/nonexistent/line.json"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err,
              "ktx group: cannot read input file '/nonexistent/line.json': No such file or directory\n");
}

TEST(KtxBadFiles, InputThatIsAFolderIsRejected) {
    ScratchFolder const folder;
    KtxRun const run = runKtx({"assign", folder.path()});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("it is a directory"));
}

TEST(KtxBadFiles, OutputPathThatIsAFolderIsRejectedBeforeAnyWork) {
    ScratchFolder const folder;
    KtxRun const run = runKtx({"assign", ktx::testing::examplePath("assign.csv"), "--output", folder.path()});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("cannot write output file '" + folder.path() + "': it is a directory"));
    EXPECT_TRUE(folderEntries(folder.path()).empty());
}

TEST(KtxBadFiles, OutputInAMissingFolderIsRejected) {
    ScratchFolder const folder;
    KtxRun const run =
        runKtx({"lhs", ktx::testing::examplePath("lhs.json"), "-o", folder.path("missing/points.csv")});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("cannot write output file"));
    EXPECT_TRUE(folderEntries(folder.path()).empty());
}

TEST(KtxBadFiles, ExistingOutputFileKeepsItsContentWhenTheInputIsBad) {
    ScratchFolder const folder;
    writeFile(folder.path("result.json"), "previous result\n");
    writeFile(folder.path("input.json"), R"({"values": [1], "lengths": [-1]})");
    KtxRun const run = runKtx({"group", folder.path("input.json"), "-o", folder.path("result.json")});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(readFile(folder.path("result.json")), "previous result\n");
    EXPECT_EQ(folderEntries(folder.path()).size(), 2u);
}

TEST(KtxBadFiles, PictureInAMissingFolderLeavesNoMainOutputEither) {
    ScratchFolder const folder;
    KtxRun const run = runKtx({"group", ktx::testing::examplePath("group.json"), "-o",
                               folder.path("groups.json"), "--svg", folder.path("missing/groups.svg")});
    EXPECT_EQ(run.status, 2);
    EXPECT_FALSE(fileExists(folder.path("groups.json")));
    EXPECT_TRUE(folderEntries(folder.path()).empty());
}

TEST(KtxCommandLine, UnknownOptionGivesStatusTwoAndOneLine) {
    KtxRun const run = runKtx({"group", "--colour", "red"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_THAT(run.err, StartsWith("ktx: "));
}

TEST(KtxCommandLine, MissingSubcommandGivesStatusTwo) {
    KtxRun const run = runKtx({});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, StartsWith("ktx: "));
}

TEST(KtxCommandLine, BinaryGarbageOnStandardInputIsReportedOnOneLine) {
    KtxRun const run = runKtx({"group"}, std::string("\x01\x02{\n\"a\xff", 7));
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, StartsWith("ktx group: <stdin>:1:1: malformed JSON"));
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
}
