#include "CommandSupport.h"

#include <unistd.h>
#include <algorithm>
#include <cstdio>

namespace ktx {

void addInputOption(CLI::App& command, std::string& input) {
    command.add_option("input", input, "input file, or - for standard input")->capture_default_str();
}

namespace {

bool isScalar(nlohmann::ordered_json const& value) {
    return !value.is_array() && !value.is_object();
}

// Objects one member per line; arrays of plain values (numbers, a point, a row) on one line.
void writeJson(nlohmann::ordered_json const& value, std::string const& indent, std::string& out) {
    if (isScalar(value)) {
        out += value.dump();
        return;
    }
    if (value.empty()) {
        out += value.is_array() ? "[]" : "{}";
        return;
    }
    std::string const inner = indent + "  ";
    if (value.is_array()) {
        bool const flat = std::all_of(value.begin(), value.end(), isScalar);
        out += "[";
        bool first = true;
        for (auto const& element : value) {
            out += first ? (flat ? "" : "\n" + inner) : (flat ? ", " : ",\n" + inner);
            writeJson(element, inner, out);
            first = false;
        }
        out += flat ? "]" : "\n" + indent + "]";
        return;
    }
    out += "{";
    bool first = true;
    for (auto const& [key, member] : value.items()) {
        out += (first ? "\n" : ",\n") + inner + nlohmann::ordered_json(key).dump() + ": ";
        writeJson(member, inner, out);
        first = false;
    }
    out += "\n" + indent + "}";
}

}  // namespace

std::string formatJson(nlohmann::ordered_json const& document) {
    std::string out;
    writeJson(document, "", out);
    return out + "\n";
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
