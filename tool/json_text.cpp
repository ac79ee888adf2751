// Texts and numbers as JSON. Tested by tests/tool/texts_test.cpp.

#include "json_text.h"

#include <cmath>
#include <cstddef>
#include <fmt/format.h>
#include <iterator>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

namespace lanefeed_tool {

namespace {

unsigned byteAt(std::string_view text, std::size_t position) {
    return static_cast<unsigned char>(text[position]);
}

// Length of the well-formed UTF-8 sequence at a position, 0 when there is none.
std::size_t sequenceLength(std::string_view text, std::size_t position) {
    const unsigned first = byteAt(text, position);
    std::size_t length = 0;
    unsigned lowest = 0x80;
    unsigned highest = 0xBF;
    if (first < 0x80) {
        return 1;
    } else if (first >= 0xC2 && first <= 0xDF) {
        length = 2;
    } else if (first >= 0xE0 && first <= 0xEF) {
        length = 3;
        if (first == 0xE0) lowest = 0xA0;   // no overlong form
        if (first == 0xED) highest = 0x9F;  // no surrogate
    } else if (first >= 0xF0 && first <= 0xF4) {
        length = 4;
        if (first == 0xF0) lowest = 0x90;
        if (first == 0xF4) highest = 0x8F;  // nothing above U+10FFFF
    } else {
        return 0;
    }
    if (position + length > text.size()) return 0;
    const unsigned second = byteAt(text, position + 1);
    if (second < lowest || second > highest) return 0;
    for (std::size_t i = 2; i < length; ++i) {
        if ((byteAt(text, position + i) & 0xC0) != 0x80) return 0;
    }
    return length;
}

void appendEscaped(std::string& out, char c) {
    switch (c) {
    case '"': out += "\\\""; break;
    case '\\': out += "\\\\"; break;
    case '\n': out += "\\n"; break;
    case '\r': out += "\\r"; break;
    case '\t': out += "\\t"; break;
    default: {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F) {
            fmt::format_to(std::back_inserter(out), "\\u{:04x}", static_cast<unsigned>(byte));
        } else {
            out += c;
        }
    }
    }
}

}  // namespace

std::string jsonString(std::string_view text) {
    std::string out = "\"";
    out.reserve(text.size() + 2);
    std::size_t position = 0;
    while (position < text.size()) {
        const std::size_t length = sequenceLength(text, position);
        if (length == 1) {
            appendEscaped(out, text[position]);
        } else if (length == 0) {
            out += "\xEF\xBF\xBD";
        } else {
            out.append(text, position, length);
        }
        position += length == 0 ? 1 : length;
    }
    out += '"';
    return out;
}

bool isJson(std::string_view text) {
    rapidjson::MemoryStream stream(text.data(), text.size());
    rapidjson::BaseReaderHandler<> nothing;
    // Iterative, so that deep nesting in a damaged file can't exhaust the stack.
    constexpr unsigned kFlags =
        rapidjson::kParseValidateEncodingFlag | rapidjson::kParseIterativeFlag;
    return !rapidjson::Reader().Parse<kFlags>(stream, nothing).IsError();
}

std::string jsonNumber(double value) {
    if (!std::isfinite(value)) return "null";
    // Whole numbers without ".0" or an exponent, as far as a double holds them exactly.
    if (value == std::trunc(value) && std::fabs(value) < 9007199254740992.0) {
        return fmt::format("{}", static_cast<long long>(value));
    }
    return fmt::format("{}", value);
}

}  // namespace lanefeed_tool
