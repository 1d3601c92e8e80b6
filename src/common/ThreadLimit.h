// How many threads one parallel loop of the library may use right now.
//
// Loops run on the caller's OpenMP runtime, the adaptive team's loops on the library's helper threads. A
// loop uses at most the smaller of omp_get_max_threads() and the limit set with
// Kestrel::setMaxNumberOfThreads(), and exactly one thread (the caller's) when it is reached from inside an
// active parallel region of the caller or from inside one of the library's own team loops, so neither a
// host that calls the library from its own threads nor a nested call ever gets a second layer of teams.
#pragma once

namespace Kestrel {
namespace common {

// Guarantees: a value of at least 1. Thread-safe.
int threadsForLoop();

}  // namespace common
}  // namespace Kestrel
