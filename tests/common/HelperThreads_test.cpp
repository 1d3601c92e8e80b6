// The helper threads: a caller works its loop from the start and never waits for a helper that has not
// come, loops reached from a share run alone, and a process created by fork() still completes its loops.
#include "HelperThreads.h"
#include "ThreadLimit.h"
#include "common/HeldHelpers.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace {

using Kestrel::common::helperThreadCount;
using Kestrel::common::insideTeamLoop;
using Kestrel::common::shareWithHelpers;
using Kestrel::common::threadsForLoop;

using Kestrel::test::waitUntil;

TEST(HelperThreads, ALoopCompletesOnTheCallerWhileEveryHelperIsHeldElsewhere) {
    Kestrel::test::HeldHelpers const helpers;
    ASSERT_GE(helperThreadCount(), 1);
    if (!helpers.allHeld()) {
        GTEST_SKIP() << "not every helper came within two seconds";
    }
    std::mutex mutex;
    std::set<int> threads;
    auto work = [&](int thread) {
        std::lock_guard<std::mutex> const lock(mutex);
        threads.insert(thread);
        return true;
    };
    auto const start = std::chrono::steady_clock::now();
    shareWithHelpers(1, work);
    double const seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_TRUE(helpers.stillHeld());
    EXPECT_EQ(threads, std::set<int>{0});
    EXPECT_LT(seconds, 1.0);
}

TEST(HelperThreads, EveryShareNumberIsUsedOnceAndOnlyBelowTheTeamSize) {
    for (int round = 0; round < 200; ++round) {
        std::vector<std::atomic<int>> calls(4);
        std::atomic<bool> helperCame{false};
        auto share = [&](int thread) {
            EXPECT_LT(thread, 4);
            ++calls[static_cast<std::size_t>(std::min(thread, 3))];
            if (thread == 0) {
                waitUntil([&] { return round % 2 == 1 || helperCame.load(); });
            } else {
                helperCame = true;
            }
            return true;
        };
        shareWithHelpers(3, share);
        EXPECT_EQ(calls[0].load(), 1);
        for (std::atomic<int> const& count : calls) {
            EXPECT_LE(count.load(), 1);
        }
    }
}

TEST(HelperThreads, LoopsReachedFromAShareRunOnOneThread) {
    std::mutex mutex;
    std::vector<int> seen;
    std::atomic<bool> helperCame{false};
    auto share = [&](int thread) {
        if (thread == 0) {
            waitUntil([&] { return helperCame.load(); });
        } else {
            helperCame = true;
        }
        std::lock_guard<std::mutex> const lock(mutex);
        seen.push_back(insideTeamLoop() ? threadsForLoop() : -1);
        return true;
    };
    EXPECT_FALSE(insideTeamLoop());
    shareWithHelpers(1, share);
    EXPECT_FALSE(insideTeamLoop());
    for (int const threads : seen) {
        EXPECT_EQ(threads, 1);
    }
}

TEST(HelperThreads, AForkedProcessCompletesItsLoops) {
    auto warmUp = [](int) { return true; };
    shareWithHelpers(1, warmUp);
    pid_t const child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        alarm(10);  // a loop that waited for helpers the child does not have would hang: end it instead
        std::atomic<int> shares{0};
        auto share = [&](int) {
            ++shares;
            return true;
        };
        for (int round = 0; round < 100; ++round) {
            shareWithHelpers(1, share);
        }
        _exit(shares.load() >= 100 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << "the child did not end by itself";
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

}  // namespace
