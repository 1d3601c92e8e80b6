// The built ktx program on the example files: exit status, the shape and sense of each output, standard
// input, --output, --help and the demo.
#include "KtxRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <set>
#include <sstream>

using ktx::testing::examplePath;
using ktx::testing::KtxRun;
using ktx::testing::readFile;
using ktx::testing::runKtx;
using ktx::testing::ScratchFolder;
using ::testing::HasSubstr;

namespace {

nlohmann::json jsonOf(KtxRun const& run) {
    return nlohmann::json::parse(run.out);
}

std::vector<std::vector<std::string>> csvOf(std::string const& text) {
    std::vector<std::vector<std::string>> rows;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        std::vector<std::string> cells;
        std::istringstream cellStream(line);
        std::string cell;
        while (std::getline(cellStream, cell, ',')) {
            cells.push_back(cell);
        }
        rows.push_back(cells);
    }
    return rows;
}

}  // namespace

TEST(KtxGroup, ExampleGivesAscendingStartsCoveringEverySegmentOnce) {
    KtxRun const run = runKtx({"group", examplePath("group.json")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    nlohmann::json const input = nlohmann::json::parse(readFile(examplePath("group.json")));
    nlohmann::json const result = jsonOf(run);
    auto const starts = result["groupStarts"].get<std::vector<int>>();
    ASSERT_FALSE(starts.empty());
    EXPECT_TRUE(std::is_sorted(starts.begin(), starts.end()));
    EXPECT_EQ(starts.front(), 0);  // an open line's first group starts at its first segment
    int segments = 0;
    double length = 0.0;
    for (auto const& group : result["groups"]) {
        segments += group["segments"].get<int>();
        length += group["length"].get<double>();
        EXPECT_GE(group["dispersion"].get<double>(), 0.0);
    }
    auto const lengths = input["lengths"].get<std::vector<double>>();
    EXPECT_EQ(segments, static_cast<int>(lengths.size()));
    EXPECT_DOUBLE_EQ(length, std::accumulate(lengths.begin(), lengths.end(), 0.0));
    int const recommended = result["recommendedMasters"].get<int>();
    EXPECT_GE(recommended, 0);
    EXPECT_LE(recommended, static_cast<int>(lengths.size()));
}

TEST(KtxGroup, SeparatesTheThreeLevelsOfTheExample) {
    // Values 0.42-0.45, 0.70-0.74 and 0.30-0.33: the groups start where the level changes.
    KtxRun const run = runKtx({"group", examplePath("group.json")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(jsonOf(run)["groupStarts"].get<std::vector<int>>(), (std::vector<int>{0, 4, 9}));
}

TEST(KtxGroup, ClosedLineGroupsWrapAndCoverTheLine) {
    KtxRun const run = runKtx({"group", examplePath("group-closed.json")});
    ASSERT_EQ(run.status, 0) << run.err;
    nlohmann::json const result = jsonOf(run);
    EXPECT_EQ(result["measure"], "variance");
    int segments = 0;
    for (auto const& group : result["groups"]) {
        segments += group["segments"].get<int>();
    }
    EXPECT_EQ(segments, 14);
}

TEST(KtxGroup, ReadsStandardInputAndGivesTheSameResultTwice) {
    std::string const input = readFile(examplePath("group.json"));
    KtxRun const fromFile = runKtx({"group", examplePath("group.json")});
    KtxRun const fromStdin = runKtx({"group", "-"}, input);
    KtxRun const implicitStdin = runKtx({"group"}, input);
    ASSERT_EQ(fromStdin.status, 0) << fromStdin.err;
    EXPECT_EQ(fromStdin.out, fromFile.out);
    EXPECT_EQ(implicitStdin.out, fromFile.out);
}

TEST(KtxGroup, OutputOptionWritesTheFileAndNothingToStandardOutput) {
    ScratchFolder const folder;
    KtxRun const run = runKtx({"group", examplePath("group.json"), "--output", folder.path("groups.json")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(readFile(folder.path("groups.json")), runKtx({"group", examplePath("group.json")}).out);
    EXPECT_EQ(ktx::testing::folderEntries(folder.path()), std::vector<std::string>{"groups.json"});
}

TEST(KtxCurvature, StraightPiecesAreFlatAndLeftTurnsNegative) {
    KtxRun const run = runKtx({"curvature", examplePath("curvature.json")});
    ASSERT_EQ(run.status, 0) << run.err;
    nlohmann::json const segments = jsonOf(run)["segments"];
    ASSERT_EQ(segments.size(), 5u);
    // The example runs right, turns left (up), runs up, turns right, runs right.
    EXPECT_NEAR(segments[0]["curvature"].get<double>(), 0.0, 1e-9);
    EXPECT_LT(segments[1]["curvature"].get<double>(), -0.01);
    EXPECT_NEAR(segments[2]["curvature"].get<double>(), 0.0, 1e-9);
    EXPECT_GT(segments[3]["curvature"].get<double>(), 0.01);
    for (auto const& segment : segments) {
        EXPECT_GT(segment["length"].get<double>(), 0.0);
    }
}

TEST(KtxMasters, ChoosesAscendingMastersAndInterpolatesEverySegment) {
    KtxRun const run = runKtx({"masters", examplePath("masters.json")});
    ASSERT_EQ(run.status, 0) << run.err;
    nlohmann::json const result = jsonOf(run);
    auto const masters = result["masters"].get<std::vector<int>>();
    ASSERT_EQ(masters.size(), 4u);
    EXPECT_TRUE(std::is_sorted(masters.begin(), masters.end()));
    EXPECT_EQ(std::set<int>(masters.begin(), masters.end()).size(), masters.size());
    EXPECT_GE(masters.front(), 0);
    EXPECT_LT(masters.back(), 12);
    auto const values = result["values"].get<std::vector<double>>();
    ASSERT_EQ(values.size(), 12u);
    for (double const v : values) {
        EXPECT_GE(v, 0.0);
        EXPECT_LE(v, 1.0);
    }
    EXPECT_TRUE(result["score"].is_number());
    EXPECT_TRUE(result["penalty"].is_number());
}

TEST(KtxMasters, PreGroupsGetAtMostOneMasterEach) {
    KtxRun const run = runKtx({"masters", examplePath("masters-open-pregroups.json")});
    ASSERT_EQ(run.status, 0) << run.err;
    auto const masters = jsonOf(run)["masters"].get<std::vector<int>>();
    ASSERT_EQ(masters.size(), 3u);
    // Boundaries 0, 4, 7, 10: groups 0-3, 4-6, 7-9.
    std::set<int> groups;
    for (int const m : masters) {
        groups.insert(m < 4 ? 0 : (m < 7 ? 1 : 2));
    }
    EXPECT_EQ(groups.size(), 3u);
}

TEST(KtxMasters, GivenMasterIndicesAreScoredNotSearched) {
    std::string const input =
        R"({"closed": false, "lengths": [10, 10, 10, 10], "ranges": [[0, 1], [0, 1], [0, 1], [0, 1]],
                                  "masterIndices": [0, 3], "masterValues": [0, 1]})";
    KtxRun const run = runKtx({"masters", "-"}, input);
    ASSERT_EQ(run.status, 0) << run.err;
    nlohmann::json const result = jsonOf(run);
    EXPECT_EQ(result["masters"].get<std::vector<int>>(), (std::vector<int>{0, 3}));
    EXPECT_EQ(result["chosen"], false);
    auto const values = result["values"].get<std::vector<double>>();
    ASSERT_EQ(values.size(), 4u);
    EXPECT_DOUBLE_EQ(values[0], 0.0);  // (1 - cos 0) / 2
    EXPECT_DOUBLE_EQ(values[3], 1.0);  // (1 - cos pi) / 2
    EXPECT_LT(values[1], values[2]);   // rising between the masters
}

TEST(KtxAssign, CsvExampleGivesTheBruteForceOptimum) {
    KtxRun const run = runKtx({"assign", examplePath("assign.csv")});
    ASSERT_EQ(run.status, 0) << run.err;
    nlohmann::json const result = jsonOf(run);
    std::vector<std::vector<double>> const costs{{14, 5, 8, 7}, {2, 12, 6, 5}, {7, 8, 3, 9}, {2, 4, 6, 10}};
    std::vector<int> permutation{0, 1, 2, 3};
    double best = 1e300;
    do {
        double sum = 0.0;
        for (int r = 0; r < 4; ++r) {
            sum += costs[r][permutation[r]];
        }
        best = std::min(best, sum);
    } while (std::next_permutation(permutation.begin(), permutation.end()));
    EXPECT_DOUBLE_EQ(result["cost"].get<double>(), best);
    auto const assignment = result["assignment"].get<std::vector<int>>();
    double sum = 0.0;
    for (int r = 0; r < 4; ++r) {
        sum += costs[r][assignment[r]];
    }
    EXPECT_DOUBLE_EQ(sum, best);
    EXPECT_EQ(std::set<int>(assignment.begin(), assignment.end()).size(), 4u);
}

TEST(KtxAssign, WideJsonMatrixAssignsEveryRowToADistinctColumn) {
    KtxRun const run = runKtx({"assign", examplePath("assign.json")});
    ASSERT_EQ(run.status, 0) << run.err;
    nlohmann::json const result = jsonOf(run);
    auto const assignment = result["assignment"].get<std::vector<int>>();
    ASSERT_EQ(assignment.size(), 3u);
    EXPECT_EQ(std::set<int>(assignment.begin(), assignment.end()).size(), 3u);
    EXPECT_DOUBLE_EQ(result["cost"].get<double>(), 5.0);  // 1 + 2 + 2
}

TEST(KtxAssign, TallMatrixLeavesOneRowUnassigned) {
    KtxRun const run = runKtx({"assign", "-"}, "1,2\n3,4\n5,0\n");
    ASSERT_EQ(run.status, 0) << run.err;
    auto const assignment = jsonOf(run)["assignment"].get<std::vector<int>>();
    ASSERT_EQ(assignment.size(), 3u);
    EXPECT_EQ(std::count(assignment.begin(), assignment.end(), -1), 1);
}

TEST(KtxAssign, ForbiddenPairsAreNeverAssigned) {
    KtxRun const run = runKtx({"assign", "-"}, "inf,1,5\n2,inf,1\n1,4,Infinity\n");
    ASSERT_EQ(run.status, 0) << run.err;
    nlohmann::json const result = jsonOf(run);
    EXPECT_EQ(result["assignment"].get<std::vector<int>>(), (std::vector<int>{1, 2, 0}));
    EXPECT_EQ(result["cost"].get<double>(), 3.0);
}

TEST(KtxAssign, NullMarksAForbiddenPairInJson) {
    KtxRun const run = runKtx({"assign", "-"}, R"({"costs": [[null, 2.5], [0.5, null]]})");
    ASSERT_EQ(run.status, 0) << run.err;
    nlohmann::json const result = jsonOf(run);
    EXPECT_EQ(result["assignment"].get<std::vector<int>>(), (std::vector<int>{1, 0}));
    EXPECT_EQ(result["cost"].get<double>(), 3.0);
}

TEST(KtxAssign, InfeasibleMatrixExitsWithStatusTwoAndOneLine) {
    KtxRun const run = runKtx({"assign", "-"}, "1,inf,inf\n2,inf,inf\n3,4,5\n");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_NE(run.err.find("cost matrix is infeasible"), std::string::npos) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
}

TEST(KtxAssign, MaximizeFindsTheLargestTotalAndHonoursForbiddenPairs) {
    KtxRun const run = runKtx({"assign", "-", "--maximize"}, "4,1,3\n2,0,5\n3,2,-inf\n");
    ASSERT_EQ(run.status, 0) << run.err;
    nlohmann::json const result = jsonOf(run);
    // Of the assignments avoiding (2, 2), rows 0, 1, 2 to columns 0, 2, 1 give 4 + 5 + 2 = 11, the most.
    EXPECT_EQ(result["assignment"].get<std::vector<int>>(), (std::vector<int>{0, 2, 1}));
    EXPECT_EQ(result["cost"].get<double>(), 11.0);
}

TEST(KtxAssign, MaximizeAcceptsNegativeValuesAndRectangularMatrices) {
    KtxRun const run = runKtx({"assign", "-", "--maximize"}, "-1,-5\n-3,-2\n-4,-9\n");
    ASSERT_EQ(run.status, 0) << run.err;
    nlohmann::json const result = jsonOf(run);
    EXPECT_EQ(result["assignment"].get<std::vector<int>>(), (std::vector<int>{0, 1, -1}));
    EXPECT_EQ(result["cost"].get<double>(), -3.0);
}

TEST(KtxAssign, EmptyMatrixAssignsNothing) {
    KtxRun const run = runKtx({"assign", "-"}, "[]");
    ASSERT_EQ(run.status, 0) << run.err;
    nlohmann::json const result = jsonOf(run);
    EXPECT_EQ(result["rows"], 0);
    EXPECT_EQ(result["columns"], 0);
    EXPECT_TRUE(result["assignment"].empty());
    EXPECT_EQ(result["cost"].get<double>(), 0.0);

    KtxRun const noColumns = runKtx({"assign", "-"}, "[[], []]");
    ASSERT_EQ(noColumns.status, 0) << noColumns.err;
    EXPECT_EQ(jsonOf(noColumns)["assignment"].get<std::vector<int>>(), (std::vector<int>{-1, -1}));
}

TEST(KtxAssign, TinyCostsWarnOnStandardErrorAndStillSolve) {
    KtxRun const run = runKtx({"assign", "-"}, "3e-15,1e-15\n2e-15,4e-15\n");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.err.find("warning: the largest finite cost is"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("multiply every cost"), std::string::npos) << run.err;
    EXPECT_EQ(jsonOf(run)["assignment"].get<std::vector<int>>().size(), 2u);

    KtxRun const ordinary = runKtx({"assign", "-"}, "3,1\n2,4\n");
    EXPECT_EQ(ordinary.err, "");
}

TEST(KtxLhs, EveryCandidateOfEveryFactorAppearsExactlyOnce) {
    KtxRun const run = runKtx({"lhs", examplePath("lhs.json")});
    ASSERT_EQ(run.status, 0) << run.err;
    auto const rows = csvOf(run.out);
    ASSERT_EQ(rows.size(), 6u);  // header and five points
    EXPECT_EQ(rows[0],
              (std::vector<std::string>{"thickness", "friction", "blank offset[0]", "blank offset[1]"}));
    std::multiset<double> thickness;
    std::multiset<double> friction;
    std::multiset<std::pair<double, double>> offset;
    for (std::size_t r = 1; r < rows.size(); ++r) {
        ASSERT_EQ(rows[r].size(), 4u);
        thickness.insert(std::stod(rows[r][0]));
        friction.insert(std::stod(rows[r][1]));
        offset.insert({std::stod(rows[r][2]), std::stod(rows[r][3])});
    }
    EXPECT_EQ(thickness, (std::multiset<double>{0.8, 1.0, 1.2, 1.5, 2.0}));
    EXPECT_EQ(friction, (std::multiset<double>{0.06, 0.08, 0.10, 0.12, 0.15}));
    EXPECT_EQ(offset, (std::multiset<std::pair<double, double>>{{0, 0}, {2, 0}, {0, 2}, {2, 2}, {1, 1}}));
}

TEST(KtxLhs, JsonFormatHoldsTheSamePoints) {
    KtxRun const csv = runKtx({"lhs", examplePath("lhs.json")});
    KtxRun const json = runKtx({"lhs", "--format", "json", examplePath("lhs.json")});
    ASSERT_EQ(json.status, 0) << json.err;
    auto const points = jsonOf(json)["points"];
    auto const rows = csvOf(csv.out);
    ASSERT_EQ(points.size() + 1, rows.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_DOUBLE_EQ(points[i][0].get<double>(), std::stod(rows[i + 1][0]));
    }
}

TEST(KtxSample2d, GivesTheRequestedNumberOfDistinctPointsInsideTheBox) {
    KtxRun const run = runKtx({"sample2d", examplePath("sample2d.json")});
    ASSERT_EQ(run.status, 0) << run.err;
    auto const rows = csvOf(run.out);
    ASSERT_EQ(rows.size(), 17u);
    EXPECT_EQ(rows[0], (std::vector<std::string>{"x", "y"}));
    std::set<std::pair<double, double>> points;
    for (std::size_t r = 1; r < rows.size(); ++r) {
        double const x = std::stod(rows[r][0]);
        double const y = std::stod(rows[r][1]);
        EXPECT_GE(x, 0.0);
        EXPECT_LE(x, 120.0);
        EXPECT_GE(y, 0.0);
        EXPECT_LE(y, 100.0);
        // Not inside the square hole.
        EXPECT_FALSE(x > 30 && x < 50 && y > 30 && y < 50) << x << "," << y;
        points.insert({x, y});
    }
    EXPECT_EQ(points.size(), 16u);
}

TEST(KtxAnneal, FindsTheRastriginMinimumOfTheExampleReproducibly) {
    KtxRun const first = runKtx({"anneal", examplePath("anneal.json")});
    KtxRun const second = runKtx({"anneal", examplePath("anneal.json")});
    ASSERT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(first.out, second.out);
    nlohmann::json const result = jsonOf(first);
    EXPECT_EQ(result["function"], "rastrigin");
    EXPECT_LT(result["bestValue"].get<double>(), 1e-3);
    EXPECT_GT(result["objectiveEvaluations"].get<long>(), 0);
}

TEST(KtxAnneal, StaysWithinTheGivenBudgetWithCostlyGradients) {
    KtxRun const run = runKtx(
        {"anneal", "-"},
        R"({"function": "styblinski-tang", "dimension": 3, "settings": {"evaluationBudget": 3000, "gradientCost": 3}})");
    ASSERT_EQ(run.status, 0) << run.err;
    nlohmann::json const result = jsonOf(run);
    long const objective = result["objectiveEvaluations"].get<long>();
    long const gradients = result["gradientEvaluations"].get<long>();
    EXPECT_EQ(result["evaluations"].get<long>(), objective + 3 * gradients);
    EXPECT_LE(objective + 3 * gradients, 3000);
    EXPECT_GT(objective + 3 * gradients, 2997);
    EXPECT_NEAR(result["bestValue"].get<double>(), result["knownMinimumValue"].get<double>(), 1e-2);
}

TEST(KtxHelp, EverySubcommandShowsAnExampleInput) {
    for (std::string const command :
         {"group", "curvature", "masters", "assign", "lhs", "sample2d", "anneal"}) {
        KtxRun const run = runKtx({command, "--help"});
        EXPECT_EQ(run.status, 0) << command;
        EXPECT_THAT(run.out, HasSubstr("Example input:")) << command;
        EXPECT_THAT(run.out, HasSubstr("ktx " + command)) << command;
    }
    KtxRun const demo = runKtx({"demo", "--help"});
    EXPECT_EQ(demo.status, 0);
    EXPECT_THAT(demo.out, HasSubstr("ktx demo"));
}

TEST(KtxDemo, PrintsItsSummaryAndWritesFourPictures) {
    ScratchFolder const folder;
    KtxRun const run = runKtx({"demo", "--dir", folder.path("pictures")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");  // no progress line: standard error is not a terminal here
    EXPECT_THAT(run.out, HasSubstr("30 segments"));
    EXPECT_THAT(run.out, HasSubstr("Grouping"));
    EXPECT_THAT(run.out, HasSubstr("Recommended number of master segments:"));
    EXPECT_THAT(run.out, HasSubstr("Masters ("));
    EXPECT_THAT(run.out, HasSubstr("Curvature"));
    EXPECT_THAT(run.out, HasSubstr(folder.path("pictures")));
    auto entries = ktx::testing::folderEntries(folder.path("pictures"));
    std::sort(entries.begin(), entries.end());
    EXPECT_EQ(entries,
              (std::vector<std::string>{"curvature.svg", "grouping.svg", "masters.svg", "objective.svg"}));
    EXPECT_THAT(run.out, HasSubstr("cross-entropy: "));
    EXPECT_THAT(run.out, HasSubstr("exact: "));
    std::string const objective = readFile(folder.path("pictures") + "/objective.svg");
    EXPECT_THAT(objective, HasSubstr("class=\"cross-entropy\""));
    EXPECT_THAT(objective, HasSubstr("class=\"exact\""));
}

TEST(KtxGroup, ShowsOneProgressLineOnATerminalOnly) {
    if (std::system("command -v script > /dev/null 2>&1") != 0) {
        GTEST_SKIP() << "script(1) is needed to run ktx on a pseudo-terminal";
    }
    ScratchFolder const folder;
    // script(1) gives ktx a terminal; the result goes to a file, standard error to the terminal.
    std::string const command = "script -qec \"'" + std::string(KTX_BINARY) + "' group '" +
                                examplePath("group-closed.json") + "' -o '" + folder.path("groups.json") +
                                "'\" /dev/null > '" + folder.path("terminal") + "' 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0);
    std::string const terminal = readFile(folder.path("terminal"));
    EXPECT_THAT(terminal, HasSubstr("\rktx group: 1 of 14 numbers of groups tried"));
    EXPECT_THAT(terminal, HasSubstr("\rktx group: 14 of 14 numbers of groups tried"));
    EXPECT_THAT(terminal, HasSubstr("\r\033[K"));  // the line is cleared at the end
    // Without a terminal nothing is reported.
    KtxRun const quiet = runKtx({"group", examplePath("group-closed.json")});
    EXPECT_EQ(quiet.err, "");
}
