// Hamiltonian Monte Carlo samples at a temperature: normal momenta, a leapfrog trajectory, Metropolis.
#include <Kestrel/ReadyComponents4HSA.h>

#include "RandomDeviates4HSA.h"

#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace Kestrel {

namespace {

// A particle that the objective's slope presses against a wall hits it again and again with (almost)
// nothing of the move inside; after this many such hits in a row its trajectory ends where it stands.
constexpr int kPinnedHits = 16;
constexpr double kPinnedFraction = 1e-9;

// Thrown by the bath's own collision test to end a pinned trajectory; never leaves the bath.
struct PinnedAtWall {};

}  // namespace

LeapfrogThermalBath4HSA::LeapfrogThermalBath4HSA(std::uint32_t seed, double step, int stepsPerSample)
    : engine_(seed), step_(step), stepsPerSample_(stepsPerSample) {
    if (!(step > 0.0) || std::isinf(step)) {
        throw std::invalid_argument("LeapfrogThermalBath4HSA: the step must be positive and finite");
    }
    if (stepsPerSample < 1) {
        throw std::invalid_argument("LeapfrogThermalBath4HSA: at least one step per sample is needed");
    }
}

void LeapfrogThermalBath4HSA::calculateSamplePrivate(std::pair<double, double> temperatureAndChange,
                                                     State4HSA& state) {
    std::shared_ptr<Domain4HSA const> const domain = getDomain();
    std::shared_ptr<Interpolator4HSA const> const model = getInterpolator();
    if (!domain || !model) {
        throw std::logic_error("LeapfrogThermalBath4HSA: init() has not given a domain and an interpolator");
    }
    std::vector<double>& position = state.getPosition();
    std::vector<double>& velocity = state.getVelocity();
    if (position.size() != static_cast<std::size_t>(domain->getDimensionality())) {
        throw std::invalid_argument("LeapfrogThermalBath4HSA: the state's position has " +
                                    std::to_string(position.size()) + " coordinates, the domain " +
                                    std::to_string(domain->getDimensionality()));
    }
    velocity.resize(position.size());

    double const variance = temperatureAndChange.first + temperatureAndChange.second;
    double const scale = variance > 0.0 ? std::sqrt(variance) : 0.0;
    annealing::fillStandardNormal(engine_, velocity);
    for (double& component : velocity) {
        component = scale * component;
    }
    std::vector<double> const startPosition = position;
    std::vector<double> const startVelocity = velocity;
    double const startEnergy = energy(model->calculateValue(position), velocity);

    int pinnedHits = 0;
    LeapfrogIntegrator::CollisionFunction const collision =
        [&domain, &pinnedHits](std::vector<double> const& from, std::vector<double> const& to,
                               std::vector<double>& v, double& fraction) {
            bool const hit = domain->calculateCollision(from, to, v, fraction);
            pinnedHits = hit && fraction < kPinnedFraction ? pinnedHits + 1 : 0;
            if (pinnedHits == kPinnedHits) {
                throw PinnedAtWall();
            }
            return hit;
        };
    LeapfrogIntegrator::GradientFunction const force = [&model](std::vector<double> const& at,
                                                                std::vector<double>& out) {
        model->calculateGradient(at, out);
    };
    LeapfrogIntegrator integrator(&collision, force, position, velocity);
    try {
        integrator.doSteps(step_, step_ * stepsPerSample_);
    } catch (PinnedAtWall const&) {
        // The trajectory ends at the wall; the end point is judged like any other below.
    }

    double const endEnergy = energy(model->calculateValue(position), velocity);
    ++samples_;
    bool accepted = endEnergy <= startEnergy;
    if (!accepted && temperatureAndChange.first > 0.0) {
        accepted = uniform() < std::exp(-(endEnergy - startEnergy) / temperatureAndChange.first);
    }
    if (accepted) {
        ++accepted_;
    } else {
        position = startPosition;
        velocity = startVelocity;
    }
}

double LeapfrogThermalBath4HSA::uniform() {
    return annealing::drawUniform53(engine_);
}

double LeapfrogThermalBath4HSA::energy(double value, std::vector<double> const& velocity) const {
    double kinetic = 0.0;
    for (double const component : velocity) {
        kinetic += component * component;
    }
    return value + 0.5 * kinetic;
}

}  // namespace Kestrel
