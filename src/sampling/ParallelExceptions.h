// Carries exceptions out of an OpenMP parallel loop without locks: each thread keeps the first exception
// of its own iterations (with a static schedule these are ascending), and the one of the lowest loop index
// is rethrown on the calling thread after the loop.
#pragma once

#include <omp.h>

#include <cstddef>
#include <exception>
#include <limits>
#include <vector>

namespace Kestrel {
namespace sampling {

class ParallelExceptions {
  public:
    ParallelExceptions() : slots_(static_cast<std::size_t>(omp_get_max_threads())) {}

    // Call inside a catch block of loop iteration `index`, on the thread that ran it.
    void capture(std::ptrdiff_t index) noexcept {
        Slot& slot = slots_[static_cast<std::size_t>(omp_get_thread_num())];
        if (!slot.error) {
            slot.error = std::current_exception();
            slot.index = index;
        }
    }

    // Call after the loop: rethrows the captured exception of the lowest loop index, if any.
    void rethrowFirst() const {
        Slot const* first = nullptr;
        for (Slot const& slot : slots_) {
            if (slot.error && (first == nullptr || slot.index < first->index)) {
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
        std::ptrdiff_t index = std::numeric_limits<std::ptrdiff_t>::max();
    };
    std::vector<Slot> slots_;
};

}  // namespace sampling
}  // namespace Kestrel
