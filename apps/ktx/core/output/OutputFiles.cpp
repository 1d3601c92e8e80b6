#include "output/OutputFiles.h"

#include "input/InputError.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

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

// Writes `content` to a new temporary file in the destination's folder and returns its name.
std::string writeTemporary(std::string const& path, std::string const& content) {
    std::string name = folderOf(path) + "/." + baseNameOf(path) + ".ktx-XXXXXX";
    int const descriptor = ::mkstemp(name.data());
    if (descriptor < 0) {
        failToWrite(path, std::strerror(errno));
    }
    ::fchmod(descriptor, defaultFileMode());
    std::size_t written = 0;
    while (written < content.size()) {
        ssize_t const n = ::write(descriptor, content.data() + written, content.size() - written);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            int const error = errno;
            ::close(descriptor);
            ::unlink(name.c_str());
            failToWrite(path, std::strerror(error));
        }
        written += static_cast<std::size_t>(n);
    }
    if (::close(descriptor) != 0) {
        int const error = errno;
        ::unlink(name.c_str());
        failToWrite(path, std::strerror(error));
    }
    return name;
}

}  // namespace

void OutputFiles::checkWritable(std::string const& path) {
    if (path == "-") {
        return;
    }
    if (path.empty() || path.back() == '/') {
        failToWrite(path, "not a file name");
    }
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) {
        if (S_ISDIR(status.st_mode)) {
            failToWrite(path, "it is a directory");
        }
        if (::access(path.c_str(), W_OK) != 0) {
            failToWrite(path, std::strerror(errno));
        }
    }
    std::string const folder = folderOf(path);
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

void OutputFiles::add(std::string const& path, std::string content) {
    entries_.push_back({path, std::move(content), {}});
}

void OutputFiles::commit() {
    try {
        for (Entry& entry : entries_) {
            if (entry.path != "-") {
                checkWritable(entry.path);
                entry.temporary = writeTemporary(entry.path, entry.content);
            }
        }
        for (Entry& entry : entries_) {
            if (entry.path != "-") {
                if (::rename(entry.temporary.c_str(), entry.path.c_str()) != 0) {
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
    for (Entry const& entry : entries_) {
        if (entry.path == "-") {
            std::cout << entry.content << std::flush;
        }
    }
    entries_.clear();
}

}  // namespace ktx
