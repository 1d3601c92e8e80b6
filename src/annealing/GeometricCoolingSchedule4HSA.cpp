// Geometric cooling down to a stopping temperature.
#include <Kestrel/ReadyComponents4HSA.h>

#include <cmath>
#include <stdexcept>

namespace Kestrel {

GeometricCoolingSchedule4HSA::GeometricCoolingSchedule4HSA(double factor, double stoppingTemperature)
    : factor_(factor), stoppingTemperature_(stoppingTemperature) {
    if (!(factor > 0.0 && factor < 1.0)) {
        throw std::invalid_argument(
            "GeometricCoolingSchedule4HSA: the factor must lie strictly between 0 and 1");
    }
    if (!(stoppingTemperature >= 0.0) || std::isinf(stoppingTemperature)) {
        throw std::invalid_argument(
            "GeometricCoolingSchedule4HSA: the stopping temperature must be finite and >= 0");
    }
}

std::shared_ptr<CoolingSchedule4HSA::Population>
GeometricCoolingSchedule4HSA::proposeAdditionalPopulationPrivate(
    std::pair<double, double> /*temperatureAndChange*/, State4HSA const& /*state*/,
    ThermalBath4HSA const& /*thermalBath*/) {
    return nullptr;
}

bool GeometricCoolingSchedule4HSA::updateTemperaturePrivate(std::pair<double, double>& temperatureAndChange) {
    ++coolingSteps_;
    temperatureAndChange.first = factor_ * temperatureAndChange.first;
    return std::isfinite(temperatureAndChange.first) && temperatureAndChange.first > stoppingTemperature_;
}

}  // namespace Kestrel
