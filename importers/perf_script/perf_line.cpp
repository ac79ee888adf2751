// The columns of a line. The name of the task comes first and may hold anything; so the line is
// anchored at the first core in brackets that has a thread before it and a time behind it.
// Tested by tests/importers/perf_script_test.cpp.
#include "perf_script/perf_line.h"

#include "common/trace_time.h"

#include <charconv>
#include <cstring>

namespace lanefeed_importers {
namespace {

constexpr std::int64_t kNsPerSecond = 1'000'000'000;
constexpr int kFractionDigits = 9;

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

bool toNumber(std::string_view text, std::int32_t& out) {
    const char* const end = text.data() + text.size();
    const auto [behind, failure] = std::from_chars(text.data(), end, out);
    return failure == std::errc() && behind == end && !text.empty();
}

std::string_view trimmed(std::string_view text) {
    const std::size_t begin = pastBlanks(text, 0);
    while (text.size() > begin && isBlank(text.back()))
        text.remove_suffix(1);
    return text.substr(begin);
}

// "1025.263185334:" at `at`, which is moved past it. Digits below the nanosecond are cut.
bool readTime(std::string_view line, std::size_t& at, std::int64_t& time) {
    const std::size_t dot = pastDigits(line, at);
    const std::size_t end = dot < line.size() && line[dot] == '.' ? pastDigits(line, dot + 1) : dot;
    if (dot == at || end <= dot + 1 || end >= line.size() || line[end] != ':') return false;
    std::int64_t seconds = 0;
    const auto [behind, failure] = std::from_chars(line.data() + at, line.data() + dot, seconds);
    if (failure != std::errc() || seconds > TraceTime::kLimit / kNsPerSecond - 1) return false;
    std::int64_t fraction = 0;
    for (int i = 0; i < kFractionDigits; ++i) {
        const std::size_t place = dot + 1 + static_cast<std::size_t>(i);
        fraction = fraction * 10 + (place < end ? line[place] - '0' : 0);
    }
    time = seconds * kNsPerSecond + fraction;
    at = end + 1;
    return true;
}

// "NAME 26734/26735 " or "NAME 26735 ": what stands before the core or, without one, the time.
bool readTask(std::string_view text, PerfLine& out) {
    text = text.substr(0, text.find_last_not_of(" \t") + 1);
    const std::size_t blank = text.find_last_of(" \t");
    if (blank == std::string_view::npos) return false;
    const std::string_view ids = text.substr(blank + 1);
    const std::size_t slash = ids.find('/');
    out.comm = trimmed(text.substr(0, blank));
    out.pid = PerfLine::kNoPid;
    if (slash == std::string_view::npos) return toNumber(ids, out.tid);
    return toNumber(ids.substr(0, slash), out.pid) && toNumber(ids.substr(slash + 1), out.tid);
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
    std::size_t end = at;
    while (end < line.size() && !isBlank(line[end]))
        ++end;
    if (end - at < 2 || line[end - 1] != ':') return false;
    out.wholeEvent = line.substr(at, end - at - 1);
    // No subsystem: a sample, whatever its modifiers, such as "cycles:u".
    out.event = out.wholeEvent.substr(out.wholeEvent.find(':') + 1);
    out.payload = line.substr(pastBlanks(line, end));
    return true;
}

std::size_t findFrom(std::string_view line, std::size_t from, char c) {
    if (from >= line.size()) return std::string_view::npos;
    const void* const found = std::memchr(line.data() + from, c, line.size() - from);
    return found ? static_cast<std::size_t>(static_cast<const char*>(found) - line.data())
                 : std::string_view::npos;
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
