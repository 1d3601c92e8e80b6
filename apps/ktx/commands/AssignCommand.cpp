// ktx assign: the cheapest assignment of rows (workers) to columns (jobs) of a cost matrix.
#include "CommandOutput.h"
#include "CommandSupport.h"
#include "input/AssignInput.h"
#include "input/HelpExamples.h"

#include <Kestrel/HungarianAlgorithm.h>

#include <memory>

namespace ktx {

namespace {

struct AssignOptions {
    std::string input = "-";
    CommandOutput output;
};

void runAssign(AssignOptions const& options) {
    options.output.checkWritable();
    std::vector<std::vector<double>> costs = readAndParse(options.input, parseAssignInput);
    HungarianAlgorithm solver;
    std::vector<int> assignment;
    double const cost = solver.Solve(costs, assignment);
    nlohmann::ordered_json pairs = nlohmann::ordered_json::array();
    for (std::size_t row = 0; row < assignment.size(); ++row) {
        if (assignment[row] >= 0) {
            pairs.push_back(
                {{"row", row}, {"column", assignment[row]}, {"cost", costs[row][assignment[row]]}});
        }
    }
    nlohmann::ordered_json const result{{"rows", costs.size()},
                                        {"columns", costs.front().size()},
                                        {"assignment", assignment},
                                        {"pairs", pairs},
                                        {"cost", cost}};
    options.output.write(formatJson(result));
}

}  // namespace

Command addAssignCommand(CLI::App& tool) {
    auto options = std::make_shared<AssignOptions>();
    CLI::App* command = tool.add_subcommand(
        "assign",
        "Assign each row of a cost matrix to at most one column, each column to at most one row, so that "
        "min(rows, columns) pairs are made at the smallest total cost.\n"
        "Input: CSV (one row per line; comma, semicolon or tab separated; '#' comments) or JSON "
        "({\"costs\": [[...], ...]} or [[...], ...]); costs finite and non-negative.\n"
        "Output: JSON with assignment (the column of every row, -1 for none), the assigned pairs and the "
        "total cost.");
    addInputOption(*command, options->input);
    options->output.addOutputOption(*command);
    command->footer(helpFooter(examples::assign, "ktx assign examples/data/assign.csv"));
    return {command, [options] { runAssign(*options); }};
}

}  // namespace ktx
