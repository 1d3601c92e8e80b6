// The caller's objective and gradient as the annealing objective, with statistics of every value computed.
#include <Kestrel/ReadyComponents4HSA.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>

namespace Kestrel {

EvaluationBudgetSpent4HSA::EvaluationBudgetSpent4HSA()
    : std::runtime_error("ObjectiveInterpolator4HSA: the evaluation budget is spent") {}

ObjectiveInterpolator4HSA::ObjectiveInterpolator4HSA(Objective4HSA objective, Gradient4HSA gradient)
    : objective_(std::move(objective)), gradient_(std::move(gradient)) {}

void ObjectiveInterpolator4HSA::limitEvaluations(std::uint64_t budget, std::uint64_t gradientCost) {
    if (gradientCost < 1) {
        throw std::invalid_argument("ObjectiveInterpolator4HSA: a gradient call must cost at least 1");
    }
    budget_ = budget;
    gradientCost_ = gradientCost;
}

void ObjectiveInterpolator4HSA::charge(std::uint64_t cost) const {
    if (cost > budget_ - std::min(budget_, charged_)) {
        throw EvaluationBudgetSpent4HSA();
    }
    charged_ += cost;
}

std::vector<double> const& ObjectiveInterpolator4HSA::getBestPosition() const {
    requireValues();
    return bestPosition_;
}

double ObjectiveInterpolator4HSA::getBestValue() const {
    requireValues();
    return bestValue_;
}

double ObjectiveInterpolator4HSA::calculateValuePrivate(std::vector<double> const& position) const {
    return record(position);
}

void ObjectiveInterpolator4HSA::calculateGradientPrivate(std::vector<double> const& position,
                                                         std::vector<double>& gradient) const {
    charge(gradientCost_);
    ++gradientCalls_;
    gradient_(position, gradient);
    for (double& component : gradient) {
        component = -component;
    }
}

Interpolator4HSA::Arrays ObjectiveInterpolator4HSA::improveQualityAtPrivate(
    std::deque<std::vector<double>> const& population) {
    auto values = std::make_shared<std::vector<double>>();
    values->reserve(population.size());
    for (std::vector<double> const& position : population) {
        values->push_back(record(position));
    }
    std::shared_ptr<std::vector<double>> best;
    if (count_ > 0) {
        best = std::make_shared<std::vector<double>>(bestPosition_);
    }
    return {values, best};
}

double ObjectiveInterpolator4HSA::calculateAveragePrivate() const {
    requireValues();
    return sum_ / static_cast<double>(count_);
}

double ObjectiveInterpolator4HSA::calculateStdDeviationPrivate() const {
    requireValues();
    return std::sqrt(squaredDeviations_ / static_cast<double>(count_));
}

std::pair<double, double> const ObjectiveInterpolator4HSA::calculateMinMaxPrivate() const {
    requireValues();
    return {minimum_, maximum_};
}

double ObjectiveInterpolator4HSA::record(std::vector<double> const& position) const {
    charge(1);
    ++objectiveCalls_;
    double const value = objective_(position);
    bool const first = count_ == 0;
    if (first || value < bestValue_) {
        bestValue_ = value;
        bestPosition_ = position;
    }
    minimum_ = first || value < minimum_ ? value : minimum_;
    maximum_ = first || value > maximum_ ? value : maximum_;
    // Welford's update of the squared deviations, so that the statistics cost O(1) however many values.
    ++count_;
    sum_ += value;
    double const before = runningMean_;
    runningMean_ += (value - before) / static_cast<double>(count_);
    squaredDeviations_ += (value - before) * (value - runningMean_);
    return value;
}

void ObjectiveInterpolator4HSA::requireValues() const {
    if (count_ == 0) {
        throw std::logic_error("ObjectiveInterpolator4HSA: no objective value has been computed yet");
    }
}

}  // namespace Kestrel
