// All-or-nothing output. Every result of a command (its main output and any pictures) is collected first
// and written at the end: each file goes to a temporary file beside its destination and is renamed into
// place only when every temporary file has been written completely, so a failure never leaves a partial
// output file behind. The path "-" stands for standard output, which is written after the files.
#pragma once

#include <string>
#include <vector>

namespace ktx {

class OutputFiles {
  public:
    // Throws InputError when `path` can certainly not be written (its folder is missing or not writable,
    // it names a folder, or it is an existing file without write permission). Call it before long work.
    static void checkWritable(std::string const& path);

    // Registers `content` for `path`; nothing is written yet.
    void add(std::string const& path, std::string content);

    // Writes and renames every registered file, then prints the standard-output content. Throws InputError
    // ("cannot write output file 'x': <reason>") and removes its temporary files when a file cannot be
    // written; destinations renamed before a failing rename keep their new, complete content.
    void commit();

  private:
    struct Entry {
        std::string path;
        std::string content;
        std::string temporary;
    };
    std::vector<Entry> entries_;
};

}  // namespace ktx
