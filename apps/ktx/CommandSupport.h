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

// A command's input: the positional file name ("-" or absent for standard input) and --max-input-mib, the
// largest input read (so that an endless source such as /dev/zero ends with a clear error).
struct InputSource {
    std::string path = "-";
    double maxMebibytes = 256;
};
void addInputOption(CLI::App& command, InputSource& input);

// Reads the input whole. Throws InputError when it cannot be read or is larger than the limit.
TextInput readInput(InputSource const& input);

// Reads the input and parses it with `parse`; InputErrors get the input's name in front.
template <typename Parse>
auto readAndParse(InputSource const& source, Parse parse) {
    TextInput const input = readInput(source);
    try {
        return parse(input.text);
    } catch (InputError const& error) {
        throw InputError(withSource(input.source, error.what()));
    }
}

// Two-space indented JSON with a final line end, arrays of plain values on one line. Throws InputError
// naming the first number that is not finite ("result 'groups[0].length' is inf: ..."): such a result
// comes from input numbers too large for double arithmetic and is never written.
std::string formatJson(nlohmann::ordered_json const& document);

// Throws the InputError of formatJson when `value`, the result called `name`, is not finite.
void requireFiniteResult(double value, std::string const& name);

// The example shown under --help: "Example input:\n<text>\n\nExample:\n  <command line>".
std::string helpFooter(std::string const& exampleInput, std::string const& exampleCommand);

// A progress hook for SegmentGrouper::computeGroups: prints one line on standard error, updated in place,
// when standard error is a terminal; an empty function (no output) otherwise. `finishProgress` clears the
// line.
boost::function<void(int, int)> groupingProgress(std::string const& label);
void finishProgress();

}  // namespace ktx
