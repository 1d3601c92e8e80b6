// A stand-in for the cross-entropy optimiser, linked instead of the real one into the seam test: it records
// what the master search hands over (matrix, sizes, parameters, pre-groups, the order of the calls), lets the
// test probe the objective with chosen selections, and writes a scripted selection into `result`.
#pragma once

#include <Kestrel/CombinatorialCrossEntropyOptimization.h>

#include <optional>
#include <string>
#include <vector>

namespace Kestrel::recording {

struct Recorder {
    // What the search handed over.
    std::vector<std::string> events;  // "construct", "setPreGroups", "optimize", "destroy" in call order
    int pathLength = -1;
    bool ordered = true;
    std::vector<std::vector<double>> matrix;
    std::vector<int> const* preGroups = nullptr;
    std::optional<CombinatorialCrossEntropyOptimization::Parameters> parameters;
    bool callbackWasNull = false;
    int basePopulation = -1;
    std::vector<int> resultOnEntry;

    // What the stand-in does inside optimize: score each probe with the objective, then write `scripted`.
    std::vector<std::vector<int>> probes;
    std::vector<double> probeScores;
    std::vector<int> scripted;
};

// The one recorder the stand-in writes to; reset it at the start of each test.
Recorder& recorder();

}  // namespace Kestrel::recording
