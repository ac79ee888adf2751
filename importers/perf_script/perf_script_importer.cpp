// Lines of "perf script" into the model of scheduler traces. What is no such line is counted; a
// text in which none is found is refused with what its first line lacks.
// Tested by tests/importers/text_formats_test.cpp.
#include "perf_script/perf_script_importer.h"

#include "common/text_lines.h"
#include "common/trace_time.h"
#include "common/wording.h"
#include "perf_script/perf_line.h"
#include "scheduler/odd_payloads.h"
#include "scheduler/scheduler_trace.h"
#include "scheduler/text_import.h"

#include <fmt/format.h>

namespace lanefeed_importers {
namespace {

constexpr const char* kRecording =
    "record with: perf record -a -e 'sched:sched_switch,sched:sched_wakeup,sched:sched_wakeup_new,"
    "sched:sched_migrate_task,irq:*' and print with: perf script --ns -F "
    "comm,pid,tid,cpu,time,event,trace";

// Lines of another text that are read before it is refused.
constexpr std::uint64_t kPatience = 1000;

constexpr std::string_view kCallChain = "callChain";

const char* wordsOf(PerfFault fault) {
    switch (fault) {
    case PerfFault::noCore: return "has no core such as [000] between thread and time";
    case PerfFault::noTime: return "has no time in seconds behind the core";
    case PerfFault::lateTime: return "has a time beyond the 73 years that a result can hold";
    case PerfFault::noThread: return "has no thread before the core";
    case PerfFault::noEvent: return "has no event behind the time";
    case PerfFault::otherText: break;
    }
    return "is no line of perf script";
}

class PerfParser : public LineParser {
public:
    bool line(const TextLine& line, SchedulerTrace& trace) override;
    ImportError error(const SchedulerTrace& trace) const override;
    std::vector<std::string> warnings() const override;

private:
    void event(const TextLine& line, SchedulerTrace& trace);
    bool otherLine(const TextLine& line, SchedulerTrace& trace);

    PerfLine m_columns;
    std::uint64_t m_otherLines = 0;
    std::uint64_t m_firstOther = 0;  // line
    PerfFault m_fault = PerfFault::otherText;
    OddPayloads m_payloads;
    std::uint64_t m_callChainLines = 0;
};

bool PerfParser::line(const TextLine& line, SchedulerTrace& trace) {
    if (!parsePerfLine(line.text, m_columns)) return otherLine(line, trace);
    event(line, trace);
    return true;
}

void PerfParser::event(const TextLine& line, SchedulerTrace& trace) {
    EventHead head;
    head.time = m_columns.time;
    head.core = m_columns.core;
    head.tid = m_columns.tid;
    if (m_columns.pid > 0) head.tgid = m_columns.pid;
    head.comm = m_columns.comm;
    trace.event(m_columns.wholeEvent, head);
    const KernelEvent kind = kernelEventOf(m_columns.event);
    if (kind == KernelEvent::other || kind == KernelEvent::mark) return;
    const bool understood = trace.kernelEvent(kind, m_columns.payload);
    m_payloads.see(kind, understood, line, m_columns.wholeEvent);
}

// False when it is clear that the text is another tool's.
bool PerfParser::otherLine(const TextLine& line, SchedulerTrace& trace) {
    if (isBlankOrComment(line.text)) return true;
    if (isCallChainLine(line.text)) {
        ++m_callChainLines;
        trace.skip(kCallChain);
    } else {
        trace.skip(tellsTimeBeyondLimit(line.text) ? skip_reasons::kBadTime
                                                   : skip_reasons::kNoEvent);
    }
    if (m_firstOther == 0) {
        m_firstOther = line.number;
        m_fault = perfFaultOf(line.text);
    }
    ++m_otherLines;
    return trace.events() > 0 || m_otherLines < kPatience;
}

ImportError PerfParser::error(const SchedulerTrace& trace) const {
    const std::string refusal = m_payloads.refusal();
    if (!refusal.empty()) return ImportError::badInput(refusal + "; " + kRecording);
    if (trace.events() > 0) return {};
    if (m_firstOther == 0) {
        return ImportError::badInput(
            fmt::format("holds comments alone and no event; {}", kRecording));
    }
    return ImportError::badInput(
        fmt::format("line {} {}; {}", m_firstOther, wordsOf(m_fault), kRecording));
}

std::vector<std::string> PerfParser::warnings() const {
    std::vector<std::string> texts;
    if (!m_payloads.anyUnderstood()) {
        texts.push_back(fmt::format(
            "no event of the scheduler is in it, so the result is empty; {}", kRecording));
    }
    if (m_callChainLines > 0) {
        texts.push_back(fmt::format(
            "{} left out; print without them by "
            "-F comm,pid,tid,cpu,time,event,trace",
            counted(m_callChainLines, "line of a call chain is", "lines of call chains are")));
    }
    return texts;
}

}  // namespace

// Also text whose lines lack a column, in order to tell which. The head may consist of comments.
bool PerfScriptImporter::accepts(std::string_view head) const {
    bool lines = false;
    bool faulty = false;
    PerfLine columns;
    for (std::string_view rest = head; !rest.empty();) {
        const std::string_view line = takeLine(rest);
        if (isBlankOrComment(line)) continue;
        if (parsePerfLine(line, columns)) return true;
        faulty = faulty || perfFaultOf(line) != PerfFault::otherText;
        lines = true;
    }
    return lines ? faulty : head.find("# cmdline :") != std::string_view::npos;
}

bool PerfScriptImporter::isEventLine(std::string_view line) const {
    PerfLine columns;
    return parsePerfLine(line, columns);
}

ImportOutcome PerfScriptImporter::import(ByteSource& source,
                                         lanefeed_runtime::ResultWriter& writer,
                                         const ImportOptions& options) const {
    PerfParser parser;
    return importLines(source, writer, options, parser);
}

}  // namespace lanefeed_importers
