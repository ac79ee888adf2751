#pragma once

#include <dataface_1/cell_types.h>

#include <optional>
#include <string>

namespace lanefeed_1 {

// Colours out of the texts of display attributes. Numbers that cannot be read count as 0.

// "0x..." or "0X..." is read as a number, all else as a list. None for a list that is too short.
std::optional<dataface_1::color_t> parseColor(const std::string& text);

// A list "red,green,blue" of decimal numbers; the colour is opaque, whatever follows. None with
// fewer than three pieces.
std::optional<dataface_1::color_t> parseColorList(const std::string& text);

// A number whose bytes are alpha, red, green, blue from the top; six digits give alpha 0.
dataface_1::color_t parseColorNumber(const std::string& text);

}  // namespace lanefeed_1
