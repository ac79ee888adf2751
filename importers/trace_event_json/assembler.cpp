// Second pass over the events, in order of time and, at equal times, of the file. Only what is open
// is kept: begins without an end yet, the last sample of each curve, the last point of each flow.
// A flow stays open behind its "f", since several of them may follow one "s".
// Tested by tests/importers/trace_facts_test.cpp.
#include "trace_event_json/assembler.h"

#include "common/clean_text.h"

namespace lanefeed_importers {
namespace {

using lanefeed_runtime::InstanceRow;
using lanefeed_runtime::TableId;

constexpr std::size_t kMaxArgs = lanefeed_runtime::ResultWriter::kMaxArgs;
constexpr const char* kNoName = "(no name)";

// Members of both objects, as one object.
std::string joinedArgs(const std::string& begin, std::string_view end) {
    const bool objects = !begin.empty() && begin.back() == '}' && !end.empty() && end[0] == '{';
    if (!objects || begin.size() + end.size() > kMaxArgs)
        return begin.empty() ? std::string(end) : begin;
    return begin.substr(0, begin.size() - 1) + "," + std::string(end.substr(1));
}

}  // namespace

Assembler::Assembler(CollectedTrace& trace, lanefeed_runtime::ResultWriter& writer)
    : m_trace(trace),
      m_writer(writer),
      m_rows(trace.tracks, writer),
      m_activity(trace.events->size()),
      m_order(writer),
      m_samples(trace.series.size()),
      m_taskRows(trace.names.size(), -1),
      m_markerRows(trace.names.size(), -1),
      m_flowRows(trace.names.size(), -1),
      m_categoryRows(trace.categories.size(), -1) {
    addSeriesRows();
}

// A curve is called like its counter; where that has several, the argument tells them apart.
void Assembler::addSeriesRows() {
    std::vector<std::size_t> curves(m_trace.counterTracks.size());
    for (const CounterSeries& series : m_trace.series)
        ++curves[series.track];
    for (const CounterSeries& series : m_trace.series) {
        std::string name = series.counter;
        if (!series.id.empty()) name += " " + series.id;
        if (curves[series.track] > 1) name += ": " + series.argument;
        const std::string& track = m_trace.counterTracks.text(series.track);
        const int row = m_rows.counter(series.process, track + '\x1f' + series.argument, name);
        m_seriesRows.emplace_back(row, m_rows.counterBand(row));
    }
}

void Assembler::event(const TraceTime& time, const EventRecord& record) {
    m_now = rounded(time);
    const std::int64_t end = record.phase == 'X' ? rounded(record.end) : m_now;
    m_activity.event(m_now, end);
    switch (record.phase) {
    case 'B': m_openSlices.begin(record.thread, openSlice(time, record)); break;
    case 'E': sliceEnd(record); break;
    case 'X':
        m_writer.add(TableId::sliceData,
                     sliceRow(m_rows.threadBand(record.thread), end, openSlice(time, record), {}));
        m_trace.counts.keep('X');
        break;
    case 'i':
    case 'I':
    case 'R': mark(record, m_rows.threadBand(record.thread)); break;
    case 'C': counter(record); break;
    case 'b':
    case 'S': asyncBegin(time, record); break;
    case 'e':
    case 'F': asyncEnd(record); break;
    case 'n':
    case 'T':
    case 'p': asyncMark(record); break;
    default: flow(record); break;
    }
}

OpenSlice Assembler::openSlice(const TraceTime& time, const EventRecord& record) {
    return {time, record.name, record.category, std::string(record.args)};
}

void Assembler::sliceEnd(const EventRecord& record) {
    const bool anonymous = m_trace.names.text(record.name).empty();
    if (!m_openSlices.end(record.thread, record.name, anonymous, m_closed)) {
        m_trace.counts.skip(reasons::kOrphanEnd);
        return;
    }
    m_trace.counts.keep('B');
    m_trace.counts.keep('E');
    m_activity.lastedFrom(rounded(m_closed.begin));
    m_order.add(record.thread,
                sliceRow(m_rows.threadBand(record.thread), m_now, m_closed, record.args));
}

void Assembler::mark(const EventRecord& record, int band) {
    InstanceRow row;
    row.begin = m_now;
    row.end = m_now;
    row.band = band;
    row.attr = nameRow(TableId::marker, m_markerRows, record.name);
    row.category = categoryRow(record.category);
    row.args = argsRow(record.args);
    m_writer.add(TableId::markerData, row);
    m_trace.counts.keep(record.phase);
}

void Assembler::asyncBegin(const TraceTime& time, const EventRecord& record) {
    m_key.assign(record.key);
    std::vector<OpenAsync>& open = m_openAsync[m_key];
    // What nests in another one is drawn with it. A begin that never ends makes no track.
    const Track track = open.empty() ? trackOf(record) : open.front().track;
    open.push_back({openSlice(time, record), track});
}

void Assembler::asyncEnd(const EventRecord& record) {
    const bool legacy = record.phase == 'F';
    m_key.assign(record.key);
    const auto found = m_openAsync.find(m_key);
    if (found == m_openAsync.end()) {
        m_trace.counts.skip(reasons::kOrphanAsyncEnd);
        return;
    }
    const OpenAsync closed = std::move(found->second.back());
    found->second.pop_back();
    if (found->second.empty()) m_openAsync.erase(found);
    m_trace.counts.keep(legacy ? 'S' : 'b');
    m_trace.counts.keep(record.phase);
    m_activity.lastedFrom(rounded(closed.slice.begin));
    m_writer.add(TableId::asyncData,
                 sliceRow(trackBand(closed.track), m_now, closed.slice, record.args));
}

void Assembler::asyncMark(const EventRecord& record) {
    m_key.assign(record.key);
    const auto found = m_openAsync.find(m_key);
    mark(record,
         trackBand(found == m_openAsync.end() ? trackOf(record) : found->second.front().track));
}

void Assembler::flow(const EventRecord& record) {
    m_key.assign(record.key);
    const auto found = m_flows.find(m_key);
    if (record.phase == 's') {
        if (found != m_flows.end()) closeFlow(found->second);
        m_flows[m_key] = {m_now, record.thread, false};
        return;
    }
    if (found == m_flows.end()) {
        m_trace.counts.skip(reasons::kOrphanFlow);
        return;
    }
    FlowPoint& from = found->second;
    InstanceRow row;
    row.begin = m_now;
    row.end = m_now;
    row.band = m_rows.threadBand(record.thread);
    row.attr = nameRow(TableId::flow, m_flowRows, record.name);
    row.sourceBegin = from.time;
    row.sourceBand = m_rows.threadBand(from.thread);
    row.category = categoryRow(record.category);
    row.args = argsRow(record.args);
    m_writer.add(TableId::flowData, row);
    m_trace.counts.keep(record.phase);
    from = {m_now, record.thread, true};
}

void Assembler::closeFlow(const FlowPoint& point) {
    if (point.leads) {
        m_trace.counts.keep('s');
    } else {
        m_trace.counts.skip(reasons::kUnfinishedFlow);
    }
}

void Assembler::counter(const EventRecord& record) {
    for (const CounterValue& value : record.values) {
        Sample& sample = m_samples[value.series];
        if (sample.present) addSample(value.series, sample, m_now);
        sample = {m_now, value.value, true};
    }
    m_trace.counts.keep('C');
}

void Assembler::addSample(std::uint32_t series, const Sample& sample, std::int64_t end) {
    if (end == sample.time) {
        m_trace.counts.skip(reasons::kReplacedSample);
        return;
    }
    InstanceRow row;
    row.begin = sample.time;
    row.end = end;
    row.attr = m_seriesRows[series].first;
    row.band = m_seriesRows[series].second;
    row.value = sample.value;
    m_writer.add(TableId::counterData, row);
}

void Assembler::finish() {
    m_order.finish();
    for (std::uint32_t i = 0; i < m_samples.size(); ++i) {
        if (m_samples[i].present) addSample(i, m_samples[i], lanefeed_runtime::kToEnd);
    }
    m_trace.counts.skip(reasons::kUnclosedBegin,
                        m_openSlices.abandoned() + m_openSlices.openCount());
    for (const auto& [key, open] : m_openAsync) {
        m_trace.counts.skip(reasons::kUnclosedAsync, open.size());
    }
    for (const auto& [key, point] : m_flows)
        closeFlow(point);
}

InstanceRow Assembler::sliceRow(int band,
                                std::int64_t end,
                                const OpenSlice& slice,
                                std::string_view endArgs) {
    InstanceRow row;
    row.begin = rounded(slice.begin);
    row.end = end;
    row.band = band;
    row.attr = nameRow(TableId::task, m_taskRows, slice.name);
    row.category = categoryRow(slice.category);
    row.args = endArgs.empty() ? argsRow(slice.args) : argsRow(joinedArgs(slice.args, endArgs));
    return row;
}

Assembler::Track Assembler::trackOf(const EventRecord& record) const {
    return {m_trace.tracks.threads()[record.thread].process, record.name};
}

int Assembler::trackBand(const Track& track) {
    const std::string& name = m_trace.names.text(track.name);
    return m_rows.trackBand(track.process, name.empty() ? kNoName : name);
}

int Assembler::nameRow(TableId table, std::vector<int>& rows, std::uint32_t name) {
    int& row = rows[name];
    if (row < 0) {
        const std::string& text = m_trace.names.text(name);
        row = m_writer.named(table, text.empty() ? kNoName : cleanText(text));
    }
    return row;
}

int Assembler::categoryRow(std::uint32_t category) {
    int& row = m_categoryRows[category];
    const std::string& text = m_trace.categories.text(category);
    if (row < 0 && !text.empty()) row = m_writer.named(TableId::category, cleanText(text));
    return row;
}

std::int64_t Assembler::argsRow(std::string_view args) {
    return args.empty() ? -1 : m_writer.addArgs(args);
}

}  // namespace lanefeed_importers
