// ktx assign: the cheapest assignment of rows (workers) to columns (jobs) of a cost matrix.
#include "CommandOutput.h"
#include "CommandSupport.h"
#include "input/AssignInput.h"
#include "input/HelpExamples.h"
#include "input/InputError.h"
#include "output/NumberFormat.h"

#include <Kestrel/HungarianAlgorithm.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

namespace ktx {

namespace {

struct AssignOptions {
    InputSource input;
    CommandOutput output;
    bool maximize = false;
};

// The solver's zero test is absolute (about 2.2e-16), so costs that all lie far below 1 blur into ties.
constexpr double kSmallestReliableScale = 1e-12;

double largestFiniteMagnitude(std::vector<std::vector<double>> const& costs) {
    double largest = 0.0;
    for (std::vector<double> const& row : costs) {
        for (double const value : row) {
            if (std::isfinite(value)) {
                largest = std::max(largest, std::fabs(value));
            }
        }
    }
    return largest;
}

// Maximising sum(c) over assignments of a fixed number of pairs is minimising sum(M - c), M the largest
// finite profit: every such cost is >= 0, and a forbidden pair (-inf) becomes +inf.
std::vector<std::vector<double>> asNonNegativeMinimisation(std::vector<std::vector<double>> const& profits) {
    double largest = -std::numeric_limits<double>::infinity();
    for (std::vector<double> const& row : profits) {
        for (double const value : row) {
            if (std::isfinite(value)) {
                largest = std::max(largest, value);
            }
        }
    }
    std::vector<std::vector<double>> costs = profits;
    for (std::vector<double>& row : costs) {
        for (double& value : row) {
            value = std::isfinite(value) ? largest - value : std::numeric_limits<double>::infinity();
        }
    }
    return costs;
}

void runAssign(AssignOptions const& options) {
    options.output.checkWritable();
    AssignGoal const goal = options.maximize ? AssignGoal::Maximize : AssignGoal::Minimize;
    std::vector<std::vector<double>> const values =
        readAndParse(options.input, [goal](std::string const& text) { return parseAssignInput(text, goal); });
    std::vector<std::vector<double>> costs = options.maximize ? asNonNegativeMinimisation(values) : values;
    double const largest = largestFiniteMagnitude(costs);
    if (largest > 0.0 && largest < kSmallestReliableScale) {
        std::cerr
            << "ktx assign: warning: the largest finite cost is " << formatNumber(largest)
            << "; costs this small fall below the solver's tie tolerance of about 2.2e-16 and the result "
               "may not be optimal: multiply every cost by a constant (e.g. 1e12) first\n";
    }
    std::vector<int> assignment;
    try {
        HungarianAlgorithm().Solve(costs, assignment);
    } catch (std::invalid_argument const& error) {
        if (std::string(error.what()) == "cost matrix is infeasible") {
            throw InputError(
                "cost matrix is infeasible: no assignment of min(rows, columns) pairs avoids "
                "every forbidden pair");
        }
        throw;
    }
    nlohmann::ordered_json pairs = nlohmann::ordered_json::array();
    double total = 0.0;
    for (std::size_t row = 0; row < assignment.size(); ++row) {
        if (assignment[row] >= 0) {
            double const value = values[row][assignment[row]];
            total += value;
            pairs.push_back({{"row", row}, {"column", assignment[row]}, {"cost", value}});
        }
    }
    nlohmann::ordered_json const result{{"rows", values.size()},
                                        {"columns", values.empty() ? 0 : values.front().size()},
                                        {"assignment", assignment},
                                        {"pairs", pairs},
                                        {"cost", total}};
    options.output.write(formatJson(result));
}

}  // namespace

Command addAssignCommand(CLI::App& tool) {
    auto options = std::make_shared<AssignOptions>();
    CLI::App* command = tool.add_subcommand(
        "assign",
        "Assign each row of a cost matrix to at most one column, each column to at most one row, so that "
        "min(rows, columns) pairs are made at the smallest total cost (the largest with --maximize).\n"
        "Input: CSV (one row per line; comma, semicolon or tab separated; '#' comments) or JSON "
        "({\"costs\": [[...], ...]} or [[...], ...]); costs finite and non-negative. A forbidden pair is "
        "inf in CSV (-inf with --maximize) and null in JSON.\n"
        "Output: JSON with assignment (the column of every row, -1 for none), the assigned pairs and the "
        "total cost (the sum of the assigned input values). A matrix in which no complete assignment avoids "
        "the forbidden pairs is reported as infeasible (exit status 2).");
    addInputOption(*command, options->input);
    options->output.addOutputOption(*command);
    command->add_flag("--maximize", options->maximize,
                      "Maximise the total instead (solved as the minimisation of M - value, M the largest "
                      "finite value); any finite values are allowed, -inf marks a forbidden pair.");
    command->footer(helpFooter(examples::assign, "ktx assign examples/data/assign.csv"));
    return {command, [options] { runAssign(*options); }};
}

}  // namespace ktx
