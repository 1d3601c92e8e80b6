// The thermal bath's stored objects, its temperature suggestion and its forwarding operations.
#include <Kestrel/HamiltonianSimulatedAnnealing.h>

#include <cmath>
#include <stdexcept>

namespace Kestrel {

ThermalBath4HSA::~ThermalBath4HSA() = default;

void ThermalBath4HSA::init(std::shared_ptr<Domain4HSA> domain,
                           std::shared_ptr<Interpolator4HSA> interpolator) {
    domain_ = std::move(domain);
    interpolator_ = std::move(interpolator);
}

std::pair<double, double> ThermalBath4HSA::suggestTemperatureAndChange() const {
    if (!interpolator_) {
        throw std::logic_error(
            "ThermalBath4HSA::suggestTemperatureAndChange: no interpolator (init() has not been called)");
    }
    double const s = interpolator_->calculateStdDeviation();
    std::pair<double, double> const minMax = interpolator_->calculateMinMax();
    double const average = interpolator_->calculateAverage();
    double const range = minMax.second - minMax.first;
    double const above = average - minMax.first;
    double const d = range - above;
    double const halfGap = 0.5 * std::fabs(d);
    double const change = 0.3 * range > s ? 0.3 * range : s;
    double const temperature = above + (s < halfGap ? s : halfGap);
    return {temperature, change};
}

void ThermalBath4HSA::adjustTemperatureAndChange(std::pair<double, double>& /*temperatureAndChange*/,
                                                 Interpolator4HSA::Arrays /*arrays*/) const {}

void ThermalBath4HSA::calculateSample(std::pair<double, double> temperatureAndChange, State4HSA& state) {
    calculateSamplePrivate(temperatureAndChange, state);
}

void ThermalBath4HSA::finalTask(std::pair<double, double> temperatureAndChange, State4HSA const& state) {
    finalTaskPrivate(temperatureAndChange, state);
}

std::shared_ptr<Domain4HSA const> ThermalBath4HSA::getDomain() const {
    return domain_;
}

std::shared_ptr<Interpolator4HSA const> ThermalBath4HSA::getInterpolator() const {
    return interpolator_;
}

void ThermalBath4HSA::finalTaskPrivate(std::pair<double, double> /*temperatureAndChange*/,
                                       State4HSA const& /*state*/) {}

}  // namespace Kestrel
