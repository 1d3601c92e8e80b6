// Every selection walks the full-length weight array from its start: positions past the current number of
// remaining candidates keep the weights written for earlier selections, and the remaining list keeps its
// full length too, its tail holding what earlier swap-removals left there. Both matter only when the
// running sum of the current weights stays at or below the draw (rounding, or non-finite coordinates).
#include "KMeansPlusPlusSeeding.h"

#include <cstddef>
#include <numeric>
#include <random>

#include "UniformDraws.h"

namespace Kestrel {
namespace sampling {
namespace {

constexpr std::minstd_rand::result_type kSeedState = 35;  // fixed so every run chooses the same centres
constexpr std::size_t kParallelThreshold = 1024;          // fewer remaining candidates: serial update

double squaredDistance(Point const& a, Point const& b) {
    double const dx = a.first - b.first;
    double const dy = a.second - b.second;
    return dx * dx + dy * dy;
}

// d2[p] for each remaining p: distance to the newest centre, or the smaller of that and the nearest so far
// (strictly smaller replaces: the same sequence of comparisons as scanning all chosen centres in order).
void updateNearestDistances(std::vector<Point> const& candidates, std::vector<int> const& remaining,
                            std::size_t remainingCount, Point const& newest, bool first,
                            std::vector<double>& d2) {
    std::ptrdiff_t const count = static_cast<std::ptrdiff_t>(remainingCount);
#pragma omp parallel for schedule(static) if (remainingCount >= kParallelThreshold)
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::size_t const p = static_cast<std::size_t>(remaining[static_cast<std::size_t>(i)]);
        double const distance = squaredDistance(candidates[p], newest);
        if (first || distance < d2[p]) {
            d2[p] = distance;
        }
    }
}

}  // namespace

std::vector<Point> seedKMeansPlusPlus(std::vector<Point> const& candidates, int k) {
    std::size_t const m = candidates.size();
    std::vector<int> remaining(m);
    std::iota(remaining.begin(), remaining.end(), 0);
    std::size_t remainingCount = m;
    std::vector<double> weights(m, 1.0 / static_cast<double>(m));
    std::vector<double> d2(m, 0.0);
    std::minstd_rand engine(kSeedState);

    std::vector<Point> centres;
    std::size_t const wanted = k > 0 ? static_cast<std::size_t>(k) : 0;
    while (centres.size() < wanted && remainingCount > 0) {
        if (!centres.empty()) {
            updateNearestDistances(candidates, remaining, remainingCount, centres.back(), centres.size() == 1,
                                   d2);
            double sum = 0.0;
            for (std::size_t i = 0; i < remainingCount; ++i) {
                sum += d2[static_cast<std::size_t>(remaining[i])];
            }
            if (sum != 0.0) {
                for (std::size_t i = 0; i < remainingCount; ++i) {
                    weights[i] = d2[static_cast<std::size_t>(remaining[i])] / sum;
                }
            } else {
                for (std::size_t i = 0; i < remainingCount; ++i) {
                    weights[i] = 1.0 / static_cast<double>(remainingCount);
                }
            }
        }
        double const r = drawUnitFromMinimalStandard(engine);
        std::size_t position = m - 1;
        double running = 0.0;
        for (std::size_t i = 0; i < m; ++i) {
            running += weights[i];
            if (running > r) {
                position = i;
                break;
            }
        }
        centres.push_back(candidates[static_cast<std::size_t>(remaining[position])]);
        remaining[position] = remaining[remainingCount - 1];
        --remainingCount;
    }
    return centres;
}

}  // namespace sampling
}  // namespace Kestrel
