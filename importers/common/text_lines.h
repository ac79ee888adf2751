#pragma once

#include <string_view>

namespace lanefeed_importers {

// Takes the first line off a text, together with the "\n" that ends it.
std::string_view takeLine(std::string_view& text);

// Empty, blanks alone, or beginning with "#" behind blanks.
bool isBlankOrComment(std::string_view line);

}  // namespace lanefeed_importers
