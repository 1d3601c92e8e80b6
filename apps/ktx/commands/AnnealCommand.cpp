// ktx anneal: the library's ready annealer on a named test function over a box.
#include "CommandOutput.h"
#include "CommandSupport.h"
#include "input/AnnealInput.h"
#include "input/HelpExamples.h"
#include "input/JsonInput.h"
#include "output/NumberFormat.h"

#include <Kestrel/ReadyComponents4HSA.h>

#include <algorithm>
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
    settings.warmUpPoints = input.warmUpPoints.value_or(settings.warmUpPoints);
    settings.stepFraction = input.stepFraction.value_or(settings.stepFraction);
    settings.stepsPerSample = input.stepsPerSample.value_or(settings.stepsPerSample);
    settings.coolingFactor = input.coolingFactor.value_or(settings.coolingFactor);
    settings.finalTemperatureRatio = input.finalTemperatureRatio.value_or(settings.finalTemperatureRatio);
    settings.chains = input.chains.value_or(settings.chains);
    settings.freshStartInterval = input.freshStartInterval.value_or(settings.freshStartInterval);
    settings.refinementCalls = input.refinementCalls.value_or(settings.refinementCalls);
    try {
        requireBoundedAnnealWork(settings.coolingFactor, settings.finalTemperatureRatio,
                                 settings.stepsPerSample, settings.chains, settings.refinementCalls);
        requireSteppableBox(box, settings.stepFraction);
    } catch (InputError const& error) {
        throw InputError(withSource(text.source, error.what()));
    }

    GradientBudget budget;
    Kestrel::Gradient4HSA const countedGradient = [&](std::vector<double> const& x, std::vector<double>& g) {
        budget.spendOne();
        function.gradient(x, g);
    };
    Kestrel::AnnealingResult4HSA found;
    try {
        found = Kestrel::annealInBox4HSA(function.objective, countedGradient, box,
                                         static_cast<std::uint32_t>(input.seed), settings);
    } catch (InputError const& error) {
        throw InputError(withSource(text.source, error.what()));
    } catch (std::runtime_error const& error) {
        // The integrator's own guard: a block of steps that advanced (almost) no time.
        if (std::string(error.what()).find("the integration makes no progress") == std::string::npos) {
            throw;
        }
        throw InputError(withSource(text.source,
                                    "field 'settings': the integration makes no progress: its steps "
                                    "are cut short at the box's walls without advancing; lower "
                                    "stepFraction"));
    }

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
        "Minimise a named test function over a box with the library's ready Hamiltonian simulated annealer "
        "(seeded, reproducible).\n"
        "Input: {\"function\": \"ackley\"|\"himmelblau\"|\"rastrigin\"|\"sphere\", \"dimension\": 1 to 20, "
        "default 2 (himmelblau: 2 only), \"box\": [[lower, upper], one per coordinate] (default the "
        "function's usual "
        "box), \"seed\": default 1, \"settings\": {\"warmUpPoints\", \"stepFraction\", \"stepsPerSample\" "
        "(up to 1000), \"coolingFactor\", \"finalTemperatureRatio\", \"chains\", \"freshStartInterval\", "
        "\"refinementCalls\"} each optional, at most 5e6 leapfrog steps and refinement calls in all}; the "
        "run "
        "stops with an error after 1e7 gradient evaluations (steps cut short at the box's walls count too).\n"
        "Output: JSON with bestPosition, bestValue, the known minima and the evaluation counts.");
    addInputOption(*command, options->input);
    options->output.addOutputOption(*command);
    command->footer(helpFooter(examples::anneal, "ktx anneal examples/data/anneal.json"));
    return {command, [options] { runAnneal(*options); }};
}

}  // namespace ktx
