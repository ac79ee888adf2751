#pragma once

#include "traces.h"

#include <string>

namespace lanefeed_bench {

// Writes a trace as a result: one process, a thread with a band for each row, calls as slices.
// False when the file can't be written.
bool writeTraceFile(const Trace& trace, const std::string& file);

}  // namespace lanefeed_bench
