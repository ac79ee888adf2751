#pragma once

#include <cstdint>
#include <string>

namespace lanefeed_runtime {

// What a file is, told from its first bytes and its size, before a database is opened on it.
struct FileHead {
    enum class Kind { missing, unreadable, noFile, empty, other, otherVersion, truncated, result };

    Kind kind = Kind::missing;
    int systemError = 0;       // of missing and unreadable
    std::int32_t version = 0;  // of otherVersion
};

FileHead readFileHead(const std::string& file);

}  // namespace lanefeed_runtime
