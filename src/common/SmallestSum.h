// The smallest of the pairwise sums a[i] + b[i], the inner loop of the exact dynamic programmes.
#pragma once

#include <algorithm>
#include <limits>

namespace Kestrel {
namespace common {

// min over i = 0 ... count - 1 of a[i] + b[i]; +infinity for count <= 0. Each sum is rounded on its own
// and the smallest is the same whatever order the sums are compared in (the operands must not be NaN), so
// four independent running minima give exactly the result of a plain loop, without its chain of
// dependent comparisons.
inline double smallestSum(double const* a, double const* b, int count) {
    double constexpr infinity = std::numeric_limits<double>::infinity();
    double m0 = infinity;
    double m1 = infinity;
    double m2 = infinity;
    double m3 = infinity;
    int i = 0;
    for (; i + 4 <= count; i += 4) {
        m0 = std::min(m0, a[i] + b[i]);
        m1 = std::min(m1, a[i + 1] + b[i + 1]);
        m2 = std::min(m2, a[i + 2] + b[i + 2]);
        m3 = std::min(m3, a[i + 3] + b[i + 3]);
    }
    for (; i < count; ++i) {
        m0 = std::min(m0, a[i] + b[i]);
    }
    return std::min(std::min(m0, m1), std::min(m2, m3));
}

}  // namespace common
}  // namespace Kestrel
