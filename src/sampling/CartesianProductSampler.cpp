// Latin-hypercube population over discrete factors.
//
// The candidate chosen for point i and entry k of the order is the one at position j of that entry's list
// of unused candidates (kept ascending), with j from the (i * K + k)-th output of the seeded engine. So the
// draws depend on nothing but i and r = N - i: they are made first, in their fixed order; then each entry's
// positions are decoded in O(N log N) (instead of erasing from the middle of a list, O(N^2)) into the
// point that takes each candidate, the entries in parallel; then the points are assembled in parallel.
// Every step writes only its own slots, so the result does not depend on the thread count.
#include <Kestrel/PopulationSampling.h>

#include <boost/random/mersenne_twister.hpp>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>

#include "ParallelFor.h"
#include "PopulationAssembly.h"
#include "PositionDecoding.h"
#include "UniformDraws.h"

namespace Kestrel {

class CartesianProductSampler::Private {
  public:
    Private(std::vector<std::shared_ptr<Candidates>> const& factors, std::vector<int> const& order);

    std::shared_ptr<Population> population;
};

namespace {

constexpr std::uint32_t kSeed = 377;  // fixed so every construction draws the same stream

using Candidates = CartesianProductSampler::Candidates;

Candidates const& namedFactor(std::vector<std::shared_ptr<Candidates>> const& factors, int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= factors.size()) {
        throw std::out_of_range("invalid vector subscript");
    }
    if (!factors[static_cast<std::size_t>(index)]) {
        throw std::invalid_argument("CartesianProductSampler: factor " + std::to_string(index) + " is null");
    }
    return *factors[static_cast<std::size_t>(index)];
}

// positions[k][i]: the list position drawn for point i and order entry k, in the engine's draw order.
// Boost's Mersenne Twister gives the same outputs as std::mt19937 for the same seed.
std::vector<std::vector<std::uint32_t>> drawPositions(std::size_t pointCount, std::size_t entryCount) {
    std::vector<std::vector<std::uint32_t>> positions(entryCount, std::vector<std::uint32_t>(pointCount));
    boost::random::mt19937 engine(kSeed);
    for (std::size_t i = 0; i < pointCount; ++i) {
        std::size_t const r = pointCount - i;
        double const reciprocal = 1.0 / static_cast<double>(r);
        for (std::size_t k = 0; k < entryCount; ++k) {
            positions[k][i] = static_cast<std::uint32_t>(
                sampling::positionFromDraw(sampling::drawUnitFromMersenneTwister(engine), r, reciprocal));
        }
    }
    return positions;
}

// takenAt[k][c]: the point that takes candidate c in order entry k; the entries decoded in parallel.
std::vector<std::vector<std::uint32_t>> decodePositions(
    std::vector<std::vector<std::uint32_t>> const& positions, std::size_t pointCount) {
    std::ptrdiff_t const entryCount = static_cast<std::ptrdiff_t>(positions.size());
    std::vector<std::vector<std::uint32_t>> takenAt(positions.size());
    common::forEachIndex(common::threadsFor(pointCount >= sampling::kLeastPointsForThreads), entryCount,
                         [&](std::ptrdiff_t k, int) {
                             std::size_t const entry = static_cast<std::size_t>(k);
                             takenAt[entry] = sampling::stepsTakingOut(positions[entry]);
                         });
    return takenAt;
}

}  // namespace

CartesianProductSampler::Private::Private(std::vector<std::shared_ptr<Candidates>> const& factors,
                                          std::vector<int> const& order) {
    if (order.empty()) {
        // The population size would be -1 taken as an unsigned count.
        throw std::length_error("deque<T> too long");
    }
    std::size_t const pointCount = namedFactor(factors, order.front()).size();
    std::vector<Candidates const*> named;
    std::size_t pointLength = 0;
    for (int const index : order) {
        Candidates const& factor = namedFactor(factors, index);
        if (factor.size() < pointCount) {
            throw std::out_of_range("invalid vector subscript");
        }
        named.push_back(&factor);
        pointLength += factor.empty() ? 0 : factor.front().size();
    }
    if (pointLength > std::vector<double>().max_size()) {
        throw std::length_error("vector too long");
    }

    if (pointCount > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        throw std::bad_alloc();  // two billion points of coordinate arrays cannot be held anyway
    }
    std::vector<std::vector<std::uint32_t>> const takenAt =
        decodePositions(drawPositions(pointCount, order.size()), pointCount);

    population = std::make_shared<Population>(pointCount);
    sampling::assemblePoints(named, takenAt, pointLength, *population);
}

CartesianProductSampler::CartesianProductSampler(std::vector<std::shared_ptr<Candidates>> const& factors,
                                                 std::vector<int> const& order)
    : d_(std::make_shared<Private>(factors, order)) {}

CartesianProductSampler::CartesianProductSampler(CartesianProductSampler const& other) = default;
CartesianProductSampler::CartesianProductSampler(CartesianProductSampler&& other) noexcept = default;
CartesianProductSampler& CartesianProductSampler::operator=(CartesianProductSampler const& other) = default;
CartesianProductSampler& CartesianProductSampler::operator=(CartesianProductSampler&& other) noexcept =
    default;
CartesianProductSampler::~CartesianProductSampler() = default;

std::shared_ptr<CartesianProductSampler::Population const> CartesianProductSampler::getPopulation() const {
    return d_ ? d_->population : nullptr;
}

}  // namespace Kestrel
