// Tested by tests/tool/texts_test.cpp.

#include "time_range.h"

#include "failure.h"

#include <fmt/format.h>

namespace lanefeed_tool {

TickSpan parseTimeSpan(const std::string& text, const TimeScale& scale, const char* option) {
    TickSpan span;
    std::string error;
    if (lanefeed_runtime::readTimeSpan(text, scale, span, error)) return span;
    throw Failure(exitUsage, fmt::format("{} {}: {}", option, text, error));
}

std::uint64_t parseTime(const std::string& text, const TimeScale& scale, const char* option) {
    std::uint64_t tick = 0;
    std::string error;
    if (lanefeed_runtime::readTime(text, scale, tick, error)) return tick;
    throw Failure(exitUsage, fmt::format("{} {}: {}", option, text, error));
}

}  // namespace lanefeed_tool
