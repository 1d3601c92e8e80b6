// Runs the built ktx program in a shell with a given standard input and captures its exit status and
// both output streams; and a scratch folder per test.
#pragma once

#include <string>
#include <vector>

namespace ktx::testing {

struct KtxRun {
    int status = -1;
    std::string out;
    std::string err;
};

// `arguments` are passed to ktx as they are (each quoted for the shell).
KtxRun runKtx(std::vector<std::string> const& arguments, std::string const& standardInput = {});

// As runKtx with empty standard input, but standard output redirected by the shell redirection
// `outputRedirection` (">/dev/full", ">&-"); `out` stays empty.
KtxRun runKtxWithOutput(std::vector<std::string> const& arguments, std::string const& outputRedirection);

std::string examplePath(std::string const& name);
std::string readFile(std::string const& path);
void writeFile(std::string const& path, std::string const& content);
bool fileExists(std::string const& path);
// Names of the entries of a folder (without "." and "..").
std::vector<std::string> folderEntries(std::string const& folder);

// A fresh empty folder, removed with its contents when the object goes.
class ScratchFolder {
  public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(ScratchFolder const&) = delete;
    ScratchFolder& operator=(ScratchFolder const&) = delete;
    std::string path(std::string const& name) const { return path_ + "/" + name; }
    std::string const& path() const { return path_; }

  private:
    std::string path_;
};

// Number of occurrences of `needle` in `text`.
int countOf(std::string const& text, std::string const& needle);
// The text between <g class="name"> and its </g> (pictures do not nest groups).
std::string svgGroup(std::string const& svg, std::string const& name);

}  // namespace ktx::testing
