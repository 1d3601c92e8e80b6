#include "input/TextInput.h"

#include "input/InputError.h"
#include "output/NumberFormat.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>

namespace ktx {

namespace {

[[noreturn]] void failToRead(std::string const& path, std::string const& reason) {
    throw InputError("cannot read input file '" + path + "': " + reason);
}

// Reads `descriptor` to its end, or until more than `maxBytes` bytes have come.
std::string readAtMost(int descriptor, std::string const& path, std::string const& source,
                       std::size_t maxBytes) {
    std::string text;
    char buffer[65536];
    while (true) {
        ssize_t const n = ::read(descriptor, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            failToRead(path, std::strerror(errno));
        }
        if (n == 0) {
            return text;
        }
        if (static_cast<std::size_t>(n) > maxBytes - text.size()) {
            throw InputError("input '" + source + "' is larger than " +
                             formatNumber(static_cast<double>(maxBytes) / (1024.0 * 1024.0)) +
                             " MiB, the limit; raise it with --max-input-mib");
        }
        text.append(buffer, static_cast<std::size_t>(n));
    }
}

}  // namespace

TextInput readTextInput(std::string const& path, std::size_t maxBytes) {
    if (path == "-") {
        return {"<stdin>", readAtMost(STDIN_FILENO, "-", "<stdin>", maxBytes)};
    }
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        failToRead(path, std::strerror(errno));
    }
    if (S_ISDIR(status.st_mode)) {
        failToRead(path, "it is a directory");
    }
    int const descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        failToRead(path, std::strerror(errno));
    }
    try {
        std::string text = readAtMost(descriptor, path, path, maxBytes);
        ::close(descriptor);
        return {path, std::move(text)};
    } catch (...) {
        ::close(descriptor);
        throw;
    }
}

}  // namespace ktx
