// Every selection walks the full-length weight array from its start: positions past the current number of
// remaining candidates keep the weights written for earlier selections, and the remaining list keeps its
// full length too, its tail holding what earlier swap-removals left there. Both matter only when the
// running sum of the current weights stays at or below the draw (rounding, or non-finite coordinates).
//
// The remaining candidates' coordinates and nearest distances are kept in remaining-list order, so the
// distance update and the sum stream through memory. A current weight d2 / S is computed where the walk
// reaches it; only the weight at the last current position must be stored, because that position leaves
// the current range after this selection and keeps the weight written now.
#include "KMeansPlusPlusSeeding.h"

#include <cstddef>
#include <numeric>
#include <random>

#include "AdaptiveTeam.h"
#include "UniformDraws.h"

namespace Kestrel {
namespace sampling {
namespace {

constexpr std::minstd_rand::result_type kSeedState = 35;  // fixed so every run chooses the same centres
constexpr std::size_t kParallelThreshold = 1024;          // fewer remaining candidates: serial update

// The remaining candidates in remaining-list order: coordinates and squared distance to the nearest centre.
struct RemainingCandidates {
    std::vector<double> x;
    std::vector<double> y;
    std::vector<double> nearest;
};

// Each remaining candidate meets the newest centre, which replaces its nearest distance only when strictly
// closer (the first centre sets it): the same comparisons as scanning all chosen centres in order.
void updateNearestDistances(RemainingCandidates& remaining, std::size_t count, Point const& newest,
                            bool first, common::AdaptiveTeam& team) {
    std::ptrdiff_t const n = static_cast<std::ptrdiff_t>(count);
    double const* x = remaining.x.data();
    double const* y = remaining.y.data();
    double* nearest = remaining.nearest.data();
    auto const update = [&](std::ptrdiff_t begin, std::ptrdiff_t end, int) {
        for (std::ptrdiff_t i = begin; i < end; ++i) {
            double const dx = x[i] - newest.first;
            double const dy = y[i] - newest.second;
            double const distance = dx * dx + dy * dy;
            if (first || distance < nearest[i]) {
                nearest[i] = distance;
            }
        }
    };
    if (count >= kParallelThreshold) {
        team.forEachBlock(n, update);
        team.endRound();
    } else {
        common::forEachBlock(1, n, update);
    }
}

}  // namespace

std::vector<Point> seedKMeansPlusPlus(std::vector<Point> const& candidates, int k) {
    std::size_t const m = candidates.size();
    std::vector<int> remaining(m);
    std::iota(remaining.begin(), remaining.end(), 0);
    RemainingCandidates live{std::vector<double>(m), std::vector<double>(m), std::vector<double>(m, 0.0)};
    for (std::size_t i = 0; i < m; ++i) {
        live.x[i] = candidates[i].first;
        live.y[i] = candidates[i].second;
    }
    std::size_t count = m;
    double const initialWeight = 1.0 / static_cast<double>(m);
    std::vector<double> earlierWeights(m, initialWeight);  // read only past the current range
    std::minstd_rand engine(kSeedState);

    std::vector<Point> centres;
    common::AdaptiveTeam team(common::threadsForLoop());  // one distance update per centre, rounds alike
    std::size_t const wanted = k > 0 ? static_cast<std::size_t>(k) : 0;
    while (centres.size() < wanted && count > 0) {
        double sum = 0.0;
        if (!centres.empty()) {
            updateNearestDistances(live, count, centres.back(), centres.size() == 1, team);
            for (std::size_t i = 0; i < count; ++i) {
                sum += live.nearest[i];
            }
        }
        double const equalWeight = 1.0 / static_cast<double>(count);
        auto weightAt = [&](std::size_t i) {
            if (centres.empty()) {
                return initialWeight;
            }
            return sum != 0.0 ? live.nearest[i] / sum : equalWeight;
        };
        double const r = drawUnitFromMinimalStandard(engine);
        std::size_t position = m - 1;
        double running = 0.0;
        bool found = false;
        for (std::size_t i = 0; i < count && !found; ++i) {
            running += weightAt(i);
            if (running > r) {
                position = i;
                found = true;
            }
        }
        for (std::size_t i = count; i < m && !found; ++i) {
            running += earlierWeights[i];
            if (running > r) {
                position = i;
                found = true;
            }
        }
        earlierWeights[count - 1] = weightAt(count - 1);
        centres.push_back(candidates[static_cast<std::size_t>(remaining[position])]);
        remaining[position] = remaining[count - 1];
        if (position < count) {
            live.x[position] = live.x[count - 1];
            live.y[position] = live.y[count - 1];
            live.nearest[position] = live.nearest[count - 1];
        }
        --count;
    }
    return centres;
}

}  // namespace sampling
}  // namespace Kestrel
