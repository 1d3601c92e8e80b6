// A short deterministic descent that polishes an annealing chain's end point.
#include <Kestrel/ReadyComponents4HSA.h>

#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace Kestrel {

namespace {

// Armijo's sufficient-decrease constant: a trial point must lower f by this share of the predicted drop.
constexpr double kSufficientDecrease = 1e-4;
// A descent step that lowers f by no more than this (relative to 1 + |f|) ends the refinement.
constexpr double kStallingDecrease = 1e-12;

}  // namespace

void refineInBox4HSA(ObjectiveInterpolator4HSA const& interpolator, Box4HSA const& box,
                     std::vector<double> position, double initialStep, int maximumCalls) {
    if (maximumCalls < 2) {
        return;
    }
    if (position.size() != box.size()) {
        throw std::invalid_argument("refineInBox4HSA: position has " + std::to_string(position.size()) +
                                    " coordinates, the box " + std::to_string(box.size()));
    }
    std::size_t const n = position.size();
    int calls = 1;
    double value = interpolator.calculateValue(position);
    std::vector<double> force(n);
    std::vector<double> previousPosition(n);
    std::vector<double> previousForce(n);
    std::vector<double> trial(n);
    double step = initialStep;
    for (int iteration = 0; calls + 2 <= maximumCalls; ++iteration) {
        interpolator.calculateGradient(position, force);
        ++calls;
        if (iteration > 0) {
            // Barzilai-Borwein: the step that fits the change of the gradient along the last move.
            double moved = 0.0;
            double curvature = 0.0;
            for (std::size_t i = 0; i < n; ++i) {
                double const s = position[i] - previousPosition[i];
                moved += s * s;
                curvature += s * (previousForce[i] - force[i]);
            }
            step = curvature > 0.0 ? moved / curvature : 2.0 * step;
        }
        double const before = value;
        bool accepted = false;
        while (!accepted && calls < maximumCalls) {
            double predicted = 0.0;
            for (std::size_t i = 0; i < n; ++i) {
                trial[i] = std::fmin(box[i].second, std::fmax(box[i].first, position[i] + step * force[i]));
                predicted += force[i] * (trial[i] - position[i]);
            }
            if (!(predicted > 0.0)) {
                return;  // a stationary point, or a corner of the box the force presses into
            }
            double const trialValue = interpolator.calculateValue(trial);
            ++calls;
            if (trialValue <= value - kSufficientDecrease * predicted) {
                previousPosition.swap(position);
                position.swap(trial);
                previousForce.swap(force);
                value = trialValue;
                accepted = true;
            } else {
                step = 0.5 * step;
            }
        }
        if (!accepted || !(before - value > kStallingDecrease * (1.0 + std::fabs(value)))) {
            return;
        }
    }
}

}  // namespace Kestrel
