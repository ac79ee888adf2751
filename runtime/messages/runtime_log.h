#pragma once

#include <string>

namespace lanefeed_runtime {

// An error on the logger of the library, for what no caller is told otherwise. Quiet when the
// program set up no logging. From any thread.
void logError(const std::string& text);

}  // namespace lanefeed_runtime
