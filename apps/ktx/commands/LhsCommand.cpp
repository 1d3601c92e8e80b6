// ktx lhs: a Latin-hypercube population over discrete factors, as CSV.
#include "CommandOutput.h"
#include "CommandSupport.h"
#include "input/HelpExamples.h"
#include "input/LhsInput.h"
#include "output/NumberFormat.h"

#include <Kestrel/PopulationSampling.h>

#include <memory>

namespace ktx {

namespace {

struct LhsOptions {
    InputSource input;
    CommandOutput output;
    std::string format = "csv";
};

std::string csvHeader(std::vector<std::string> const& names) {
    std::string line;
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::string cell = names[i];
        if (cell.find_first_of(",\"\n\r") != std::string::npos) {
            std::string quoted = "\"";
            for (char const c : cell) {
                quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
            }
            cell = quoted + "\"";
        }
        line += (i > 0 ? "," : "") + cell;
    }
    return line;
}

void runLhs(LhsOptions const& options) {
    options.output.checkWritable();
    LhsInput const input = readAndParse(options.input, parseLhsInput);
    std::vector<std::shared_ptr<Kestrel::CartesianProductSampler::Candidates>> factors;
    for (LhsFactor const& factor : input.factors) {
        factors.push_back(std::make_shared<Kestrel::CartesianProductSampler::Candidates>(factor.candidates));
    }
    Kestrel::CartesianProductSampler const sampler(factors, input.order);
    auto const population = sampler.getPopulation();
    std::vector<std::string> const names = lhsColumnNames(input);

    std::string text;
    if (options.format == "json") {
        nlohmann::ordered_json points = nlohmann::ordered_json::array();
        for (auto const& point : *population) {
            points.push_back(point);
        }
        text = formatJson({{"columns", names}, {"points", points}});
    } else {
        text = csvHeader(names) + "\n";
        for (auto const& point : *population) {
            text += formatCsvRow(point) + "\n";
        }
    }
    options.output.write(text);
}

}  // namespace

Command addLhsCommand(CLI::App& tool) {
    auto options = std::make_shared<LhsOptions>();
    CLI::App* command = tool.add_subcommand(
        "lhs",
        "Latin-hypercube sampling over discrete factors: every candidate of every factor is used exactly "
        "once, matched at random (fixed seed) with the candidates of the other factors.\n"
        "Input: {\"factors\": [{\"name\": optional, \"candidates\": [number or [numbers], ...]}, ...], "
        "\"order\": [factor indices, default all in turn]}; the first factor in order sets the population "
        "size.\n"
        "Output: CSV with a header of column names and one point per line (or JSON with --format json).");
    addInputOption(*command, options->input);
    options->output.addOutputOption(*command);
    command->add_option("--format", options->format, "csv or json")
        ->check(CLI::IsMember({"csv", "json"}))
        ->capture_default_str();
    command->footer(helpFooter(examples::lhs, "ktx lhs examples/data/lhs.json"));
    return {command, [options] { runLhs(*options); }};
}

}  // namespace ktx
