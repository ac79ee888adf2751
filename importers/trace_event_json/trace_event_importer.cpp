// The two passes of an import and what is said about them: errors of the input with their place,
// and the facts of the result. Tested by tests/importers/trace_facts_test.cpp and
// import_trace_test.cpp.
#include "trace_event_json/trace_event_importer.h"

#include "common/byte_source.h"
#include "common/fact_keys.h"
#include "common/wording.h"
#include "trace_event_json/assembler.h"
#include "trace_event_json/collector.h"
#include "trace_event_json/tokenizer.h"

#include <fmt/format.h>
#include <store/result_writer.h>

namespace lanefeed_importers {
namespace {

using lanefeed_runtime::ResultWriter;
namespace result_keys = lanefeed_runtime::result_keys;

// Events between two looks at the cancel flag.
constexpr std::uint64_t kEventsPerLook = 4096;

std::string remedy() {
    return "give an array of events or an object with \"traceEvents\", or another trace of "
           "these: " +
           knownFormats();
}

// ", where "..." stands" for a byte that lies in the head of the source.
std::string textAt(const ByteSource& source, std::uint64_t byte) {
    const std::string text = byte < source.head().size() ? quotedAt(source.head(), byte) : "";
    return text.size() > 2 ? fmt::format(", where {} stands", text) : "";
}

// One import of one file.
class Run {
public:
    Run(ByteSource& source, ResultWriter& writer, const ImportOptions& options)
        : m_source(source), m_writer(writer), m_options(options), m_collector(options) {}

    ImportOutcome go();

private:
    bool collect();
    bool judgeEnd(const TokenizerResult& end);
    bool judgeSource();
    bool refuse(const std::string& what, const std::string& remedy);
    bool assemble();
    void report(ImportProgress::Stage stage, std::uint64_t done, std::uint64_t total);
    void setFacts(const Activity& activity);
    void setTimes(const Activity& activity);
    void setNumber(std::string_view key, std::int64_t number);
    void setCount(std::string_view key, std::uint64_t count);
    CollectedTrace& trace() { return m_collector.trace(); }

