// k-means++ seeding of the domain sampler: chooses up to k centres among the candidates with the
// minimal-standard engine (state 35), each centre drawn with probability proportional to the squared
// distance to the nearest centre chosen before.
#pragma once

#include <Kestrel/PopulationSampling.h>

#include <vector>

namespace Kestrel {
namespace sampling {

using Point = DomainSampler2D::Point;

// The chosen centres in the order of choice (fewer than k when there are fewer than k candidates).
// The distance update runs as an OpenMP loop while at least 1024 candidates remain;
// the result does not depend on the number of threads.
std::vector<Point> seedKMeansPlusPlus(std::vector<Point> const& candidates, int k);

}  // namespace sampling
}  // namespace Kestrel
