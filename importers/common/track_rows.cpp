// Rows of the pane, as the writer wants them. Tested by tests/importers/trace_facts_test.cpp.
#include "common/track_rows.h"

#include "common/clean_text.h"
#include "common/track_names.h"

#include <charconv>
#include <store/result_writer.h>

namespace lanefeed_importers {
namespace {

using lanefeed_runtime::Cell;
using lanefeed_runtime::TableId;

constexpr char kSeparator = '\x1f';

// The id as a number if it is one, else nothing.
void addNumber(std::vector<Cell>& cells, std::string_view column, const std::string& id) {
    std::int64_t number = 0;
    const auto [end, failure] = std::from_chars(id.data(), id.data() + id.size(), number);
    if (failure == std::errc() && end == id.data() + id.size()) cells.emplace_back(column, number);
}

}  // namespace

TrackRows::TrackRows(const TrackNames& tracks, lanefeed_runtime::ResultWriter& writer)
    : m_tracks(tracks),
      m_writer(writer),
      m_processRows(tracks.processes().size(), -1),
      m_threadBands(tracks.threads().size(), -1) {
    addProcesses();
    addThreads();
}

void TrackRows::addProcesses() {
    std::int64_t place = 0;
    for (const std::uint32_t index : m_tracks.processOrder()) {
        const auto& process = m_tracks.processes()[index];
        const std::string label = cleanText(m_tracks.processLabel(index));
        std::vector<Cell> cells = {
            {"name", process.name.empty() ? label : process.name},
            {"label", label},
            {"sort", ++place},
        };
        addNumber(cells, "pid", process.id);
        m_processRows[index] = m_writer.attribute(TableId::process, process.id, cells);
    }
}

void TrackRows::addThreads() {
    std::int64_t place = 0;
    for (const std::uint32_t index : m_tracks.threadOrder()) {
        const auto& thread = m_tracks.threads()[index];
        const std::string name = cleanText(m_tracks.threadName(index));
        const std::string label = ownLabel(thread.process, name);
        const std::string key = m_tracks.processes()[thread.process].id + kSeparator + thread.id;
        std::vector<Cell> cells = {
            {"name", name},
            {"label", label},
            {"dd_process", m_processRows[thread.process]},
            {"sort", ++place},
        };
        addNumber(cells, "tid", thread.id);
        const int row = m_writer.attribute(TableId::thread, key, cells);
        m_threadBands[index] = m_writer.band(TableId::thread, row);
    }
}

std::string TrackRows::ownLabel(std::uint32_t process, const std::string& name) const {
    return cleanText(m_tracks.processLabel(process)) + " / " + name;
}

int TrackRows::trackBand(std::uint32_t process, const std::string& name) {
    const std::string key = std::to_string(process) + kSeparator + name;
    const auto [place, added] = m_trackBands.try_emplace(key, -1);
    if (!added) return place->second;
    const std::string shown = cleanText(name);
    const std::string label = ownLabel(process, shown);
    const int row = m_writer.attribute(TableId::track, key,
                                       {{"name", shown},
                                        {"label", label},
                                        {"dd_process", m_processRows[process]},
                                        {"sort", static_cast<std::int64_t>(m_trackBands.size())}});
    place->second = m_writer.band(TableId::track, row);
    return place->second;
}

int TrackRows::counter(std::uint32_t process, std::string_view key, const std::string& name) {
    const std::string shown = cleanText(name);
    const std::string label = ownLabel(process, shown);
    return m_writer.attribute(
        TableId::counter, key,
        {{"name", shown}, {"label", label}, {"dd_process", m_processRows[process]}});
}

int TrackRows::counterBand(int counter) {
    return m_writer.band(TableId::counter, counter);
}

}  // namespace lanefeed_importers
