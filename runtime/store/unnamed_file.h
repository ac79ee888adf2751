#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace lanefeed_runtime {

// A file without a name in a directory, gone when it is closed or the process dies; -1 on failure.
int openUnnamedFile(const std::string& directory);

// Whole reads and writes at an offset. False on failure, with errno set.
bool writeAt(int file, const void* data, std::size_t bytes, std::int64_t offset);
bool readAt(int file, void* data, std::size_t bytes, std::int64_t offset);

}  // namespace lanefeed_runtime
