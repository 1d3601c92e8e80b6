#include "AdaptiveTeam.h"

#include <time.h>

#include <algorithm>

namespace Kestrel {
namespace detail {
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

}  // namespace

double threadCpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

AdaptiveTeam::AdaptiveTeam(int mostThreads)
    : most_(std::max(mostThreads, 1)), current_(most_), cpuSeconds_(static_cast<std::size_t>(most_), 0.0) {}

void AdaptiveTeam::endRound() {
    double const wallSeconds = wallSeconds_;
    double totalCpu = 0.0;
    for (double const seconds : cpuSeconds_) {
        totalCpu += seconds;
    }
    wallSeconds_ = 0.0;
    std::fill(cpuSeconds_.begin(), cpuSeconds_.end(), 0.0);
    if (most_ == 1 || wallSeconds <= 0.0) {
        return;  // nothing to choose, or nothing measured
    }
    if (current_ == 1) {
        callerShare_ = std::max(kLeastShare, std::min(1.0, totalCpu / wallSeconds));
        if (roundsBeforeRetry_ > 0 && ++singleRounds_ >= roundsBeforeRetry_) {
            singleRounds_ = 0;
            roundsBeforeRetry_ *= kRetryGrowth;
            current_ = most_;
        }
    } else if (wallSeconds > kTeamTimeShare * (totalCpu / callerShare_)) {
        current_ = 1;
        singleRounds_ = 0;
        if (totalCpu < kLeastRetriedWork) {
            roundsBeforeRetry_ = 0;
        }
    }
}

}  // namespace detail
}  // namespace Kestrel
