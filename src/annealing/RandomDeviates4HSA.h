// Platform-independent random deviates for the ready annealing classes. std::mt19937's output sequence
// is fixed by the C++ standard; the distributions of the standard library are not, so uniforms and
// normals are made here from the engine outputs by one documented method.
#pragma once

#include <random>
#include <vector>

namespace Kestrel::annealing {

// u in [0, 1) with 53 random bits: (a >> 5) * 2^26 + (b >> 6), divided by 2^53, from two outputs a, b.
double drawUniform53(std::mt19937& engine);

// Fills `deviates` with standard normal deviates by the polar method, two per accepted pair of uniforms:
// v1 = 2 u1 - 1, v2 = 2 u2 - 1, s = v1 * v1 + v2 * v2, repeated until 0 < s < 1; then
// m = sqrt(-2 log(s) / s) gives v1 * m and v2 * m in this order. For an odd count the last spare deviate
// is dropped.
void fillStandardNormal(std::mt19937& engine, std::vector<double>& deviates);

}  // namespace Kestrel::annealing
