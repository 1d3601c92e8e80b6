#include "input/TextInput.h"

#include "input/InputError.h"

#include <sys/stat.h>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

namespace ktx {

namespace {

[[noreturn]] void failToRead(std::string const& path, std::string const& reason) {
    throw InputError("cannot read input file '" + path + "': " + reason);
}

}  // namespace

TextInput readTextInput(std::string const& path) {
    if (path == "-") {
        std::ostringstream content;
        content << std::cin.rdbuf();
        return {"<stdin>", content.str()};
    }
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        failToRead(path, std::strerror(errno));
    }
    if (S_ISDIR(status.st_mode)) {
        failToRead(path, "it is a directory");
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        failToRead(path, std::strerror(errno));
    }
    std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (file.bad()) {
        failToRead(path, "read error");
    }
    return {path, std::move(text)};
}

}  // namespace ktx
