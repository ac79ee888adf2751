// Spans of time as users write them. Tested by tests/tool/texts_test.cpp.
#include "time_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <string_view>

namespace lanefeed_runtime {
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

// Ticks of one edge, given as 0; false when it can't be read.
bool readEdge(std::string_view text, const TimeScale& scale, long double& ticks) {
    if (text == "0") return true;  // the same in every unit
    if (endsWith(text, "%")) {
        if (!readNumber(text.substr(0, text.size() - 1), ticks)) return false;
        ticks = ticks / 100.0L * static_cast<long double>(scale.duration);
        return true;
    }
    for (const Unit& unit : kUnits) {
        if (!endsWith(text, unit.name)) continue;
        if (!readNumber(text.substr(0, text.size() - unit.name.size()), ticks)) return false;
        if (unit.perSecond > 0)
            ticks = ticks * static_cast<long double>(scale.ticksPerSecond) / unit.perSecond;
        return true;
    }
    return false;
}

bool edgeTicks(std::string_view edge,
               const TimeScale& scale,
               std::uint64_t last,
               std::uint64_t& out,
               std::string& error) {
    long double ticks = 0;
    if (!readEdge(edge, scale, ticks)) {
        error = fmt::format(
            "'{}' is no time; write a number with s, ms, us, ns, ticks or %, as in 1.2s or 10%",
            edge);
        return false;
    }
    const long double rounded = std::round(ticks);
    if (rounded > static_cast<long double>(last)) {
        error = fmt::format(
            "'{}' lies outside of the result, which is {} ticks ({:.9g} s) long", edge,
            scale.duration,
            static_cast<double>(scale.duration) / static_cast<double>(scale.ticksPerSecond));
        return false;
    }
    out = static_cast<std::uint64_t>(rounded);
    return true;
}

}  // namespace

bool readTimeSpan(const std::string& text,
                  const TimeScale& scale,
                  TickSpan& span,
                  std::string& error) {
    const std::size_t dots = text.find("..");
    if (dots == std::string::npos) {
        error = "no span; write A..B, as in 1.2s..3.4s or 10%..20%";
        return false;
    }
    const std::string_view from = std::string_view(text).substr(0, dots);
    const std::string_view to = std::string_view(text).substr(dots + 2);
    TickSpan read{0, scale.duration};
    if (!from.empty() && !edgeTicks(from, scale, scale.duration, read.start, error)) return false;
    if (!to.empty() && !edgeTicks(to, scale, scale.duration, read.end, error)) return false;
    if (read.start >= read.end) {
        error = "the span is empty; its end must lie behind its start";
        return false;
    }
    span = read;
    return true;
}

bool readTime(const std::string& text,
              const TimeScale& scale,
              std::uint64_t& tick,
              std::string& error) {
    const std::uint64_t last = scale.duration - std::min<std::uint64_t>(scale.duration, 1);
    return edgeTicks(text, scale, last, tick, error);
}

}  // namespace lanefeed_runtime
