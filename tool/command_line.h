#pragma once

namespace lanefeed_tool {

// Reads the command line, runs the verb and gives its exit code. Throws what the verb throws.
int runCommandLine(int count, const char* const* arguments);

}  // namespace lanefeed_tool
