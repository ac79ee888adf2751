// Which importer gets a file. Lines vote first, since the begin of a damaged text can look like
// that of another format: "[120] S ==> ..." is the rest of a switch and could be JSON.
// Tested by tests/importers/import_trace_test.cpp.
#include "format_choice.h"

#include "common/foreign_file.h"
#include "common/text_lines.h"
#include "importer.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace lanefeed_importers {
namespace {

// Of the head, what counts as the begin of a file.
constexpr std::size_t kBegin = 4096;

// A line of JSON may quote one of a trace.
bool beginsLikeJson(std::string_view line) {
    const std::size_t at = line.find_first_not_of(" \t\r");
    return at != std::string_view::npos &&
           std::string_view("\"{}[],").find(line[at]) != std::string_view::npos;
}

// The begin of a whole trace in JSON, whose texts may hold lines of any kind.
bool isJsonTrace(std::string_view head) {
    if (head.substr(0, 3) == "\xEF\xBB\xBF") head.remove_prefix(3);
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = head.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return false;
    const std::size_t second = head.find_first_not_of(kBlanks, first + 1);
    if (second == std::string_view::npos) return false;
    return (head[first] == '{' && head[second] == '"') ||
           (head[first] == '[' && head[second] == '{');
}

// Null unless at least half of the lines are events of one format. The last line of the head may
// be cut, which makes no difference among many.
const Importer* byLines(std::string_view head) {
    std::vector<std::size_t> votes(importers().size());
    std::size_t lines = 0;
    while (!head.empty()) {
        const std::string_view line = takeLine(head);
        if (isBlankOrComment(line)) continue;
        ++lines;
        if (beginsLikeJson(line)) continue;
        for (std::size_t i = 0; i < votes.size(); ++i)
            votes[i] += importers()[i]->isEventLine(line) ? 1 : 0;
    }
    const auto most = std::max_element(votes.begin(), votes.end());
    if (*most == 0 || *most * 2 < lines) return nullptr;
    return importers()[static_cast<std::size_t>(most - votes.begin())].get();
}

}  // namespace

const Importer* importerFor(std::string_view head) {
    if (isForeignFile(head)) return nullptr;
    const Importer* const chosen = isJsonTrace(head) ? nullptr : byLines(head);
    if (chosen != nullptr) return chosen;
    for (const auto& importer : importers()) {
        if (importer->accepts(head.substr(0, kBegin))) return importer.get();
    }
    return nullptr;
}

}  // namespace lanefeed_importers
