// One call that warms up, assembles the ready annealing classes and runs several annealing chains, each
// followed by a local descent, on a box.
#include <Kestrel/ReadyComponents4HSA.h>

#include "RandomDeviates4HSA.h"

#include <cmath>
#include <cstddef>
#include <memory>
#include <stdexcept>

namespace Kestrel {

namespace {

void checkSettings(AnnealingSettings4HSA const& settings) {
    if (settings.warmUpPoints < 1) {
        throw std::invalid_argument("annealInBox4HSA: warmUpPoints must be at least 1");
    }
    if (!(settings.stepFraction > 0.0)) {
        throw std::invalid_argument("annealInBox4HSA: stepFraction must be positive");
    }
    if (settings.stepsPerSample < 1) {
        throw std::invalid_argument("annealInBox4HSA: stepsPerSample must be at least 1");
    }
    if (!(settings.coolingFactor > 0.0 && settings.coolingFactor < 1.0)) {
        throw std::invalid_argument("annealInBox4HSA: coolingFactor must lie strictly between 0 and 1");
    }
    if (!(settings.finalTemperatureRatio > 0.0 && settings.finalTemperatureRatio < 1.0)) {
        throw std::invalid_argument(
            "annealInBox4HSA: finalTemperatureRatio must lie strictly between 0 and 1");
    }
    if (settings.chains < 1) {
        throw std::invalid_argument("annealInBox4HSA: chains must be at least 1");
    }
    if (settings.freshStartInterval < 0) {
        throw std::invalid_argument("annealInBox4HSA: freshStartInterval must not be negative");
    }
    if (settings.refinementCalls < 0) {
        throw std::invalid_argument("annealInBox4HSA: refinementCalls must not be negative");
    }
}

std::vector<double> uniformPoint(Box4HSA const& box, std::mt19937& engine) {
    std::vector<double> point(box.size());
    for (std::size_t i = 0; i < box.size(); ++i) {
        point[i] = box[i].first + (box[i].second - box[i].first) * annealing::drawUniform53(engine);
    }
    return point;
}

}  // namespace

AnnealingResult4HSA annealInBox4HSA(Objective4HSA const& objective, Gradient4HSA const& gradient,
                                    Box4HSA const& box, std::uint32_t seed,
                                    AnnealingSettings4HSA const& settings) {
    checkSettings(settings);
    BoxDomain4HSA const validated(box);  // rejects a bad box before anything is evaluated
    double smallestWidth = box[0].second - box[0].first;
    for (std::pair<double, double> const& bounds : box) {
        smallestWidth = std::fmin(smallestWidth, bounds.second - bounds.first);
    }
    double const step = settings.stepFraction * smallestWidth;
    if (!(step > 0.0)) {
        throw std::invalid_argument(
            "annealInBox4HSA: the box must have a positive width in every coordinate");
    }

    std::mt19937 engine(seed);
    std::deque<std::vector<double>> warmUp;
    for (int k = 0; k < settings.warmUpPoints; ++k) {
        warmUp.push_back(uniformPoint(box, engine));
    }
    auto interpolator = std::make_shared<ObjectiveInterpolator4HSA>(objective, gradient);
    interpolator->improveQualityAt(warmUp);

    auto bath = std::make_shared<LeapfrogThermalBath4HSA>(static_cast<std::uint32_t>(engine()), step,
                                                          settings.stepsPerSample);
    AnnealingResult4HSA result;
    for (int chain = 0; chain < settings.chains; ++chain) {
        // A chain reheats from the best point so far (or, now and then, starts afresh somewhere else, so
        // that a basin far from the best one is still found), to the temperature that the statistics of
        // every value seen so far suggest: as the values concentrate in low basins, the reheats grow
        // milder.
        bool const fresh = settings.freshStartInterval > 0 &&
                           chain % settings.freshStartInterval == settings.freshStartInterval - 1;
        auto domain = std::make_shared<BoxDomain4HSA>(
            box, fresh ? uniformPoint(box, engine) : interpolator->getBestPosition());
        HamiltonianSimulatedAnnealing annealer(domain, interpolator, bath);
        double const startTemperature = bath->suggestTemperatureAndChange().first;
        GeometricCoolingSchedule4HSA schedule(
            settings.coolingFactor, std::fmax(0.0, settings.finalTemperatureRatio * startTemperature));
        annealer.driveHSA(schedule, result.finalPosition);
        // The leapfrog step resolves the objective's curvature, so h * h is a descent step it tolerates.
        refineInBox4HSA(*interpolator, box, result.finalPosition, step * step, settings.refinementCalls);
    }
    result.bestPosition = interpolator->getBestPosition();
    result.bestValue = interpolator->getBestValue();
    result.objectiveEvaluations = interpolator->getNumberOfObjectiveCalls();
    result.gradientEvaluations = interpolator->getNumberOfGradientCalls();
    result.samples = bath->getNumberOfSamples();
    return result;
}

}  // namespace Kestrel
