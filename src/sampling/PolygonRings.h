// Validation of the rings of a polygon with holes: cleans each ring (drops a closing vertex that repeats
// the first) and rejects what cannot bound an area: fewer than three vertices, non-finite coordinates,
// coinciding consecutive vertices, zero area, edges that touch or cross anywhere (within a ring or
// between rings, other than consecutive edges meeting at their shared vertex), holes outside the outer
// ring or inside another hole.
#pragma once

#include <Kestrel/PopulationSampling.h>

#include <vector>

namespace Kestrel {
namespace sampling {

using Point = PolygonSampler2D::Point;
using Ring = PolygonSampler2D::Ring;

// Ring 0 is the outer ring, rings 1 ... are the holes. Throws std::invalid_argument naming the ring
// ("outer ring", "hole 0", ...) and the edge or vertex at fault.
std::vector<Ring> validatedRings(Ring outer, std::vector<Ring> holes);

// Twice the signed area (positive for counter-clockwise vertices), summed by the shoelace formula.
double twiceSignedArea(Ring const& ring);

// Even-odd test of `point` against the edges of `ring`.
bool insideRing(Ring const& ring, Point const& point);

}  // namespace sampling
}  // namespace Kestrel
