// Reads the head of a file: is it a result of this schema, and as long as it says.
// Tested by tests/store/open_store_test.cpp.
#include "store/file_head.h"

#include "store/schema.h"
#include "store/unnamed_file.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace lanefeed_runtime {
namespace {

// Layout of the head, in bytes; numbers are big-endian.
constexpr std::size_t kHeadBytes = 100;
constexpr char kMagic[] = "SQLite format 3";  // with its final zero
constexpr std::size_t kPageSize = 16;
constexpr std::size_t kChangeCount = 24;
constexpr std::size_t kPageCount = 28;
constexpr std::size_t kUserVersion = 60;
constexpr std::size_t kApplication = 68;
constexpr std::size_t kSizeValidFor = 92;

using Head = std::array<unsigned char, kHeadBytes>;

std::uint32_t number(const Head& head, std::size_t at, std::size_t bytes) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i)
        value = value << 8 | head[at + i];
    return value;
}

FileHead classify(const Head& head, std::int64_t fileBytes) {
    FileHead out;
    out.kind = FileHead::Kind::other;
    if (std::memcmp(head.data(), kMagic, sizeof kMagic) != 0) return out;
    if (static_cast<std::int32_t>(number(head, kApplication, 4)) != kApplicationId) return out;
    out.version = static_cast<std::int32_t>(number(head, kUserVersion, 4));
    out.kind = FileHead::Kind::otherVersion;
    if (out.version != kSchemaVersion) return out;
    // A page size of 65536 is written as 1.
    const std::uint32_t stored = number(head, kPageSize, 2);
    const std::int64_t pageBytes = stored == 1 ? 65536 : stored;
    const bool sizeKnown = number(head, kChangeCount, 4) == number(head, kSizeValidFor, 4);
    const bool isShort = sizeKnown && fileBytes < pageBytes * number(head, kPageCount, 4);
    out.kind = isShort ? FileHead::Kind::truncated : FileHead::Kind::result;
    return out;
}

FileHead failure(int systemError) {
    FileHead out;
    out.kind = systemError == ENOENT || systemError == ENOTDIR ? FileHead::Kind::missing
                                                               : FileHead::Kind::unreadable;
    out.systemError = systemError;
    return out;
}

FileHead readOpenFile(int file, std::int64_t bytes) {
    FileHead out;
    Head head{};
    if (bytes == 0) {
        out.kind = FileHead::Kind::empty;
    } else if (bytes < static_cast<std::int64_t>(kHeadBytes)) {
        out.kind = FileHead::Kind::other;
    } else if (!readAt(file, head.data(), head.size(), 0)) {
        out = failure(errno);
    } else {
        out = classify(head, bytes);
    }
    return out;
}

}  // namespace

FileHead readFileHead(const std::string& file) {
    struct stat info {};
    if (::stat(file.c_str(), &info) != 0) return failure(errno);
    FileHead out;
    out.kind = FileHead::Kind::noFile;
    // Opening a pipe would wait for its other end.
    if (!S_ISREG(info.st_mode)) return out;
    const int handle = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (handle < 0) return failure(errno);
    out = readOpenFile(handle, info.st_size);
    ::close(handle);
    return out;
}

}  // namespace lanefeed_runtime
