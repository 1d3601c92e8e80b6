// The centres of a Lloyd iteration sorted by x, for exact nearest-centre searches that look only at the
// centres whose x is close enough: a centre is passed over only when the square of its x difference
// alone already exceeds the second smallest squared distance found, and a computed squared distance
// dx*dx + dy*dy is never below the computed dx*dx, so the result equals that of comparing all centres.
#pragma once

#include "KMeansPlusPlusSeeding.h"

#include <vector>

namespace Kestrel {
namespace sampling {

class CentresByX {
  public:
    // Sorts the centres (kept by reference until the next call). Requires finite coordinates.
    void assign(std::vector<Point> const& centres);

    // The nearest centre by computed squared distance (ties to the lower index) with its squared
    // distance, and the second smallest squared distance over the other centres (+infinity with one
    // centre). Requires at least one centre and a point with finite coordinates.
    void nearestTwo(Point const& point, int& best, double& bestDistance, double& secondDistance) const;

  private:
    std::vector<Point> const* centres_ = nullptr;
    std::vector<int> order_;  // centre indices by ascending x, then index
    std::vector<double> x_;   // their x coordinates
};

}  // namespace sampling
}  // namespace Kestrel
