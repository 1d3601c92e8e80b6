#include "input/Sample2dInput.h"

#include "input/JsonInput.h"
#include "input/Validation.h"

namespace ktx {

namespace {

Ring readRing(nlohmann::json const& value, std::string const& path) {
    Ring ring = toPoints(value, path);
    if (ring.size() < 3) {
        failField(path, "a ring needs at least 3 vertices, got " + std::to_string(ring.size()));
    }
    return ring;
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
    return input;
}

}  // namespace ktx
