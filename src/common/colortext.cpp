// Colours as viewpoints and query definitions write them: a hexadecimal number or a list of three
// decimal ones. Tested by tests/viewpoint/golden_test.cpp.

#include "common/colortext.h"

#include <platkit_2_18/convert.h>
#include <platkit_2_18/strings.h>

#include <cstdint>
#include <vector>

namespace lanefeed_1 {

namespace convert = platkit_2_18::generic::convert;

namespace {

bool startsLikeNumber(const std::string& text) {
    return text.size() >= 3 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

std::uint8_t parseByte(const std::string& text) {
    std::uint8_t value = 0;
    convert::str_to_uint8(text, value, 10);
    return value;
}

std::uint8_t byteOf(std::uint32_t value, unsigned shift) {
    return static_cast<std::uint8_t>((value >> shift) & 0xFFU);
}

}  // namespace

std::optional<dataface_1::color_t> parseColor(const std::string& text) {
    if (startsLikeNumber(text)) return parseColorNumber(text);
    return parseColorList(text);
}

std::optional<dataface_1::color_t> parseColorList(const std::string& text) {
    const std::vector<std::string> pieces = platkit_2_18::strings::split_string(text, ",", 4);
    if (pieces.size() < 3) return std::nullopt;
    return dataface_1::color_t{parseByte(pieces[0]), parseByte(pieces[1]), parseByte(pieces[2]),
                               255};
}

dataface_1::color_t parseColorNumber(const std::string& text) {
    std::uint32_t value = 0;
    convert::str_to_uint32(text, value, 0);
    return {byteOf(value, 16), byteOf(value, 8), byteOf(value, 0), byteOf(value, 24)};
}

}  // namespace lanefeed_1
