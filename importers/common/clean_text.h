#pragma once

#include <string>
#include <string_view>

namespace lanefeed_importers {

// True for well-formed UTF-8 without zero bytes.
bool isCleanText(std::string_view text);

// The text with U+FFFD in place of each byte that is not part of well-formed UTF-8, and of zero
// bytes: what is stored must be fit for JSON and for readers that stop at a zero.
std::string cleanText(std::string_view text);

}  // namespace lanefeed_importers
