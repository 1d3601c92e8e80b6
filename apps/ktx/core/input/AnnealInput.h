// Input of `ktx anneal`: a named test function, its box and the annealing settings.
//
//   {"function": "himmelblau", "dimension": 2, "box": [[-5, 5], [-5, 5]], "seed": 7,
//    "settings": {"warmUpPoints": 32, "stepFraction": 0.008, "stepsPerSample": 2, "coolingFactor": 0.6,
//                 "finalTemperatureRatio": 0.05, "chains": 88, "freshStartInterval": 4,
//                 "refinementCalls": 40}}
//
// Only "function" is required. "dimension" defaults to the box's length, else 2; "box" to the function's
// usual box, "seed" to 1, each setting to the library's default. The function name is checked against the
// library's list by the command.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ktx {

// Bounds on the work one run may ask for: per chain, samples (about 1 + log(ratio) / log(factor)) times
// leapfrog steps per sample plus the refinement calls, times the number of chains. Wall hits add steps beyond
// that count, and more of them the longer the trajectories and the more coordinates there are, so
// trajectories and dimensions are bounded too; within these bounds a run takes seconds.
constexpr int kMaxAnnealDimension = 20;
constexpr int kMaxStepsPerSample = 1000;
constexpr double kMaxAnnealSteps = 5e6;
constexpr int kMaxAnnealChains = 100000;

struct AnnealInput {
    std::string function;
    int dimension = 2;
    std::optional<std::vector<std::pair<double, double>>> box;  // lower < upper per coordinate
    int seed = 1;                                               // 0 ... 2^31 - 1
    std::optional<int> warmUpPoints;
    std::optional<double> stepFraction;
    std::optional<int> stepsPerSample;
    std::optional<double> coolingFactor;
    std::optional<double> finalTemperatureRatio;
    std::optional<int> chains;
    std::optional<int> freshStartInterval;
    std::optional<int> refinementCalls;
};

AnnealInput parseAnnealInput(std::string const& text);

// Rejects settings (as the run will use them, defaults filled in) whose work exceeds kMaxAnnealSteps,
// naming the field "settings".
void requireBoundedAnnealWork(double coolingFactor, double finalTemperatureRatio, int stepsPerSample,
                              int chains, int refinementCalls);

}  // namespace ktx
