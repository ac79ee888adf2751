#pragma once

#include "session/time_text.h"

#include <string>

namespace lanefeed_tool {

using lanefeed_runtime::TickSpan;
using lanefeed_runtime::TimeScale;

// Reads "A..B", counted from the first tick of the result: numbers with s, ms, us, ns, ticks or %;
// an end that is left out is that of the result. Throws a usage failure for anything else, for an
// empty span and for one outside of the result.
// `option` is what the message names.
TickSpan parseTimeSpan(const std::string& text,
                       const TimeScale& scale,
                       const char* option = "--time");
// Reads one such time, which must be one of the ticks of the result.
std::uint64_t parseTime(const std::string& text, const TimeScale& scale, const char* option);

}  // namespace lanefeed_tool
