// Umbrella header: every public class family of the library.
//
//   #include <Kestrel/InformationTheory.h>
//
// brings in the cross-entropy optimiser, the segment grouper, the master optimisers with the drawbead toy
// model, the assignment solver, the Hamiltonian simulated annealing framework with its ready components,
// and the population samplers. Each family can also be included on its own.
#pragma once

#include <Kestrel/CombinatorialCrossEntropyOptimization.h>
#include <Kestrel/HamiltonianSimulatedAnnealing.h>
#include <Kestrel/HungarianAlgorithm.h>
#include <Kestrel/MasterOptimizer4Interpolation.h>
#include <Kestrel/PopulationSampling.h>
#include <Kestrel/ReadyComponents4HSA.h>
#include <Kestrel/SegmentGrouper.h>
