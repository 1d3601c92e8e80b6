// The phase-space point of the annealing walk.
#include <Kestrel/HamiltonianSimulatedAnnealing.h>

namespace Kestrel {

State4HSA::State4HSA(std::vector<double> const& position)
    : position_(position), velocity_(position.size(), 0.0) {}

}  // namespace Kestrel
