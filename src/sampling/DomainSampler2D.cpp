#include <Kestrel/PopulationSampling.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

#include "KMeansPlusPlusSeeding.h"
#include "LloydIterations.h"

namespace Kestrel {

namespace {

constexpr int kCandidatesPerSample = 100;  // candidates asked of the domain per requested sample
constexpr int kLeastIterationLimit = 100;  // the iteration limit is max(n, this)

std::string coordinateText(double value) {
    std::ostringstream text;
    text.precision(17);
    text << value;
    return text.str();
}

// Distances to a NaN or infinite candidate compare false or overflow: the seeding and the clustering would
// pick arbitrary points.
void checkCandidates(std::vector<DomainSampler2D::Point> const& candidates) {
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        if (!std::isfinite(candidates[i].first) || !std::isfinite(candidates[i].second)) {
            throw std::invalid_argument("DomainSampler2D: candidate " + std::to_string(i) + " = (" +
                                        coordinateText(candidates[i].first) + ", " +
                                        coordinateText(candidates[i].second) +
                                        ") from generateCandidates is not finite");
        }
    }
}

}  // namespace

DomainSampler2D::~DomainSampler2D() = default;

void DomainSampler2D::calculateSamples(int n, std::vector<Point>& out) {
    if (n <= 0) {
        out.clear();
        return;
    }
    if (n > INT_MAX / kCandidatesPerSample) {
        throw std::length_error("DomainSampler2D: 100 * n candidates exceed the int range");
    }
    std::vector<Point> candidates;
    generateCandidates(kCandidatesPerSample * n, candidates);
    checkCandidates(candidates);
    std::vector<Point> centres = sampling::seedKMeansPlusPlus(candidates, n);
    sampling::runLloydIterations(candidates, centres, std::max(n, kLeastIterationLimit));
    out = std::move(centres);
}

}  // namespace Kestrel
