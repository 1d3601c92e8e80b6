#include "CommandSupport.h"

#include <unistd.h>
#include <cstdio>

namespace ktx {

void addInputOption(CLI::App& command, std::string& input) {
    command.add_option("input", input, "input file, or - for standard input")->capture_default_str();
}

void addOutputOption(CLI::App& command, std::string& output) {
    command.add_option("-o,--output", output, "write the result to this file instead of standard output");
}

std::string formatJson(nlohmann::ordered_json const& document) {
    return document.dump(2) + "\n";
}

std::string helpFooter(std::string const& exampleInput, std::string const& exampleCommand) {
    return "\nExample input:\n" + exampleInput + "\nExample:\n  " + exampleCommand + "\n";
}

namespace {
bool progressShown = false;
}

boost::function<void(int, int)> groupingProgress(std::string const& label) {
    if (::isatty(STDERR_FILENO) == 0) {
        return {};
    }
    return [label](int tried, int segments) {
        std::fprintf(stderr, "\r%s: %d of %d numbers of groups tried", label.c_str(), tried, segments);
        std::fflush(stderr);
        progressShown = true;
    };
}

void finishProgress() {
    if (progressShown) {
        std::fprintf(stderr, "\r\033[K");
        std::fflush(stderr);
        progressShown = false;
    }
}

}  // namespace ktx
