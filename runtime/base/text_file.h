#pragma once

#include <string>

namespace lanefeed_runtime {

// Reads a whole file. False with the system's reason in `reason`.
bool readTextFile(const std::string& fileName, std::string& text, std::string& reason);

// Writes a file under a temporary name beside it and renames it when it is whole, so that readers
// and a full disk never see half of it. False with the reason in `reason`; an old file then stays.
bool replaceTextFile(const std::string& fileName, const std::string& text, std::string& reason);

}  // namespace lanefeed_runtime
