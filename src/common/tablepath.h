#pragma once

#include <string>
#include <vector>

namespace lanefeed_1 {

// Paths name attributes of the store: table "::" attribute path, whose parts are joined by ".".

// Appends a part, with "." between the two where both are there.
void concatPaths(std::string& path, const std::string& tail);

// "table::path"; without the "::" where one of them is empty.
std::string joinTablePath(const std::string& table, const std::string& path);

// Parts of an attribute path; none for an empty one.
std::vector<std::string> splitPath(const std::string& path);

}  // namespace lanefeed_1
