// Population sampling: Latin-hypercube populations over discrete factors, and well-spread points in a
// two-dimensional domain.
//
// CartesianProductSampler builds, once at construction, a population in which every candidate of every
// factor is used exactly once, matched at random (fixed seed) with the candidates of the other factors.
// Cost: O(N log N) per named factor for N points, plus the copying of the coordinates. A million points
// over four one-coordinate factors take about 0.13 s on one 2.6 GHz core (0.09 s on two), releasing the
// population included; a fifth of that is allocating and releasing the million point vectors.
//
// DomainSampler2D places n well-spread points in a domain that a subclass describes by candidate points:
// it asks for 100 * n candidates, seeds n centres by k-means++ (fixed seed) and runs Lloyd iterations whose
// centres snap to the nearest member candidate, so every returned point is one of the candidates.
// Cost: O(n * m) for the seeding (m = 100 * n candidates), then per Lloyd iteration O(m) plus O(n) for each
// candidate whose nearest centre is not certain from distance bounds; at most max(n, 100) iterations.
// PolygonSampler2D is a ready DomainSampler2D for a polygon with holes.
//
//   std::vector<std::shared_ptr<std::vector<std::vector<double>>>> factors{
//       std::make_shared<std::vector<std::vector<double>>>(std::vector<std::vector<double>>{{0.0}, {1.0}}),
//       std::make_shared<std::vector<std::vector<double>>>(std::vector<std::vector<double>>{{5.0}, {6.0}})};
//   Kestrel::CartesianProductSampler sampler(factors, {0, 1});
//   auto population = sampler.getPopulation();      // two points, e.g. {1, 5} and {0, 6}
//
//   Kestrel::PolygonSampler2D blank({{0, 0}, {4, 0}, {4, 3}, {0, 3}}, {{{1, 1}, {2, 1}, {2, 2}, {1, 2}}});
//   std::vector<std::pair<double, double>> points;
//   blank.calculateSamples(20, points);              // 20 well-spread points of the blank, none in the hole
//
// Guarantees: results are a deterministic function of the inputs, bit for bit, on every run and for any
// number of OpenMP threads. No call keeps references to its arguments.
#pragma once

#include <Kestrel/Export.h>

#include <deque>
#include <memory>
#include <utility>
#include <vector>

namespace Kestrel {

// Latin-hypercube population over the Cartesian product of discrete factors.
// Copies share the (immutable) population; they are safe to read from several threads at once.
class KESTREL_API CartesianProductSampler {
  public:
    using Candidates =
        std::vector<std::vector<double>>;  // one factor: its candidates, each a coordinate array
    using Population = std::deque<std::vector<double>>;

    // Builds the population. N = the number of candidates of factor order[0]; every factor named in `order`
    // contributes candidates 0 ... N-1 (extra candidates are ignored), each exactly once. Point i is the
    // concatenation of one candidate of each factor in the sequence of `order` (a factor may be named more
    // than once; each naming is an independent permutation). Candidate choices come from std::mt19937 with
    // seed 377, one output per choice, point by point and factor by factor within a point.
    // Threads: the draws are made on the calling thread; from 20000 points on, the order entries' draws are
    // decoded and the coordinates copied as OpenMP parallel loops. The result does not
    // depend on the number of threads; Kestrel::setMaxNumberOfThreads() limits the team.
    // Requires: the factors named in `order` are not null.
    // Throws: std::out_of_range("invalid vector subscript") if an entry of `order` is not an index into
    // `factors` or a named factor has fewer than N candidates; std::length_error("deque<T> too long") if
    // `order` is empty; std::bad_alloc when memory runs out. No object is created then.
    CartesianProductSampler(std::vector<std::shared_ptr<Candidates>> const& factors,
                            std::vector<int> const& order);

    // Copies and assignments share the population.
    CartesianProductSampler(CartesianProductSampler const& other);
    CartesianProductSampler(CartesianProductSampler&& other) noexcept;
    CartesianProductSampler& operator=(CartesianProductSampler const& other);
    CartesianProductSampler& operator=(CartesianProductSampler&& other) noexcept;
    ~CartesianProductSampler();

    // A new shared owner of the population; it never changes afterwards. Null on a moved-from sampler.
    std::shared_ptr<Population const> getPopulation() const;

    class Private;

