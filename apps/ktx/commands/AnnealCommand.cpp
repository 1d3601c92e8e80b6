// ktx anneal: the library's ready annealer on a named test function over a box.
#include "CommandOutput.h"
#include "CommandSupport.h"
#include "input/AnnealInput.h"
#include "input/HelpExamples.h"
#include "input/JsonInput.h"

#include <Kestrel/ReadyComponents4HSA.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <stdexcept>

namespace ktx {

namespace {

struct AnnealOptions {
    InputSource input;
    CommandOutput output;
};

std::string namesList() {
    std::string list;
    for (std::string const& name : Kestrel::getTestFunctionNames4HSA()) {
        list += (list.empty() ? "" : ", ") + name;
    }
    return list;
}

// The function the input names, with its usual box unless the input gives one.
Kestrel::TestFunction4HSA functionFor(AnnealInput const& input) {
    std::vector<std::string> const names = Kestrel::getTestFunctionNames4HSA();
    if (std::find(names.begin(), names.end(), input.function) == names.end()) {
        failField("function",
                  "unknown test function \"" + excerpt(input.function) + "\"; known: " + namesList());
    }
    try {
        return Kestrel::makeTestFunction4HSA(input.function, input.dimension);
    } catch (std::invalid_argument const& error) {
        failField("dimension", error.what());
    }
}

void runAnneal(AnnealOptions const& options) {
    options.output.checkWritable();
    TextInput const text = readInput(options.input);
    AnnealInput input;
    Kestrel::TestFunction4HSA function;
    try {
        input = parseAnnealInput(text.text);
        function = functionFor(input);
    } catch (InputError const& error) {
        throw InputError(withSource(text.source, error.what()));
    }
    Kestrel::Box4HSA const box = input.box ? *input.box : function.box;
    Kestrel::AnnealingSettings4HSA settings;
    settings.evaluationBudget = static_cast<std::uint64_t>(
        input.evaluationBudget.value_or(static_cast<int>(settings.evaluationBudget)));
    settings.gradientCost = input.gradientCost.value_or(settings.gradientCost);
    settings.warmUpPoints = input.warmUpPoints.value_or(settings.warmUpPoints);
    settings.jumpFraction = input.jumpFraction.value_or(settings.jumpFraction);
    settings.descentCalls = input.descentCalls.value_or(settings.descentCalls);
    settings.coolingFactor = input.coolingFactor.value_or(settings.coolingFactor);
    settings.finalTemperatureRatio = input.finalTemperatureRatio.value_or(settings.finalTemperatureRatio);
    settings.freshStartInterval = input.freshStartInterval.value_or(settings.freshStartInterval);

    Kestrel::AnnealingResult4HSA const found = Kestrel::annealInBox4HSA(
        function.objective, function.gradient, box, static_cast<std::uint32_t>(input.seed), settings);

    nlohmann::ordered_json boxJson = nlohmann::ordered_json::array();
    for (auto const& [lower, upper] : box) {
        boxJson.push_back({lower, upper});
    }
    nlohmann::ordered_json const result{{"function", function.name},
                                        {"dimension", input.dimension},
                                        {"box", boxJson},
                                        {"seed", input.seed},
                                        {"bestPosition", found.bestPosition},
                                        {"bestValue", found.bestValue},
                                        {"finalPosition", found.finalPosition},
                                        {"knownMinimumValue", function.minimumValue},
                                        {"knownMinima", function.globalMinima},
                                        {"evaluations", found.evaluations},
                                        {"objectiveEvaluations", found.objectiveEvaluations},
                                        {"gradientEvaluations", found.gradientEvaluations},
                                        {"samples", found.samples}};
    options.output.write(formatJson(result));
}

}  // namespace

Command addAnnealCommand(CLI::App& tool) {
    auto options = std::make_shared<AnnealOptions>();
    CLI::App* command = tool.add_subcommand(
        "anneal",
        "Minimise a named test function over a box with the library's ready simulated annealer "
        "(seeded, reproducible, within a budget of evaluations).\n"
        "Input: {\"function\": one of " +
            namesList() +
            ", \"dimension\": 1 to 20, "
            "default 2 (himmelblau: 2 only), \"box\": [[lower, upper], one per coordinate] (default the "
            "function's usual box), \"seed\": default 1, \"settings\": {\"evaluationBudget\" (1 to 5e6, "
            "default 5000 per coordinate), \"gradientCost\" (evaluations per gradient call, default 1), "
            "\"warmUpPoints\", \"jumpFraction\", \"descentCalls\", \"coolingFactor\", "
            "\"finalTemperatureRatio\", \"freshStartInterval\"} each optional}.\n"
            "Output: JSON with bestPosition, bestValue, the known minima and the evaluation counts.");
    addInputOption(*command, options->input);
    options->output.addOutputOption(*command);
    command->footer(helpFooter(examples::anneal, "ktx anneal examples/data/anneal.json"));
    return {command, [options] { runAnneal(*options); }};
}

}  // namespace ktx
