// How numbers and pieces of a trace read in messages. Tested by
// tests/importers/import_trace_test.cpp.
#include "common/wording.h"

#include "common/clean_text.h"

#include <algorithm>
#include <fmt/format.h>

namespace lanefeed_importers {

std::string counted(std::uint64_t count, std::string_view one, std::string_view many) {
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

std::string oneLine(std::string_view text, std::size_t most) {
    std::string line = cleanText(text.substr(0, most));
    for (char& c : line) {
        if (static_cast<unsigned char>(c) < 0x20) c = ' ';
    }
    return line + (text.size() > most ? "..." : "");
}

std::string quotedAt(std::string_view text, std::size_t byte) {
    constexpr std::size_t kMost = 40;
    text.remove_prefix(std::min(byte, text.size()));
    return fmt::format("\"{}\"", oneLine(text.substr(0, text.find_first_of("\r\n")), kMost));
}

}  // namespace lanefeed_importers
