// Non-virtual interface of the cooling schedule: each operation forwards to its private virtual.
#include <Kestrel/HamiltonianSimulatedAnnealing.h>

namespace Kestrel {

std::shared_ptr<CoolingSchedule4HSA::Population> CoolingSchedule4HSA::proposeAdditionalPopulation(
    std::pair<double, double> temperatureAndChange, State4HSA const& state,
    ThermalBath4HSA const& thermalBath) {
    return proposeAdditionalPopulationPrivate(temperatureAndChange, state, thermalBath);
}

bool CoolingSchedule4HSA::updateTemperature(std::pair<double, double>& temperatureAndChange) {
    return updateTemperaturePrivate(temperatureAndChange);
}

}  // namespace Kestrel
