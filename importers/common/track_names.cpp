// Names may come before, between or after the events of a thread, or never; so they are asked for
// when the whole trace was read. Tested by tests/importers/import_rows_test.cpp.
#include "common/track_names.h"

#include <algorithm>
#include <charconv>
#include <tuple>

namespace lanefeed_importers {
namespace {

constexpr char kSeparator = '\x1f';
constexpr std::string_view kMissing = "-";

// Numbers before texts, both ascending.
std::tuple<int, std::int64_t, std::string_view> idOrder(std::string_view id) {
    std::int64_t number = 0;
    const auto [end, failure] = std::from_chars(id.data(), id.data() + id.size(), number);
    const bool whole = failure == std::errc() && end == id.data() + id.size();
    return {whole ? 0 : 1, whole ? number : 0, id};
}

bool isNumber(std::string_view id) {
    return std::get<0>(idOrder(id)) == 0;
}

template <class Track>
auto trackOrder(const Track& track) {
    return std::make_tuple(track.sort.value_or(0), idOrder(track.id));
}

// Numbers of the tracks that have the mark.
template <class Track>
std::vector<std::uint32_t> marked(const std::vector<Track>& tracks, bool Track::*mark) {
    std::vector<std::uint32_t> numbers;
    for (std::uint32_t i = 0; i < tracks.size(); ++i) {
        if (tracks[i].*mark) numbers.push_back(i);
    }
    return numbers;
}

}  // namespace

std::uint32_t TrackNames::process(std::string_view id) {
    const auto [place, added] =
        m_processIds.try_emplace(std::string(id), static_cast<std::uint32_t>(m_processes.size()));
    if (added) {
        m_processes.emplace_back();
        m_processes.back().id = id;
    }
    return place->second;
}

std::uint32_t TrackNames::thread(std::string_view processId, std::string_view id) {
    m_key.assign(processId).append(1, kSeparator).append(id);
    const auto [place, added] =
        m_threadIds.try_emplace(m_key, static_cast<std::uint32_t>(m_threads.size()));
    if (added) {
        const std::uint32_t owner = process(processId);
        m_threads.emplace_back();
        m_threads.back().process = owner;
        m_threads.back().id = id;
    }
    return place->second;
}

std::uint32_t TrackNames::timedThread(std::string_view processId, std::string_view id) {
    if (m_last && m_threads[*m_last].id == id &&
        m_processes[m_threads[*m_last].process].id == processId) {
        return *m_last;
    }
    const std::uint32_t index = thread(processId, id);
    m_last = index;
    Thread& found = m_threads[index];
    Process& owner = m_processes[found.process];
    if (!found.timed) ++m_timedThreads;
    if (!owner.timed) ++m_timedProcesses;
    found.timed = true;
    owner.timed = true;
    return index;
}

std::vector<std::uint32_t> TrackNames::processOrder() const {
    std::vector<std::uint32_t> order = marked(m_processes, &Process::timed);
    std::sort(order.begin(), order.end(), [this](std::uint32_t a, std::uint32_t b) {
        return trackOrder(m_processes[a]) < trackOrder(m_processes[b]);
    });
    return order;
}

std::vector<std::uint32_t> TrackNames::threadOrder() const {
    std::vector<std::uint32_t> order = marked(m_threads, &Thread::hasBand);
    const auto place = [this](std::uint32_t index) {
        const Thread& thread = m_threads[index];
        return std::make_tuple(trackOrder(m_processes[thread.process]), trackOrder(thread));
    };
    std::sort(order.begin(), order.end(),
              [&](std::uint32_t a, std::uint32_t b) { return place(a) < place(b); });
    return order;
}

std::string TrackNames::processLabel(std::uint32_t index) const {
    const Process& process = m_processes[index];
    if (process.id == kMissing && process.name.empty()) return "no process";
    if (process.name.empty()) return isNumber(process.id) ? "process " + process.id : process.id;
    const bool shared =
        std::count_if(m_processes.begin(), m_processes.end(), [&](const Process& other) {
            return other.timed && other.name == process.name;
        }) > 1;
    std::string label = process.name;
    if (!process.labels.empty()) label += ": " + process.labels;
    return shared ? label + " (" + process.id + ")" : label;
}

std::string TrackNames::threadName(std::uint32_t index) const {
    const Thread& thread = m_threads[index];
    if (!thread.name.empty()) return thread.name;
    const std::string& processId = m_processes[thread.process].id;
    if (thread.id == kMissing) return "thread " + processId;
    // Tracers that know threads by one number name them like processes of their own.
    const auto named = m_threadIds.find(thread.id + kSeparator + std::string(kMissing));
    if (named != m_threadIds.end() && !m_threads[named->second].name.empty()) {
        return m_threads[named->second].name;
    }
    return isNumber(thread.id) ? "thread " + thread.id : thread.id;
}

}  // namespace lanefeed_importers
