// A static OpenMP loop that never lets an exception escape a worker thread.
//
// Every index is visited (the loop always runs to its end). If bodies throw, the exception of the lowest
// failing index is rethrown on the calling thread once the loop is over; the others are dropped. With a
// static schedule each thread visits its indices in ascending order, so the first failure a thread sees is
// its lowest one, and the lowest over all threads is the lowest overall, whatever the thread count.
#pragma once

#include <omp.h>

#include <cstddef>
#include <exception>
#include <vector>

namespace Kestrel {
namespace detail {

// Calls body(index, thread) for index = 0 ... count - 1 in an OpenMP parallel loop with static scheduling
// (on the calling thread alone when `parallel` is false, for work too small to be worth a team).
// `thread` is the worker's number in 0 ... threadSlots() - 1, for per-thread scratch buffers.
template <class Body>
void parallelForStatic(std::ptrdiff_t count, Body&& body, bool parallel = true) {
    int const slots = omp_get_max_threads();
    std::vector<std::ptrdiff_t> failedIndex(static_cast<std::size_t>(slots), count);
    std::vector<std::exception_ptr> failure(static_cast<std::size_t>(slots));
#pragma omp parallel num_threads(slots) if (parallel)
    {
        int const thread = omp_get_thread_num();
#pragma omp for schedule(static)
        for (std::ptrdiff_t index = 0; index < count; ++index) {
            try {
                body(index, thread);
            } catch (...) {
                if (!failure[thread]) {
                    failure[thread] = std::current_exception();
                    failedIndex[thread] = index;
                }
            }
        }
    }
    std::size_t first = 0;
    for (std::size_t thread = 1; thread < failure.size(); ++thread) {
        if (failedIndex[thread] < failedIndex[first]) {
            first = thread;
        }
    }
    if (failure[first]) {
        std::rethrow_exception(failure[first]);
    }
}

// Number of per-thread slots parallelForStatic() hands out on this thread right now.
inline int threadSlots() {
    return omp_get_max_threads();
}

}  // namespace detail
}  // namespace Kestrel
