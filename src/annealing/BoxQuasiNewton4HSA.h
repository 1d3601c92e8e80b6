// Limited-memory quasi-Newton descent inside an axis-aligned box, for the ready annealing classes.
// Coordinates that sit on a wall the gradient presses against are held fixed; the others move along the
// quasi-Newton direction (two-loop recursion over the last few steps), and each trial point is projected
// into the box and must pass Armijo's test. Work arrays are kept between descents, so a descent allocates
// nothing once the first has run. Deterministic: sums run in coordinate order.
#pragma once

#include <Kestrel/HamiltonianSimulatedAnnealing.h>

#include <cstddef>
#include <utility>
#include <vector>

namespace Kestrel {

class BoxQuasiNewton4HSA {
  public:
    // Requires: every lower <= upper. memory >= 1 steps are kept for the curvature model.
    BoxQuasiNewton4HSA(std::vector<std::pair<double, double>> box, int memory);

    // Descends from `position` (inside the box, objective value `value`) through the model's value and
    // force (the negated gradient); on return both hold the lowest point reached. The first trial step
    // moves no coordinate further than initialStep (> 0). Makes at most maximumCalls value + force calls
    // (none if maximumCalls < 2) and stops earlier once a step lowers the value by no more than
    // 2.2e-9 * max(1, |value|) or no coordinate can move downhill. Throws what the model throws; the
    // position and value then hold the last point accepted.
    void descend(Interpolator4HSA const& model, std::vector<double>& position, double& value,
                 double initialStep, int maximumCalls);

  private:
    // Quasi-Newton direction for the projected gradient held in direction_ (overwritten).
    void applyInverseHessian();
    void remember(std::vector<double> const& step, std::vector<double> const& change);

    std::vector<std::pair<double, double>> box_;
    std::size_t memory_;
    std::vector<std::vector<double>> steps_;    // s = x_new - x_old, newest at (newest_ + k) % memory
    std::vector<std::vector<double>> changes_;  // y = g_new - g_old
    std::vector<double> curvatures_;            // 1 / (s . y)
    std::vector<double> alphas_;
    std::size_t stored_ = 0;
    std::size_t newest_ = 0;
    std::vector<double> force_;
    std::vector<double> trialForce_;
    std::vector<double> direction_;
    std::vector<double> trial_;
    std::vector<double> step_;
    std::vector<double> change_;
};

}  // namespace Kestrel
