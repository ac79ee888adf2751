// Spans of time as users write them. Tested by tests/tool/time_range_test.cpp.

#include "time_range.h"

#include "failure.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <string_view>

namespace lanefeed_tool {

namespace {

struct Unit {
    std::string_view name;
    long double perSecond;  // 0: ticks
};

// Longer names first, so that "ms" is not read as "s".
constexpr std::array<Unit, 5> kUnits{
    {{"ticks", 0.0L}, {"ms", 1e3L}, {"us", 1e6L}, {"ns", 1e9L}, {"s", 1.0L}}};

bool endsWith(std::string_view text, std::string_view tail) {
    return text.size() >= tail.size() && text.substr(text.size() - tail.size()) == tail;
}

bool readNumber(std::string_view text, long double& value) {
    if (text.empty()) return false;
    const char* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, value, std::chars_format::fixed);
    return parsed.ec == std::errc() && parsed.ptr == end && value >= 0 && std::isfinite(value);
}

// Ticks of one edge; false when it can't be read.
bool readEdge(std::string_view text, const TimeScale& scale, long double& ticks) {
    if (endsWith(text, "%")) {
        if (!readNumber(text.substr(0, text.size() - 1), ticks)) return false;
        ticks = ticks / 100.0L * static_cast<long double>(scale.duration);
        return true;
    }
    for (const Unit& unit : kUnits) {
        if (!endsWith(text, unit.name)) continue;
        if (!readNumber(text.substr(0, text.size() - unit.name.size()), ticks)) return false;
        if (unit.perSecond > 0) {
            ticks = ticks * static_cast<long double>(scale.ticksPerSecond) / unit.perSecond;
        }
        return true;
    }
    return false;
}

// `last`: the greatest tick that there is.
std::uint64_t edgeTicks(std::string_view edge,
                        const std::string& place,
                        const TimeScale& scale,
                        std::uint64_t last) {
    long double ticks = 0;
    if (!readEdge(edge, scale, ticks)) {
        throw Failure(exitUsage, fmt::format("{}: '{}' is no time; write a number with s, ms, us, "
                                             "ns, ticks or %, as in 1.2s or 10%",
                                             place, edge));
    }
    const long double rounded = std::round(ticks);
    if (rounded > static_cast<long double>(last)) {
        throw Failure(exitUsage,
                      fmt::format("{}: '{}' lies outside of the result, which is {} ticks "
                                  "({:.9g} s) long",
                                  place, edge, scale.duration,
                                  static_cast<double>(scale.duration) /
                                      static_cast<double>(scale.ticksPerSecond)));
    }
    return static_cast<std::uint64_t>(rounded);
}

}  // namespace

TickSpan parseTimeSpan(const std::string& text, const TimeScale& scale, const char* option) {
    const std::string place = fmt::format("{} {}", option, text);
    const std::size_t dots = text.find("..");
    if (dots == std::string::npos) {
        throw Failure(exitUsage,
                      fmt::format("{}: no span; write A..B, as in 1.2s..3.4s or 10%..20%", place));
    }
    const std::string_view view = text;
    const std::string_view from = view.substr(0, dots);
    const std::string_view to = view.substr(dots + 2);
    TickSpan span;
    span.start = from.empty() ? 0 : edgeTicks(from, place, scale, scale.duration);
    span.end = to.empty() ? scale.duration : edgeTicks(to, place, scale, scale.duration);
    if (span.start >= span.end) {
        throw Failure(
            exitUsage,
            fmt::format("{}: the span is empty; its end must lie behind its start", place));
    }
    return span;
}

std::uint64_t parseTime(const std::string& text, const TimeScale& scale, const char* option) {
    return edgeTicks(text, fmt::format("{} {}", option, text), scale,
                     scale.duration - std::min<std::uint64_t>(scale.duration, 1));
}

}  // namespace lanefeed_tool
