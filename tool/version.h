#pragma once

#include <string>

namespace lanefeed_tool {

// Version of the library, of the schema of results, and the commit it was built from.
std::string versionText();

}  // namespace lanefeed_tool
