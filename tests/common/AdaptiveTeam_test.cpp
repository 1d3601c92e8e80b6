// The adaptive team: the same work and the same failures as a plain loop whatever team it picks, the
// calling thread alone after a team round that did not pay, a new team trial after ten rounds, and new
// sequences alone for a while after two unpaid rounds in a row.
#include "AdaptiveTeam.h"
#include "common/HeldHelpers.h"
#include "common/ThreadCount.h"

#include <gtest/gtest.h>
#include <omp.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Kestrel::common::AdaptiveTeam;

using Kestrel::test::ThreadCount;

// Waits until no team round has failed to pay for a second, so that a new object starts on a team.
void waitUntilTeamsAreTriedFirst() {
    while (Kestrel::common::teamRecentlyUnpaid()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

TEST(AdaptiveTeam, EveryRoundVisitsEveryIndexOnceAndReportsTheLowestFailure) {
    for (int const most : {1, 2, 3}) {
        ThreadCount const threads(most);
        AdaptiveTeam team(most);
        for (int round = 0; round < 25; ++round) {
            std::vector<std::atomic<int>> visits(500);
            std::string message = "no exception";
            try {
                team.forEachIndex(500, [&](std::ptrdiff_t index, int thread) {
                    EXPECT_LT(thread, most);
                    ++visits[static_cast<std::size_t>(index)];
                    if (index == 321 || index == 499 || (round % 2 == 0 && index == 17)) {
                        throw std::runtime_error("index " + std::to_string(index));
                    }
                });
            } catch (std::runtime_error const& error) {
                message = error.what();
            }
            team.endRound();
            EXPECT_EQ(message, round % 2 == 0 ? "index 17" : "index 321") << most << " " << round;
            for (std::atomic<int> const& count : visits) {
                EXPECT_EQ(count.load(), 1);
            }
        }
    }
}

TEST(AdaptiveTeam, LoopsOfAnySizeVisitEveryIndexOnce) {
    for (int const most : {2, 3}) {
        ThreadCount const threads(most);
        AdaptiveTeam team(most);
        for (std::ptrdiff_t const count : {1, 2, 3, 5, 64, 97, 191, 1000, 4099}) {
            std::vector<std::atomic<int>> visits(static_cast<std::size_t>(count));
            team.forEachBlock(count, [&](std::ptrdiff_t begin, std::ptrdiff_t end, int thread) {
                EXPECT_LT(thread, most);
                EXPECT_LT(begin, end);
                for (std::ptrdiff_t index = begin; index < end; ++index) {
                    ++visits[static_cast<std::size_t>(index)];
                }
            });
            team.endRound();
            for (std::ptrdiff_t index = 0; index < count; ++index) {
                EXPECT_EQ(visits[static_cast<std::size_t>(index)].load(), 1)
                    << most << " threads, " << count << " indices, index " << index;
            }
        }
    }
}

TEST(AdaptiveTeam, TheCallerAloneWorksEverySegmentWhenNoHelperComes) {
    waitUntilTeamsAreTriedFirst();
    Kestrel::test::HeldHelpers const helpers;
    if (!helpers.allHeld()) {
        GTEST_SKIP() << "not every helper came within two seconds";
    }
    ThreadCount const threads(2);
    AdaptiveTeam team(2);
    ASSERT_EQ(team.threads(), 2);
    std::vector<std::atomic<int>> visits(1000);
    std::atomic<bool> onlyTheCaller{true};
    team.forEachIndex(1000, [&](std::ptrdiff_t index, int thread) {
        onlyTheCaller = onlyTheCaller && thread == 0;
        ++visits[static_cast<std::size_t>(index)];
    });
    EXPECT_TRUE(helpers.stillHeld());
    EXPECT_TRUE(onlyTheCaller.load());
    for (std::atomic<int> const& count : visits) {
        EXPECT_EQ(count.load(), 1);
    }
}

TEST(AdaptiveTeam, OneThreadAtMostNeverFormsATeam) {
    AdaptiveTeam team(1);
    for (int round = 0; round < 12; ++round) {
        EXPECT_EQ(team.threads(), 1);
        team.forEachBlock(100, [](std::ptrdiff_t begin, std::ptrdiff_t end, int thread) {
            EXPECT_EQ(begin, 0);
            EXPECT_EQ(end, 100);
            EXPECT_EQ(thread, 0);
        });
        team.endRound();
    }
}

// Waits, without using the processor, until `flag` is set or two seconds have passed.
void waitFor(std::atomic<bool> const& flag) {
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (!flag && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
}

// A round of two chunks: `work` CPU seconds on each, and the helper's chunk (on a thread other than the
// caller) also waits `wait` seconds without CPU time, as when it waits for a core. On a team, the caller
// leaves the second chunk to the helper. Returns whether a helper took part.
bool runRound(AdaptiveTeam& team, double work, double wait) {
    bool const onATeam = team.threads() > 1;
    std::atomic<bool> helperRan{false};
    team.forEachBlock(2, [&](std::ptrdiff_t, std::ptrdiff_t, int thread) {
        if (thread != 0) {
            helperRan = true;
        } else if (onATeam) {
            waitFor(helperRan);
        }
        double const start = Kestrel::common::threadCpuSeconds();
        while (Kestrel::common::threadCpuSeconds() - start < work) {
        }
        if (thread != 0) {
            std::this_thread::sleep_for(std::chrono::duration<double>(wait));
        }
    });
    team.endRound();
    return helperRan;
}

TEST(AdaptiveTeam, AHelperThatKeepsTheCallerWaitingSendsTheNextRoundsToTheCallerAlone) {
    ThreadCount const threads(2);
    waitUntilTeamsAreTriedFirst();
    AdaptiveTeam team(2);
    ASSERT_EQ(team.threads(), 2);
    if (!runRound(team, 0.002, 0.030)) {
        GTEST_SKIP() << "the OpenMP runtime gave a team of one thread";
    }
    EXPECT_EQ(team.threads(), 1);
    // Ten rounds alone, then a team is tried again; then forty rounds alone. (Unpaid rounds in a row also
    // hold every retry back for a second; the test waits that out before the decisive rounds.)
    for (int round = 0; round < 9; ++round) {
        runRound(team, 0.0, 0.0);
        EXPECT_EQ(team.threads(), 1) << round;
    }
    waitUntilTeamsAreTriedFirst();
    runRound(team, 0.0, 0.0);
    EXPECT_EQ(team.threads(), 2);
    runRound(team, 0.002, 0.030);
    EXPECT_EQ(team.threads(), 1);
    for (int round = 0; round < 39; ++round) {
        runRound(team, 0.0, 0.0);
        EXPECT_EQ(team.threads(), 1) << round;
    }
    waitUntilTeamsAreTriedFirst();
    runRound(team, 0.0, 0.0);
    EXPECT_EQ(team.threads(), 2);
}

TEST(AdaptiveTeam, RoundsTooShortToPayAreNotTriedOnATeamAgain) {
    ThreadCount const threads(2);
    waitUntilTeamsAreTriedFirst();
    AdaptiveTeam team(2);
    if (!runRound(team, 0.0, 0.030)) {
        GTEST_SKIP() << "the OpenMP runtime gave a team of one thread";
    }
    EXPECT_EQ(team.threads(), 1);
    // Nor does such a round tell other sequences anything about the machine.
    EXPECT_FALSE(Kestrel::common::teamRecentlyUnpaid());
    EXPECT_EQ(AdaptiveTeam(2).threads(), 2);
    for (int round = 0; round < 60; ++round) {
        runRound(team, 0.0, 0.0);
        EXPECT_EQ(team.threads(), 1) << round;
    }
}

TEST(AdaptiveTeam, LoopsOfOneRoundAreJudgedTogether) {
    ThreadCount const threads(2);
    waitUntilTeamsAreTriedFirst();
    AdaptiveTeam team(2);
    std::atomic<bool> helperRan{false};
    // Two loops in one round: the team keeps its size until the round ends.
    for (int loop = 0; loop < 2; ++loop) {
        team.forEachBlock(2, [&](std::ptrdiff_t, std::ptrdiff_t, int thread) {
            if (thread != 0) {
                helperRan = true;
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            } else {
                waitFor(helperRan);
            }
        });
        EXPECT_EQ(team.threads(), 2);
    }
    team.endRound();
    if (!helperRan) {
        GTEST_SKIP() << "the OpenMP runtime gave a team of one thread";
    }
    EXPECT_EQ(team.threads(), 1);
}

TEST(AdaptiveTeam, AfterTwoTeamRoundsInARowThatDidNotPayNewSequencesStartAloneForASecond) {
    ThreadCount const threads(2);
    waitUntilTeamsAreTriedFirst();
    EXPECT_EQ(AdaptiveTeam(2).threads(), 2);
    AdaptiveTeam first(2);
    if (!runRound(first, 0.002, 0.030)) {
        GTEST_SKIP() << "the OpenMP runtime gave a team of one thread";
    }
    for (int round = 0; round < 9; ++round) {
        runRound(first, 0.0, 0.0);
    }
    waitUntilTeamsAreTriedFirst();
    runRound(first, 0.0, 0.0);
    ASSERT_EQ(first.threads(), 2);
    runRound(first, 0.002, 0.030);
    EXPECT_TRUE(Kestrel::common::teamRecentlyUnpaid());
    AdaptiveTeam second(2);
    EXPECT_EQ(second.threads(), 1);
    EXPECT_EQ(AdaptiveTeam(1).threads(), 1);
    // Nor does it try a team after ten rounds alone while the verdict stands; afterwards it does.
    for (int round = 0; round < 10; ++round) {
        runRound(second, 0.0, 0.0);
    }
    EXPECT_EQ(second.threads(), 1);
    waitUntilTeamsAreTriedFirst();
    EXPECT_EQ(AdaptiveTeam(2).threads(), 2);
    runRound(second, 0.0, 0.0);
    EXPECT_EQ(second.threads(), 2);
}

TEST(AdaptiveTeam, OneUnpaidTeamRoundAfterOneThatPaidLeavesNewSequencesOnATeam) {
    ThreadCount const threads(2);
    waitUntilTeamsAreTriedFirst();
    AdaptiveTeam paying(2);
    if (!runRound(paying, 0.010, 0.0)) {
        GTEST_SKIP() << "the OpenMP runtime gave a team of one thread";
    }
    if (paying.threads() != 2) {
        GTEST_SKIP() << "the machine is too busy for two threads to pay";
    }
    AdaptiveTeam late(2);
    ASSERT_TRUE(runRound(late, 0.002, 0.030));
    EXPECT_EQ(late.threads(), 1);
    EXPECT_FALSE(Kestrel::common::teamRecentlyUnpaid());
    EXPECT_EQ(AdaptiveTeam(2).threads(), 2);
}

}  // namespace
