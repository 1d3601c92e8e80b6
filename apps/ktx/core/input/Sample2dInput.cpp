#include "input/Sample2dInput.h"

#include "input/JsonInput.h"
#include "input/Validation.h"
#include "output/NumberFormat.h"

#include <algorithm>
#include <cmath>

namespace ktx {

namespace {

Ring readRing(nlohmann::json const& value, std::string const& path) {
    Ring ring = toPoints(value, path);
    if (ring.size() < 3) {
        failField(path, "a ring needs at least 3 vertices, got " + std::to_string(ring.size()));
    }
    return ring;
}

// Coordinates whose products stay finite and non-zero, so that areas and edge crossings are computed
// correctly.
void requireMeasurableGeometry(Sample2dInput const& input) {
    std::size_t edges = input.outer.size();
    for (Ring const& hole : input.holes) {
        edges += hole.size();
    }
    if (edges > kMaxOutlineEdges) {
        failField("outer",
                  "the outline has " + std::to_string(edges) + " edges in all, more than " +
                      std::to_string(kMaxOutlineEdges) +
                      " (checking that no two edges touch may compare every pair); simplify the outline");
    }
    auto const checkMagnitude = [](Ring const& ring, std::string const& field) {
        for (std::size_t i = 0; i < ring.size(); ++i) {
            if (std::fabs(ring[i].first) > kMaxCoordinate || std::fabs(ring[i].second) > kMaxCoordinate) {
                failField(field + "[" + std::to_string(i) + "]",
                          "coordinates beyond " + formatNumber(kMaxCoordinate) +
                              " in magnitude overflow when the polygon's area and edge crossings are "
                              "computed; scale the polygon down");
            }
        }
    };
    checkMagnitude(input.outer, "outer");
    for (std::size_t h = 0; h < input.holes.size(); ++h) {
        checkMagnitude(input.holes[h], "holes[" + std::to_string(h) + "]");
    }
    auto const [left, right] = std::minmax_element(input.outer.begin(), input.outer.end());
    auto const [bottom, top] =
        std::minmax_element(input.outer.begin(), input.outer.end(),
                            [](auto const& a, auto const& b) { return a.second < b.second; });
    double const width = right->first - left->first;
    double const height = top->second - bottom->second;
    if (width < kMinPolygonExtent || height < kMinPolygonExtent) {
        failField("outer",
                  "the polygon spans only " + formatNumber(width) + " x " + formatNumber(height) +
                      "; below " + formatNumber(kMinPolygonExtent) +
                      " its area and edge crossings underflow to 0 in double precision; scale it up");
    }
}

}  // namespace

Sample2dInput parseSample2dInput(std::string const& text) {
    nlohmann::json const document = parseJson(text);
    JsonObjectReader reader(document, "");
    Sample2dInput input;
    input.outer = readRing(reader.value("outer"), "outer");
    if (reader.has("holes")) {
        nlohmann::json const& holes = toArray(reader.value("holes"), "holes");
        for (std::size_t h = 0; h < holes.size(); ++h) {
            input.holes.push_back(readRing(holes[h], "holes[" + std::to_string(h) + "]"));
        }
    }
    input.n = reader.integer("n");
    reader.finish();
    requireInRange(input.n, 1, kMaxSamples, "n");
    requireMeasurableGeometry(input);
    return input;
}

}  // namespace ktx
