// Parallel loops that never let an exception escape a worker thread.
//
// Every loop of the library that may run on several OpenMP threads goes through these functions. They
// guarantee:
// - each index is handled by exactly one call of the body, whatever the number of threads, so a body that
//   writes only its own outputs gives the same results on any number of threads;
// - when bodies throw, the exception that a serial loop would have met first (the lowest failing index)
//   is rethrown on the calling thread once the loop has ended; the others are dropped;
// - `threads` (see threadsFor()) bounds the team; with one thread no parallel region is opened at all and
//   the body runs on the calling thread.
#pragma once

#include <omp.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <limits>
#include <memory>
#include <vector>

#include "ThreadLimit.h"

namespace Kestrel {
namespace common {

// Threads for a loop: threadsForLoop() when the work is worth a team, otherwise 1.
inline int threadsFor(bool worthThreads) {
    return worthThreads ? threadsForLoop() : 1;
}

// The exceptions of one loop, one slot per thread, without locks. A position orders the pieces of work as
// a serial loop would run them; the exception of the lowest position wins.
class LoopFailures {
  public:
    explicit LoopFailures(int threads) : slots_(static_cast<std::size_t>(std::max(threads, 1))) {}

    // Call inside a catch block, on thread `thread`, for the work at `position`.
    void capture(int thread, std::ptrdiff_t position) noexcept {
        Slot& slot = slots_[static_cast<std::size_t>(thread)];
        if (!slot.error || position < slot.position) {
            slot.error = std::current_exception();
            slot.position = position;
        }
        std::ptrdiff_t seen = lowest_.load(std::memory_order_relaxed);
        while (position < seen && !lowest_.compare_exchange_weak(seen, position, std::memory_order_relaxed)) {
        }
    }

    // True when work at a position below `position` has failed, so a serial loop would not reach it.
    bool failedBelow(std::ptrdiff_t position) const noexcept {
        return lowest_.load(std::memory_order_relaxed) < position;
    }

    // Call after the loop, on the calling thread: rethrows the exception of the lowest position, if any.
    void rethrowFirst() const {
        Slot const* first = nullptr;
        for (Slot const& slot : slots_) {
            if (slot.error && (first == nullptr || slot.position < first->position)) {
                first = &slot;
            }
        }
        if (first != nullptr) {
            std::rethrow_exception(first->error);
        }
    }

