// Non-virtual interface of the objective model: each operation forwards to its private virtual.
#include <Kestrel/HamiltonianSimulatedAnnealing.h>

namespace Kestrel {

Interpolator4HSA::~Interpolator4HSA() = default;

double Interpolator4HSA::calculateValue(std::vector<double> const& position) const {
    return calculateValuePrivate(position);
}

void Interpolator4HSA::calculateGradient(std::vector<double> const& position,
                                         std::vector<double>& gradient) const {
    calculateGradientPrivate(position, gradient);
}

Interpolator4HSA::Arrays Interpolator4HSA::improveQualityAt(
    std::deque<std::vector<double>> const& population) {
    return improveQualityAtPrivate(population);
}

double Interpolator4HSA::calculateAverage() const {
    return calculateAveragePrivate();
}

double Interpolator4HSA::calculateStdDeviation() const {
    return calculateStdDeviationPrivate();
}

std::pair<double, double> const Interpolator4HSA::calculateMinMax() const {
    return calculateMinMaxPrivate();
}

}  // namespace Kestrel
