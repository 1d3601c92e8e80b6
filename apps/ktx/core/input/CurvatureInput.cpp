#include "input/CurvatureInput.h"

#include "input/JsonInput.h"
#include "input/Validation.h"

namespace ktx {

CurvatureInput parseCurvatureInput(std::string const& text) {
    nlohmann::json const document = parseJson(text);
    JsonObjectReader reader(document, "");
    CurvatureInput input;
    input.closed = reader.boolean("closed", false);
    input.points = toPoints(reader.value("points"), "points");
    nlohmann::json const& segments = toArray(reader.value("segments"), "segments");
    reader.finish();

    if (input.points.size() < 2) {
        failField("points", "needs at least 2 points, got " + std::to_string(input.points.size()));
    }
    for (std::size_t i = 1; i < input.points.size(); ++i) {
        if (input.points[i] == input.points[i - 1]) {
            failField("points[" + std::to_string(i) + "]", "repeats the previous point");
        }
    }
    requireNonEmpty(segments.size(), "segments");
    int const last = static_cast<int>(input.points.size()) - 1;
    for (std::size_t k = 0; k < segments.size(); ++k) {
        std::string const path = "segments[" + std::to_string(k) + "]";
        std::vector<int> const ends = toIntegers(segments[k], path);
        if (ends.size() != 2) {
            failField(path, "expected [first, last], got " + std::to_string(ends.size()) + " entries");
        }
        requireInRange(ends[0], 0, last, path + "[0]");
        requireInRange(ends[1], 0, last, path + "[1]");
        if (ends[1] <= ends[0]) {
            failField(path, "last point index " + std::to_string(ends[1]) +
                                " must be greater than the first point index " + std::to_string(ends[0]));
        }
        if (!input.segments.empty() && ends[0] < input.segments.back().second) {
            failField(path, "starts at point " + std::to_string(ends[0]) +
                                ", before the end of the previous segment (" +
                                std::to_string(input.segments.back().second) + ")");
        }
        input.segments.emplace_back(ends[0], ends[1]);
    }
    return input;
}

}  // namespace ktx