    ByteSource& m_source;
    ResultWriter& m_writer;
    const ImportOptions& m_options;
    Collector m_collector;
    ImportOutcome m_outcome;
};

ImportOutcome Run::go() {
    if (!collect() || !assemble()) return std::move(m_outcome);
    m_outcome.events = trace().entries;
    m_outcome.bytes = m_source.unpackedBytes();
    return std::move(m_outcome);
}

void Run::report(ImportProgress::Stage stage, std::uint64_t done, std::uint64_t total) {
    if (m_options.progress) m_options.progress({stage, done, total, trace().entries});
}

bool Run::collect() {
    const TokenizerResult end = tokenize(m_source, m_collector, [this] {
        report(ImportProgress::Stage::reading, m_source.fileBytesRead(), m_source.fileSize());
        return !m_options.cancelled();
    });
    return judgeEnd(end);
}

bool Run::judgeEnd(const TokenizerResult& end) {
    using End = TokenizerResult::End;
    if (end.end == End::stopped) {
        m_outcome.error =
            trace().events->error().failed() ? trace().events->error() : ImportError::cancelled();
        return false;
    }
    if (!judgeSource()) return false;
    switch (end.end) {
    case End::tooLong:
        return refuse(fmt::format("an event is longer than 64 MiB at byte {}", end.byte),
                      "record fewer arguments");
    case End::tooDeep:
        return refuse(fmt::format("an event is nested deeper than 512 levels at byte {}", end.byte),
                      "record simpler arguments");
    case End::noTrace:
        return refuse(fmt::format("no event array up to byte {}{} ({})", end.byte,
                                  textAt(m_source, end.byte), end.reason),
                      remedy());
    case End::cut:
        if (end.insideEvent) trace().counts.skip(reasons::kCut);
        m_outcome.warnings.push_back(fmt::format(
            "{}: the trace ends early at byte {}{} ({}); everything before it is in the result",
            m_source.path(), end.byte, end.insideEvent ? ", inside an event" : "", end.reason));
        break;
    case End::complete:
        if (!end.followed) break;
        m_outcome.warnings.push_back(
            fmt::format("{}: the trace ends at byte {}; what follows is not in the result, split "
                        "the file there to import it too",
                        m_source.path(), end.byte));
        break;
    case End::stopped: break;
    }
    const std::uint64_t entries = trace().entries + trace().otherEntries;
    if (trace().hasEvents || entries == 0) return true;
    return refuse(fmt::format("the array up to byte {} has {} and no event with \"ph\"", end.byte,
                              counted(entries, "entry", "entries")),
                  remedy());
}

// A damaged archive is taken as far as it goes, if that is wanted.
bool Run::judgeSource() {
    if (!m_source.error().failed()) return true;
    if (!m_source.damagedArchive() || !m_options.keepGoing) {
        m_outcome.error = m_source.error();
        if (m_source.damagedArchive())
            m_outcome.error.text += ", or take what could be unpacked with --keep-going";
        return false;
    }
    m_outcome.warnings.push_back(m_source.error().text);
    return true;
}

bool Run::refuse(const std::string& what, const std::string& remedy) {
    m_outcome.error =
        ImportError::badInput(fmt::format("{}: {}; {}", m_source.path(), what, remedy));
    return false;
}

bool Run::assemble() {
    TimeSorter& events = *trace().events;
    Assembler assembler(trace(), m_writer);
    TraceTime time;
    std::string_view bytes;
    EventRecord record;
    const std::uint64_t total = events.size();
    bool going = events.sort();
    for (std::uint64_t done = 0; going && events.next(time, bytes); ++done) {
        unpackRecord(bytes, record);
        assembler.event(time, record);
        if (done % kEventsPerLook != 0) continue;
        report(ImportProgress::Stage::joining, done, total);
        going = !m_options.cancelled() && !m_writer.error().failed();
    }
    if (events.error().failed()) m_outcome.error = events.error();
    if (m_options.cancelled()) m_outcome.error = ImportError::cancelled();
    if (m_outcome.error.failed() || m_writer.error().failed()) return false;
    assembler.finish();
    setFacts(assembler.activity());
    return true;
}

void Run::setNumber(std::string_view key, std::int64_t number) {
    m_writer.setFact(key, std::to_string(number));
}

void Run::setCount(std::string_view key, std::uint64_t count) {
    m_writer.setFact(key, std::to_string(count));
}

void Run::setFacts(const Activity& activity) {
    namespace keys = fact_keys;
    const TraceCounts& counts = trace().counts;
    setCount(result_keys::kTicksPerSecond, 1'000'000'000);
    setCount(keys::kEvents, trace().entries);
    m_writer.setFact(keys::kPhases, counts.phasesJson());
    m_writer.setFact(keys::kSkipped, counts.skippedJson());
    setCount(keys::kCompleteSlices, counts.kept('X') + counts.kept('E'));
    setCount(keys::kOrphanEnds, counts.skipped(std::string(reasons::kOrphanEnd)));
    setCount(keys::kUnclosedBegins, counts.skipped(std::string(reasons::kUnclosedBegin)));
    setCount(keys::kProcesses, trace().tracks.timedProcesses());
    setCount(keys::kThreads, trace().tracks.timedThreads());
    setCount(keys::kInstants, trace().instants);
    setCount(keys::kCounterTracks, trace().counterTracks.size());
    setCount(keys::kCounterSamples, trace().counterSamples);
    setCount(keys::kAsyncPairs, counts.kept('e') + counts.kept('F'));
    setCount(keys::kFlowArrows, counts.kept('t') + counts.kept('f'));
    if (counts.notUnderstood() > 0) {
        m_outcome.warnings.push_back(fmt::format(
            "{}: {} not understood; \"skipped\" of lanefeed info tells which", m_source.path(),
            counted(counts.notUnderstood(), "event or value is", "events or values are")));
    }
    if (trace().firstTime) {
        setTimes(activity);
    } else {
        m_outcome.warnings.push_back(fmt::format(
            "{}: no event of the trace has a time{}; the result is empty", m_source.path(),
            counts.skipped(std::string(reasons::kBadTime)) > 0
                ? " (\"ts\", a number of microseconds less than 73 years from 0)"
                : ""));
    }
}

void Run::setTimes(const Activity& activity) {
    namespace keys = fact_keys;
    const std::int64_t first = rounded(*trace().firstTime);
    const std::int64_t last = rounded(trace().lastEnd);
    m_outcome.firstTime = first;
    m_outcome.lastTime = last;
    m_outcome.isTimed = true;
    // Also events that aren't kept belong to the span of the trace.
    m_writer.cover(first);
    m_writer.cover(last);
    setNumber(keys::kFirstTime, first);
    setNumber(keys::kLastTime, last);
    const bool kept = trace().events->size() > 0;
    const Activity::Span content = kept ? activity.content() : Activity::Span{first, last};
    const Activity::Span gap = activity.longestGap();
    setNumber(keys::kContentStart, content.begin);
    setNumber(keys::kContentEnd, content.end);
    setNumber(keys::kLongestGapStart, gap.length() > 0 ? gap.begin : first);
    setNumber(keys::kLongestGapEnd, gap.length() > 0 ? gap.end : first);
}

}  // namespace

bool TraceEventImporter::accepts(std::string_view head) const {
    return beginsLikeTrace(head);
}

ImportOutcome TraceEventImporter::import(ByteSource& source,
                                         ResultWriter& writer,
                                         const ImportOptions& options) const {
    return Run(source, writer, options).go();
}

}  // namespace lanefeed_importers
