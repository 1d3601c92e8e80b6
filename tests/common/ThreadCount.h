// Sets the number of OpenMP threads for the lifetime of the object and restores the former one after.
#pragma once

#include <omp.h>

namespace Kestrel {
namespace test {

class ThreadCount {
  public:
    explicit ThreadCount(int count) : previous_(omp_get_max_threads()) { omp_set_num_threads(count); }
    ~ThreadCount() { omp_set_num_threads(previous_); }
    ThreadCount(ThreadCount const&) = delete;
    ThreadCount& operator=(ThreadCount const&) = delete;

  private:
    int previous_;
};

}  // namespace test
}  // namespace Kestrel
