#include "ThreadLimit.h"

#include <Kestrel/InformationTheory.h>
#include <omp.h>

#include <algorithm>
#include <atomic>

#include "HelperThreads.h"

namespace Kestrel {
namespace {

// 0: no limit of the library's own (the OpenMP runtime's setting alone counts).
std::atomic<int> threadLimit{0};

}  // namespace

void setMaxNumberOfThreads(int count) {
    threadLimit.store(count > 0 ? count : 0, std::memory_order_relaxed);
}

int getMaxNumberOfThreads() {
    return threadLimit.load(std::memory_order_relaxed);
}

namespace common {

int threadsForLoop() {
    if (omp_in_parallel() || insideTeamLoop()) {
        return 1;
    }
    int const available = std::max(1, omp_get_max_threads());
    int const limit = threadLimit.load(std::memory_order_relaxed);
    return limit > 0 ? std::min(limit, available) : available;
}

}  // namespace common
}  // namespace Kestrel
