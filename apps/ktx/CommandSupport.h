// What every ktx subcommand shares: the input argument and --output option, reading and parsing the input
// with the file name in error messages, JSON output, and the progress line on a terminal.
#pragma once

#include "input/InputError.h"
#include "input/TextInput.h"

#include <CLI/CLI.hpp>
#include <boost/function.hpp>
#include <nlohmann/json.hpp>

#include <functional>
#include <string>

namespace ktx {

// A registered subcommand: `run` is called after the command line has been parsed, if it was chosen.
struct Command {
    CLI::App* app = nullptr;
    std::function<void()> run;
};

Command addGroupCommand(CLI::App& tool);
Command addCurvatureCommand(CLI::App& tool);
Command addMastersCommand(CLI::App& tool);
Command addAssignCommand(CLI::App& tool);
Command addLhsCommand(CLI::App& tool);
Command addSample2dCommand(CLI::App& tool);
Command addAnnealCommand(CLI::App& tool);
Command addDemoCommand(CLI::App& tool);

// The positional input: a file name, or "-" or absent for standard input.
void addInputOption(CLI::App& command, std::string& input);

// Reads the input and parses it with `parse`; InputErrors get the input's name in front.
template <typename Parse>
auto readAndParse(std::string const& path, Parse parse) {
    TextInput const input = readTextInput(path);
    try {
        return parse(input.text);
    } catch (InputError const& error) {
        throw InputError(withSource(input.source, error.what()));
    }
}

// Two-space indented JSON with a final line end, arrays of plain values on one line; NaN and infinities
// become null.
std::string formatJson(nlohmann::ordered_json const& document);

// The example shown under --help: "Example input:\n<text>\n\nExample:\n  <command line>".
std::string helpFooter(std::string const& exampleInput, std::string const& exampleCommand);

// A progress hook for SegmentGrouper::computeGroups: prints one line on standard error, updated in place,
// when standard error is a terminal; an empty function (no output) otherwise. `finishProgress` clears the
// line.
boost::function<void(int, int)> groupingProgress(std::string const& label);
void finishProgress();

}  // namespace ktx
