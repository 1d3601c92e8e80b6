// The helper threads: a caller works its loop from the start and never waits for a helper that has not
// come, loops reached from a share run alone, and a process created by fork() still completes its loops.
#include "HelperThreads.h"
#include "ThreadLimit.h"

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

// Waits until `condition()` holds or two seconds have passed; returns whether it holds.
template <class Condition>
bool waitUntil(Condition const& condition) {
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (!condition() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

TEST(HelperThreads, ALoopCompletesOnTheCallerWhileEveryHelperIsHeldElsewhere) {
    // Start a helper, then hold every helper inside another caller's loop.
    auto warmUp = [](int) { return true; };
    shareWithHelpers(1, warmUp);
    ASSERT_GE(helperThreadCount(), 1);
    std::atomic<int> held{0};
    std::atomic<bool> release{false};
    auto hold = [&](int thread) {
        if (thread == 0) {
            waitUntil([&] { return held.load() == helperThreadCount(); });
            return true;
        }
        ++held;
        waitUntil([&] { return release.load(); });
        return true;
    };
    std::thread holder([&] { shareWithHelpers(64, hold); });
    if (!waitUntil([&] { return held.load() == helperThreadCount(); })) {
        release = true;
        holder.join();
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
    bool const stillHeld = !release.load();
    release = true;
    holder.join();
    EXPECT_TRUE(stillHeld);
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
