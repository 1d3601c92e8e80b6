// Uniform and normal deviates from std::mt19937 outputs by fixed formulas.
#include "RandomDeviates4HSA.h"

#include <cmath>
#include <cstddef>

namespace Kestrel::annealing {

double drawUniform53(std::mt19937& engine) {
    double const high = static_cast<double>(engine() >> 5);
    double const low = static_cast<double>(engine() >> 6);
    return (high * 67108864.0 + low) / 9007199254740992.0;
}

void fillStandardNormal(std::mt19937& engine, std::vector<double>& deviates) {
    for (std::size_t i = 0; i < deviates.size(); i += 2) {
        double v1 = 0.0;
        double v2 = 0.0;
        double s = 0.0;
        do {
            v1 = 2.0 * drawUniform53(engine) - 1.0;
            v2 = 2.0 * drawUniform53(engine) - 1.0;
            s = v1 * v1 + v2 * v2;
        } while (s >= 1.0 || s == 0.0);
        double const m = std::sqrt(-2.0 * std::log(s) / s);
        deviates[i] = v1 * m;
        if (i + 1 < deviates.size()) {
            deviates[i + 1] = v2 * m;
        }
    }
}

}  // namespace Kestrel::annealing
