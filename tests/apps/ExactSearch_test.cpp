// The exact searches of ktx group and ktx masters, and the time estimate that keeps ktx group from
// starting a cross-entropy search that would run for minutes.
#include "KtxRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

using ktx::testing::examplePath;
using ktx::testing::fileExists;
using ktx::testing::KtxRun;
using ktx::testing::runKtx;
using ktx::testing::ScratchFolder;
using ::testing::HasSubstr;

namespace {

// A grouping input of `segments` segments: plateaus of five segments with a small ripple.
std::string longLine(int segments) {
    nlohmann::json input{{"closed", false}, {"measure", "variance"}};
    std::vector<double> values;
    std::vector<double> lengths;
    for (int i = 0; i < segments; ++i) {
        values.push_back(static_cast<double>((i / 5) % 4) + 0.01 * std::sin(i));
        lengths.push_back(10.0 + static_cast<double>(i % 3));
    }
    input["values"] = values;
    input["lengths"] = lengths;
    return input.dump();
}

int lineCount(std::string const& text) {
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

}  // namespace

TEST(KtxGroupExact, FindsTheLevelChangesOfTheExample) {
    KtxRun const run = runKtx({"group", examplePath("group.json"), "--search", "exact"});
    ASSERT_EQ(run.status, 0) << run.err;
    nlohmann::json const result = nlohmann::json::parse(run.out);
    EXPECT_EQ(result["groupStarts"].get<std::vector<int>>(), (std::vector<int>{0, 4, 9}));
}

TEST(KtxGroupExact, GroupsALineFarTooLongForTheCrossEntropySearch) {
    KtxRun const run = runKtx({"group", "-", "--search", "exact"}, longLine(250));
    ASSERT_EQ(run.status, 0) << run.err;
    std::vector<int> const starts = nlohmann::json::parse(run.out)["groupStarts"].get<std::vector<int>>();
    ASSERT_FALSE(starts.empty());
    EXPECT_EQ(starts.front(), 0);
    EXPECT_TRUE(std::is_sorted(starts.begin(), starts.end()));
    EXPECT_EQ(run.err, "");
}

TEST(KtxGroupEstimate, RefusesALongLineWithTheEstimateAndWritesNothing) {
    ScratchFolder const folder;
    KtxRun const run = runKtx({"group", "-", "-o", folder.path("groups.json")}, longLine(200));
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(lineCount(run.err), 1) << run.err;
    EXPECT_THAT(run.err, HasSubstr("ktx group: 200 segments would take about"));
    EXPECT_THAT(run.err, HasSubstr("--search exact"));
    EXPECT_THAT(run.err, HasSubstr("--max-seconds"));
    EXPECT_THAT(run.err, HasSubstr("segments within 60 s"));
    EXPECT_EQ(run.out, "");
    EXPECT_FALSE(fileExists(folder.path("groups.json")));
}

TEST(KtxGroupEstimate, MaxSecondsSetsTheLimit) {
    KtxRun const refused = runKtx({"group", examplePath("group.json"), "--max-seconds", "0.0001"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.err, HasSubstr("12 segments would take about"));
    KtxRun const bad = runKtx({"group", examplePath("group.json"), "--max-seconds", "-1"});
    EXPECT_EQ(bad.status, 2);
    KtxRun const allowed = runKtx({"group", examplePath("group.json"), "--max-seconds", "5"});
    EXPECT_EQ(allowed.status, 0) << allowed.err;
    EXPECT_EQ(allowed.err, "");
}

TEST(KtxMastersExact, ScoresNoWorseThanTheCrossEntropySearch) {
    KtxRun const crossEntropy = runKtx({"masters", examplePath("masters.json")});
    KtxRun const exact = runKtx({"masters", examplePath("masters.json"), "--search", "exact"});
    ASSERT_EQ(crossEntropy.status, 0) << crossEntropy.err;
    ASSERT_EQ(exact.status, 0) << exact.err;
    double const found = nlohmann::json::parse(crossEntropy.out)["score"].get<double>();
    double const best = nlohmann::json::parse(exact.out)["score"].get<double>();
    EXPECT_LE(best, found + std::abs(found) * 1e-12);
    KtxRun const withGroups =
        runKtx({"masters", examplePath("masters-open-pregroups.json"), "--search", "exact"});
    EXPECT_EQ(withGroups.status, 0) << withGroups.err;
}

TEST(KtxMastersExact, UnknownSearchIsRejected) {
    KtxRun const run = runKtx({"masters", examplePath("masters.json"), "--search", "greedy"});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("--search"));
}
