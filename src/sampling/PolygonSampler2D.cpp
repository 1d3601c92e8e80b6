// Candidates of a polygon with holes by rejection sampling in its bounding box. The point-in-polygon test
// looks only at the edges that cross the point's horizontal band (the bounding box is cut into kBands
// bands of equal height), which keeps it cheap for outlines with many vertices.
#include <Kestrel/PopulationSampling.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <stdexcept>

#include "PolygonRings.h"

namespace Kestrel {

namespace {

using Point = DomainSampler2D::Point;

constexpr std::uint64_t kSeed = 2024;    // fixed so every call spreads the same candidates
constexpr std::size_t kBands = 64;       // horizontal bands of the edge index
constexpr double kLeastCoverage = 1e-6;  // smaller area / bounding-box area: rejection would never end

struct Segment {
    Point a;
    Point b;
};

// One 53-bit output of the engine as a double on [0, 1).
double drawUnit(std::mt19937_64& engine) {
    return static_cast<double>(engine() >> 11) * 0x1p-53;
}

}  // namespace

class PolygonSampler2D::Private {
  public:
    explicit Private(std::vector<sampling::Ring> rings) : rings_(std::move(rings)) {
        Ring const& outer = rings_[0];
        minX_ = maxX_ = outer[0].first;
        minY_ = maxY_ = outer[0].second;
        for (Point const& p : outer) {
            minX_ = std::min(minX_, p.first);
            maxX_ = std::max(maxX_, p.first);
            minY_ = std::min(minY_, p.second);
            maxY_ = std::max(maxY_, p.second);
        }
        area_ = std::fabs(sampling::twiceSignedArea(outer)) / 2.0;
        for (std::size_t h = 1; h < rings_.size(); ++h) {
            area_ -= std::fabs(sampling::twiceSignedArea(rings_[h])) / 2.0;
        }
        if (area_ < kLeastCoverage * ((maxX_ - minX_) * (maxY_ - minY_))) {
            throw std::invalid_argument(
                "PolygonSampler2D: the polygon covers less than a millionth of its bounding box");
        }
        buildBands();
    }

    bool contains(Point const& point) const {
        if (!(point.second >= minY_ && point.second <= maxY_ && point.first >= minX_ &&
              point.first <= maxX_)) {
            return false;
        }
        bool inside = false;
        for (Segment const& s : bands_[bandOf(point.second)]) {
            if ((s.a.second > point.second) != (s.b.second > point.second) &&
                point.first <
                    (s.b.first - s.a.first) * (point.second - s.a.second) / (s.b.second - s.a.second) +
                        s.a.first) {
                inside = !inside;
            }
        }
        return inside;
    }

    void generate(std::size_t count, std::vector<Point>& out) const {
        out.clear();
        out.reserve(count);
        std::mt19937_64 engine(kSeed);
        double const width = maxX_ - minX_;
        double const height = maxY_ - minY_;
        while (out.size() < count) {
            Point const p{minX_ + drawUnit(engine) * width, minY_ + drawUnit(engine) * height};
            if (contains(p)) {
                out.push_back(p);
            }
        }
    }

    double area() const { return area_; }

  private:
    std::size_t bandOf(double y) const {
        double const band = std::floor((y - minY_) / (maxY_ - minY_) * static_cast<double>(kBands));
        return static_cast<std::size_t>(std::clamp(band, 0.0, static_cast<double>(kBands - 1)));
    }

    // Each band lists every edge whose y range meets the band's y range.
    void buildBands() {
        bands_.assign(kBands, {});
        for (Ring const& ring : rings_) {
            for (std::size_t i = 0; i < ring.size(); ++i) {
                Segment const s{ring[i], ring[(i + 1) % ring.size()]};
                std::size_t const first = bandOf(std::min(s.a.second, s.b.second));
                std::size_t const last = bandOf(std::max(s.a.second, s.b.second));
                for (std::size_t band = first; band <= last; ++band) {
                    bands_[band].push_back(s);
                }
            }
        }
    }

    std::vector<sampling::Ring> rings_;
    std::vector<std::vector<Segment>> bands_;
    double minX_ = 0.0;
    double maxX_ = 0.0;
    double minY_ = 0.0;
    double maxY_ = 0.0;
    double area_ = 0.0;
};

PolygonSampler2D::PolygonSampler2D(Ring outer, std::vector<Ring> holes)
    : d_(std::make_shared<Private const>(sampling::validatedRings(std::move(outer), std::move(holes)))) {}

void PolygonSampler2D::generateCandidates(int count, std::vector<Point>& out) {
    d_->generate(count > 0 ? static_cast<std::size_t>(count) : 0, out);
}

bool PolygonSampler2D::contains(Point const& point) const {
    return d_->contains(point);
}

double PolygonSampler2D::getArea() const {
    return d_->area();
}

}  // namespace Kestrel
