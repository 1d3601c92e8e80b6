// Input of `ktx anneal`: a named test function, its box and the annealing settings.
//
//   {"function": "himmelblau", "dimension": 2, "box": [[-5, 5], [-5, 5]], "seed": 7,
//    "settings": {"evaluationBudget": 10000, "gradientCost": 1, "warmUpPoints": 32, "jumpFraction": 1,
//                 "descentCalls": 200, "coolingFactor": 0.01, "finalTemperatureRatio": 1e-100,
//                 "freshStartInterval": 0}}
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

// Bounds on the work one run may ask for. The annealer stops within its evaluation budget (by default 5000
// evaluations per coordinate) and its work per evaluation grows with the dimension, so both are bounded;
// within these bounds a run takes seconds.
constexpr int kMaxAnnealDimension = 20;
constexpr int kMaxAnnealEvaluations = 5000000;
constexpr int kMaxGradientCost = 1000;
constexpr int kMaxAnnealCount = 1000000;  // warm-up points, descent calls, fresh-start interval

struct AnnealInput {
    std::string function;
    int dimension = 2;
    std::optional<std::vector<std::pair<double, double>>> box;  // lower < upper per coordinate
    int seed = 1;                                               // 0 ... 2^31 - 1
    std::optional<int> evaluationBudget;
    std::optional<int> gradientCost;
    std::optional<int> warmUpPoints;
    std::optional<double> jumpFraction;
    std::optional<int> descentCalls;
    std::optional<double> coolingFactor;
    std::optional<double> finalTemperatureRatio;
    std::optional<int> freshStartInterval;
};

AnnealInput parseAnnealInput(std::string const& text);

}  // namespace ktx
