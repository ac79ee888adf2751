// Wide texts as UTF-8, so that narrow and wide texts compare and print alike. No locale takes part.
// Tested by tests/base/variant_test.cpp.
#include "wide_text.h"

namespace lanefeed_runtime {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isCharacter(char32_t code) {
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code <= 0x10FFFF && !surrogate;
}

char tailByte(char32_t code, int shift) {
    return static_cast<char>(0x80U | ((code >> shift) & 0x3FU));
}

void append(std::string& out, char32_t code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0U | (code >> 6));
        out += tailByte(code, 0);
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0U | (code >> 12));
        out += tailByte(code, 6);
        out += tailByte(code, 0);
    } else {
        out += static_cast<char>(0xF0U | (code >> 18));
        out += tailByte(code, 12);
        out += tailByte(code, 6);
        out += tailByte(code, 0);
    }
}

}  // namespace

std::string toUtf8(std::wstring_view text) {
    std::string out;
    out.reserve(text.size());
    for (const wchar_t unit : text) {
        const auto code = static_cast<char32_t>(unit);
        append(out, isCharacter(code) ? code : kReplacement);
    }
    return out;
}

}  // namespace lanefeed_runtime
