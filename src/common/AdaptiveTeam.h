// The team for loops that repeat with about the same work, round after round (one population per
// iteration of an optimisation, one pass per centre or per iteration of a clustering): all the library's
// threads while they pay, the calling thread alone while they do not.
//
// The loops run on the library's helper threads (HelperThreads.h): the caller works every loop from its
// start, and a helper the operating system leaves without a core costs it nothing. A helper that starts a
// chunk and is then interrupted still keeps the caller waiting, and on a machine whose cores are busy with
// other work every helper takes processor time the host needs: two threads can then be slower than one.
// So the first round runs on a team and is measured: the CPU time every thread spent on its blocks, the
// caller's CPU time outside the loops, and the wall time from the end of the previous round (the first
// loop for the first round) to the end of this one, so that the caller's work between loops, and how
// much slower it got, counts as well. If the team was not clearly faster than the caller alone (the total
// CPU time of the round at the pace the caller last kept on its own, a full core until it has run alone),
// the following rounds run on the calling thread, and a team is tried again after 10 rounds, then after
// 40, 160 ... (the machine may have become idle; a busy machine costs only a few such trials). Rounds too
// short to win back a late helper (under a millisecond of work) are not tried on a team again. For a second
// after two team rounds of a millisecond or more in a row, anywhere in the process, did not pay (unless one
// paid since), new objects start with the calling thread alone and no object tries a team again, so that a
// host calling the library again and again on a busy machine does not pay for a team round every time. A
// single unpaid round is not enough: on an idle machine one late wake-up now and then would otherwise keep
// every call alone for a second. The choice changes only who computes what; every result stays the same bit
// for bit. One object serves one sequence of rounds on one calling thread.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <vector>

#include "HelperThreads.h"
#include "ParallelFor.h"

namespace Kestrel {
namespace common {

// CPU time consumed by the calling thread so far, in seconds.
double threadCpuSeconds();

// True for a second after the second of two team rounds in a row of a millisecond or more anywhere in
// the process did not pay, unless one paid since.
bool teamRecentlyUnpaid();

class AdaptiveTeam {
  public:
    // Chunks per thread of a team loop. A loop ends when its slowest thread has finished its last chunk,
    // on average half a chunk after the others: small chunks keep that loss below a percent of a loop,
    // and taking one costs a single atomic addition.
    static constexpr std::ptrdiff_t kTeamChunksPerThread = 32;

    // `mostThreads`: the largest team to use (e.g. threadsFor(work is large enough)).
    explicit AdaptiveTeam(int mostThreads);

    // The team for the loops of the current round: 1 or mostThreads; `thread` arguments stay below it.
    int threads() const { return current_; }

    // forEachBlock(threads(), count, body), measured as part of the current round.
    template <class Body>
    void forEachBlock(std::ptrdiff_t count, Body&& body) {
        if (most_ == 1 || count <= 0) {
            common::forEachBlock(1, count, body);
            return;
        }
        openRound();
        if (current_ == 1) {
            common::forEachBlock(1, count, body);
            return;
        }
        // The loop is offered to the library's helper threads: the caller works it from the start and never
        // waits for a helper that has not come (see HelperThreads.h). The CPU clock of a thread costs a
        // system call: it is read when a thread starts and ends its share, not around every chunk. The
        // caller's processor time while the loop runs is left out of the round except for its share of the
        // blocks: waiting for a helper to finish its chunk is not work.
        double const callerCpuBeforeLoop = threadCpuSeconds();
        int const team = static_cast<int>(std::min<std::ptrdiff_t>(current_, count));
        std::ptrdiff_t const chunk = std::max<std::ptrdiff_t>(1, count / (team * kTeamChunksPerThread));
        for (int thread = 0; thread < team; ++thread) {
            Segment& segment = segments_[static_cast<std::size_t>(thread)];
            segment.next.store(count * thread / team, std::memory_order_relaxed);
            segment.end = count * (thread + 1) / team;
        }
        LoopFailures failures(team);
        auto share = [&](int thread) {
            double const cpuStart = threadCpuSeconds();
            bool tookWork = false;
            for (int k = 0; k < team; ++k) {
                Segment& segment = segments_[static_cast<std::size_t>((thread + k) % team)];
                tookWork = takeChunks(segment.next, chunk, segment.end, body, thread, failures) || tookWork;
            }
            blockCpuSeconds_[static_cast<std::size_t>(thread)] += threadCpuSeconds() - cpuStart;
            return tookWork;
        };
        shareWithHelpers(team - 1, share);
        callerCpuInLoops_ += threadCpuSeconds() - callerCpuBeforeLoop;
        failures.rethrowFirst();
    }

    // forEachIndex(threads(), count, body), measured as part of the current round: every index visited,
    // the exception of the lowest failing index rethrown afterwards on the calling thread.
    template <class Body>
    void forEachIndex(std::ptrdiff_t count, Body&& body) {
        common::forEachIndexOfBlocks(
            most_, [&](auto const& block) { forEachBlock(count, block); }, body);
    }

    // Ends the round: chooses the team for the next one from what this round measured. The next round
    // starts at once, so the caller's work between two rounds counts in the second.
    void endRound();

  private:
    // Starts measuring a round at the first loop of the sequence.
    void openRound() {
        if (!roundOpen_) {
            roundOpen_ = true;
            roundStart_ = std::chrono::steady_clock::now();
            callerCpuAtRoundStart_ = threadCpuSeconds();
        }
    }

    int most_;
    int current_;
    int singleRounds_ = 0;        // rounds on the calling thread since the last team round
    int roundsBeforeRetry_ = 10;  // single rounds before the next team round; 0: never again
    double callerShare_ = 1.0;    // share of a core the caller got in its last round alone
    bool roundOpen_ = false;      // whether a round is being measured
    std::chrono::steady_clock::time_point roundStart_;
    double callerCpuAtRoundStart_ = 0.0;
    double callerCpuInLoops_ = 0.0;        // the caller's processor time in the current round's team loops
    std::vector<double> blockCpuSeconds_;  // per thread, on blocks of the current round's team loops
    // A team loop's indices in one segment per thread: each thread works its own segment first, then
    // takes what is left of the others'. Round after round the same thread then writes mostly the same
    // outputs (a population's selections and scores), which stay in its cache instead of moving between
    // processors; a thread that comes late or not at all leaves its segment to the others.
    struct alignas(64) Segment {
        std::atomic<std::ptrdiff_t> next{0};
        std::ptrdiff_t end = 0;
    };
    std::unique_ptr<Segment[]> segments_;
};

}  // namespace common
}  // namespace Kestrel
