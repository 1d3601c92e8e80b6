// Non-virtual interface of the search space: each operation forwards to its private virtual.
#include <Kestrel/HamiltonianSimulatedAnnealing.h>

namespace Kestrel {

Domain4HSA::~Domain4HSA() = default;

int Domain4HSA::getDimensionality() const {
    return getDimensionalityPrivate();
}

void Domain4HSA::proposeInitialPosition(std::vector<double>& position) const {
    proposeInitialPositionPrivate(position);
}

bool Domain4HSA::calculateCollision(std::vector<double> const& start, std::vector<double> const& end,
                                    std::vector<double>& velocity, double& fraction) const {
    return calculateCollisionPrivate(start, end, velocity, fraction);
}

}  // namespace Kestrel
