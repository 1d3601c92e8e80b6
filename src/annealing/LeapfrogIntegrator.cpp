// Leapfrog integration with velocity at half steps, step planning over a duration, and cut steps at walls.
#include <Kestrel/HamiltonianSimulatedAnnealing.h>

#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace Kestrel {

namespace {

// Progress guard: every block of this many consecutive steps must advance the time by at least
// kMinimumBlockProgress nominal steps. A collision test that keeps cutting steps with (almost) nothing of the
// move inside, or a remaining time too large to change by one step, would otherwise never end the run; the
// guard bounds a run to about kStepsPerBlock / kMinimumBlockProgress = 10^6 steps per nominal step of the
// duration.
constexpr int kStepsPerBlock = 1000;
constexpr double kMinimumBlockProgress = 1e-3;

// The integrator's arrays all have the length n of the position at construction.
void requireLength(char const* what, std::size_t length, std::size_t n) {
    if (length != n) {
        throw std::invalid_argument(std::string("LeapfrogIntegrator: ") + what + " has " +
                                    std::to_string(length) + " entries, the position at construction " +
                                    std::to_string(n));
    }
}

// Step length for the remaining time T with nominal step h: k = T / h truncated toward zero (at least 1);
// the step is h unless (k + 0.25) * h < T, then T / (k + 1). Truncating in double gives the 32-bit integer
// truncation wherever that exists and keeps steps no longer than h for quotients beyond its range.
double planStep(double h, double remaining) {
    double k = std::trunc(remaining / h);
    if (k == 0.0) {
        k = 1.0;
    }
    return (k + 0.25) * h < remaining ? remaining / (k + 1.0) : h;
}

}  // namespace

LeapfrogIntegrator::LeapfrogIntegrator(CollisionFunction const* collision, GradientFunction const& gradient,
                                       std::vector<double>& position, std::vector<double>& velocity)
    : collision_(collision),
      gradient_(&gradient),
      position_(&position),
      velocity_(&velocity),
      trialPosition_(position.size(), 0.0),
      acceleration_(position.size(), 0.0),
      halfStepVelocity_(position.size(), 0.0),
      trajectory_(nullptr) {}

void LeapfrogIntegrator::registerTrajectory(std::vector<std::vector<double>>* trajectory) {
    trajectory_ = trajectory;
}

void LeapfrogIntegrator::doSteps(double h, double T) {
    if (!(T > 0.0)) {
        return;
    }
    if (!(h > 0.0)) {
        throw std::invalid_argument("LeapfrogIntegrator::doSteps: the nominal step must be positive");
    }
    if (std::isinf(T)) {
        throw std::invalid_argument("LeapfrogIntegrator::doSteps: the duration must be finite");
    }
    std::size_t const n = acceleration_.size();
    requireLength("the position", position_->size(), n);
    requireLength("the velocity", velocity_->size(), n);
    double remaining = T;
    double dt = planStep(h, remaining);
    bool restart = true;
    int blockSteps = 0;
    double blockFrom = remaining;  // remaining time when the current block of steps began
    while (remaining > 0.0) {
        double const left = doStep(dt, restart);
        restart = left > 0.0;
        remaining = remaining - (dt - left);
        if (++blockSteps == kStepsPerBlock) {
            if (remaining > 0.0 && !(blockFrom - remaining >= kMinimumBlockProgress * h)) {
                throw std::runtime_error(
                    "LeapfrogIntegrator::doSteps: the integration makes no progress (1000 consecutive steps, "
                    "cut short by the collision test or too short to change the remaining time, advanced it "
                    "by less than 0.001 of a nominal step)");
            }
            blockSteps = 0;
            blockFrom = remaining;
        }
        if (remaining > 0.0) {
            dt = planStep(h, remaining);
        } else {
            std::vector<double>& velocity = *velocity_;
            for (std::size_t i = 0; i < acceleration_.size(); ++i) {
                velocity[i] = halfStepVelocity_[i] - 0.5 * dt * acceleration_[i];
            }
        }
    }
}

double LeapfrogIntegrator::doStep(double h, bool restart) {
    std::vector<double>& position = *position_;
    std::vector<double>& velocity = *velocity_;
    std::size_t const n = acceleration_.size();
    if (restart) {
        (*gradient_)(position, acceleration_);
        requireLength("the gradient's output", acceleration_.size(), n);
        for (std::size_t i = 0; i < n; ++i) {
            halfStepVelocity_[i] = velocity[i] + 0.5 * h * acceleration_[i];
        }
    }
    for (std::size_t i = 0; i < n; ++i) {
        trialPosition_[i] = position[i] + h * halfStepVelocity_[i];
    }
    double fraction = 1.0;
    bool const hit =
        collision_ != nullptr && (*collision_)(position, trialPosition_, halfStepVelocity_, fraction);
    requireLength("the velocity the collision test left", halfStepVelocity_.size(), n);
    double const left = (1.0 - fraction) * h;
    if (hit && left > 0.0) {
        // Cut short: stop at the point of impact; the caller's velocity becomes the one the collision test
        // left, and the next step restarts the leapfrog from there.
        for (std::size_t i = 0; i < n; ++i) {
            position[i] = fraction * trialPosition_[i] + (1.0 - fraction) * position[i];
        }
        velocity.swap(halfStepVelocity_);
    } else {
        (*gradient_)(trialPosition_, acceleration_);
        requireLength("the gradient's output", acceleration_.size(), n);
        for (std::size_t i = 0; i < n; ++i) {
            halfStepVelocity_[i] = halfStepVelocity_[i] + h * acceleration_[i];
        }
        position.swap(trialPosition_);
    }
    if (trajectory_ != nullptr) {
        trajectory_->push_back(position);
    }
    return left;
}

}  // namespace Kestrel
