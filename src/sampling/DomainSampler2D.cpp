#include <Kestrel/PopulationSampling.h>

#include <algorithm>
#include <climits>
#include <stdexcept>
#include <utility>

#include "KMeansPlusPlusSeeding.h"
#include "LloydIterations.h"

namespace Kestrel {

namespace {

constexpr int kCandidatesPerSample = 100;  // candidates asked of the domain per requested sample
constexpr int kLeastIterationLimit = 100;  // the iteration limit is max(n, this)

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
    std::vector<Point> centres = sampling::seedKMeansPlusPlus(candidates, n);
    sampling::runLloydIterations(candidates, centres, std::max(n, kLeastIterationLimit));
    out = std::move(centres);
}

}  // namespace Kestrel
