// Sets the number of OpenMP threads for the lifetime of a test scope and restores it afterwards.
#pragma once

#include <omp.h>

namespace Kestrel {

class ThreadCount {
  public:
    explicit ThreadCount(int count) : previous_(omp_get_max_threads()) { omp_set_num_threads(count); }
    ~ThreadCount() { omp_set_num_threads(previous_); }
    ThreadCount(ThreadCount const&) = delete;
    ThreadCount& operator=(ThreadCount const&) = delete;

  private:
    int previous_;
};

}  // namespace Kestrel
