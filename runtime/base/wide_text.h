#pragma once

#include <string>
#include <string_view>

namespace lanefeed_runtime {

// UTF-8 of a wide text. What is no character of Unicode becomes the replacement character.
std::string toUtf8(std::wstring_view text);

}  // namespace lanefeed_runtime
