// Marks of programs: slices, counters and async slices in the notation of atrace, other text as it
// is. Tested by tests/importers/line_parsers_test.cpp.
#include "scheduler/mark_payload.h"

#include <charconv>

namespace lanefeed_importers {
namespace {

using Kind = MarkPayload::Kind;

void skipBlanks(std::string_view& text) {
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
}

// "B|..." or, for an end, also the letter alone.
bool beginsMark(std::string_view text, Kind& kind) {
    if (text.empty() || (text.size() > 1 && text[1] != '|')) return false;
    switch (text[0]) {
    case 'B': kind = Kind::begin; break;
    case 'E': kind = Kind::end; break;
    case 'C': kind = Kind::counter; break;
    case 'S': kind = Kind::asyncBegin; break;
    case 'F': kind = Kind::asyncEnd; break;
    default: return false;
    }
    return text.size() > 1 || kind == Kind::end;
}

// Takes the text up to the next bar, or all of it.
std::string_view field(std::string_view& text) {
    const std::size_t bar = text.find('|');
    const std::string_view taken = text.substr(0, bar);
    text.remove_prefix(bar == std::string_view::npos ? text.size() : bar + 1);
    return taken;
}

std::int32_t processOf(std::string_view text) {
    std::int32_t process = -1;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), process);
    return failure == std::errc() && end == text.data() + text.size() ? process : -1;
}

bool parseFields(std::string_view text, MarkPayload& out) {
    field(text);  // the letter
    out.process = processOf(field(text));
    switch (out.kind) {
    case Kind::end: return true;
    case Kind::begin:
        out.name = text;  // which may have bars of its own
        return true;
    default:
        out.name = field(text);
        out.value = field(text);
        return !out.name.empty() && !out.value.empty();
    }
}

// "who: what" in its two parts.
void parseText(std::string_view text, MarkPayload& out) {
    const std::size_t colon = text.find(": ");
    if (colon == 0 || colon == std::string_view::npos) {
        out.name = text;
        return;
    }
    out.name = text.substr(0, colon);
    out.value = text.substr(colon + 2);
}

}  // namespace

bool parseMark(std::string_view text, MarkPayload& out) {
    constexpr std::string_view kWriter = "tracing_mark_write:";
    out = MarkPayload();
    skipBlanks(text);
    if (text.substr(0, kWriter.size()) == kWriter) {
        text.remove_prefix(kWriter.size());
        skipBlanks(text);
    }
    if (beginsMark(text, out.kind)) return parseFields(text, out);
    out.kind = Kind::text;
    parseText(text, out);
    return !out.name.empty();
}

}  // namespace lanefeed_importers
