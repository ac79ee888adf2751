// Numbers from and to text, by the standard's locale-free conversions. Those take no "+" and no
// radix prefix, which is all that this file adds.
// Tested by tests/base/platform_test.cpp.
#include <platkit_2_18/convert.h>

#include <charconv>
#include <cmath>
#include <string_view>

namespace platkit_2_18::generic::convert {
namespace {

bool hasHexPrefix(std::string_view digits) {
    return digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X');
}

// Radix 0 becomes the detected one; a prefix that belongs to the radix is cut off.
int settleRadix(std::string_view& digits, int radix) {
    if ((radix == 0 || radix == 16) && hasHexPrefix(digits)) {
        digits.remove_prefix(2);
        return 16;
    }
    if (radix != 0) return radix;
    return digits.size() > 1 && digits[0] == '0' ? 8 : 10;
}

template <class Number>
bool readInteger(std::string_view text, Number& out, int radix) {
    const bool negative = !text.empty() && text[0] == '-';
    if (negative || (!text.empty() && text[0] == '+')) text.remove_prefix(1);
    radix = settleRadix(text, radix);
    if (radix < 2 || radix > 36) return false;
    // The sign is cut off, so a second one fails here.
    std::uint64_t magnitude = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result read = std::from_chars(text.data(), end, magnitude, radix);
    if (read.ec != std::errc() || read.ptr != end || magnitude > std::uint64_t{1} << 32)
        return false;
    const auto wide = static_cast<std::int64_t>(magnitude);
    const std::int64_t value = negative ? -wide : wide;
    if (value != static_cast<Number>(value)) return false;
    out = static_cast<Number>(value);
    return true;
}

int settledRadix(int radix) {
    return radix < 2 || radix > 36 ? 10 : radix;
}

template <class Number>
std::string printed(Number value, int radix) {
    char text[66];
    return {text, std::to_chars(text, text + sizeof(text), value, settledRadix(radix)).ptr};
}

}  // namespace

bool str_to_int(const std::string& text, int& out, int radix) {
    return readInteger(text, out, radix);
}

bool str_to_uint8(const std::string& text, std::uint8_t& out, int radix) {
    return readInteger(text, out, radix);
}

bool str_to_uint32(const std::string& text, std::uint32_t& out, int radix) {
    return readInteger(text, out, radix);
}

bool str_to_double(const std::string& text, double& out) {
    std::string_view digits = text;
    if (!digits.empty() && digits[0] == '+') {
        digits.remove_prefix(1);
        if (!digits.empty() && digits[0] == '-') return false;
    }
    double value = 0;
    const char* const end = digits.data() + digits.size();
    const std::from_chars_result read = std::from_chars(digits.data(), end, value);
    if (read.ec != std::errc() || read.ptr != end || !std::isfinite(value)) return false;
    out = value;
    return true;
}

std::string ltoa(std::int64_t value, int radix) {
    return printed(value, radix);
}

std::string ultoa(std::uint64_t value, int radix) {
    return printed(value, radix);
}

}  // namespace platkit_2_18::generic::convert
