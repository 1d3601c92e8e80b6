// A deterministic quasi-Newton descent in the box that polishes a point.
#include <Kestrel/ReadyComponents4HSA.h>

#include "BoxQuasiNewton4HSA.h"

#include <stdexcept>
#include <string>

namespace Kestrel {

namespace {

// Steps kept by the curvature model.
constexpr int kMemory = 8;

}  // namespace

void refineInBox4HSA(ObjectiveInterpolator4HSA const& interpolator, Box4HSA const& box,
                     std::vector<double> position, double initialStep, int maximumCalls) {
    if (maximumCalls < 2) {
        return;
    }
    if (position.size() != box.size()) {
        throw std::invalid_argument("refineInBox4HSA: position has " + std::to_string(position.size()) +
                                    " coordinates, the box " + std::to_string(box.size()));
    }
    BoxQuasiNewton4HSA descent(box, kMemory);
    double value = interpolator.calculateValue(position);
    descent.descend(interpolator, position, value, initialStep, maximumCalls - 1);
}

}  // namespace Kestrel
