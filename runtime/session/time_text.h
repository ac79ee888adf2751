#pragma once

#include <cstdint>
#include <string>

namespace lanefeed_runtime {

// A span of ticks counted from the first tick of a result, half open: start is in it, end is not.
struct TickSpan {
    std::uint64_t start = 0;
    std::uint64_t end = 0;
};

// What a span given by a user is measured against.
struct TimeScale {
    std::uint64_t ticksPerSecond = 0;
    std::uint64_t duration = 0;  // ticks of the whole result
};

// Reads "A..B": numbers with s, ms, us, ns, ticks or %; an end that is left out is that of the
// result. False, with what is wrong in `error`, for anything else, for an empty span and for one
// outside of the result.
bool readTimeSpan(const std::string& text,
                  const TimeScale& scale,
                  TickSpan& span,
                  std::string& error);

// Reads one such time, which must be one of the ticks of the result.
bool readTime(const std::string& text,
              const TimeScale& scale,
              std::uint64_t& tick,
              std::string& error);

}  // namespace lanefeed_runtime
