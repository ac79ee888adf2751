#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Words of warnings and errors.
namespace lanefeed_importers {

// "1 line", "3 lines"; the words behind the noun may change with it: "1 line is", "3 lines are".
std::string counted(std::uint64_t count, std::string_view one, std::string_view many);

// Bytes of a trace as part of a message: one line of text, cut by "..." after `most` bytes.
std::string oneLine(std::string_view text, std::size_t most);

// What stands at a byte of a text, up to the end of its line, in quotes.
std::string quotedAt(std::string_view text, std::size_t byte);

}  // namespace lanefeed_importers