  private:
    struct Slot {
        std::exception_ptr error;
        std::ptrdiff_t position = std::numeric_limits<std::ptrdiff_t>::max();
    };
    std::vector<Slot> slots_;
    std::atomic<std::ptrdiff_t> lowest_{std::numeric_limits<std::ptrdiff_t>::max()};
};

// Takes chunks of `chunk` consecutive indices from `next` until none below `count` is left, and calls
// body(begin, end, thread) on each; a failure is recorded at the chunk's first index. Never throws.
// Returns whether it took a chunk.
template <class Body>
bool takeChunks(std::atomic<std::ptrdiff_t>& next, std::ptrdiff_t chunk, std::ptrdiff_t count, Body& body,
                int thread, LoopFailures& failures) noexcept {
    for (bool took = false;; took = true) {
        std::ptrdiff_t const begin = next.fetch_add(chunk, std::memory_order_relaxed);
        if (begin >= count) {
            return took;
        }
        try {
            body(begin, std::min(begin + chunk, count), thread);
        } catch (...) {
            failures.capture(thread, begin);
        }
    }
}

// Pieces of work per thread that a loop is cut into: enough for a thread that runs late, or shares its
// core with other work, to leave the rest to the others; few enough that handing them out costs nothing.
constexpr std::ptrdiff_t kChunksPerThread = 8;

// Calls body(begin, end, thread) on chunks of consecutive indices that together cover 0 ... count - 1
// once, on a team of at most `threads`: each thread takes the next chunk not yet taken, so a thread that
// gets less of a core does less of the work. For loops whose body cannot fail part-way (an exception
// leaves the rest of its chunk undone; the one of the lowest chunk is rethrown afterwards). `thread` lies
// in 0 ... threads - 1; with a team of one the body is called once, for the whole range.
template <class Body>
void forEachBlock(int threads, std::ptrdiff_t count, Body&& body) {
    if (count <= 0) {
        return;
    }
    int const team = static_cast<int>(std::min<std::ptrdiff_t>(std::max(threads, 1), count));
    if (team == 1) {
        body(std::ptrdiff_t{0}, count, 0);
        return;
    }
    std::ptrdiff_t const chunk = std::max<std::ptrdiff_t>(1, count / (team * kChunksPerThread));
    std::atomic<std::ptrdiff_t> next{0};
    LoopFailures failures(team);
#pragma omp parallel num_threads(team)
    { takeChunks(next, chunk, count, body, omp_get_thread_num(), failures); }
    failures.rethrowFirst();
}

// Calls body(index, thread) for every index of the blocks that runBlocks(block) hands to block(begin, end,
// thread), threads below `threads`, each block in ascending order. Every index is visited; if bodies throw,
// the exception of the lowest failing index is rethrown afterwards on the calling thread.
template <class RunBlocks, class Body>
void forEachIndexOfBlocks(int threads, RunBlocks&& runBlocks, Body&& body) {
    LoopFailures failures(threads);
    runBlocks([&](std::ptrdiff_t begin, std::ptrdiff_t end, int thread) {
        for (std::ptrdiff_t index = begin; index < end; ++index) {
            try {
                body(index, thread);
            } catch (...) {
                failures.capture(thread, index);
            }
        }
    });
    failures.rethrowFirst();
}

// Calls body(index, thread) for every index = 0 ... count - 1, on chunks of consecutive indices as
// forEachBlock() hands them out, each chunk in ascending order. The loop always runs to its end; if bodies
// throw, the exception of the lowest failing index is rethrown afterwards on the calling thread.
template <class Body>
void forEachIndex(int threads, std::ptrdiff_t count, Body&& body) {
    forEachIndexOfBlocks(
        threads, [&](auto const& block) { forEachBlock(threads, count, block); }, body);
}

// For tasks of unequal cost: runs task(index) for index = 0 ... count - 1 on a team of at most
// threadsForLoop() threads, each thread taking the next index not yet taken, and calls report(index) on
// the calling thread for index = 0, 1, 2 ... in increasing order, each after task(index) has finished
// (as soon as the calling thread is free to do so, at the latest when every task is done). Failures are
// ordered as in the serial loop task(0), report(0), task(1), report(1) ...: the first one in that order
// is rethrown on the calling thread, nothing after it is reported, and tasks after it may be skipped.
template <class Task, class Report>
void forEachTaskReportingInOrder(std::ptrdiff_t count, Task&& task, Report&& report) {
    int const team =
        static_cast<int>(std::min<std::ptrdiff_t>(threadsForLoop(), std::max<std::ptrdiff_t>(count, 1)));
    if (team == 1) {
        for (std::ptrdiff_t index = 0; index < count; ++index) {
            task(index);
            report(index);
        }
        return;
    }
    // Positions: task i is 2 i, report i is 2 i + 1.
    LoopFailures failures(team);
    std::unique_ptr<std::atomic<bool>[]> const finished(
        new std::atomic<bool>[static_cast<std::size_t>(count)]);
    for (std::ptrdiff_t index = 0; index < count; ++index) {
        finished[index].store(false, std::memory_order_relaxed);
    }
    std::atomic<std::ptrdiff_t> nextTask{0};
    std::ptrdiff_t nextReport = 0;  // touched by the calling thread only
    auto const reportFinished = [&] {
        while (nextReport < count && finished[nextReport].load(std::memory_order_acquire) &&
               !failures.failedBelow(2 * nextReport + 1)) {
            try {
                report(nextReport);
            } catch (...) {
                failures.capture(0, 2 * nextReport + 1);
                return;
            }
            ++nextReport;
        }
    };
#pragma omp parallel num_threads(team)
    {
        int const thread = omp_get_thread_num();
        for (;;) {
            std::ptrdiff_t const index = nextTask.fetch_add(1, std::memory_order_relaxed);
            if (index >= count || failures.failedBelow(2 * index)) {
                break;
            }
            try {
                task(index);
                finished[index].store(true, std::memory_order_release);
            } catch (...) {
                failures.capture(thread, 2 * index);
            }
            if (thread == 0) {
                reportFinished();
            }
        }
    }
    reportFinished();
    failures.rethrowFirst();
}

}  // namespace common
}  // namespace Kestrel
