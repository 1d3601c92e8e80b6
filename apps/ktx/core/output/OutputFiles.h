// All-or-nothing output. Every result of a command (its main output and any pictures) is collected first
// and written at the end. A regular file (new or existing) is written to a temporary file beside it and
// renamed into place only when every temporary file has been written completely, so a failure never leaves
// a partial output file behind. A character device or a FIFO (/dev/null, /dev/stdout, a named pipe) is
// written directly and never replaced. A symbolic link is followed: the file it points to is written and the
// link stays; a link to nothing is refused. The path "-" stands for standard output, written last.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace ktx {

// Standard output could not take the result (a full disk, a closed descriptor). The tool reports it and
// exits with status 1: the input was fine, the result is lost.
class StandardOutputError : public std::runtime_error {
  public:
    explicit StandardOutputError(std::string const& message) : std::runtime_error(message) {}
};

// Writes `text` completely to standard output (descriptor 1). Throws StandardOutputError ("cannot write to
// standard output: <reason>") when it cannot.
void writeStandardOutput(std::string const& text);

class OutputFiles {
  public:
    // Throws InputError when `path` can certainly not be written (its folder is missing or not writable,
    // it names a folder, a block device or a socket, it is a symbolic link to nothing, or it is an existing
    // file without write permission). Call it before long work.
    static void checkWritable(std::string const& path);

    // True when `first` and `second` name the same destination: both "-", or the same file once symbolic
    // links and the folder are resolved (a file that does not exist yet is compared by folder and name).
    static bool sameDestination(std::string const& first, std::string const& second);

    // Registers `content` for `path`; nothing is written yet.
    void add(std::string const& path, std::string content);

    // Writes every registered file, then prints the standard-output content. Throws InputError ("cannot
    // write output file 'x': <reason>", or "output 'x' is named twice") and removes its temporary files
    // when a file cannot be written; destinations renamed before a failing rename keep their new, complete
    // content. Throws StandardOutputError when standard output fails.
    void commit();

  private:
    struct Entry {
        std::string path;
        std::string content;
        std::string destination;  // `path` with symbolic links followed
        bool direct = false;      // a device or FIFO, written in place
        std::string temporary;
    };
    std::vector<Entry> entries_;
};

}  // namespace ktx
