// The columns of a line. The name of the task comes first and may hold anything; so the line is
// anchored at the first core in brackets that has a thread before it and a time behind it.
// Tested by tests/importers/line_parsers_test.cpp.
#include "perf_script/perf_line.h"

#include "common/trace_time.h"

#include <algorithm>
#include <cstring>

namespace lanefeed_importers {
namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

std::size_t pastBlanks(std::string_view text, std::size_t at) {
    while (at < text.size() && isBlank(text[at]))
        ++at;
    return at;
}

std::size_t pastDigits(std::string_view text, std::size_t at) {
    while (at < text.size() && isDigit(text[at]))
        ++at;
    return at;
}

std::size_t findFrom(std::string_view line, std::size_t from, char c) {
    if (from >= line.size()) return std::string_view::npos;
    const void* const found = std::memchr(line.data() + from, c, line.size() - from);
    return found ? static_cast<std::size_t>(static_cast<const char*>(found) - line.data())
                 : std::string_view::npos;
}

// Enough for every id, and they fit into any int.
constexpr std::size_t kMostDigits = 9;

bool toNumber(std::string_view text, std::int32_t& out) {
    const bool negative = !text.empty() && text.front() == '-';
    if (negative) text.remove_prefix(1);
    if (text.empty() || text.size() > kMostDigits) return false;
    out = 0;
    for (const char c : text) {
        if (!isDigit(c)) return false;
        out = out * 10 + (c - '0');
    }
    if (negative) out = -out;
    return true;
}

// Without the blanks at the end.
std::size_t beforeBlanks(std::string_view text, std::size_t end) {
    while (end > 0 && isBlank(text[end - 1]))
        --end;
    return end;
}

// "1025.263185334:" at `at`, which is moved past it.
bool readTime(std::string_view line, std::size_t& at, std::int64_t& time) {
    const std::size_t dot = pastDigits(line, at);
    if (dot == at || dot >= line.size() || line[dot] != '.') return false;
    const std::size_t end = pastDigits(line, dot + 1);
    if (end == line.size() || line[end] != ':') return false;
    if (!nanosecondsOf(line.substr(at, dot - at), line.substr(dot + 1, end - dot - 1), time)) {
        return false;
    }
    at = end + 1;
    return true;
}

// The number that ends before `at`, which is moved to where it begins.
bool readNumberBefore(std::string_view text, std::size_t& at, std::int32_t& out) {
    const std::size_t end = at;
    std::int32_t unit = 1;
    out = 0;
    for (; at > 0 && isDigit(text[at - 1]) && end - at < kMostDigits; --at, unit *= 10)
        out += (text[at - 1] - '0') * unit;
    if (at == end) return false;
    if (at > 0 && text[at - 1] == '-') {
        out = -out;
        --at;
    }
    return true;
}

// "NAME 26734/26735 " or "NAME 26735 ": what stands before the core or, without one, the time.
bool readTask(std::string_view text, PerfLine& out) {
    std::size_t at = beforeBlanks(text, text.size());
    if (!readNumberBefore(text, at, out.tid)) return false;
    out.pid = PerfLine::kNoPid;
    if (at > 0 && text[at - 1] == '/' && !readNumberBefore(text, --at, out.pid)) return false;
    if (at == 0 || !isBlank(text[at - 1])) return false;
    const std::size_t name = pastBlanks(text, 0);
    out.comm = text.substr(name, std::max(name, beforeBlanks(text, at)) - name);
    return true;
}

// "[001] " at `at`, which is moved past it.
bool readCore(std::string_view line, std::size_t& at, std::int32_t& core) {
    const std::size_t end = pastDigits(line, at + 1);
    if (end + 1 >= line.size() || line[end] != ']' || !isBlank(line[end + 1])) return false;
    if (!toNumber(line.substr(at + 1, end - at - 1), core)) return false;
    at = pastBlanks(line, end + 1);
    return true;
}

// "sched:sched_switch: ...", after a period if there is one.
bool readEvent(std::string_view line, std::size_t at, PerfLine& out) {
    at = pastBlanks(line, at);
    const std::size_t period = pastDigits(line, at);
    if (period > at && period < line.size() && isBlank(line[period])) at = pastBlanks(line, period);
    const std::size_t end = std::min(findFrom(line, at, ' '), line.size());
    if (end < at + 2 || line[end - 1] != ':') return false;
    out.wholeEvent = line.substr(at, end - at - 1);
    // No subsystem: a sample, whatever its modifiers, such as "cycles:u".
    out.event = out.wholeEvent.substr(out.wholeEvent.find(':') + 1);
    out.payload = line.substr(pastBlanks(line, end));
    return true;
}

// Begin of the first "1025.263185:" after a blank; npos without one.
std::size_t findTime(std::string_view line) {
    std::int64_t time = 0;
    for (std::size_t dot = findFrom(line, 0, '.'); dot != std::string_view::npos;
         dot = findFrom(line, dot + 1, '.')) {
        std::size_t begin = dot;
        while (begin > 0 && isDigit(line[begin - 1]))
            --begin;
        std::size_t at = begin;
        if (begin > 0 && isBlank(line[begin - 1]) && readTime(line, at, time)) return begin;
    }
    return std::string_view::npos;
}

// Begin of the first "[001] " after a blank; npos without one.
std::size_t findCore(std::string_view line) {
    std::int32_t core = 0;
    for (std::size_t open = findFrom(line, 0, '['); open != std::string_view::npos;
         open = findFrom(line, open + 1, '[')) {
        std::size_t at = open;
        if (open > 0 && isBlank(line[open - 1]) && readCore(line, at, core)) return open;
    }
    return std::string_view::npos;
}

}  // namespace

