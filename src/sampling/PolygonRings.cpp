#include "PolygonRings.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

namespace Kestrel {
namespace sampling {
namespace {

struct Edge {
    Point from;
    Point to;
    std::size_t ring;
    std::size_t index;  // edge i runs from vertex i to vertex i + 1 (cyclically)
    double minX;
    double maxX;
};

std::string ringName(std::size_t ring) {
    return ring == 0 ? "outer ring" : "hole " + std::to_string(ring - 1);
}

[[noreturn]] void reject(std::string const& what) {
    throw std::invalid_argument("PolygonSampler2D: " + what);
}

double orientation(Point const& a, Point const& b, Point const& c) {
    return (b.first - a.first) * (c.second - a.second) - (b.second - a.second) * (c.first - a.first);
}

int sign(double value) {
    return (value > 0.0) - (value < 0.0);
}

// c lies within the bounding box of segment ab (used once a, b, c are known to be collinear).
bool withinBox(Point const& a, Point const& b, Point const& c) {
    return std::min(a.first, b.first) <= c.first && c.first <= std::max(a.first, b.first) &&
           std::min(a.second, b.second) <= c.second && c.second <= std::max(a.second, b.second);
}

// Closed segments ab and cd share at least one point.
bool segmentsMeet(Point const& a, Point const& b, Point const& c, Point const& d) {
    int const o1 = sign(orientation(a, b, c));
    int const o2 = sign(orientation(a, b, d));
    int const o3 = sign(orientation(c, d, a));
    int const o4 = sign(orientation(c, d, b));
    if (o1 != o2 && o3 != o4) {
        return true;
    }
    return (o1 == 0 && withinBox(a, b, c)) || (o2 == 0 && withinBox(a, b, d)) ||
           (o3 == 0 && withinBox(c, d, a)) || (o4 == 0 && withinBox(c, d, b));
}

Ring cleaned(Ring ring, std::size_t index) {
    if (ring.size() > 1 && ring.front() == ring.back()) {
        ring.pop_back();
    }
    if (ring.size() < 3) {
        reject(ringName(index) + " has fewer than three vertices");
    }
    for (std::size_t i = 0; i < ring.size(); ++i) {
        if (!std::isfinite(ring[i].first) || !std::isfinite(ring[i].second)) {
            reject(ringName(index) + " vertex " + std::to_string(i) + " has a non-finite coordinate");
        }
        std::size_t const next = (i + 1) % ring.size();
        if (ring[i] == ring[next]) {
            reject(ringName(index) + " vertices " + std::to_string(i) + " and " + std::to_string(next) +
                   " coincide");
        }
    }
    return ring;
}

// Consecutive edges of one ring share a vertex and are not compared. One that turns straight back over
// its predecessor still ends on an edge that is not its neighbour (or leaves a ring of zero area), so it
// is caught all the same.
bool consecutive(Edge const& first, Edge const& second, std::size_t ringSize) {
    return first.ring == second.ring &&
           ((first.index + 1) % ringSize == second.index || (second.index + 1) % ringSize == first.index);
}

void rejectCrossingEdges(std::vector<Ring> const& rings) {
    std::vector<Edge> edges;
    for (std::size_t r = 0; r < rings.size(); ++r) {
        Ring const& ring = rings[r];
        for (std::size_t i = 0; i < ring.size(); ++i) {
            Point const& from = ring[i];
            Point const& to = ring[(i + 1) % ring.size()];
            edges.push_back({from, to, r, i, std::min(from.first, to.first), std::max(from.first, to.first)});
        }
    }
    std::sort(edges.begin(), edges.end(), [](Edge const& a, Edge const& b) { return a.minX < b.minX; });
    for (std::size_t i = 0; i < edges.size(); ++i) {
        for (std::size_t j = i + 1; j < edges.size() && edges[j].minX <= edges[i].maxX; ++j) {
            Edge const& a = edges[i];
            Edge const& b = edges[j];
            if (!consecutive(a, b, rings[a.ring].size()) && segmentsMeet(a.from, a.to, b.from, b.to)) {
                Edge const& first = a.ring < b.ring || (a.ring == b.ring && a.index < b.index) ? a : b;
                Edge const& second = &first == &a ? b : a;
                reject(ringName(first.ring) + " edge " + std::to_string(first.index) + " and " +
                       ringName(second.ring) + " edge " + std::to_string(second.index) + " touch or cross");
            }
        }
    }
}

}  // namespace

double twiceSignedArea(Ring const& ring) {
    double sum = 0.0;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        Point const& a = ring[i];
        Point const& b = ring[(i + 1) % ring.size()];
        sum += a.first * b.second - b.first * a.second;
    }
    return sum;
}

bool insideRing(Ring const& ring, Point const& point) {
    bool inside = false;
    for (std::size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++) {
        Point const& a = ring[i];
        Point const& b = ring[j];
        if ((a.second > point.second) != (b.second > point.second) &&
            point.first < (b.first - a.first) * (point.second - a.second) / (b.second - a.second) + a.first) {
            inside = !inside;
        }
    }
    return inside;
}

std::vector<Ring> validatedRings(Ring outer, std::vector<Ring> holes) {
    std::vector<Ring> rings;
    rings.push_back(cleaned(std::move(outer), 0));
    for (std::size_t h = 0; h < holes.size(); ++h) {
        rings.push_back(cleaned(std::move(holes[h]), h + 1));
    }
    rejectCrossingEdges(rings);
    for (std::size_t r = 0; r < rings.size(); ++r) {
        if (twiceSignedArea(rings[r]) == 0.0) {
            reject(ringName(r) + " has zero area");
        }
    }
    // No edges meet, so one vertex tells on which side of another ring a whole ring lies.
    for (std::size_t r = 1; r < rings.size(); ++r) {
        if (!insideRing(rings[0], rings[r][0])) {
            reject(ringName(r) + " does not lie inside the outer ring");
        }
        for (std::size_t other = 1; other < rings.size(); ++other) {
            if (other != r && insideRing(rings[other], rings[r][0])) {
                reject(ringName(r) + " lies inside " + ringName(other));
            }
        }
    }
    return rings;
}

}  // namespace sampling
}  // namespace Kestrel