  private:
    std::shared_ptr<Private> d_;
};

// Well-spread sample points in a two-dimensional domain described by a subclass through candidate points.
// Derive, implement generateCandidates, call calculateSamples.
class KESTREL_API DomainSampler2D {
  public:
    using Point = std::pair<double, double>;  // x first, y second

    DomainSampler2D() = default;
    DomainSampler2D(DomainSampler2D const& other) = default;
    DomainSampler2D& operator=(DomainSampler2D const& other) = default;
    virtual ~DomainSampler2D();

    // Must replace `out` with `count` points of the domain (it may return fewer or more; all of them are
    // used). Called once per calculateSamples, on the calling thread.
    virtual void generateCandidates(int count, std::vector<Point>& out) = 0;

    // Replaces `out` with n well-spread points of the domain, each one of the candidates, in the order in
    // which the k-means++ seeding chose them. Asks generateCandidates for 100 * n candidates (m returned);
    // seeds with std::minstd_rand state 35; runs Lloyd iterations (ties to the earlier centre, a centre
    // moves to the member nearest to its members' mean, a centre without members stays) until no centre
    // moves or max(n, 100) iterations have run. With m < n, fewer than n points come back.
    // n <= 0: `out` is cleared and generateCandidates is not called.
    // Threads: the seeding's distance update runs as an OpenMP parallel loop once per
    // chosen centre while at least 1024 candidates remain, the assignment of candidates once per Lloyd
    // iteration from 8192 candidates on; neither calls generateCandidates. These loops repeat with the
    // same work, so after a first round on a team they go on with the calling thread alone whenever the
    // team did not pay (a machine whose cores are busy). The result does not depend on the number of
    // threads.
    // Throws: whatever generateCandidates throws (`out` is then unchanged); std::invalid_argument naming the
    // first candidate with a NaN or infinite coordinate, before any clustering (`out` unchanged);
    // std::length_error if 100 * n exceeds the int range; std::bad_alloc when memory runs out.
    void calculateSamples(int n, std::vector<Point>& out);
};

// A polygon with optional holes as a DomainSampler2D: generateCandidates spreads its points uniformly at
// random inside the polygon, from a fixed seed, so calculateSamples gives well-spread points of a real
// outline (a blank, a die face) without writing a subclass.
//
// Method: rejection sampling in the bounding box. x and y are drawn from std::mt19937_64 (seed 2024, rebuilt
// at every call), each from one 53-bit output: x = xmin + u * (xmax - xmin); a point is kept when it lies
// inside the outer ring and outside every hole (even-odd rule). Cost per call: about
// count * (bounding-box area / polygon area) draws, each tested against the edges of one of 64 horizontal
// bands (O(edges / 64) for evenly spread edges). Construction validates the rings in O(E log E + K) for E
// edges (K pairs of edges with overlapping x ranges).
class KESTREL_API PolygonSampler2D : public DomainSampler2D {
  public:
    using Ring = std::vector<Point>;  // vertices in order, either orientation, closing vertex optional

    // Requires nothing; validates. A ring whose last vertex repeats its first has that vertex dropped.
    // Throws std::invalid_argument if a ring has fewer than three vertices, a non-finite coordinate, two
    // equal consecutive vertices, zero area, or edges that touch or cross (within the ring or with another
    // ring), if a hole does not lie inside the outer ring or lies inside another hole, or if the polygon
    // covers less than a millionth of its bounding box (rejection sampling would never finish). The
    // message starts with "PolygonSampler2D: " and names the ring ("outer ring", "hole 0", ... counting
    // holes from 0) and the 0-based edge or vertex, e.g.
    // "PolygonSampler2D: outer ring edge 0 and outer ring edge 2 touch or cross".
    explicit PolygonSampler2D(Ring outer, std::vector<Ring> holes = {});

    // Copies share the validated, immutable polygon; a move copies, so no polygon is ever left empty.
    PolygonSampler2D(PolygonSampler2D const& other) = default;
    PolygonSampler2D& operator=(PolygonSampler2D const& other) = default;

    // Replaces `out` with max(count, 0) points drawn uniformly inside the polygon (deterministic: the same
    // count gives the same points on every call and every run).
    void generateCandidates(int count, std::vector<Point>& out) override;

    // True when the point lies inside the outer ring and outside every hole (even-odd rule; points on an
    // edge may fall either way).
    bool contains(Point const& point) const;

    // Area of the outer ring minus the areas of the holes.
    double getArea() const;

  private:
    class Private;
    std::shared_ptr<Private const> d_;
};

}  // namespace Kestrel
