// The loop over the lines of a scheduler trace and what is said about the whole of it.
// Tested by tests/importers/text_formats_test.cpp.
#include "scheduler/text_import.h"

#include "common/byte_source.h"
#include "common/wording.h"
#include "scheduler/scheduler_trace.h"

#include <fmt/format.h>
#include <store/result_writer.h>

namespace lanefeed_importers {
namespace {

// Lines between two looks at the state of the writer.
constexpr std::uint64_t kLinesPerLook = 4096;

// One import of one file.
class Run {
public:
    Run(ByteSource& source,
        lanefeed_runtime::ResultWriter& writer,
        const ImportOptions& options,
        LineParser& parser)
        : m_source(source),
          m_writer(writer),
          m_options(options),
          m_parser(parser),
          m_trace(writer, options.args),
          m_lines(source, [this] { return goOn(); }) {}

    ImportOutcome go();

private:
    bool goOn();
    bool readLines();
    bool judge();
    void warn(const std::string& text);
    void warnings();

    ByteSource& m_source;
    lanefeed_runtime::ResultWriter& m_writer;
    const ImportOptions& m_options;
    LineParser& m_parser;
    SchedulerTrace m_trace;
    LineReader m_lines;
    std::uint64_t m_lastLine = 0;
    bool m_lastEnded = true;
    bool m_lastUsed = true;
    std::uint64_t m_firstJump = 0;  // line
    std::uint64_t m_firstSkipped = 0;
    ImportOutcome m_outcome;
};

bool Run::goOn() {
    if (m_options.progress) {
        m_options.progress({ImportProgress::Stage::reading, m_source.fileBytesRead(),
                            m_source.fileSize(), m_trace.events()});
    }
    return !m_options.cancelled();
}

// False when the import is over; why stands in the outcome or with the writer.
bool Run::readLines() {
    TextLine line;
    while (m_lines.next(line)) {
        const std::uint64_t skipped = m_trace.skipped();
        const std::uint64_t jumps = m_trace.clockJumps();
        const bool going = m_parser.line(line, m_trace);
        m_lastUsed = skipped == m_trace.skipped();
        if (!m_lastUsed && m_firstSkipped == 0) m_firstSkipped = line.number;
        if (jumps != m_trace.clockJumps() && m_firstJump == 0) m_firstJump = line.number;
        m_lastLine = line.number;
        m_lastEnded = line.ended;
        if (!going) break;
        if (line.number % kLinesPerLook == 0 && m_writer.error().failed()) return false;
    }
    if (m_lines.stopped()) m_outcome.error = ImportError::cancelled();
    return !m_outcome.error.failed() && judge();
}

bool Run::judge() {
    if (m_source.error().failed()) {
        if (!m_source.damagedArchive() || !m_options.keepGoing) {
            m_outcome.error = m_source.error();
            if (m_source.damagedArchive())
                m_outcome.error.text += ", or take what could be unpacked with --keep-going";
            return false;
        }
        m_outcome.warnings.push_back(m_source.error().text);
    }
    m_outcome.error = m_parser.error(m_trace);
    if (!m_outcome.error.failed()) return true;
    m_outcome.error.text = fmt::format("{}: {}", m_source.path(), m_outcome.error.text);
    return false;
}

void Run::warn(const std::string& text) {
    m_outcome.warnings.push_back(fmt::format("{}: {}", m_source.path(), text));
}

void Run::warnings() {
    for (const std::string& text : m_parser.warnings())
        warn(text);
    if (m_trace.skipped() > 0) {
        const std::string which =
            m_trace.skipped() == 1
                ? fmt::format("line {} is left out", m_firstSkipped)
                : fmt::format("{} lines are left out, the first of them is line {}",
                              m_trace.skipped(), m_firstSkipped);
        warn(which + "; \"skipped\" of lanefeed info tells why");
    }
    if (!m_lastUsed && !m_lastEnded) {
        warn(fmt::format("the text ends inside line {}; everything before it is in the result",
                         m_lastLine));
    }
    if (m_lines.cutLines() > 0) {
        warn(fmt::format("{} longer than {} kB; only the begin was read",
                         counted(m_lines.cutLines(), "line is", "lines are"),
                         LineReader::kMaxLine >> 10));
    }
    if (m_trace.switchesOutOfStep() > 0) {
        warn(
            fmt::format("of {} switches {} with the one before on the same core: events were "
                        "lost; the time belongs to the task that leaves the core",
                        m_trace.switches(),
                        counted(m_trace.switchesOutOfStep(), "is out of step", "are out of step")));
    }
    if (m_trace.clockJumps() > 0) {
        std::string text = m_trace.clockJumps() == 1
                               ? fmt::format("the clock jumps back in line {}", m_firstJump)
                               : fmt::format("the clock jumps back {} times, first in line {}",
                                             m_trace.clockJumps(), m_firstJump);
        if (m_trace.backwardSpans() > 0) {
            text +=
                fmt::format("; {} left out", counted(m_trace.backwardSpans(),
                                                     "span that would end before it begins is",
                                                     "spans that would end before they begin are"));
        }
        warn(text);
    }
}

ImportOutcome Run::go() {
    if (!readLines()) return std::move(m_outcome);
    m_trace.finish();
    warnings();
    m_outcome.events = m_trace.events();
    m_outcome.bytes = m_source.unpackedBytes();
    if (m_trace.firstTime()) {
        m_outcome.isTimed = true;
        m_outcome.firstTime = *m_trace.firstTime();
        m_outcome.lastTime = m_trace.lastTime();
    }
    return std::move(m_outcome);
}

}  // namespace

ImportOutcome importLines(ByteSource& source,
                          lanefeed_runtime::ResultWriter& writer,
                          const ImportOptions& options,
                          LineParser& parser) {
    return Run(source, writer, options, parser).go();
}

}  // namespace lanefeed_importers
