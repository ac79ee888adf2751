// Reads the times of text formats without going through floating point, which would lose the
// nanoseconds of a clock that counts from 1970.
// Tested by tests/importers/line_parsers_test.cpp.
#include "common/trace_time.h"

#include <charconv>
#include <cmath>
#include <cstddef>

namespace lanefeed_importers {
namespace {

constexpr int kPartDigits = 18;
constexpr int kNanosecondDigits = 3;  // of a microsecond
// More digits before the point than any time within the limit has.
constexpr long kMaxWholeDigits = 20;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// A decimal number taken apart: the digits of both sides of the point, and the exponent.
struct Decimal {
    bool negative = false;
    std::string_view whole;
    std::string_view fraction;
    long exponent = 0;

    long count() const { return static_cast<long>(whole.size() + fraction.size()); }
    unsigned digit(long index) const {
        if (index < 0 || index >= count()) return 0;
        const auto at = static_cast<std::size_t>(index);
        const char c = at < whole.size() ? whole[at] : fraction[at - whole.size()];
        return static_cast<unsigned>(c - '0');
    }
};

std::string_view takeDigits(std::string_view& text) {
    std::size_t count = 0;
    while (count < text.size() && isDigit(text[count]))
        ++count;
    const std::string_view digits = text.substr(0, count);
    text.remove_prefix(count);
    return digits;
}

bool takeSign(std::string_view& text) {
    if (text.empty() || (text[0] != '-' && text[0] != '+')) return false;
    const bool negative = text[0] == '-';
    text.remove_prefix(1);
    return negative;
}

bool takeExponent(std::string_view& text, long& exponent) {
    text.remove_prefix(1);
    const bool negative = takeSign(text);
    const std::string_view digits = takeDigits(text);
    if (digits.empty() || digits.size() > 9) return false;
    std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
    if (negative) exponent = -exponent;
    return true;
}

bool takeApart(std::string_view text, Decimal& number) {
    text = trimmed(text);
    number.negative = takeSign(text);
    number.whole = takeDigits(text);
    if (!text.empty() && text[0] == '.') {
        text.remove_prefix(1);
        number.fraction = takeDigits(text);
    }
    if (number.count() == 0) return false;
    if (!text.empty() && (text[0] == 'e' || text[0] == 'E') &&
        !takeExponent(text, number.exponent)) {
        return false;
    }
    while (!number.whole.empty() && number.whole[0] == '0')
        number.whole.remove_prefix(1);
    return text.empty();
}

}  // namespace

bool parseMicroseconds(std::string_view text, TraceTime& time) {
    Decimal number;
    if (!takeApart(text, number)) return false;
    const long point = static_cast<long>(number.whole.size()) + number.exponent + kNanosecondDigits;
    std::uint64_t ns = 0;
    for (long i = 0; i < point; ++i) {
        if (i > kMaxWholeDigits && i >= number.count() && ns == 0) break;
        ns = ns * 10 + number.digit(i);
        if (ns >= static_cast<std::uint64_t>(TraceTime::kLimit)) return false;
    }
    std::uint64_t part = 0;
    for (long i = point; i < point + kPartDigits; ++i)
        part = part * 10 + number.digit(i);
    time = {static_cast<std::int64_t>(ns), part};
    if (number.negative) {
        time.ns = -time.ns - (part > 0 ? 1 : 0);
        time.part = part > 0 ? TraceTime::kParts - part : 0;
    }
    return true;
}

std::int64_t rounded(const TraceTime& time) {
    constexpr std::uint64_t kHalf = TraceTime::kParts / 2;
    const bool up = time.ns < 0 ? time.part > kHalf : time.part >= kHalf;
    return time.ns + (up ? 1 : 0);
}

bool nanosecondsOf(std::string_view seconds, std::string_view fraction, std::int64_t& ns) {
    constexpr std::int64_t kPerSecond = 1'000'000'000;
    constexpr std::size_t kDigits = 9;
    std::int64_t whole = 0;
    const char* const end = seconds.data() + seconds.size();
    const auto [behind, failure] = std::from_chars(seconds.data(), end, whole);
    if (failure != std::errc() || behind != end || fraction.empty()) return false;
    if (whole < 0 || whole >= TraceTime::kLimit / kPerSecond) return false;
    std::int64_t part = 0;
    for (std::size_t i = 0; i < kDigits; ++i)
        part = part * 10 + (i < fraction.size() ? fraction[i] - '0' : 0);
    ns = whole * kPerSecond + part;
    return true;
}

bool tellsTimeBeyondLimit(std::string_view line) {
    for (std::size_t dot = line.find('.'); dot != std::string_view::npos;
         dot = line.find('.', dot + 1)) {
        std::string_view behind = line.substr(dot + 1);
        const std::string_view fraction = takeDigits(behind);
        if (fraction.empty() || behind.empty() || behind[0] != ':') continue;
        std::size_t begin = dot;
        while (begin > 0 && isDigit(line[begin - 1]))
            --begin;
        std::int64_t ns = 0;
        if (begin < dot && (begin == 0 || line[begin - 1] == ' ' || line[begin - 1] == '\t') &&
            !nanosecondsOf(line.substr(begin, dot - begin), fraction, ns)) {
            return true;
        }
    }
    return false;
}

bool parseNumber(std::string_view text, double& value) {
    text = trimmed(text);
    if (!text.empty() && text[0] == '+') text.remove_prefix(1);
    double number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) {
        return false;
    }
    value = number;
    return true;
}

}  // namespace lanefeed_importers
