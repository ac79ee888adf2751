// The columns in front of an event. A task's name may hold blanks, dashes, colons and brackets, so
// the core in its brackets is looked for first and the columns before it are read backwards.
// Tested by tests/importers/line_parsers_test.cpp.
#include "ftrace_text/trace_line.h"

#include "common/trace_time.h"

#include <algorithm>
#include <charconv>

namespace lanefeed_importers {
namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

void skipBlanks(std::string_view& text) {
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
}

// False if there are none.
bool dropBlanks(std::string_view& text) {
    const std::size_t before = text.size();
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text.size() < before;
}

template <typename Number>
bool wholeNumber(std::string_view text, Number& out) {
    const char* const end = text.data() + text.size();
    const auto [behind, failure] = std::from_chars(text.data(), end, out);
    return failure == std::errc() && behind == end && isDigit(text.front());
}

// Takes the digits in front.
std::string_view digits(std::string_view& text) {
    std::size_t count = 0;
    while (count < text.size() && isDigit(text[count]))
        ++count;
    const std::string_view taken = text.substr(0, count);
    text.remove_prefix(count);
    return taken;
}

// "(  959)" or "(-----)" at the end of the columns before the core, if there is one.
bool takeProcess(std::string_view& columns, std::int32_t& process) {
    process = -1;
    if (columns.empty() || columns.back() != ')') return true;
    // Not further back than any such column reaches: a line may be full of brackets.
    constexpr std::size_t kWidth = 24;
    const std::size_t from = columns.size() - std::min(columns.size(), kWidth);
    const std::size_t inColumn = columns.substr(from).rfind('(');
    if (inColumn == std::string_view::npos) return false;
    const std::size_t open = from + inColumn;
    std::string_view inside = columns.substr(open + 1, columns.size() - open - 2);
    skipBlanks(inside);
    if (inside.empty()) return false;
    if (inside.find_first_not_of('-') != std::string_view::npos && !wholeNumber(inside, process)) {
        return false;
    }
    columns = columns.substr(0, open);
    return dropBlanks(columns);
}

// "NAME-PID", all that is left.
bool takeTask(std::string_view columns, TraceLine& out) {
    std::size_t at = columns.size();
    while (at > 0 && isDigit(columns[at - 1]))
        --at;
    if (at == 0 || columns[at - 1] != '-') return false;
    if (!wholeNumber(columns.substr(at), out.pid)) return false;
    out.name = columns.substr(0, at - 1);
    skipBlanks(out.name);
    return true;
}

// "17us :", "104us!:": the sign tells how long the delay is.
bool takeMicroseconds(std::string_view whole, std::string_view& text, std::int64_t& time) {
    if (text.substr(0, 2) != "us") return false;
    text.remove_prefix(2);
    if (!text.empty() && std::string_view(" +!#*@$").find(text.front()) != std::string_view::npos) {
        text.remove_prefix(1);
    }
    if (!wholeNumber(whole, time) || time >= TraceTime::kLimit / 1000) return false;
    time *= 1000;
    return true;
}

// "SECONDS:", behind which the text goes on.
bool takeTime(std::string_view& text, std::int64_t& time) {
    skipBlanks(text);
    const std::string_view whole = digits(text);
    if (whole.empty() || text.empty()) return false;
    if (text.front() == '.') {
        text.remove_prefix(1);
        const std::string_view fraction = digits(text);
        if (!nanosecondsOf(whole, fraction, time)) return false;
    } else if (!takeMicroseconds(whole, text, time)) {
        return false;
    }
    if (text.empty() || text.front() != ':') return false;
    text.remove_prefix(1);
    return true;
}

bool isEventChar(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || isDigit(c) || c == '_';
}

bool takeEvent(std::string_view text, TraceLine& out) {
    if (text.empty() || !isBlank(text.front())) return false;
    skipBlanks(text);
    std::size_t length = 0;
    while (length < text.size() && isEventChar(text[length]))
        ++length;
    if (length == 0) return false;
    out.event = text.substr(0, length);
    text.remove_prefix(length);
    if (!text.empty() && text.front() == ':') {
        text.remove_prefix(1);
        // "sched:sched_switch:" has the columns of perf.
        if (!text.empty() && !isBlank(text.front())) return false;
    }
    skipBlanks(text);
    dropBlanks(text);
    out.payload = text;
    return true;
}

// "[FLAGS] SECONDS: EVENT: PAYLOAD", behind the core.
bool takeRest(std::string_view text, TraceLine& out) {
    if (text.empty() || !isBlank(text.front())) return false;
    std::string_view direct = text;
    if (takeTime(direct, out.time)) return takeEvent(direct, out);
    skipBlanks(text);
    constexpr std::size_t kLongestFlags = 8;
    std::size_t length = 0;
    while (length < text.size() && !isBlank(text[length]) && text[length] != ':')
        ++length;
    if (length > kLongestFlags || length == text.size() || text[length] == ':') return false;
    text.remove_prefix(length);
    return takeTime(text, out.time) && takeEvent(text, out);
}

// With the core in brackets, the first of which is at `bracket`.
bool parseAt(std::string_view line, std::size_t bracket, TraceLine& out) {
    std::string_view core = line.substr(bracket + 1);
    const std::string_view number = digits(core);
    if (core.empty() || core.front() != ']') return false;
    std::string_view columns = line.substr(0, bracket);
    if (!dropBlanks(columns) || !takeProcess(columns, out.process)) return false;
    return takeTask(columns, out) && wholeNumber(number, out.core) && takeRest(core.substr(1), out);
}

// "NAME-PID CPUFLAGS TIME: EVENT", the task ending at `end`.
bool parseLatencyAt(std::string_view line, std::size_t end, TraceLine& out) {
    if (!takeTask(line.substr(0, end), out)) return false;
    std::string_view text = line.substr(end);
    skipBlanks(text);
    const std::string_view number = digits(text);
    const std::size_t flags = text.find_first_of(" \t");
    if (number.empty() || flags == std::string_view::npos || flags < 3 || flags > 6) return false;
    if (!wholeNumber(number, out.core)) return false;
    text.remove_prefix(flags);
    out.process = -1;
    return takeTime(text, out.time) && takeEvent(text, out);
}

bool parseLatency(std::string_view line, TraceLine& out) {
    // The columns before the time; a task's name has 15 characters at most.
    constexpr std::size_t kColumns = 64;
    const std::string_view columns = line.substr(0, kColumns);
    for (std::size_t dash = columns.find('-'); dash != std::string_view::npos;
         dash = columns.find('-', dash + 1)) {
        std::string_view behind = columns.substr(dash + 1);
        const std::string_view pid = digits(behind);
        if (pid.empty() || behind.empty() || !isBlank(behind.front())) continue;
        if (parseLatencyAt(line, dash + 1 + pid.size(), out)) return true;
    }
    return false;
}

}  // namespace

bool parseTraceLine(std::string_view line, TraceLine& out) {
    for (std::size_t bracket = line.find('['); bracket != std::string_view::npos;
         bracket = line.find('[', bracket + 1)) {
        if (parseAt(line, bracket, out)) return true;
    }
    return parseLatency(line, out);
}

bool isTaskName(std::string_view name) {
    if (name.size() < 2 || name.front() != '<' || name.back() != '>') return !name.empty();
    const std::string_view inside = name.substr(1, name.size() - 2);
    return inside != "..." && inside.find_first_not_of("0123456789") != std::string_view::npos;
}

}  // namespace lanefeed_importers
