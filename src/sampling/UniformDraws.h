// The two uniform draws of the samplers, each made from exactly one engine output so that the stream of
// engine outputs, and with it every result, is fixed by the seed.
#pragma once

#include <cstddef>
#include <random>

namespace Kestrel {
namespace sampling {

// A draw on [0, 1) from one 32-bit Mersenne Twister output: u = x * 2^-32 * (1 - 0) + 0. The product is
// exact and always below 1, so no output is ever discarded. `Engine` is std::mt19937 or an engine giving
// the same stream (boost::random::mt19937, whose outputs cost about a third as much here).
template <typename Engine>
double drawUnitFromMersenneTwister(Engine& engine) {
    double const u = static_cast<double>(engine()) * 0x1p-32 * (1.0 - 0.0) + 0.0;
    return u;
}

// A draw on [0, 1) from the minimal-standard engine: each output is the new state x (x * 48271 mod
// 2^31 - 1); u = (x - 1) / 2147483646 * (1 - 0) + 0, drawn again while it is not below 1.
inline double drawUnitFromMinimalStandard(std::minstd_rand& engine) {
    for (;;) {
        double const u = static_cast<double>(engine() - 1) / 2147483646.0 * (1.0 - 0.0) + 0.0;
        if (u < 1.0) {
            return u;
        }
    }
}

// The position j in a list of r entries picked by the draw u in [0, 1): floor(u / (1 / r)), computed as a
// division by the reciprocal, then clamped to r - 1. `reciprocal` is 1.0 / r (computed once for all the
// draws made for one r).
// As u / (1 / r) is never negative, the conversion to an integer (which truncates) is that floor.
inline std::size_t positionFromDraw(double u, std::size_t r, double reciprocal) {
    double const quotient = u / reciprocal;
    if (quotient >= static_cast<double>(r)) {
        return r - 1;
    }
    return static_cast<std::size_t>(quotient);
}

}  // namespace sampling
}  // namespace Kestrel
