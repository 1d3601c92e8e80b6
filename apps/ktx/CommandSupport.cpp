#include "CommandSupport.h"

#include "output/NumberFormat.h"

#include <unistd.h>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace ktx {

void addInputOption(CLI::App& command, InputSource& input) {
    command.add_option("input", input.path, "input file, or - for standard input")->capture_default_str();
    command
        .add_option("--max-input-mib", input.maxMebibytes,
                    "read at most this many MiB of input; a larger input is refused")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
}

TextInput readInput(InputSource const& input) {
    double const bytes = input.maxMebibytes * 1024.0 * 1024.0;
    constexpr double kLargest = static_cast<double>(std::numeric_limits<std::size_t>::max() / 2);
    return readTextInput(input.path, static_cast<std::size_t>(std::min(bytes, kLargest)));
}

namespace {

bool isScalar(nlohmann::ordered_json const& value) {
    return !value.is_array() && !value.is_object();
}

// Objects one member per line; arrays of plain values (numbers, a point, a row) on one line. `path` names
// the value in messages ("groups[2].length").
void writeJson(nlohmann::ordered_json const& value, std::string const& path, std::string const& indent,
               std::string& out) {
    if (value.is_number_float()) {
        requireFiniteResult(value.get<double>(), path);
    }
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
        std::size_t index = 0;
        for (auto const& element : value) {
            out += first ? (flat ? "" : "\n" + inner) : (flat ? ", " : ",\n" + inner);
            writeJson(element, path + "[" + std::to_string(index++) + "]", inner, out);
            first = false;
        }
        out += flat ? "]" : "\n" + indent + "]";
        return;
    }
    out += "{";
    bool first = true;
    for (auto const& [key, member] : value.items()) {
        out += (first ? "\n" : ",\n") + inner + nlohmann::ordered_json(key).dump() + ": ";
        writeJson(member, path.empty() ? key : path + "." + key, inner, out);
        first = false;
    }
    out += "\n" + indent + "}";
}

}  // namespace

void requireFiniteResult(double value, std::string const& name) {
    if (!std::isfinite(value)) {
        throw InputError(
            "result '" + name + "' is " + formatNumber(value) +
            ": the input's numbers are too large to compute with in double precision; scale them "
            "down");
    }
}

std::string formatJson(nlohmann::ordered_json const& document) {
    std::string out;
    writeJson(document, "", "", out);
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
