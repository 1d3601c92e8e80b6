#include "KtxRunner.h"

#include <dirent.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace ktx::testing {

namespace {

std::string quoted(std::string const& argument) {
    std::string text = "'";
    for (char const c : argument) {
        text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return text + "'";
}

}  // namespace

std::string readFile(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void writeFile(std::string const& path, std::string const& content) {
    std::ofstream file(path, std::ios::binary);
    file << content;
}

bool fileExists(std::string const& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0;
}

std::vector<std::string> folderEntries(std::string const& folder) {
    std::vector<std::string> names;
    if (DIR* dir = ::opendir(folder.c_str())) {
        while (dirent const* entry = ::readdir(dir)) {
            std::string const name = entry->d_name;
            if (name != "." && name != "..") {
                names.push_back(name);
            }
        }
        ::closedir(dir);
    }
    return names;
}

ScratchFolder::ScratchFolder() {
    char const* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base ? base : "/tmp") + "/ktx-test-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("cannot create a scratch folder");
    }
    path_ = pattern;
}

ScratchFolder::~ScratchFolder() {
    std::system(("rm -rf " + quoted(path_)).c_str());
}

namespace {

// Runs ktx with standard output redirected by `outputRedirection` (a shell redirection such as
// "> file"); standard output is captured only when it went to io/out.
KtxRun runRedirected(std::vector<std::string> const& arguments, std::string const& standardInput,
                     ScratchFolder const& io, std::string const& outputRedirection) {
    writeFile(io.path("in"), standardInput);
    std::string command = quoted(KTX_BINARY);
    for (std::string const& argument : arguments) {
        command += " " + quoted(argument);
    }
    command += " < " + quoted(io.path("in")) + " " + outputRedirection + " 2> " + quoted(io.path("err"));
    int const raw = std::system(command.c_str());
    KtxRun run;
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
    run.out = readFile(io.path("out"));
    run.err = readFile(io.path("err"));
    return run;
}

}  // namespace

KtxRun runKtx(std::vector<std::string> const& arguments, std::string const& standardInput) {
    ScratchFolder const io;
    return runRedirected(arguments, standardInput, io, "> " + quoted(io.path("out")));
}

KtxRun runKtxWithOutput(std::vector<std::string> const& arguments, std::string const& outputRedirection) {
    ScratchFolder const io;
    return runRedirected(arguments, {}, io, outputRedirection);
}

std::string examplePath(std::string const& name) {
    return std::string(KTX_EXAMPLES_DIR) + "/" + name;
}

int countOf(std::string const& text, std::string const& needle) {
    int count = 0;
    for (auto at = text.find(needle); at != std::string::npos; at = text.find(needle, at + needle.size())) {
        ++count;
    }
    return count;
}

std::string svgGroup(std::string const& svg, std::string const& name) {
    std::string const open = "<g class=\"" + name + "\">";
    auto const begin = svg.find(open);
    if (begin == std::string::npos) {
        return {};
    }
    auto const end = svg.find("</g>", begin);
    return svg.substr(begin + open.size(), end - begin - open.size());
}

}  // namespace ktx::testing
