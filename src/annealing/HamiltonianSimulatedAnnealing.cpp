// The annealing loop: refine the objective where the schedule asks for data, otherwise sample and cool.
#include <Kestrel/HamiltonianSimulatedAnnealing.h>

#include <stdexcept>

namespace Kestrel {

HamiltonianSimulatedAnnealing::HamiltonianSimulatedAnnealing(std::shared_ptr<Domain4HSA> domain,
                                                             std::shared_ptr<Interpolator4HSA> interpolator,
                                                             std::shared_ptr<ThermalBath4HSA> thermalBath)
    : domain_(std::move(domain)),
      interpolator_(std::move(interpolator)),
      thermalBath_(std::move(thermalBath)) {
    if (!domain_) {
        throw std::invalid_argument("HamiltonianSimulatedAnnealing: domain is null");
    }
    if (!interpolator_) {
        throw std::invalid_argument("HamiltonianSimulatedAnnealing: interpolator is null");
    }
    if (!thermalBath_) {
        throw std::invalid_argument("HamiltonianSimulatedAnnealing: thermalBath is null");
    }
    thermalBath_->init(domain_, interpolator_);
}

void HamiltonianSimulatedAnnealing::driveHSA(CoolingSchedule4HSA& schedule, std::vector<double>& result) {
    std::vector<double> position;
    domain_->proposeInitialPosition(position);
    std::pair<double, double> temperatureAndChange = thermalBath_->suggestTemperatureAndChange();
    State4HSA state(position);
    // The first sample uses the suggested change; later ones only a change set by the schedule or bath.
    thermalBath_->calculateSample(temperatureAndChange, state);
    temperatureAndChange.second = 0.0;
    for (;;) {
        std::shared_ptr<CoolingSchedule4HSA::Population> const population =
            schedule.proposeAdditionalPopulation(temperatureAndChange, state, *thermalBath_);
        if (population) {
            thermalBath_->adjustTemperatureAndChange(temperatureAndChange,
                                                     interpolator_->improveQualityAt(*population));
            continue;
        }
        thermalBath_->calculateSample(temperatureAndChange, state);
        temperatureAndChange.second = 0.0;
        if (!schedule.updateTemperature(temperatureAndChange)) {
            break;
        }
    }
    result = state.getPosition();
    thermalBath_->finalTask(temperatureAndChange, state);
}

}  // namespace Kestrel
