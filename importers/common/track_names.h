#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace lanefeed_importers {

// The processes and threads of a trace, by their ids as text, and what they are called. "-" is the
// id of a thread or process that an event doesn't name. Numbers count from 0 in order of
// appearance.
class TrackNames {
public:
    struct Process {
        std::string id;
        std::string name;    // empty if the trace gives none
        std::string labels;  // what the traced program adds to the name
        std::optional<std::int64_t> sort;
        bool timed = false;  // has events, not only a name
    };
    struct Thread {
        std::uint32_t process = 0;
        std::string id;
        std::string name;
        std::optional<std::int64_t> sort;
        bool timed = false;
        bool hasBand =
            false;  // is a row: has events that stand on it, or stood before they were lost
    };

    std::uint32_t process(std::string_view id);
    std::uint32_t thread(std::string_view processId, std::string_view id);
    // The thread of an event that has a time.
    std::uint32_t timedThread(std::string_view processId, std::string_view id);

    Process& processAt(std::uint32_t index) { return m_processes[index]; }
    Thread& threadAt(std::uint32_t index) { return m_threads[index]; }
    const std::vector<Process>& processes() const { return m_processes; }
    const std::vector<Thread>& threads() const { return m_threads; }
    std::size_t timedProcesses() const { return m_timedProcesses; }
    std::size_t timedThreads() const { return m_timedThreads; }

    // Timed processes, and threads with a band, in the order in which they are to be shown: by sort
    // index, then by id; threads within their process.
    std::vector<std::uint32_t> processOrder() const;
    std::vector<std::uint32_t> threadOrder() const;

    // Never empty, and different for processes that are called the same.
    std::string processLabel(std::uint32_t index) const;
    std::string threadName(std::uint32_t index) const;

private:
    std::vector<Process> m_processes;
    std::vector<Thread> m_threads;
    std::unordered_map<std::string, std::uint32_t> m_processIds;
    std::unordered_map<std::string, std::uint32_t> m_threadIds;  // by both ids
    std::string m_key;
    std::optional<std::uint32_t> m_last;
    std::size_t m_timedProcesses = 0;
    std::size_t m_timedThreads = 0;
};

}  // namespace lanefeed_importers
