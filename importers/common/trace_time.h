#pragma once

#include <cstdint>
#include <string_view>

namespace lanefeed_importers {

// A time or a duration just as a trace states it: whole nanoseconds, rounded down, and the rest in
// 1e-18 ns. Sums are exact, and so rounding happens once.
struct TraceTime {
    std::int64_t ns = 0;
    std::uint64_t part = 0;  // below kParts

    static constexpr std::uint64_t kParts = 1'000'000'000'000'000'000U;
    // Nothing of a trace lies further from 0 than a result can hold, which is 73 years.
    static constexpr std::int64_t kLimit = std::int64_t{1} << 61;
};

inline bool operator<(const TraceTime& a, const TraceTime& b) {
    return a.ns != b.ns ? a.ns < b.ns : a.part < b.part;
}
inline bool operator==(const TraceTime& a, const TraceTime& b) {
    return a.ns == b.ns && a.part == b.part;
}
inline TraceTime operator+(const TraceTime& a, const TraceTime& b) {
    const std::uint64_t part = a.part + b.part;
    const bool carry = part >= TraceTime::kParts;
    return {a.ns + b.ns + (carry ? 1 : 0), carry ? part - TraceTime::kParts : part};
}

// Nearest nanosecond; halves go away from zero.
std::int64_t rounded(const TraceTime& time);

// From decimal text in microseconds, such as "1480865859.689", " -3" or "1.5e3". False for what is
// no number, is not finite or lies beyond kLimit. Digits below 1e-18 ns are cut.
bool parseMicroseconds(std::string_view text, TraceTime& time);

// From the digits before and behind the point of a time in seconds, of which there must be some.
// False beyond kLimit. Digits below the nanosecond are cut.
bool nanosecondsOf(std::string_view seconds, std::string_view fraction, std::int64_t& ns);

// Whether a time in seconds such as "9999999999.5:" stands in the line, beyond kLimit.
bool tellsTimeBeyondLimit(std::string_view line);

// From decimal text; false for what is no finite number.
bool parseNumber(std::string_view text, double& value);

}  // namespace lanefeed_importers
