// The cross-entropy settings shared by the library's own searches over the segments of a line: the
// grouping of segments (SegmentGrouper) and the choice of master segments (MasterOptimizer4Interpolation).
// Both run the optimiser with exactly these values, so their results depend on them bit for bit.
#pragma once

#include <Kestrel/CombinatorialCrossEntropyOptimization.h>

namespace Kestrel::common {

inline CombinatorialCrossEntropyOptimization::Parameters segmentSearchParameters() {
    using Optimiser = CombinatorialCrossEntropyOptimization;
    return Optimiser::Parameters(
        0.8,   // smoothing: each matrix update moves 80 % of the way to the elite transition frequencies
        0.05,  // quantile: the best 5 % of an iteration's scores form the elite
        5.0,   // sampleFactor: r * (r - 1) * 5 selections per iteration for a matrix of r rows
        3,     // stallIterations: 3 equal elite thresholds in a row end the run
        true,  // checkBestStall: 3 equal per-iteration best scores in a row end it as well
        30,    // maxIterations: at most 29 iterations
        Optimiser::StaticPopulation);  // populationDynamics: the size follows the rows, not the entropy
}

}  // namespace Kestrel::common
