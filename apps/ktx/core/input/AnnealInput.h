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
// The most gradient evaluations one run may make: twice the planned work, which leaves room for the steps
// cut short at the box's walls (each costs one more evaluation) but stops a run that only bounces.
constexpr double kMaxAnnealGradientEvaluations = 2 * kMaxAnnealSteps;
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

// Rejects a box in which the annealer cannot step: stepFraction times a coordinate's width must stay
// positive (a width of 5e-324 underflows to a step of 0). Names the field "box[i]".
void requireSteppableBox(std::vector<std::pair<double, double>> const& box, double stepFraction);

// Counts a run's gradient evaluations: every integration step makes one, whether it is cut short at a wall
// or not, and so does every refinement call, so the count bounds the run whatever the walls do.
class GradientBudget {
  public:
    explicit GradientBudget(double limit = kMaxAnnealGradientEvaluations) : limit_(limit) {}
    // Counts one evaluation. Throws InputError (field "settings") once more than the limit are counted.
    void spendOne();

  private:
    double limit_;
    double spent_ = 0;
};

}  // namespace ktx
