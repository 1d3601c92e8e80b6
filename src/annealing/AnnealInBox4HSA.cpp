// One call that warms up, assembles the ready annealing classes and runs annealing chains among the local
// minima of the objective on a box until the evaluation budget is spent.
#include <Kestrel/ReadyComponents4HSA.h>

#include "RandomDeviates4HSA.h"

#include <cmath>
#include <cstddef>
#include <memory>
#include <stdexcept>

namespace Kestrel {

namespace {

// Evaluations per coordinate when the settings leave the budget open.
constexpr std::uint64_t kDefaultEvaluationsPerCoordinate = 5000;

void checkSettings(AnnealingSettings4HSA const& settings) {
    if (settings.gradientCost < 1) {
        throw std::invalid_argument("annealInBox4HSA: gradientCost must be at least 1");
    }
    if (settings.warmUpPoints < 1) {
        throw std::invalid_argument("annealInBox4HSA: warmUpPoints must be at least 1");
    }
    if (!(settings.jumpFraction > 0.0 && settings.jumpFraction <= 1.0)) {
        throw std::invalid_argument("annealInBox4HSA: jumpFraction must lie in (0, 1]");
    }
    if (settings.descentCalls < 0) {
        throw std::invalid_argument("annealInBox4HSA: descentCalls must not be negative");
    }
    if (!(settings.coolingFactor > 0.0 && settings.coolingFactor < 1.0)) {
        throw std::invalid_argument("annealInBox4HSA: coolingFactor must lie strictly between 0 and 1");
    }
    if (!(settings.finalTemperatureRatio > 0.0 && settings.finalTemperatureRatio < 1.0)) {
        throw std::invalid_argument(
            "annealInBox4HSA: finalTemperatureRatio must lie strictly between 0 and 1");
    }
    if (settings.freshStartInterval < 0) {
        throw std::invalid_argument("annealInBox4HSA: freshStartInterval must not be negative");
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
    for (std::pair<double, double> const& bounds : box) {
        if (!(bounds.second > bounds.first)) {
            throw std::invalid_argument(
                "annealInBox4HSA: the box must have a positive width in every coordinate");
        }
    }
    std::uint64_t const budget = settings.evaluationBudget > 0
                                     ? settings.evaluationBudget
                                     : kDefaultEvaluationsPerCoordinate * box.size();

    std::mt19937 engine(seed);
    std::deque<std::vector<double>> warmUp;
    for (int k = 0; k < settings.warmUpPoints && static_cast<std::uint64_t>(k) < budget; ++k) {
        warmUp.push_back(uniformPoint(box, engine));
    }
    auto interpolator = std::make_shared<ObjectiveInterpolator4HSA>(objective, gradient);
    interpolator->limitEvaluations(budget, static_cast<std::uint64_t>(settings.gradientCost));
    interpolator->improveQualityAt(warmUp);

    auto bath = std::make_shared<BasinHoppingThermalBath4HSA>(static_cast<std::uint32_t>(engine()), box,
                                                              settings.descentCalls, settings.jumpFraction);
    AnnealingResult4HSA result;
    result.finalPosition = interpolator->getBestPosition();
    try {
        for (int chain = 0;; ++chain) {
            // A chain reheats from the best point so far (or, now and then, starts afresh somewhere else,
            // so that a basin far from the best one is still found), to the temperature that the
            // statistics of every value seen so far suggest, and cools while hopping between basins.
            bool const fresh = settings.freshStartInterval > 0 &&
                               chain % settings.freshStartInterval == settings.freshStartInterval - 1;
            auto domain = std::make_shared<BoxDomain4HSA>(
                box, fresh ? uniformPoint(box, engine) : interpolator->getBestPosition());
            HamiltonianSimulatedAnnealing annealer(domain, interpolator, bath);
            double const startTemperature = bath->suggestTemperatureAndChange().first;
            GeometricCoolingSchedule4HSA schedule(
                settings.coolingFactor, std::fmax(0.0, settings.finalTemperatureRatio * startTemperature));
            annealer.driveHSA(schedule, result.finalPosition);
        }
    } catch (EvaluationBudgetSpent4HSA const&) {
        // The budget is spent: the search ends with the best point seen.
    }
    result.bestPosition = interpolator->getBestPosition();
    result.bestValue = interpolator->getBestValue();
    result.evaluations = interpolator->getNumberOfEvaluationsCharged();
    result.objectiveEvaluations = interpolator->getNumberOfObjectiveCalls();
    result.gradientEvaluations = interpolator->getNumberOfGradientCalls();
    result.samples = bath->getNumberOfSamples();
    return result;
}

}  // namespace Kestrel
