// Builds the points of a Latin-hypercube population from the point that takes each candidate of every
// order entry: candidate c of the factor of entry k goes into point takenAt[k][c], and point i is the
// concatenation of the candidates it takes, in the sequence of the entries.
#pragma once

#include <Kestrel/PopulationSampling.h>

#include <cstdint>
#include <vector>

namespace Kestrel {
namespace sampling {

using Candidates = CartesianProductSampler::Candidates;
using Population = CartesianProductSampler::Population;

// Smaller populations are built on the calling thread alone: waking threads would cost more than it saves.
constexpr std::size_t kLeastPointsForThreads = 20000;

// Fills `points` (already sized to the number of points) in parallel; each point reserves `pointLength`
// coordinates first. Throws std::bad_alloc when memory runs out (the first failing point's exception).
void assemblePoints(std::vector<Candidates const*> const& named,
                    std::vector<std::vector<std::uint32_t>> const& takenAt, std::size_t pointLength,
                    Population& points);

}  // namespace sampling
}  // namespace Kestrel
