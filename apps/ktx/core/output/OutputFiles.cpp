#include "output/OutputFiles.h"

#include "input/InputError.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace ktx {

namespace {

[[noreturn]] void failToWrite(std::string const& path, std::string const& reason) {
    throw InputError("cannot write output file '" + path + "': " + reason);
}

std::string folderOf(std::string const& path) {
    auto const slash = path.find_last_of('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string baseNameOf(std::string const& path) {
    auto const slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

mode_t defaultFileMode() {
    mode_t const mask = ::umask(0);
    ::umask(mask);
    return static_cast<mode_t>(0666 & ~mask);
}

// Writes all of `content` to an open descriptor; returns 0 or the errno of the failure.
int writeAll(int descriptor, std::string const& content) {
    std::size_t written = 0;
    while (written < content.size()) {
        ssize_t const n = ::write(descriptor, content.data() + written, content.size() - written);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return n < 0 ? errno : EIO;
        }
        written += static_cast<std::size_t>(n);
    }
    return 0;
}

// Where the bytes for `path` go and how they get there.
struct Destination {
    std::string path;     // `path` with a symbolic link followed
    bool exists = false;  // an existing regular file, device or FIFO
    bool direct = false;  // a character device or FIFO: written in place
};

// Follows a symbolic link and classifies what `path` names. Throws InputError for a link to nothing, a
// folder, a block device or a socket.
Destination destinationOf(std::string const& path) {
    Destination destination{path, false, false};
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return destination;  // a new file; its folder is checked by the caller
    }
    if (S_ISLNK(status.st_mode)) {
        char resolved[PATH_MAX];
        if (::realpath(path.c_str(), resolved) == nullptr || ::stat(resolved, &status) != 0) {
            failToWrite(path, std::string("it is a symbolic link to nothing: ") + std::strerror(errno));
        }
        destination.path = resolved;
    }
    if (S_ISDIR(status.st_mode)) {
        failToWrite(path, "it is a directory");
    }
    if (!S_ISREG(status.st_mode) && !S_ISCHR(status.st_mode) && !S_ISFIFO(status.st_mode)) {
        failToWrite(path, "it is neither a regular file nor a character device nor a FIFO");
    }
    destination.exists = true;
    destination.direct = !S_ISREG(status.st_mode);
    return destination;
}

// Writes `content` to a new temporary file in the destination's folder and returns its name.
std::string writeTemporary(std::string const& path, std::string const& destination,
                           std::string const& content) {
    std::string name = folderOf(destination) + "/." + baseNameOf(destination) + ".ktx-XXXXXX";
    int const descriptor = ::mkstemp(name.data());
    if (descriptor < 0) {
        failToWrite(path, std::strerror(errno));
    }
    ::fchmod(descriptor, defaultFileMode());
    int error = writeAll(descriptor, content);
    if (::close(descriptor) != 0 && error == 0) {
        error = errno;
    }
    if (error != 0) {
        ::unlink(name.c_str());
        failToWrite(path, std::strerror(error));
    }
    return name;
}

// Writes `content` into an existing device or FIFO without creating or truncating anything.
void writeInPlace(std::string const& path, std::string const& destination, std::string const& content) {
    int const descriptor = ::open(destination.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0) {
        failToWrite(path, std::strerror(errno));
    }
    int error = writeAll(descriptor, content);
    if (::close(descriptor) != 0 && error == 0) {
        error = errno;
    }
    if (error != 0) {
        failToWrite(path, std::strerror(error));
    }
}

// A name that is the same for two paths of one destination: the resolved path of an existing file, or
// the resolved folder and the name of a new one.
std::string destinationKey(std::string const& path) {
    char resolved[PATH_MAX];
    if (::realpath(path.c_str(), resolved) != nullptr) {
        return resolved;
    }
    if (::realpath(folderOf(path).c_str(), resolved) != nullptr) {
        return std::string(resolved) + "/" + baseNameOf(path);
    }
    return path;
}

}  // namespace

void writeStandardOutput(std::string const& text) {
    int const error = writeAll(STDOUT_FILENO, text);
    if (error != 0) {
        throw StandardOutputError(std::string("cannot write to standard output: ") + std::strerror(error));
    }
}

void OutputFiles::checkWritable(std::string const& path) {
    if (path == "-") {
        return;
    }
    if (path.empty() || path.back() == '/') {
        failToWrite(path, "not a file name");
    }
    Destination const destination = destinationOf(path);
    if (destination.exists && ::access(destination.path.c_str(), W_OK) != 0) {
        failToWrite(path, std::strerror(errno));
    }
    if (destination.direct) {
        return;
    }
    std::string const folder = folderOf(destination.path);
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0) {
        failToWrite(path, "folder '" + folder + "': " + std::strerror(errno));
    }
    if (!S_ISDIR(status.st_mode)) {
        failToWrite(path, "'" + folder + "' is not a folder");
    }
    if (::access(folder.c_str(), W_OK | X_OK) != 0) {
        failToWrite(path, "folder '" + folder + "': " + std::strerror(errno));
    }
}

bool OutputFiles::sameDestination(std::string const& first, std::string const& second) {
    if (first == "-" || second == "-") {
        return first == second;
    }
    struct stat a {};
    struct stat b {};
    if (::stat(first.c_str(), &a) == 0 && ::stat(second.c_str(), &b) == 0) {
        return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
    }
    return destinationKey(first) == destinationKey(second);
}

void OutputFiles::add(std::string const& path, std::string content) {
    entries_.push_back({path, std::move(content), {}, false, {}});
}

void OutputFiles::commit() {
    try {
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            for (std::size_t j = 0; j < i; ++j) {
                if (sameDestination(entries_[j].path, entries_[i].path)) {
                    throw InputError("output '" + entries_[i].path + "' is named twice");
                }
            }
        }
        for (Entry& entry : entries_) {
            if (entry.path != "-") {
                checkWritable(entry.path);
                Destination const destination = destinationOf(entry.path);
                entry.destination = destination.path;
                entry.direct = destination.direct;
                if (!entry.direct) {
                    entry.temporary = writeTemporary(entry.path, entry.destination, entry.content);
                }
            }
        }
        for (Entry const& entry : entries_) {
            if (entry.direct) {
                writeInPlace(entry.path, entry.destination, entry.content);
            }
        }
        for (Entry& entry : entries_) {
            if (!entry.temporary.empty()) {
                if (::rename(entry.temporary.c_str(), entry.destination.c_str()) != 0) {
                    failToWrite(entry.path, std::strerror(errno));
                }
                entry.temporary.clear();
            }
        }
    } catch (...) {
        for (Entry const& entry : entries_) {
            if (!entry.temporary.empty()) {
                ::unlink(entry.temporary.c_str());
            }
        }
        entries_.clear();
        throw;
    }
    std::vector<Entry> const written = std::move(entries_);
    entries_.clear();
    for (Entry const& entry : written) {
        if (entry.path == "-") {
            writeStandardOutput(entry.content);
        }
    }
}

}  // namespace ktx
