// Why the bounds are exact: with every coordinate of magnitude at most R (1e-100 <= R <= 1e100), a computed
// squared distance dx*dx + dy*dy differs from the true one by less than 5 units of rounding (relative) plus
// a subnormal amount, and every true distance is below 3R. If the true distance to another centre exceeds
// the one to the assigned centre by more than 1e-12 * R, the computed squared distances are therefore
// strictly ordered the same way. The bounds carry a slack of 1e-12 * R on every update, which covers the
// rounding of the bound arithmetic itself, and a candidate keeps its centre only when the bounds separate
// the two distances by that slack. Everything else is decided by the full comparison of computed squared
// distances (searched over the centres sorted by x, which gives exactly the result of comparing all
// centres in order).
#include "LloydIterations.h"

#include "AdaptiveTeam.h"
#include "CentresByX.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace Kestrel {
namespace sampling {
namespace {

constexpr double kSlackPerScale = 1e-12;                 // bound slack relative to the coordinate magnitude
constexpr double kSmallestSafeScale = 1e-100;            // below: squared distances may lose all precision
constexpr double kLargestSafeScale = 1e100;              // above: squared distances may overflow
constexpr std::ptrdiff_t kParallelThreshold = 8192;      // fewer candidates: a serial loop is as fast
constexpr std::ptrdiff_t kLeastCentresForThreads = 512;  // fewer: the centre gaps are quick serially
constexpr double kInfinity = std::numeric_limits<double>::infinity();

double squaredDistance(Point const& a, Point const& b) {
    double const dx = a.first - b.first;
    double const dy = a.second - b.second;
    return dx * dx + dy * dy;
}

// The coordinate magnitude R of the candidates, or 0 when the bounds cannot be trusted for them.
double safeScale(std::vector<Point> const& candidates) {
    double scale = 0.0;
    for (Point const& p : candidates) {
        if (!std::isfinite(p.first) || !std::isfinite(p.second)) {
            return 0.0;
        }
        scale = std::max({scale, std::fabs(p.first), std::fabs(p.second)});
    }
    return scale >= kSmallestSafeScale && scale <= kLargestSafeScale ? scale : 0.0;
}

class BoundedAssignment {
  public:
    BoundedAssignment(std::vector<Point> const& candidates, std::size_t centreCount)
        : candidates_(candidates),
          centreOf_(candidates.size(), 0),
          upper_(candidates.size(), 0.0),
          lower_(candidates.size(), 0.0),
          halfGap_(centreCount, 0.0),
          drift_(centreCount, 0.0),
          candidateTeam_(
              common::threadsFor(static_cast<std::ptrdiff_t>(candidates.size()) >= kParallelThreshold)),
          centreTeam_(
              common::threadsFor(static_cast<std::ptrdiff_t>(centreCount) >= kLeastCentresForThreads)) {
        double const scale = safeScale(candidates);
        useBounds_ = scale > 0.0;
        slack_ = kSlackPerScale * scale;
    }

    std::vector<int> const& centreOf() const { return centreOf_; }

    // Assigns every candidate by comparing all distances.
    void assignAll(std::vector<Point> const& centres) {
        if (useBounds_) {
            byX_.assign(centres);
        }
        std::ptrdiff_t const count = static_cast<std::ptrdiff_t>(candidates_.size());
        candidateTeam_.forEachIndex(
            count, [&](std::ptrdiff_t i, int) { scanAll(static_cast<std::size_t>(i), centres); });
        candidateTeam_.endRound();
    }

    // Assigns every candidate after the centres moved from `before` to `centres`.
    void reassign(std::vector<Point> const& before, std::vector<Point> const& centres) {
        if (!useBounds_) {
            assignAll(centres);
            return;
        }
        prepareMoves(before, centres);
        std::ptrdiff_t const count = static_cast<std::ptrdiff_t>(candidates_.size());
        candidateTeam_.forEachIndex(
            count, [&](std::ptrdiff_t i, int) { reassignOne(static_cast<std::size_t>(i), centres); });
        candidateTeam_.endRound();
    }

  private:
    // Nearest centre by computed squared distance (strictly smaller replaces, so ties stay with the
    // earlier centre); the bounds become the distances to the nearest and the second nearest.
    void scanAll(std::size_t p, std::vector<Point> const& centres) {
        Point const& point = candidates_[p];
        if (useBounds_) {
            int best = 0;
            double bestDistance = 0.0;
            double secondDistance = 0.0;
            byX_.nearestTwo(point, best, bestDistance, secondDistance);
            centreOf_[p] = best;
            upper_[p] = std::sqrt(bestDistance) + slack_;
            lower_[p] = std::sqrt(secondDistance) - slack_;
            return;
        }
        int best = 0;
        double bestDistance = squaredDistance(point, centres[0]);
        double secondDistance = kInfinity;
        for (std::size_t c = 1; c < centres.size(); ++c) {
            double const distance = squaredDistance(point, centres[c]);
            if (distance < bestDistance) {
                secondDistance = bestDistance;
                bestDistance = distance;
                best = static_cast<int>(c);
            } else if (distance < secondDistance) {
                secondDistance = distance;
            }
        }
        centreOf_[p] = best;
    }

