// Where a command's results go: its main result (-o/--output; standard output when absent or "-") and, for
// the commands that draw one, an SVG picture (--svg). Both destinations are checked before the work starts
// and written together at the end, all or nothing (see OutputFiles).
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

namespace ktx {

class CommandOutput {
  public:
    // Adds -o/--output to `command`. Requires: this object outlives the parsing of the command line.
    void addOutputOption(CLI::App& command);

    // Adds --svg, described by `help`, to `command`. Requires: as addOutputOption.
    void addPictureOption(CLI::App& command, std::string const& help);

    // Throws InputError when a destination can certainly not be written, or when -o and --svg name the same
    // destination. Call it before long work.
    void checkWritable() const;

    // Writes `result` to the output and, when --svg was given, the picture `drawPicture` returns (it is
    // not called otherwise). Throws InputError when a file cannot be written (nothing is left half
    // written) and StandardOutputError when standard output fails.
    void write(std::string result, std::function<std::string()> const& drawPicture = {}) const;

  private:
    std::string output_ = "-";
    std::string picture_;
};

}  // namespace ktx
