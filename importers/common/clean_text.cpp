// Traces hold whatever bytes the traced program put into a name; a result holds text.
// Tested by tests/importers/line_parsers_test.cpp.
#include "common/clean_text.h"

#include <cstddef>

namespace lanefeed_importers {
namespace {

unsigned byteAt(std::string_view text, std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
}

// Length of the well-formed character at `at`, 0 if there is none.
std::size_t characterLength(std::string_view text, std::size_t at) {
    const unsigned first = byteAt(text, at);
    if (first == 0) return 0;
    if (first < 0x80) return 1;
    const unsigned second = byteAt(text, at + 1);
    const auto follows = [&](std::size_t offset) {
        return (byteAt(text, at + offset) & 0xC0U) == 0x80U;
    };
    if (first >= 0xC2 && first <= 0xDF) return follows(1) ? 2 : 0;
    if (first >= 0xE0 && first <= 0xEF) {
        const bool overlong = first == 0xE0 && second < 0xA0;
        const bool surrogate = first == 0xED && second > 0x9F;
        return follows(1) && follows(2) && !overlong && !surrogate ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool overlong = first == 0xF0 && second < 0x90;
        const bool beyond = first == 0xF4 && second > 0x8F;
        return follows(1) && follows(2) && follows(3) && !overlong && !beyond ? 4 : 0;
    }
    return 0;
}

}  // namespace

bool isCleanText(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = characterLength(text, at);
        if (length == 0) return false;
        at += length;
    }
    return true;
}

std::string cleanText(std::string_view text) {
    std::string clean;
    clean.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = characterLength(text, at);
        if (length == 0) {
            clean += "\xEF\xBF\xBD";
            ++at;
        } else {
            clean += text.substr(at, length);
            at += length;
        }
    }
    return clean;
}

}  // namespace lanefeed_importers
