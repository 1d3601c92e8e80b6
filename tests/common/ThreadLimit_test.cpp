// The library's thread limit: the public setting, and one thread inside a caller's parallel region.
#include "ThreadLimit.h"
#include "ParallelFor.h"

#include <Kestrel/InformationTheory.h>
#include <gtest/gtest.h>
#include <omp.h>

#include <atomic>

namespace {

using Kestrel::common::threadsForLoop;

// Restores the number of OpenMP threads and the library's limit when a test ends.
class ThreadSettings {
  public:
    explicit ThreadSettings(int openMpThreads)
        : previousThreads_(omp_get_max_threads()), previousLimit_(Kestrel::getMaxNumberOfThreads()) {
        omp_set_num_threads(openMpThreads);
    }
    ~ThreadSettings() {
        omp_set_num_threads(previousThreads_);
        Kestrel::setMaxNumberOfThreads(previousLimit_);
    }
    ThreadSettings(ThreadSettings const&) = delete;
    ThreadSettings& operator=(ThreadSettings const&) = delete;

  private:
    int previousThreads_;
    int previousLimit_;
};

// The size of the team a loop of the library gets right now.
int teamOfALoop() {
    std::atomic<int> largest{0};
    Kestrel::common::forEachBlock(threadsForLoop(), 64, [&](std::ptrdiff_t, std::ptrdiff_t, int thread) {
        int seen = largest.load();
        while (thread + 1 > seen && !largest.compare_exchange_weak(seen, thread + 1)) {
        }
    });
    return largest.load();
}

TEST(ThreadLimit, WithoutLimitLoopsUseTheOpenMpSetting) {
    ThreadSettings const settings(3);
    Kestrel::setMaxNumberOfThreads(0);
    EXPECT_EQ(Kestrel::getMaxNumberOfThreads(), 0);
    EXPECT_EQ(threadsForLoop(), 3);
}

TEST(ThreadLimit, LimitCapsTheTeamButNeverRaisesIt) {
    ThreadSettings const settings(3);
    Kestrel::setMaxNumberOfThreads(2);
    EXPECT_EQ(Kestrel::getMaxNumberOfThreads(), 2);
    EXPECT_EQ(threadsForLoop(), 2);
    EXPECT_LE(teamOfALoop(), 2);
    Kestrel::setMaxNumberOfThreads(1);
    EXPECT_EQ(threadsForLoop(), 1);
    EXPECT_EQ(teamOfALoop(), 1);
    Kestrel::setMaxNumberOfThreads(8);
    EXPECT_EQ(threadsForLoop(), 3);
}

TEST(ThreadLimit, ZeroOrNegativeRemovesTheLimit) {
    ThreadSettings const settings(2);
    Kestrel::setMaxNumberOfThreads(1);
    Kestrel::setMaxNumberOfThreads(-4);
    EXPECT_EQ(Kestrel::getMaxNumberOfThreads(), 0);
    EXPECT_EQ(threadsForLoop(), 2);
}

TEST(ThreadLimit, InsideTheCallersParallelRegionALoopRunsOnTheCallingThreadAlone) {
    ThreadSettings const settings(2);
    std::atomic<int> largestInside{0};
    std::atomic<int> threadsInside{0};
#pragma omp parallel num_threads(2)
    {
        int const team = omp_get_num_threads();
        int const threads = threadsForLoop();
        if (team > 1) {
            ++threadsInside;
            int seen = largestInside.load();
            while (threads > seen && !largestInside.compare_exchange_weak(seen, threads)) {
            }
        }
    }
    if (threadsInside.load() > 0) {
        EXPECT_EQ(largestInside.load(), 1);
    }
    // A region of one thread is not active: the loop may still use a team.
    int inactive = 0;
#pragma omp parallel num_threads(1)
    { inactive = threadsForLoop(); }
    EXPECT_EQ(inactive, 2);
}

}  // namespace
