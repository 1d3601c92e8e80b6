// One call that warms up, assembles the ready annealing classes and runs the driver on a box.
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
    std::deque<std::vector<double>> warmUp(static_cast<std::size_t>(settings.warmUpPoints),
                                           std::vector<double>(box.size()));
    for (std::vector<double>& point : warmUp) {
        for (std::size_t i = 0; i < box.size(); ++i) {
            point[i] = box[i].first + (box[i].second - box[i].first) * drawUniform53(engine);
        }
    }
    auto interpolator = std::make_shared<ObjectiveInterpolator4HSA>(objective, gradient);
    interpolator->improveQualityAt(warmUp);

    auto domain = std::make_shared<BoxDomain4HSA>(box, interpolator->getBestPosition());
    auto bath = std::make_shared<LeapfrogThermalBath4HSA>(static_cast<std::uint32_t>(engine()), step,
                                                          settings.stepsPerSample);
    HamiltonianSimulatedAnnealing annealer(domain, interpolator, bath);
    double const startTemperature = bath->suggestTemperatureAndChange().first;
    GeometricCoolingSchedule4HSA schedule(settings.coolingFactor,
                                          std::fmax(0.0, settings.finalTemperatureRatio * startTemperature));

    AnnealingResult4HSA result;
    annealer.driveHSA(schedule, result.finalPosition);
    result.bestPosition = interpolator->getBestPosition();
    result.bestValue = interpolator->getBestValue();
    result.objectiveEvaluations = interpolator->getNumberOfObjectiveCalls();
    result.gradientEvaluations = interpolator->getNumberOfGradientCalls();
    result.samples = bath->getNumberOfSamples();
    return result;
}

}  // namespace Kestrel
