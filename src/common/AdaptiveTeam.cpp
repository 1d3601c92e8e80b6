#include "AdaptiveTeam.h"

#include <time.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>

namespace Kestrel {
namespace common {
namespace {

// A team must take at most this share of the time the caller alone would have needed, or the next rounds
// run on the calling thread: a second thread that saves less than a tenth is not worth its core.
constexpr double kTeamTimeShare = 0.9;

// The caller's share of a core is taken as at least this, so that one round spent waiting for a core does
// not make every team look fast.
constexpr double kLeastShare = 0.25;

// After every team round that did not pay, the wait before the next one grows by this factor.
constexpr int kRetryGrowth = 4;

// A round with less work than this (CPU seconds of all threads) cannot win back one late helper, which
// costs about a scheduling period of the operating system: it is not tried on a team again.
constexpr double kLeastRetriedWork = 1e-3;

// For this long after kUnpaidRoundsForVerdict team rounds in a row of at least kLeastRetriedWork did not
// pay anywhere in the process (and no such round paid since), new sequences of rounds start on the calling
// thread: a host that calls the library again and again on a busy machine does not pay for a first team
// round every time. One unpaid round alone says little: on an idle machine a helper is now and then woken
// late, and a verdict after every such round would keep calls alone for a second each time.
constexpr std::chrono::steady_clock::duration kVerdictLifetime = std::chrono::seconds(1);
constexpr int kUnpaidRoundsForVerdict = 2;

// Team rounds of at least kLeastRetriedWork that did not pay since the last one that did, in the process.
std::atomic<int> unpaidRoundsInARow{0};

// When the verdict was last given (steady clock ticks), or the lowest value: none standing.
constexpr std::chrono::steady_clock::rep kNoVerdict =
    std::numeric_limits<std::chrono::steady_clock::rep>::lowest();
std::atomic<std::chrono::steady_clock::rep> lastUnpaidTeamRound{kNoVerdict};

std::chrono::steady_clock::rep now() {
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

}  // namespace

bool teamRecentlyUnpaid() {
    std::chrono::steady_clock::rep const last = lastUnpaidTeamRound.load(std::memory_order_relaxed);
    return last > kNoVerdict && now() - last < kVerdictLifetime.count();
}

double threadCpuSeconds() {
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) + 1e-9 * static_cast<double>(used.tv_nsec);
}

AdaptiveTeam::AdaptiveTeam(int mostThreads)
    : most_(std::max(mostThreads, 1)),
      current_(most_ > 1 && teamRecentlyUnpaid() ? 1 : most_),
      blockCpuSeconds_(static_cast<std::size_t>(most_), 0.0),
      segments_(std::make_unique<Segment[]>(static_cast<std::size_t>(most_))) {}

void AdaptiveTeam::endRound() {
    if (most_ == 1 || !roundOpen_) {
        return;  // nothing to choose, or nothing measured
    }
    auto const end = std::chrono::steady_clock::now();
    double const callerCpuAtEnd = threadCpuSeconds();
    double const wallSeconds = std::chrono::duration<double>(end - roundStart_).count();
    double totalCpu = std::max(0.0, callerCpuAtEnd - callerCpuAtRoundStart_ - callerCpuInLoops_);
    for (double const seconds : blockCpuSeconds_) {
        totalCpu += seconds;
    }
    roundStart_ = end;
    callerCpuAtRoundStart_ = callerCpuAtEnd;
    callerCpuInLoops_ = 0.0;
    std::fill(blockCpuSeconds_.begin(), blockCpuSeconds_.end(), 0.0);
    if (wallSeconds <= 0.0) {
        return;
    }
    if (current_ == 1) {
        callerShare_ = std::max(kLeastShare, std::min(1.0, totalCpu / wallSeconds));
        // While the process-wide verdict stands the retry waits: on a busy machine the helpers are asleep
        // by then, and waking one when no core is free costs a scheduling period or more.
        if (roundsBeforeRetry_ > 0 && ++singleRounds_ >= roundsBeforeRetry_ && !teamRecentlyUnpaid()) {
            singleRounds_ = 0;
            roundsBeforeRetry_ *= kRetryGrowth;
            current_ = most_;
        }
    } else if (wallSeconds > kTeamTimeShare * (totalCpu / callerShare_)) {
        current_ = 1;
        singleRounds_ = 0;
        if (totalCpu < kLeastRetriedWork) {
            roundsBeforeRetry_ = 0;  // too short to tell anything about the machine
        } else if (unpaidRoundsInARow.fetch_add(1, std::memory_order_relaxed) + 1 >=
                   kUnpaidRoundsForVerdict) {
            lastUnpaidTeamRound.store(now(), std::memory_order_relaxed);
        }
    } else if (totalCpu >= kLeastRetriedWork) {
        // A round long enough to tell paid: the machine has a free core now.
        unpaidRoundsInARow.store(0, std::memory_order_relaxed);
        lastUnpaidTeamRound.store(kNoVerdict, std::memory_order_relaxed);
    }
}

}  // namespace common
}  // namespace Kestrel
