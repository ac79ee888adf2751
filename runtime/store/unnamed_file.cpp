// Scratch space on disk. Tested by tests/store/record_sorter_test.cpp.
#include "store/unnamed_file.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace lanefeed_runtime {

int openUnnamedFile(const std::string& directory) {
    const std::string& place = directory.empty() ? std::string(".") : directory;
    const int file = ::open(place.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (file >= 0 || (errno != EOPNOTSUPP && errno != EISDIR && errno != ENOENT)) return file;
    // Not every file system has files without a name.
    std::string name = place + "/lanefeed-sort-XXXXXX";
    const int named = ::mkostemp(name.data(), O_CLOEXEC);
    if (named >= 0) ::unlink(name.c_str());
    return named;
}

bool writeAt(int file, const void* data, std::size_t bytes, std::int64_t offset) {
    const auto* from = static_cast<const char*>(data);
    while (bytes > 0) {
        const ssize_t done = ::pwrite(file, from, bytes, offset);
        if (done < 0 && errno == EINTR) continue;
        if (done <= 0) return false;
        from += done;
        offset += done;
        bytes -= static_cast<std::size_t>(done);
    }
    return true;
}

bool readAt(int file, void* data, std::size_t bytes, std::int64_t offset) {
    auto* to = static_cast<char*>(data);
    while (bytes > 0) {
        const ssize_t done = ::pread(file, to, bytes, offset);
        if (done < 0 && errno == EINTR) continue;
        if (done <= 0) return false;
        to += done;
        offset += done;
        bytes -= static_cast<std::size_t>(done);
    }
    return true;
}

}  // namespace lanefeed_runtime
