#pragma once

#include <string>
#include <string_view>

namespace lanefeed_tool {

// JSON, written by hand: texts with their quotes, numbers in the shortest form that reads back as
// the same value.
//
// Bytes that are no UTF-8 become U+FFFD, so that the output is always valid.
std::string jsonString(std::string_view text);
// Whether a text is JSON in valid UTF-8.
bool isJson(std::string_view text);
// "null" for NaN and infinities, which JSON does not know.
std::string jsonNumber(double value);

}  // namespace lanefeed_tool
