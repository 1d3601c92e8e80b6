// Umbrella header: every public class family of the library.
//
//   #include <Kestrel/InformationTheory.h>
//
// brings in the cross-entropy optimiser, the segment grouper, the master optimisers with the drawbead toy
// model, the assignment solver, the Hamiltonian simulated annealing framework with its ready components,
// and the population samplers. Each family can also be included on its own.
//
// It also holds the one setting that concerns every family at once: how many threads the library's
// parallel loops may use. Most loops run on the caller's OpenMP runtime; the short loops that repeat
// round after round (the optimiser's populations, the domain sampler's passes) run on a few helper threads
// of the library's own, started on first use, which sleep when idle and never keep the caller waiting when
// the machine gives them no core. Either way a loop uses at most omp_get_max_threads() threads, one thread
// when called from inside an active parallel region of the caller, and at most the limit set here.
//
//   Kestrel::setMaxNumberOfThreads(1);   // e.g. in a host that keeps every core busy itself
#pragma once

#include <Kestrel/Export.h>

#include <Kestrel/CombinatorialCrossEntropyOptimization.h>
#include <Kestrel/HamiltonianSimulatedAnnealing.h>
#include <Kestrel/HungarianAlgorithm.h>
#include <Kestrel/MasterOptimizer4Interpolation.h>
#include <Kestrel/PopulationSampling.h>
#include <Kestrel/ReadyComponents4HSA.h>
#include <Kestrel/SegmentGrouper.h>

namespace Kestrel {

// Limits the threads of every later parallel loop of the library, in every thread of the process, to
// `count` (still at most omp_get_max_threads()). A `count` of 0 or below removes the limit. Results do not
// depend on it: every result is the same bit for bit for any number of threads. Thread-safe; a loop
// already running keeps the team it started with.
KESTREL_API void setMaxNumberOfThreads(int count);

// The limit set by setMaxNumberOfThreads(), or 0 when there is none (the initial state).
KESTREL_API int getMaxNumberOfThreads();

}  // namespace Kestrel
