// Marks of programs as slices, tracks, curves and points. Tested by
// tests/importers/scheduler_trace_test.cpp.
#include "scheduler/mark_rows.h"

#include "common/clean_text.h"
#include "common/counts_by_name.h"
#include "scheduler/task_rows.h"

#include <fmt/format.h>
#include <store/result_writer.h>

namespace lanefeed_importers {
namespace {

using lanefeed_runtime::InstanceRow;
using lanefeed_runtime::TableId;

constexpr const char* kNoName = "(no name)";

std::string shownName(std::string_view name) {
    return name.empty() ? kNoName : cleanText(name);
}

}  // namespace

MarkRows::MarkRows(TaskRows& tasks, lanefeed_runtime::ResultWriter& writer)
    : m_tasks(tasks), m_writer(writer), m_order(writer) {}

void MarkRows::begin(std::uint32_t task, std::int64_t time, std::string_view name) {
    OpenSlice slice;
    slice.begin = {time, 0};
    slice.name = m_names.idOf(name);
    m_open.begin(task, std::move(slice));
}

void MarkRows::end(std::uint32_t task, std::int64_t time, std::string_view name) {
    if (!m_open.end(task, m_names.idOf(name), name.empty(), m_closed)) {
        ++m_orphanEnds;
        return;
    }
    if (m_closed.begin.ns > time) {
        ++m_backward;
        return;
    }
    ++m_slices;
    InstanceRow row;
    row.begin = m_closed.begin.ns;
    row.end = time;
    row.band = m_tasks.threadBand(task);
    row.attr = nameRow(m_closed.name);
    m_order.add(task, row);
}

int MarkRows::nameRow(std::uint32_t name) {
    if (name >= m_nameRows.size()) m_nameRows.resize(name + 1, -1);
    int& row = m_nameRows[name];
    if (row < 0) row = m_writer.named(TableId::task, shownName(m_names.text(name)));
    return row;
}

void MarkRows::point(std::uint32_t task,
                     std::int64_t time,
                     std::string_view name,
                     std::string_view text) {
    ++m_points;
    InstanceRow row;
    row.begin = time;
    row.end = time;
    row.band = m_tasks.threadBand(task);
    row.attr = m_writer.named(TableId::marker, shownName(name));
    if (!text.empty())
        row.args = m_writer.addArgs(fmt::format("{{\"text\":{}}}", jsonQuoted(text)));
    m_writer.add(TableId::markerData, row);
}

void MarkRows::asyncBegin(int tgid,
                          std::int64_t time,
                          std::string_view name,
                          std::string_view cookie) {
    m_openAsync[asyncKey(tgid, name, cookie)].push_back(time);
}

void MarkRows::asyncEnd(int tgid,
                        std::int64_t time,
                        std::string_view name,
                        std::string_view cookie) {
    const auto found = m_openAsync.find(asyncKey(tgid, name, cookie));
    if (found == m_openAsync.end()) {
        ++m_orphanAsyncEnds;
        return;
    }
    InstanceRow row;
    row.begin = found->second.back();
    row.end = time;
    found->second.pop_back();
    if (found->second.empty()) m_openAsync.erase(found);
    if (row.begin > time) {
        ++m_backward;
        return;
    }
    ++m_asyncPairs;
    row.band = m_tasks.trackBand(tgid, shownName(name));
    row.attr = m_writer.named(TableId::task, shownName(name));
    m_writer.add(TableId::asyncData, row);
}

// Cookies are numbers; a blank ends them.
const std::string& MarkRows::asyncKey(int tgid, std::string_view name, std::string_view cookie) {
    m_key = fmt::format("{} {} {}", tgid, cookie, name);
    return m_key;
}

void MarkRows::counter(int tgid, std::int64_t time, std::string_view name, double value) {
    m_key = fmt::format("{} {}", tgid, name);
    const auto [place, added] = m_counters.try_emplace(m_key);
    Counter& counter = place->second;
    ++m_samples;
    if (added) {
        counter.row = m_tasks.counterRow(tgid, shownName(name));
        counter.band = m_tasks.counterBand(counter.row);
    } else if (counter.since > time) {
        ++m_backward;
    } else {
        addSample(counter, time);
    }
    counter.since = time;
    counter.value = value;
}

// Of several samples of one time the last one counts.
void MarkRows::addSample(const Counter& counter, std::int64_t end) {
    if (end == counter.since) return;
    InstanceRow row;
    row.begin = counter.since;
    row.end = end;
    row.band = counter.band;
    row.attr = counter.row;
    row.value = counter.value;
    m_writer.add(TableId::counterData, row);
}

void MarkRows::finish() {
    m_order.finish();
    for (const auto& [key, counter] : m_counters)
        addSample(counter, lanefeed_runtime::kToEnd);
}

std::uint64_t MarkRows::unclosedAsync() const {
    std::uint64_t count = 0;
    for (const auto& [key, open] : m_openAsync)
        count += open.size();
    return count;
}

}  // namespace lanefeed_importers
