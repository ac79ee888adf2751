// Lines of a text that is in memory. Tested by tests/importers/import_trace_test.cpp.
#include "common/text_lines.h"

#include <algorithm>
#include <cstddef>

namespace lanefeed_importers {

std::string_view takeLine(std::string_view& text) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return line;
}

bool isBlankOrComment(std::string_view line) {
    const std::size_t at = line.find_first_not_of(" \t\r");
    return at == std::string_view::npos || line[at] == '#';
}

}  // namespace lanefeed_importers
