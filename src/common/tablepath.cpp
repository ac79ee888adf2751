// Putting paths together and taking them apart. Tested by tests/provider/queries_test.cpp.

#include "common/tablepath.h"

#include "common/names.h"

#include <platkit_2_18/strings.h>

namespace lanefeed_1 {

void concatPaths(std::string& path, const std::string& tail) {
    if (tail.empty()) return;
    if (!path.empty()) path += names::kPathSeparator;
    path += tail;
}

std::string joinTablePath(const std::string& table, const std::string& path) {
    if (table.empty() || path.empty()) return table + path;
    return table + names::kTableSeparator + path;
}

std::vector<std::string> splitPath(const std::string& path) {
    return platkit_2_18::strings::split_string(path, names::kPathSeparator);
}

}  // namespace lanefeed_1
