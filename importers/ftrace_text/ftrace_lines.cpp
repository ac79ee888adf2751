// One line after the other: events go to the scheduler's trace, all else is counted. A text in
// which nothing is understood is refused with its first line, so that other columns never make an
// empty result. Tested by tests/importers/text_formats_test.cpp.
#include "ftrace_text/ftrace_lines.h"

#include "common/text_lines.h"
#include "common/trace_time.h"
#include "common/wording.h"
#include "ftrace_text/trace_line.h"
#include "scheduler/mark_text.h"
#include "scheduler/scheduler_trace.h"

#include <charconv>
#include <fmt/format.h>

namespace lanefeed_importers {
namespace {

// Lines without any event after which the text is none of this format.
constexpr std::uint64_t kPatience = 1000;
constexpr std::string_view kRemedy =
    "record with `trace-cmd record -e sched_switch -e sched_wakeup -e sched_wakeup_new "
    "-e sched_migrate_task -e irq` and give what `trace-cmd report` prints";

// "CPU:0 [LOST 12 EVENTS]", "CPU:1 [12 EVENTS DROPPED]", the latter also without a number.
bool isLoss(std::string_view text, std::uint64_t& events) {
    events = 0;
    if (text.substr(0, 4) != "CPU:") return false;
    const std::size_t open = text.find(" [");
    if (open == std::string_view::npos || text.back() != ']') return false;
    std::string_view inside = text.substr(open + 2, text.size() - open - 3);
    const bool lost = inside.substr(0, 5) == "LOST ";
    if (lost) inside.remove_prefix(5);
    const auto [end, failure] =
        std::from_chars(inside.data(), inside.data() + inside.size(), events);
    if (failure == std::errc()) inside.remove_prefix(static_cast<std::size_t>(end - inside.data()));
    return lost ? inside == " EVENTS" : inside == " EVENTS DROPPED" || inside == "EVENTS DROPPED";
}

bool isNumber(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// What trace-cmd prints before the events: "version = 7", "CPU 3 is empty", "cpus=4".
bool isHeader(std::string_view text) {
    constexpr std::string_view kEmpty = " is empty";
    if (text.substr(0, 5) == "cpus=") return isNumber(text.substr(5));
    if (text.substr(0, 10) == "version = ") return isNumber(text.substr(10));
    if (text.substr(0, 4) != "CPU " || text.size() <= kEmpty.size() + 4) return false;
    return text.substr(text.size() - kEmpty.size()) == kEmpty &&
           isNumber(text.substr(4, text.size() - 4 - kEmpty.size()));
}

}  // namespace

bool FtraceLines::line(const TextLine& line, SchedulerTrace& trace) {
    std::string_view text = line.text;
    if (m_isPage && !m_page.take(line.text, text)) return true;
    if (isBlankOrComment(text)) return true;
    return event(text, line, trace);
}

bool FtraceLines::event(std::string_view text, const TextLine& line, SchedulerTrace& trace) {
    TraceLine event;
    if (line.cut || !parseTraceLine(text, event)) return leaveOut(text, line, trace);
    trace.event(event.event, {event.time, event.core, event.pid,
                              event.process < 0 ? kUnknownTgid : event.process,
                              isTaskName(event.name) ? event.name : std::string_view()});
    const KernelEvent kind = kernelEventOf(event.event);
    if (kind == KernelEvent::other) return true;
    bool understood = false;
    if (kind == KernelEvent::mark) {
        understood = tellMark(event.payload, trace);
        if (!understood) trace.skip(skip_reasons::kBadPayload);
    } else {
        understood = trace.kernelEvent(kind, event.payload);
    }
    m_payloads.see(kind, understood, line, event.event);
    return true;
}

bool FtraceLines::leaveOut(std::string_view text, const TextLine& line, SchedulerTrace& trace) {
    if (isHeader(text)) {
        trace.header();
        return true;
    }
    std::uint64_t lost = 0;
    if (isLoss(text, lost)) {
        trace.skip("lostEvents");
        m_lostEvents += lost;
        ++m_losses;
        return true;
    }
    const bool late = tellsTimeBeyondLimit(text);
    trace.skip(late ? skip_reasons::kBadTime : skip_reasons::kNoEvent);
    if (m_firstOdd.line == 0) {
        constexpr std::size_t kShown = 160;
        m_firstOdd = {line.number, oneLine(text, kShown), late};
    }
    return trace.events() > 0 || ++m_odd < kPatience;
}

ImportError FtraceLines::error(const SchedulerTrace& trace) const {
    if (m_isPage && !m_page.found()) {
        return ImportError::badInput(
            "no trace in this page, which would begin with a line \"# tracer\"; give a page that "
            "systrace wrote, or the text of `trace-cmd report`");
    }
    if (trace.events() == 0 && m_firstOdd.line != 0) {
        return ImportError::badInput(
            fmt::format("line {} {}: \"{}\"; {}", m_firstOdd.line,
                        m_firstOdd.late ? "has a time beyond the 73 years that a result can hold"
                                        : "is no event of a kernel trace",
                        m_firstOdd.text, kRemedy));
    }
    if (trace.events() == 0)
        return ImportError::badInput(fmt::format("holds comments alone and no event; {}", kRemedy));
    const std::string refusal = m_payloads.refusal();
    return refusal.empty() ? ImportError()
                           : ImportError::badInput(fmt::format("{}; {}", refusal, kRemedy));
}

std::vector<std::string> FtraceLines::warnings() const {
    std::vector<std::string> texts;
    if (!m_payloads.anyUnderstood()) {
        texts.push_back(fmt::format(
            "no event of the scheduler and no mark is in it, so the result is empty; {}", kRemedy));
    }
    if (m_losses > 0)
        texts.push_back(
            fmt::format("the tracer lost events {}, {} of them at least; states and slices around "
                        "these places are not those of the program",
                        counted(m_losses, "time", "times"), m_lostEvents));
    return texts;
}

bool hasTraceLines(std::string_view head) {
    TraceLine event;
    while (!head.empty()) {
        const std::string_view line = takeLine(head);
        if (line.substr(0, 8) == "# tracer" || isHeader(line)) return true;
        // Also in columns that are refused, for the message to speak of this format.
        if (line.find(" sched_switch: ") != std::string_view::npos || parseTraceLine(line, event)) {
            return true;
        }
    }
    return false;
}

}  // namespace lanefeed_importers
