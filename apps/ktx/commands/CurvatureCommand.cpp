// ktx curvature: curvature and arc length of each segment of a polyline.
#include "CommandOutput.h"
#include "CommandSupport.h"
#include "input/CurvatureInput.h"
#include "input/HelpExamples.h"
#include "pictures/Pictures.h"

#include <Kestrel/SegmentGrouper.h>

#include <memory>

namespace ktx {

namespace {

struct CurvatureOptions {
    InputSource input;
    CommandOutput output;
};

void runCurvature(CurvatureOptions const& options) {
    options.output.checkWritable();
    CurvatureInput const input = readAndParse(options.input, parseCurvatureInput);
    std::vector<double> curvature;
    std::vector<double> lengths;
    Kestrel::SegmentGrouper::calculateSegmentCurvature(input.points, input.closed, input.segments, curvature,
                                                       lengths);
    nlohmann::ordered_json segments = nlohmann::ordered_json::array();
    for (std::size_t k = 0; k < input.segments.size(); ++k) {
        nlohmann::ordered_json segment{{"first", input.segments[k].first},
                                       {"last", input.segments[k].second},
                                       {"curvature", curvature.at(k)}};
        // Fewer than three points leave the lengths unmeasured.
        segment["length"] =
            k < lengths.size() ? nlohmann::ordered_json(lengths[k]) : nlohmann::ordered_json();
        segments.push_back(segment);
    }
    nlohmann::ordered_json const result{{"closed", input.closed}, {"segments", segments}};
    options.output.write(formatJson(result), [&] {
        return curvaturePicture(input.points, input.closed, input.segments, curvature, "Segment curvature");
    });
}

}  // namespace

Command addCurvatureCommand(CLI::App& tool) {
    auto options = std::make_shared<CurvatureOptions>();
    CLI::App* command = tool.add_subcommand(
        "curvature",
        "Curvature and arc length of each segment of a polyline (gaps between segments are closed at their "
        "middle). With x right and y up, a counter-clockwise bend is negative (about -1/r), clockwise "
        "positive.\n"
        "Input: {\"closed\": bool (default false), \"points\": [[x, y], ...], \"segments\": [[first point, "
        "last point], ...] in order along the line}.\n"
        "Output: JSON with per segment first, last, curvature, length.");
    addInputOption(*command, options->input);
    options->output.addOutputOption(*command);
    options->output.addPictureOption(*command, "also draw the polyline coloured by curvature");
    command->footer(
        helpFooter(examples::curvature, "ktx curvature examples/data/curvature.json --svg curvature.svg"));
    return {command, [options] { runCurvature(*options); }};
}

}  // namespace ktx