bool parsePerfLine(std::string_view line, PerfLine& out) {
    for (std::size_t open = findFrom(line, 0, '['); open != std::string_view::npos;
         open = findFrom(line, open + 1, '[')) {
        std::size_t at = open;
        if (open == 0 || !isBlank(line[open - 1]) || !readCore(line, at, out.core)) continue;
        if (!readTime(line, at, out.time) || !readTask(line.substr(0, open), out)) continue;
        return readEvent(line, at, out);
    }
    return false;
}

PerfFault perfFaultOf(std::string_view line) {
    if (tellsTimeBeyondLimit(line)) return PerfFault::lateTime;
    PerfLine columns;
    const std::size_t core = findCore(line);
    const std::size_t time = findTime(line);
    const bool hasCore = core != std::string_view::npos;
    const bool hasTime = time != std::string_view::npos;
    if (!hasCore && !hasTime) return PerfFault::otherText;
    const bool hasTask = readTask(line.substr(0, hasCore ? core : time), columns);
    if (!hasTime) {
        // Brackets alone tell nothing.
        std::size_t at = core;
        readCore(line, at, columns.core);
        return hasTask && readEvent(line, at, columns) ? PerfFault::noTime : PerfFault::otherText;
    }
    std::size_t at = time;
    readTime(line, at, columns.time);
    const bool hasEvent = readEvent(line, at, columns);
    if (!hasCore) return hasTask ? PerfFault::noCore : PerfFault::otherText;
    if (!hasEvent) return hasTask ? PerfFault::noEvent : PerfFault::otherText;
    // Without a subsystem it is the trace of another tool, which joins name and thread by a dash.
    return !hasTask && columns.event != columns.wholeEvent ? PerfFault::noThread
                                                           : PerfFault::otherText;
}

bool isCallChainLine(std::string_view line) {
    std::size_t at = pastBlanks(line, 0);
    if (at == 0) return false;
    const std::size_t begin = at;
    while (at < line.size() && (isDigit(line[at]) || (line[at] >= 'a' && line[at] <= 'f')))
        ++at;
    return at > begin && at < line.size() && line[at] == ' ';
}

}  // namespace lanefeed_importers
