// The readers of every subcommand's input: what they accept, the defaults they fill in, and the field
// each rejection names. The end-to-end tests cover the same rejections through the program.
#include "FuzzTargets.h"
#include "input/AnnealInput.h"
#include "input/AssignInput.h"
#include "input/CurvatureInput.h"
#include "input/GroupInput.h"
#include "input/HelpExamples.h"
#include "input/InputError.h"
#include "input/LhsInput.h"
#include "input/MastersInput.h"
#include "input/Sample2dInput.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <limits>

using ktx::InputError;
using ::testing::StartsWith;

namespace {

template <typename Parse>
std::string messageOf(Parse parse, std::string const& text) {
    try {
        parse(text);
    } catch (InputError const& error) {
        return error.what();
    }
    return "no error";
}

std::string example(std::string const& name) {
    std::ifstream file(std::string(KTX_EXAMPLES_DIR) + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

TEST(HelpExamples, EveryHelpExampleIsAcceptedByItsReader) {
    EXPECT_TRUE(ktx::runFuzzTarget("group", ktx::examples::group));
    EXPECT_TRUE(ktx::runFuzzTarget("curvature", ktx::examples::curvature));
    EXPECT_TRUE(ktx::runFuzzTarget("masters", ktx::examples::masters));
    EXPECT_TRUE(ktx::runFuzzTarget("assign", ktx::examples::assign));
    EXPECT_TRUE(ktx::runFuzzTarget("lhs", ktx::examples::lhs));
    EXPECT_TRUE(ktx::runFuzzTarget("sample2d", ktx::examples::sample2d));
    EXPECT_TRUE(ktx::runFuzzTarget("anneal", ktx::examples::anneal));
}

TEST(HelpExamples, EveryExampleFileIsAcceptedByItsReader) {
    for (auto const& [target, file] :
         std::vector<std::pair<std::string, std::string>>{{"group", "group.json"},
                                                          {"group", "group-closed.json"},
                                                          {"curvature", "curvature.json"},
                                                          {"masters", "masters.json"},
                                                          {"masters", "masters-open-pregroups.json"},
                                                          {"assign", "assign.csv"},
                                                          {"assign", "assign.json"},
                                                          {"lhs", "lhs.json"},
                                                          {"sample2d", "sample2d.json"},
                                                          {"anneal", "anneal.json"}}) {
        EXPECT_TRUE(ktx::runFuzzTarget(target, example(file))) << file;
    }
}

TEST(GroupInput, DefaultsToAnOpenLineAndTheMinMaxMeasure) {
    ktx::GroupInput const input = ktx::parseGroupInput(R"({"values": [1, 2], "lengths": [3, 4]})");
    EXPECT_FALSE(input.closed);
    EXPECT_EQ(input.measure, ktx::Dispersion::MinMax);
    EXPECT_EQ(input.values, (std::vector<double>{1, 2}));
    EXPECT_EQ(input.lengths, (std::vector<double>{3, 4}));
}

TEST(GroupInput, ReadsTheVarianceMeasureOnAClosedLine) {
    ktx::GroupInput const input =
        ktx::parseGroupInput(R"({"closed": true, "measure": "variance", "values": [1], "lengths": [3]})");
    EXPECT_TRUE(input.closed);
    EXPECT_EQ(input.measure, ktx::Dispersion::Variance);
}

TEST(GroupInput, NegativeLengthIsNamed) {
    EXPECT_EQ(messageOf(ktx::parseGroupInput, R"({"values": [1, 2], "lengths": [1, -2]})"),
              "field 'lengths[1]': must be positive, got -2");
}

TEST(CurvatureInput, SegmentsMayShareEndPointsOrLeaveGaps) {
    ktx::CurvatureInput const input = ktx::parseCurvatureInput(
        R"({"points": [[0, 0], [1, 0], [2, 0], [3, 1], [4, 3]], "segments": [[0, 1], [1, 2], [3, 4]]})");
    EXPECT_EQ(input.segments, (std::vector<std::pair<int, int>>{{0, 1}, {1, 2}, {3, 4}}));
}

TEST(CurvatureInput, SegmentOfOnePointIsRejected) {
    EXPECT_THAT(messageOf(ktx::parseCurvatureInput, R"({"points": [[0, 0], [1, 0]], "segments": [[1, 1]]})"),
                StartsWith("field 'segments[0]': last point index 1 must be greater"));
}

TEST(MastersInput, MasterIndicesSetTheNumberOfMasters) {
    ktx::MastersInput const input = ktx::parseMastersInput(
        R"({"lengths": [1, 2, 3], "ranges": [[0, 1], [0, 1], [0, 1]], "masterIndices": [0, 2]})");
    EXPECT_EQ(input.masters, 2);
    EXPECT_FALSE(input.transitions.has_value());
}

TEST(MastersInput, ClosedLineNeedsOneTransitionPerSegment) {
    EXPECT_THAT(
        messageOf(ktx::parseMastersInput, R"({"closed": true, "lengths": [1, 2], "ranges": [[0, 1], [0, 1]],
                                                     "masters": 1, "transitions": [1]})"),
        StartsWith("field 'transitions': has 1 entries, expected 2"));
}

TEST(MastersInput, PreGroupsMustBeAscendingBoundaries) {
    EXPECT_THAT(
        messageOf(ktx::parseMastersInput, R"({"lengths": [1, 2, 3], "ranges": [[0, 1], [0, 1], [0, 1]],
                                                     "masters": 2, "preGroups": [0, 2, 2]})"),
        StartsWith("field 'preGroups[2]': must be greater than the previous entry (2), got 2"));
}

TEST(MastersInput, MastersAllowedByPreGroupsCountUngroupedSegmentsOnce) {
    EXPECT_EQ(ktx::mastersAllowedByPreGroups({0, 4, 7, 10}, 10), 3);
    EXPECT_EQ(ktx::mastersAllowedByPreGroups({2, 4, 7}, 10), 3);  // 0-1 and 7-9 are ungrouped: one more
    EXPECT_EQ(ktx::mastersAllowedByPreGroups({3}, 10), 1);
    EXPECT_EQ(ktx::mastersAllowedByPreGroups({}, 10), 10);
}

namespace {

std::vector<std::vector<double>> minimising(std::string const& text) {
    return ktx::parseAssignInput(text, ktx::AssignGoal::Minimize);
}

std::vector<std::vector<double>> maximising(std::string const& text) {
    return ktx::parseAssignInput(text, ktx::AssignGoal::Maximize);
}

}  // namespace

TEST(AssignInput, JsonArrayAndObjectFormsGiveTheSameMatrix) {
    EXPECT_EQ(minimising("[[1, 2], [3, 4]]"), minimising(R"({"costs": [[1, 2], [3, 4]]})"));
    EXPECT_EQ(minimising("  \n1;2\n3;4\n"), minimising("[[1, 2], [3, 4]]"));
}

TEST(AssignInput, EmptyMatricesAreAccepted) {
    EXPECT_TRUE(minimising("[]").empty());
    EXPECT_TRUE(minimising("# nothing\n").empty());
    EXPECT_EQ(minimising(R"({"costs": [[], []]})"), (std::vector<std::vector<double>>{{}, {}}));
}

TEST(AssignInput, ForbiddenPairsAreInfInCsvAndNullInJson) {
    double const inf = std::numeric_limits<double>::infinity();
    std::vector<std::vector<double>> const expected = {{1.0, inf}, {inf, 2.0}};
    EXPECT_EQ(minimising("1,inf\nInfinity,2\n"), expected);
    EXPECT_EQ(minimising("[[1, null], [null, 2]]"), expected);
    std::vector<std::vector<double>> const negated = {{1.0, -inf}, {-inf, -2.0}};
    EXPECT_EQ(maximising("1,-inf\n-Infinity,-2\n"), negated);
    EXPECT_EQ(maximising(R"({"costs": [[1, null], [null, -2]]})"), negated);
}

TEST(AssignInput, InfinitiesOfTheWrongSignAndNaNAreRejected) {
    EXPECT_EQ(messageOf(minimising, "1,-inf\n2,3\n"),
              "field 'cost matrix[0][1]': -inf is not a cost; a forbidden pair is inf when minimising");
    EXPECT_EQ(messageOf(maximising, "[[1, 2], [3, 1e999]]"),
              "1:14: number out of range: '1e999' is beyond the largest double");
    EXPECT_EQ(messageOf(maximising, "1,inf\n2,3\n"),
              "field 'cost matrix[0][1]': inf is not a profit; a forbidden pair is -inf when maximising");
    EXPECT_EQ(messageOf(minimising, "1,nan\n2,3\n"), "1:3: 'nan' is not a finite number");
}

TEST(AssignInput, NegativeCostsAreRejectedOnlyWhenMinimising) {
    EXPECT_THAT(messageOf(minimising, "1,-2\n"),
                StartsWith("field 'cost matrix[0][1]': costs must not be negative"));
    EXPECT_EQ(maximising("1,-2\n"), (std::vector<std::vector<double>>{{1.0, -2.0}}));
}

TEST(LhsInput, NamesColumnsAndDefaultsTheOrder) {
    ktx::LhsInput const input = ktx::parseLhsInput(
        R"({"factors": [{"candidates": [1, 2]}, {"name": "xy", "candidates": [[1, 2], [3, 4]]}]})");
    EXPECT_EQ(input.order, (std::vector<int>{0, 1}));
    EXPECT_EQ(ktx::lhsColumnNames(input), (std::vector<std::string>{"factor0", "xy[0]", "xy[1]"}));
}

TEST(LhsInput, FactorWithoutCandidatesIsRejected) {
    EXPECT_THAT(messageOf(ktx::parseLhsInput, R"({"factors": [{"candidates": []}]})"),
                StartsWith("field 'factors[0].candidates': must not be empty"));
}

TEST(Sample2dInput, HolesAreOptional) {
    ktx::Sample2dInput const input =
        ktx::parseSample2dInput(R"({"outer": [[0, 0], [1, 0], [0, 1]], "n": 2})");
    EXPECT_TRUE(input.holes.empty());
    EXPECT_EQ(input.n, 2);
}

TEST(Sample2dInput, TooManySamplesAreRejected) {
    EXPECT_THAT(messageOf(ktx::parseSample2dInput, R"({"outer": [[0, 0], [1, 0], [0, 1]], "n": 2001})"),
                StartsWith("field 'n': must be between 1 and 2000"));
}

TEST(AnnealInput, DimensionFollowsTheBox) {
    ktx::AnnealInput const input =
        ktx::parseAnnealInput(R"({"function": "sphere", "box": [[0, 1], [0, 1], [0, 1]]})");
    EXPECT_EQ(input.dimension, 3);
    EXPECT_EQ(input.seed, 1);
    EXPECT_FALSE(input.coolingFactor.has_value());
}

TEST(AnnealInput, BudgetSettingsAreReadAndBounded) {
    ktx::AnnealInput const input = ktx::parseAnnealInput(
        R"({"function": "sphere", "settings": {"evaluationBudget": 1234, "gradientCost": 2, "descentCalls": 7}})");
    EXPECT_EQ(input.evaluationBudget, 1234);
    EXPECT_EQ(input.gradientCost, 2);
    EXPECT_EQ(input.descentCalls, 7);
    EXPECT_FALSE(input.jumpFraction.has_value());
    EXPECT_THAT(
        messageOf(ktx::parseAnnealInput, R"({"function": "sphere", "settings": {"evaluationBudget": 0}})"),
        StartsWith("field 'settings.evaluationBudget': must be between 1"));
    EXPECT_THAT(
        messageOf(ktx::parseAnnealInput, R"({"function": "sphere", "settings": {"jumpFraction": 2}})"),
        StartsWith("field 'settings.jumpFraction': must lie in (0, 1]"));
}

TEST(AnnealInput, SettingsOutsideTheirRangesAreNamed) {
    EXPECT_THAT(
        messageOf(ktx::parseAnnealInput, R"({"function": "sphere", "settings": {"coolingFactor": 1}})"),
        StartsWith("field 'settings.coolingFactor': must lie strictly between 0 and 1"));
    EXPECT_THAT(messageOf(ktx::parseAnnealInput, R"({"function": "sphere", "settings": {"stepz": 1}})"),
                StartsWith("field 'settings.stepz': unknown field"));
}
