// ktx: the library's algorithms on the command line. Every subcommand reads JSON (or CSV) from a file or
// standard input and writes JSON or CSV to standard output or an --output file, plus optional SVG
// pictures. Exit status: 0 success, 2 bad input or unusable command line (one-line message on standard
// error), 1 internal failure or a result that standard output did not take.
#include "CommandSupport.h"
#include "input/InputError.h"
#include "output/OutputFiles.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>
#include <vector>

namespace {

constexpr int kBadInput = 2;
constexpr int kInternalFailure = 1;

void report(std::string const& prefix, std::string const& message) {
    std::cerr << ktx::oneLine(prefix + message) << std::endl;
}

// Help and version texts go through std::cout; a text that standard output did not take is a failure.
int checkedStandardOutput(int status) {
    if (!std::cout.flush()) {
        report("ktx: ", "cannot write to standard output");
        return kInternalFailure;
    }
    return status;
}

int runTool(int argc, char** argv) {
    CLI::App tool{
        "ktx: grouping, master selection, assignment, sampling and annealing on your own data.\n"
        "Each subcommand reads JSON (or CSV) from a file or - (standard input); see "
        "'ktx <subcommand> --help' for an example input.",
        "ktx"};
    tool.set_version_flag("--version", std::string("ktx ") + KTX_VERSION);
    tool.require_subcommand(1);
    std::vector<ktx::Command> const commands{ktx::addGroupCommand(tool),   ktx::addCurvatureCommand(tool),
                                             ktx::addMastersCommand(tool), ktx::addAssignCommand(tool),
                                             ktx::addLhsCommand(tool),     ktx::addSample2dCommand(tool),
                                             ktx::addAnnealCommand(tool),  ktx::addDemoCommand(tool)};
    try {
        tool.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        if (error.get_exit_code() == 0) {
            return checkedStandardOutput(tool.exit(error));
        }
        report("ktx: ", std::string(error.what()) + " (see ktx --help)");
        return kBadInput;
    }
    for (ktx::Command const& command : commands) {
        if (command.app->parsed()) {
            std::string const prefix = "ktx " + command.app->get_name() + ": ";
            try {
                command.run();
            } catch (ktx::InputError const& error) {
                ktx::finishProgress();
                report(prefix, error.what());
                return kBadInput;
            } catch (ktx::StandardOutputError const& error) {
                report(prefix, error.what());
                return kInternalFailure;
            } catch (std::exception const& error) {
                ktx::finishProgress();
                report(prefix, std::string("internal error: ") + error.what());
                return kInternalFailure;
            }
        }
    }
    return checkedStandardOutput(0);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return runTool(argc, argv);
    } catch (std::exception const& error) {
        report("ktx: internal error: ", error.what());
    } catch (...) {
        report("ktx: ", "internal error of unknown type");
    }
    return kInternalFailure;
}