    void reassignOne(std::size_t p, std::vector<Point> const& centres) {
        std::size_t const c = static_cast<std::size_t>(centreOf_[p]);
        double const otherDrift = c == fastestCentre_ ? secondFastestDrift_ : fastestDrift_;
        upper_[p] = upper_[p] + drift_[c] + slack_;
        lower_[p] = std::max(0.0, lower_[p] - otherDrift - slack_);
        double const separation = std::max(lower_[p], halfGap_[c]);
        if (upper_[p] + slack_ < separation) {
            return;
        }
        upper_[p] = std::sqrt(squaredDistance(candidates_[p], centres[c])) + slack_;
        if (upper_[p] + slack_ < separation) {
            return;
        }
        scanAll(p, centres);
    }

    // Centre drifts, the two largest, and half the distance from each centre to its nearest other centre.
    void prepareMoves(std::vector<Point> const& before, std::vector<Point> const& centres) {
        std::size_t const k = centres.size();
        fastestDrift_ = 0.0;
        secondFastestDrift_ = 0.0;
        fastestCentre_ = 0;
        for (std::size_t c = 0; c < k; ++c) {
            drift_[c] = std::sqrt(squaredDistance(before[c], centres[c]));
            if (drift_[c] > fastestDrift_) {
                secondFastestDrift_ = fastestDrift_;
                fastestDrift_ = drift_[c];
                fastestCentre_ = c;
            } else if (drift_[c] > secondFastestDrift_) {
                secondFastestDrift_ = drift_[c];
            }
        }
        byX_.assign(centres);
        std::ptrdiff_t const centreCount = static_cast<std::ptrdiff_t>(k);
        // The centre itself (or a coinciding one) is the nearest; the second is its nearest other.
        centreTeam_.forEachIndex(centreCount, [&](std::ptrdiff_t c, int) {
            int nearest = 0;
            double itself = 0.0;
            double nearestOther = 0.0;
            byX_.nearestTwo(centres[static_cast<std::size_t>(c)], nearest, itself, nearestOther);
            halfGap_[static_cast<std::size_t>(c)] = 0.5 * std::sqrt(nearestOther) - slack_;
        });
        centreTeam_.endRound();
    }

    std::vector<Point> const& candidates_;
    CentresByX byX_;  // the current centres by x, used when the coordinates are in the safe range
    std::vector<int> centreOf_;
    std::vector<double> upper_;    // at least the distance to the assigned centre
    std::vector<double> lower_;    // at most the distance to every other centre
    std::vector<double> halfGap_;  // at most half the distance from the centre to every other centre
    std::vector<double> drift_;    // how far each centre moved in the last update
    double fastestDrift_ = 0.0;
    double secondFastestDrift_ = 0.0;
    std::size_t fastestCentre_ = 0;
    common::AdaptiveTeam candidateTeam_;  // for the passes over all candidates, one or two per iteration
    common::AdaptiveTeam centreTeam_;     // for the centre gaps, once per iteration
    double slack_ = 0.0;
    bool useBounds_ = false;
};

// Moves each centre with members to the member nearest to the members' mean. Sums run over members in
// ascending candidate order; the first nearest member wins ties.
void moveCentresToMembers(std::vector<Point> const& candidates, std::vector<int> const& centreOf,
                          std::vector<Point>& centres) {
    std::size_t const k = centres.size();
    std::vector<double> sumX(k, 0.0);
    std::vector<double> sumY(k, 0.0);
    std::vector<std::size_t> count(k, 0);
    for (std::size_t p = 0; p < candidates.size(); ++p) {
        std::size_t const c = static_cast<std::size_t>(centreOf[p]);
        sumX[c] += candidates[p].first;
        sumY[c] += candidates[p].second;
        ++count[c];
    }
    std::vector<Point> means(k);
    for (std::size_t c = 0; c < k; ++c) {
        if (count[c] > 0) {
            means[c] = {sumX[c] / static_cast<double>(count[c]), sumY[c] / static_cast<double>(count[c])};
        }
    }
    std::vector<std::ptrdiff_t> nearest(k, -1);
    std::vector<double> nearestDistance(k, 0.0);
    for (std::size_t p = 0; p < candidates.size(); ++p) {
        std::size_t const c = static_cast<std::size_t>(centreOf[p]);
        double const distance = squaredDistance(candidates[p], means[c]);
        if (nearest[c] < 0 || distance < nearestDistance[c]) {
            nearest[c] = static_cast<std::ptrdiff_t>(p);
            nearestDistance[c] = distance;
        }
    }
    for (std::size_t c = 0; c < k; ++c) {
        if (nearest[c] >= 0) {
            centres[c] = candidates[static_cast<std::size_t>(nearest[c])];
        }
    }
}

}  // namespace

void runLloydIterations(std::vector<Point> const& candidates, std::vector<Point>& centres, int limit) {
    if (centres.empty()) {
        return;
    }
    BoundedAssignment assignment(candidates, centres.size());
    assignment.assignAll(centres);
    for (int iteration = 0;;) {
        std::vector<Point> const before = centres;
        moveCentresToMembers(candidates, assignment.centreOf(), centres);
        ++iteration;
        if (iteration >= limit || centres == before) {
            return;
        }
        assignment.reassign(before, centres);
    }
}

}  // namespace sampling
}  // namespace Kestrel
