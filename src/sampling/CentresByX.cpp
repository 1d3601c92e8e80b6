#include "CentresByX.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <numeric>

namespace Kestrel {
namespace sampling {

void CentresByX::assign(std::vector<Point> const& centres) {
    centres_ = &centres;
    order_.resize(centres.size());
    std::iota(order_.begin(), order_.end(), 0);
    std::sort(order_.begin(), order_.end(), [&](int a, int b) {
        double const xa = centres[static_cast<std::size_t>(a)].first;
        double const xb = centres[static_cast<std::size_t>(b)].first;
        return xa < xb || (xa == xb && a < b);
    });
    x_.resize(centres.size());
    for (std::size_t i = 0; i < order_.size(); ++i) {
        x_[i] = centres[static_cast<std::size_t>(order_[i])].first;
    }
}

void CentresByX::nearestTwo(Point const& point, int& best, double& bestDistance,
                            double& secondDistance) const {
    std::vector<Point> const& centres = *centres_;
    best = -1;
    bestDistance = std::numeric_limits<double>::infinity();
    secondDistance = std::numeric_limits<double>::infinity();
    // Looks at the centre at position i of the x order; false once it and all beyond it are too far.
    auto consider = [&](std::size_t i) {
        int const c = order_[i];
        Point const& centre = centres[static_cast<std::size_t>(c)];
        double const dx = point.first - centre.first;
        double const dxSquared = dx * dx;
        if (dxSquared > secondDistance) {
            return false;
        }
        double const dy = point.second - centre.second;
        double const distance = dxSquared + dy * dy;
        if (distance < bestDistance || (distance == bestDistance && c < best)) {
            secondDistance = bestDistance;
            bestDistance = distance;
            best = c;
        } else if (distance < secondDistance) {
            secondDistance = distance;
        }
        return true;
    };
    std::size_t const start =
        static_cast<std::size_t>(std::lower_bound(x_.begin(), x_.end(), point.first) - x_.begin());
    for (std::size_t i = start; i < order_.size() && consider(i); ++i) {
    }
    for (std::size_t i = start; i > 0 && consider(i - 1); --i) {
    }
}

}  // namespace sampling
}  // namespace Kestrel
