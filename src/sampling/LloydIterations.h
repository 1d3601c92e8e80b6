// Lloyd iterations of the domain sampler with centres that snap to candidates: assign every candidate to
// its nearest centre (squared distance, ties to the earlier centre), move each centre to the member nearest
// to its members' mean (ties to the first member in candidate order; a centre without members stays),
// until no centre moves or the iteration limit is reached.
//
// Distance bounds (an upper bound to the assigned centre, a lower bound to every other one, and half the
// distance from each centre to its nearest other centre) let a candidate keep its centre without computing
// distances, but only when the bounds separate the two by a margin far above every rounding error, so the
// assignment is always exactly the one the full comparison of squared distances gives. Candidates whose
// coordinates are not finite or lie outside 1e-100 ... 1e100 in magnitude make every iteration compare
// all distances in centre order. The assignment runs as an OpenMP loop over candidates;
// each iteration writes only its own candidate's entries, so the result does not depend on the number of
// threads.
#pragma once

#include "KMeansPlusPlusSeeding.h"

namespace Kestrel {
namespace sampling {

// Runs the iterations on `centres` in place. Requires: limit >= 1.
void runLloydIterations(std::vector<Point> const& candidates, std::vector<Point>& centres, int limit);

}  // namespace sampling
}  // namespace Kestrel
