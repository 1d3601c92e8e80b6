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

}  // namespace

double threadCpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

AdaptiveTeam::AdaptiveTeam(int mostThreads) : most_(std::max(mostThreads, 1)), current_(most_) {}

void AdaptiveTeam::judgeSingleRound(double wallSeconds, double cpuSeconds) {
    if (wallSeconds > 0.0) {
        callerShare_ = std::max(kLeastShare, std::min(1.0, cpuSeconds / wallSeconds));
    }
    if (++singleRounds_ >= roundsBeforeRetry_) {
        singleRounds_ = 0;
        roundsBeforeRetry_ *= kRetryGrowth;
        current_ = most_;
    }
}

void AdaptiveTeam::judgeTeamRound(double wallSeconds) {
    double totalCpu = 0.0;
    for (double const seconds : cpuSeconds_) {
        totalCpu += seconds;
    }
    if (wallSeconds > kTeamTimeShare * (totalCpu / callerShare_)) {
        current_ = 1;
        singleRounds_ = 0;
    }
}

}  // namespace detail
}  // namespace Kestrel
