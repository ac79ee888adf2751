// First pass over the events, in the order of the file. Counts, names threads and counters, turns
// times into exact numbers; what joins events is left to the second pass, which sees them in order
// of time. Tested by tests/importers/trace_facts_test.cpp.
#include "trace_event_json/collector.h"

#include "common/clean_text.h"
#include "trace_event_json/args_reader.h"

#include <algorithm>
#include <charconv>

namespace lanefeed_importers {
namespace {

constexpr char kSeparator = '\x1f';
constexpr std::size_t kMaxArgs = 64 * 1024;
constexpr std::string_view kInstantPhases = "iIR";
constexpr std::string_view kThreadPhases = "BEXiIRstf";  // of what stands on a thread
constexpr std::string_view kTrackPhases = "CbneSTpF";    // on a counter or a track of its own

bool among(std::string_view phases, char phase) {
    return phases.find(phase) != std::string_view::npos;
}

std::optional<std::int64_t> wholeNumber(std::string_view text) {
    std::int64_t number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

}  // namespace

Collector::Collector(const ImportOptions& options) : m_options(options) {
    Collector::onRestart();
}

void Collector::onRestart() {
    m_trace = std::make_unique<CollectedTrace>(m_options.scratchFolder, m_options.sortMemory);
    m_seriesIds.clear();
}

void Collector::onOtherEntry() {
    ++m_trace->otherEntries;
    m_trace->counts.skip(reasons::kNonObject);
}

bool Collector::onEvent(const TraceEvent& event) {
    if (event.system) {
        systemEntry(event);
        return true;
    }
    ++m_trace->entries;
    if (!m_trace->hasEvents) m_trace->hasEvents = event.phase.present() || event.time.present();
    const std::string_view phase = event.phase.key();
    m_trace->counts.event(phase);
    if (phase == "M") {
        metadata(event);
        return true;
    }
    return timedEvent(event, phase.size() == 1 ? phase[0] : '\0');
}

bool Collector::timedEvent(const TraceEvent& event, char phase) {
    TraceTime time;
    if (!readTime(event, time)) {
        m_trace->counts.skip(reasons::kBadTime);
        return true;
    }
    m_record.phase = phase;
    m_record.thread = m_trace->tracks.timedThread(event.process.key(), event.thread.key());
    if (among(kInstantPhases, phase)) ++m_trace->instants;
    if (phase == 'C') ++m_trace->counterSamples;
    const bool ofThread = among(kThreadPhases, phase);
    if (!ofThread && !among(kTrackPhases, phase)) {
        m_trace->counts.skip(reasons::kUnknownPhase);
        return true;
    }
    if (ofThread) m_trace->tracks.threadAt(m_record.thread).hasBand = true;
    if (!fillRecord(event, time)) return true;
    packRecord(m_record, m_bytes);
    return m_trace->events->add(time, m_bytes);
}

bool Collector::readTime(const TraceEvent& event, TraceTime& time) {
    if (!event.time.maybeNumber() || !parseMicroseconds(event.time.text(), time)) return false;
    if (!m_trace->firstTime) {
        m_trace->firstTime = time;
        m_trace->lastTime = time;
        m_trace->lastEnd = time;
    }
    m_trace->firstTime = std::min(*m_trace->firstTime, time);
    m_trace->lastTime = std::max(m_trace->lastTime, time);
    m_trace->lastEnd = std::max(m_trace->lastEnd, time);
    return true;
}

// False if nothing of the event can be kept.
bool Collector::fillRecord(const TraceEvent& event, const TraceTime& time) {
    m_record.name = m_trace->names.idOf(event.name.text());
    m_record.category = m_trace->categories.idOf(event.category.text());
    if (m_record.phase == 'C') return fillCounter(event);
    if (m_record.phase == 'X') fillDuration(event, time);
    if (EventRecord::hasKey(m_record.phase)) fillKey(event);
    keepArgs(event);
    return true;
}

void Collector::fillDuration(const TraceEvent& event, const TraceTime& time) {
    TraceTime duration;
    if (!event.duration.maybeNumber() || !parseMicroseconds(event.duration.text(), duration)) {
        m_trace->counts.skip(reasons::kMissingDuration);
        duration = {};
    } else if (duration.ns < 0) {
        m_trace->counts.skip(reasons::kNegativeDuration);
        duration = {};
    }
    m_record.end = time + duration;
    if (m_record.end.ns >= TraceTime::kLimit) {
        m_trace->counts.skip(reasons::kMissingDuration);
        m_record.end = time;
    }
    m_trace->lastEnd = std::max(m_trace->lastEnd, m_record.end);
}

// What belongs together: nestable events by category, id and scope, the others by category, id and
// name, and neither kind ends what the other has begun. Local ids are those of a process.
void Collector::fillKey(const TraceEvent& event) {
    const bool nestable = among("bne", m_record.phase);
    m_key.assign(nestable ? "N" : "O").append(event.category.key()).append(1, kSeparator);
    if (!event.hasId2) {
        m_key.append("I").append(event.id.key());
    } else if (event.localId.present()) {
        m_key.append("L").append(event.process.key()).append(1, kSeparator);
        m_key.append(event.localId.key());
    } else {
        m_key.append("G").append(event.globalId.key());
    }
    m_key.append(1, kSeparator).append(nestable ? event.scope.key() : event.name.key());
    m_record.key = m_key;
}

bool Collector::fillCounter(const TraceEvent& event) {
    m_key.assign(event.process.key()).append(1, kSeparator).append(event.name.key());
    m_key.append(1, kSeparator).append(event.id.key());
    const std::uint32_t track = m_trace->counterTracks.idOf(m_key);
    m_record.values.clear();
    readArgs(event.args, [&](const ArgsMember& member) {
        double value = 0;
        if (!member.maybeNumber || !parseNumber(member.text, value)) {
            m_trace->counts.skip(reasons::kNonNumericCounter);
            return;
        }
        std::string key = m_key + kSeparator;
        key.append(member.key);
        const auto next = static_cast<std::uint32_t>(m_trace->series.size());
        const auto [place, added] = m_seriesIds.try_emplace(key, next);
        if (added) {
            m_trace->series.push_back({track, m_trace->tracks.process(event.process.key()),
                                       std::string(event.name.text()), std::string(event.id.text()),
                                       std::string(member.key)});
        }
        addValue(place->second, value);
    });
    m_record.args = {};
    if (!m_record.values.empty()) return true;
    m_trace->counts.skip(reasons::kEmptyCounter);
    return false;
}

void Collector::addValue(std::uint32_t series, double value) {
    if (series >= m_places.size()) m_places.resize(series + 1);
    std::size_t& place = m_places[series];
    if (place < m_record.values.size() && m_record.values[place].series == series) {
        m_record.values[place].value = value;
        return;
    }
    place = m_record.values.size();
    m_record.values.push_back({series, value});
}

void Collector::keepArgs(const TraceEvent& event) {
    m_record.args = {};
    if (!m_options.args || event.args.size() <= 2) return;
    if (event.args.size() > kMaxArgs) {
        m_trace->counts.skip(reasons::kLongArgs);
        return;
    }
    m_record.args = event.args;
    if (isCleanText(event.args)) return;
    m_cleanArgs = cleanText(event.args);
    m_record.args = m_cleanArgs;
}

void Collector::metadata(const TraceEvent& event) {
    if (applyMetadata(event, event.name.text())) {
        m_trace->counts.keep('M');
    } else {
        m_trace->counts.skip(reasons::kOtherMetadata);
    }
}

bool Collector::applyMetadata(const TraceEvent& event, std::string_view what) {
    TrackNames& tracks = m_trace->tracks;
    const bool ofThread = what == "thread_name" || what == "thread_sort_index";
    const bool name = what == "thread_name" || what == "process_name";
    const bool sort = what == "thread_sort_index" || what == "process_sort_index";
    const bool labels = what == "process_labels";
    if (!name && !sort && !labels) return false;
    const std::string_view member = name ? "name" : sort ? "sort_index" : "labels";
    std::string text;
    readArgs(event.args, [&](const ArgsMember& found) {
        if (found.key == member) text = cleanText(found.text);
    });
    if (ofThread) {
        auto& thread = tracks.threadAt(tracks.thread(event.process.key(), event.thread.key()));
        if (name) thread.name = text;
        if (sort) thread.sort = wholeNumber(text);
    } else {
        auto& process = tracks.processAt(tracks.process(event.process.key()));
        if (name) process.name = text;
        if (sort) process.sort = wholeNumber(text);
        if (labels) process.labels = text;
    }
    return true;
}

// Names in the list that stands beside the events: "p" for processes, "t" for threads.
void Collector::systemEntry(const TraceEvent& event) {
    TrackNames& tracks = m_trace->tracks;
    const std::string_view kind = event.phase.text();
    const std::string name = cleanText(event.name.text());
    if (kind == "p") {
        tracks.processAt(tracks.process(event.process.key())).name = name;
    } else if (kind == "t") {
        tracks.threadAt(tracks.thread(event.process.key(), event.thread.key())).name = name;
    }
}

}  // namespace lanefeed_importers
