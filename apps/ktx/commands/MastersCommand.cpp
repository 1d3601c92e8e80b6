// ktx masters: choose master segments of a drawbead line, score them, interpolate the other segments.
#include "CommandOutput.h"
#include "CommandSupport.h"
#include "input/HelpExamples.h"
#include "input/MastersInput.h"
#include "pictures/Pictures.h"

#include <Kestrel/MasterOptimizer4Interpolation.h>

#include <memory>
#include <stdexcept>

namespace ktx {

namespace {

struct MastersOptions {
    InputSource input;
    CommandOutput output;
    std::string search = "cross-entropy";
};

void runMasters(MastersOptions const& options) {
    options.output.checkWritable();
    MastersInput const input = readAndParse(options.input, parseMastersInput);
    auto const model = std::make_shared<Kestrel::DrawbeadToyModel const>(
        input.lengths, input.ranges, input.closed, input.transitions ? &*input.transitions : nullptr);
    Kestrel::MasterOptimizer4DrawbeadToyModel const optimizer(model);

    std::vector<int> masters;
    if (input.masterIndices) {
        masters = *input.masterIndices;
    } else {
        std::vector<int> const* preGroups = input.preGroups ? &*input.preGroups : nullptr;
        if (options.search == "exact") {
            try {
                optimizer.calculateExactOptimalMasterIndices(input.masters, masters, preGroups);
            } catch (std::invalid_argument const& error) {
                throw InputError(error.what());
            }
        } else {
            optimizer.calculateOptimalMasterIndices(input.masters, masters, preGroups);
        }
    }
    nlohmann::ordered_json result{{"segments", input.lengths.size()},
                                  {"closed", input.closed},
                                  {"masters", masters},
                                  {"score", optimizer.evaluateMasterChoice(masters)},
                                  {"chosen", !input.masterIndices}};
    std::vector<double> values;
    if (input.masterValues) {
        if (input.masterValues->size() != masters.size()) {
            throw std::logic_error("the master search returned " + std::to_string(masters.size()) +
                                   " masters instead of " + std::to_string(input.masterValues->size()));
        }
        values = *optimizer.interpolate(masters, *input.masterValues);
        result["values"] = values;
        result["penalty"] = model->calculatePenaltyValue(values);
    }
    options.output.write(formatJson(result), [&] {
        return mastersPicture(input.lengths, input.ranges, masters, values, "Master segments");
    });
}

}  // namespace

Command addMastersCommand(CLI::App& tool) {
    auto options = std::make_shared<MastersOptions>();
    CLI::App* command = tool.add_subcommand(
        "masters",
        "Choose master segments of a drawbead line (positions from which the other segments' values are "
        "interpolated), score the choice (smaller is better) and, given the masters' values, interpolate "
        "every segment.\n"
        "Input: {\"closed\": bool, \"lengths\": [positive, one per segment], \"ranges\": [[min, max], one "
        "per "
        "segment], \"masters\": count, optional \"transitions\": [one per gap: n closed, n-1 open], "
        "\"preGroups\": [ascending boundaries b0 < b1 < ...: at most one master per group], "
        "\"masterIndices\": [ascending; scores this choice instead of searching], \"masterValues\": [one per "
        "master, in ascending master order]}.\n"
        "Output: JSON with masters, score, and with masterValues the interpolated values (clamped to the "
        "ranges, then mapped by (1 - cos(pi v)) / 2) and their penalty.\n"
        "Search: the default cross-entropy search, or --search exact: the choice with the smallest score, "
        "found exactly (a zero-length segment is never a master). A line is refused (with either search) "
        "when "
        "the cross-entropy search's memory, about 5 n (n + 1) (96 + 8 masters) bytes for n segments, exceeds "
        "2 GiB.");
    addInputOption(*command, options->input);
    options->output.addOutputOption(*command);
    options->output.addPictureOption(*command, "also draw the segments' ranges, values and masters");
    command->add_option("--search", options->search, "cross-entropy (default) or exact")
        ->check(CLI::IsMember({"cross-entropy", "exact"}));
    command->footer(helpFooter(examples::masters, "ktx masters examples/data/masters.json"));
    return {command, [options] { runMasters(*options); }};
}

}  // namespace ktx
