// Limited-memory quasi-Newton descent inside an axis-aligned box.
#include "BoxQuasiNewton4HSA.h"

#include <algorithm>
#include <cmath>

namespace Kestrel {

namespace {

// Armijo's sufficient-decrease constant: a trial point must lower f by this share of the predicted drop.
constexpr double kSufficientDecrease = 1e-4;
// A step that lowers f by no more than this share of max(1, |f|) ends the descent (about 1e7 times the
// rounding unit: far below any difference between basins that matters to the search).
constexpr double kStallingDecrease = 2.2e-9;
// A step pair whose curvature s . y is not above this share of |y|^2 would make the model indefinite.
constexpr double kCurvatureFloor = 1e-10;
// Backtracking halves the step at most this often per iteration.
constexpr int kMaximumHalvings = 30;

double dot(std::vector<double> const& a, std::vector<double> const& b) {
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        sum += a[i] * b[i];
    }
    return sum;
}

}  // namespace

BoxQuasiNewton4HSA::BoxQuasiNewton4HSA(std::vector<std::pair<double, double>> box, int memory)
    : box_(std::move(box)), memory_(static_cast<std::size_t>(std::max(1, memory))) {
    std::size_t const n = box_.size();
    steps_.assign(memory_, std::vector<double>(n));
    changes_.assign(memory_, std::vector<double>(n));
    curvatures_.assign(memory_, 0.0);
    alphas_.assign(memory_, 0.0);
    for (std::vector<double>* work : {&force_, &trialForce_, &direction_, &trial_, &step_, &change_}) {
        work->assign(n, 0.0);
    }
}

void BoxQuasiNewton4HSA::remember(std::vector<double> const& step, std::vector<double> const& change) {
    double const sy = dot(step, change);
    if (!(sy > kCurvatureFloor * dot(change, change))) {
        return;
    }
    newest_ = stored_ == 0 ? 0 : (newest_ + 1) % memory_;
    steps_[newest_] = step;
    changes_[newest_] = change;
    curvatures_[newest_] = 1.0 / sy;
    stored_ = std::min(stored_ + 1, memory_);
}

void BoxQuasiNewton4HSA::applyInverseHessian() {
    std::vector<double>& q = direction_;
    for (std::size_t k = 0; k < stored_; ++k) {
        std::size_t const j = (newest_ + memory_ - k) % memory_;
        alphas_[j] = curvatures_[j] * dot(steps_[j], q);
        for (std::size_t i = 0; i < q.size(); ++i) {
            q[i] -= alphas_[j] * changes_[j][i];
        }
    }
    double const scale = 1.0 / (curvatures_[newest_] * dot(changes_[newest_], changes_[newest_]));
    for (double& component : q) {
        component *= scale;
    }
    for (std::size_t k = stored_; k-- > 0;) {
        std::size_t const j = (newest_ + memory_ - k) % memory_;
        double const beta = curvatures_[j] * dot(changes_[j], q);
        for (std::size_t i = 0; i < q.size(); ++i) {
            q[i] += (alphas_[j] - beta) * steps_[j][i];
        }
    }
}

void BoxQuasiNewton4HSA::descend(Interpolator4HSA const& model, std::vector<double>& position, double& value,
                                 double initialStep, int maximumCalls) {
    if (maximumCalls < 2) {
        return;
    }
    std::size_t const n = box_.size();
    stored_ = 0;
    int calls = 1;
    model.calculateGradient(position, force_);
    while (calls + 2 <= maximumCalls) {
        // Descent direction over the coordinates that may move: the projected gradient, bent by the model.
        double largest = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            bool const heldLow = position[i] <= box_[i].first && force_[i] < 0.0;
            bool const heldHigh = position[i] >= box_[i].second && force_[i] > 0.0;
            direction_[i] = heldLow || heldHigh ? 0.0 : -force_[i];
            largest = std::max(largest, std::fabs(direction_[i]));
        }
        if (!(largest > 0.0)) {
            return;  // a stationary point, or a corner the force presses into
        }
        double const gradientSquared = dot(direction_, direction_);
        if (stored_ > 0) {
            applyInverseHessian();
        } else {
            for (double& component : direction_) {
                component *= initialStep / largest;
            }
        }
        for (std::size_t i = 0; i < n; ++i) {
            bool const heldLow = position[i] <= box_[i].first && force_[i] < 0.0;
            bool const heldHigh = position[i] >= box_[i].second && force_[i] > 0.0;
            direction_[i] = heldLow || heldHigh ? 0.0 : -direction_[i];
        }
        if (!(dot(direction_, force_) > 0.0) && stored_ > 0) {
            // The curvature model points uphill: start it afresh along the force.
            stored_ = 0;
            for (std::size_t i = 0; i < n; ++i) {
                direction_[i] = force_[i] * initialStep / std::sqrt(gradientSquared);
            }
        }
        double length = 1.0;
        bool accepted = false;
        double trialValue = value;
        for (int halving = 0; !accepted && halving <= kMaximumHalvings && calls < maximumCalls; ++halving) {
            double predicted = 0.0;
            for (std::size_t i = 0; i < n; ++i) {
                trial_[i] =
                    std::min(box_[i].second, std::max(box_[i].first, position[i] + length * direction_[i]));
                predicted += force_[i] * (trial_[i] - position[i]);
            }
            if (!(predicted > 0.0)) {
                return;
            }
            trialValue = model.calculateValue(trial_);
            ++calls;
            accepted = trialValue <= value - kSufficientDecrease * predicted;
            length *= 0.5;
        }
        if (!accepted) {
            return;
        }
        double const drop = value - trialValue;
        for (std::size_t i = 0; i < n; ++i) {
            step_[i] = trial_[i] - position[i];
        }
        position.swap(trial_);
        value = trialValue;
        if (!(drop > kStallingDecrease * std::max(1.0, std::fabs(value))) || calls + 2 > maximumCalls) {
            return;
        }
        model.calculateGradient(position, trialForce_);
        ++calls;
        for (std::size_t i = 0; i < n; ++i) {
            change_[i] = force_[i] - trialForce_[i];
        }
        force_.swap(trialForce_);
        remember(step_, change_);
    }
}

}  // namespace Kestrel
