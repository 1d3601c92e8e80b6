// ktx sample2d: well-spread points inside a polygon with holes.
#include "CommandOutput.h"
#include "CommandSupport.h"
#include "input/HelpExamples.h"
#include "input/Sample2dInput.h"
#include "output/NumberFormat.h"
#include "pictures/Pictures.h"

#include <Kestrel/PopulationSampling.h>

#include <memory>
#include <stdexcept>

namespace ktx {

namespace {

struct Sample2dOptions {
    InputSource input;
    CommandOutput output;
    std::string format = "csv";
};

void runSample2d(Sample2dOptions const& options) {
    options.output.checkWritable();
    TextInput const text = readInput(options.input);
    Sample2dInput input;
    std::unique_ptr<Kestrel::PolygonSampler2D> sampler;
    try {
        input = parseSample2dInput(text.text);
        try {
            sampler = std::make_unique<Kestrel::PolygonSampler2D>(input.outer, input.holes);
        } catch (std::invalid_argument const& error) {
            // The polygon's own validation (crossing edges, holes outside, zero area) names the ring and
            // edge; a message about a hole belongs to the field 'holes'.
            std::string const reason = error.what();
            std::string const field = reason.find("hole") != std::string::npos ? "holes" : "outer";
            throw InputError("field '" + field + "': invalid polygon: " + reason);
        }
    } catch (InputError const& error) {
        throw InputError(withSource(text.source, error.what()));
    }
    std::vector<std::pair<double, double>> points;
    sampler->calculateSamples(input.n, points);

    for (std::size_t i = 0; i < points.size(); ++i) {
        requireFiniteResult(points[i].first, "points[" + std::to_string(i) + "][0]");
        requireFiniteResult(points[i].second, "points[" + std::to_string(i) + "][1]");
    }
    std::string output;
    if (options.format == "json") {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (auto const& [x, y] : points) {
            list.push_back({x, y});
        }
        output = formatJson({{"points", list}});
    } else {
        output = "x,y\n";
        for (auto const& [x, y] : points) {
            output += formatCsvRow({x, y}) + "\n";
        }
    }
    options.output.write(output, [&] {
        return samplePicture(input.outer, input.holes, points,
                             std::to_string(points.size()) + " well-spread points");
    });
}

}  // namespace

Command addSample2dCommand(CLI::App& tool) {
    auto options = std::make_shared<Sample2dOptions>();
    CLI::App* command = tool.add_subcommand(
        "sample2d",
        "Well-spread points inside a polygon with holes: 100 n random candidates inside the polygon "
        "(fixed seed), clustered by k-means; every point returned is one of the candidates.\n"
        "Input: {\"outer\": [[x, y], ...], \"holes\": [[[x, y], ...], ...] optional, \"n\": 1 to 2000}; "
        "rings in either orientation, edges must not cross; at most 10000 edges in all, coordinates at most "
        "1e150 "
        "in magnitude, the outline at least 1e-150 wide and high.\n"
        "Output: CSV x,y (or JSON with --format json).");
    addInputOption(*command, options->input);
    options->output.addOutputOption(*command);
    command->add_option("--format", options->format, "csv or json")
        ->check(CLI::IsMember({"csv", "json"}))
        ->capture_default_str();
    options->output.addPictureOption(*command, "also draw the outline and the points");
    command->footer(
        helpFooter(examples::sample2d, "ktx sample2d examples/data/sample2d.json --svg points.svg"));
    return {command, [options] { runSample2d(*options); }};
}

}  // namespace ktx
