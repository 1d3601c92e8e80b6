// Samples at a temperature among the local minima of the objective: a jump, Metropolis, a descent.
#include <Kestrel/ReadyComponents4HSA.h>

#include "BoxQuasiNewton4HSA.h"
#include "RandomDeviates4HSA.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace Kestrel {

namespace {

constexpr double kPi = 3.14159265358979323846;
// Share of the samples in which a single coordinate jumps (the others move every coordinate): a jump of
// one coordinate keeps the others at the bottom of the basin, so it is far more often accepted.
constexpr double kSingleCoordinateShare = 0.9;
// Limited-memory curvature model of the descent: this many recent steps.
constexpr int kDescentMemory = 8;
// The first step of a descent moves no coordinate further than this share of the smallest box width.
constexpr double kInitialDescentStep = 0.01;

double smallestWidthOf(Box4HSA const& box) {
    double smallest = box[0].second - box[0].first;
    for (std::pair<double, double> const& bounds : box) {
        smallest = std::min(smallest, bounds.second - bounds.first);
    }
    return smallest;
}

}  // namespace

BasinHoppingThermalBath4HSA::BasinHoppingThermalBath4HSA(std::uint32_t seed, Box4HSA box, int descentCalls,
                                                         double jumpFraction)
    : engine_(seed), box_(std::move(box)), descentCalls_(descentCalls), jumpFraction_(jumpFraction) {
    BoxDomain4HSA const validated(box_);
    if (descentCalls < 0) {
        throw std::invalid_argument("BasinHoppingThermalBath4HSA: descentCalls must not be negative");
    }
    if (!(jumpFraction > 0.0 && jumpFraction <= 1.0)) {
        throw std::invalid_argument("BasinHoppingThermalBath4HSA: jumpFraction must lie in (0, 1]");
    }
    descent_ = std::make_shared<BoxQuasiNewton4HSA>(box_, kDescentMemory);
    initialDescentStep_ = kInitialDescentStep * smallestWidthOf(box_);
}

int BasinHoppingThermalBath4HSA::chooseDecade(int kind) {
    double total = 0.0;
    for (int k = 0; k < kDecades; ++k) {
        total += acceptanceEstimate(kind, k);
    }
    double u = annealing::drawUniform53(engine_) * total;
    for (int k = 0; k + 1 < kDecades; ++k) {
        double const weight = acceptanceEstimate(kind, k);
        if (u < weight) {
            return k;
        }
        u -= weight;
    }
    return kDecades - 1;
}

double BasinHoppingThermalBath4HSA::acceptanceEstimate(int kind, int decade) const {
    return (accepts_[kind][decade] + 1.0) / (tries_[kind][decade] + 2.0);
}

double BasinHoppingThermalBath4HSA::jumpTo(std::size_t i, double from, int decade) {
    double const lower = box_[i].first;
    double const upper = box_[i].second;
    double const width = upper - lower;
    double const scale =
        jumpFraction_ * width * std::pow(10.0, -(decade + annealing::drawUniform53(engine_)));
    // A Cauchy deviate: mostly short jumps at the scale, now and then a far one.
    double const length = scale * std::tan(kPi * (annealing::drawUniform53(engine_) - 0.5));
    if (!(std::fabs(length) <= width)) {
        return lower + width * annealing::drawUniform53(engine_);
    }
    double to = from + length;
    if (to > upper) {
        to = 2.0 * upper - to;
    } else if (to < lower) {
        to = 2.0 * lower - to;
    }
    return std::min(upper, std::max(lower, to));
}

void BasinHoppingThermalBath4HSA::calculateSamplePrivate(std::pair<double, double> temperatureAndChange,
                                                         State4HSA& state) {
    std::shared_ptr<Interpolator4HSA const> const model = getInterpolator();
    if (!model) {
        throw std::logic_error("BasinHoppingThermalBath4HSA: init() has not given an interpolator");
    }
    std::vector<double>& position = state.getPosition();
    if (position.size() != box_.size()) {
        throw std::invalid_argument("BasinHoppingThermalBath4HSA: the state has another length than the box");
    }
    double const startValue = position == lastPosition_ ? lastValue_ : model->calculateValue(position);

    std::size_t const n = box_.size();
    int const kind = n > 1 && annealing::drawUniform53(engine_) < kSingleCoordinateShare ? kOneCoordinate
                                                                                         : kAllCoordinates;
    int const decade = chooseDecade(kind);
    trial_ = position;
    if (kind == kOneCoordinate) {
        std::size_t const i = nextCoordinate_;
        nextCoordinate_ = (nextCoordinate_ + 1) % n;
        trial_[i] = jumpTo(i, position[i], decade);
    } else {
        for (std::size_t i = 0; i < n; ++i) {
            trial_[i] = jumpTo(i, position[i], decade);
        }
    }
    double trialValue = model->calculateValue(trial_);
    ++samples_;
    double const temperature = temperatureAndChange.first;
    bool accepted = trialValue <= startValue;
    if (!accepted && temperature > 0.0) {
        accepted = annealing::drawUniform53(engine_) < std::exp(-(trialValue - startValue) / temperature);
    }
    tries_[kind][decade] += 1.0;
    std::vector<double>& velocity = state.getVelocity();
    velocity.assign(n, 0.0);
    if (accepted) {
        accepts_[kind][decade] += 1.0;
        ++accepted_;
        descent_->descend(*model, trial_, trialValue, initialDescentStep_, descentCalls_);
        for (std::size_t i = 0; i < n; ++i) {
            velocity[i] = trial_[i] - position[i];
        }
        position = trial_;
        lastValue_ = trialValue;
    } else {
        lastValue_ = startValue;
    }
    lastPosition_ = position;
}

}  // namespace Kestrel
