#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace lanefeed_runtime {
class ResultWriter;
enum class TableId;
}  // namespace lanefeed_runtime

namespace lanefeed_importers {

// A line may speak of -1: a task that was gone when the text was made.
inline constexpr int kUnknownTgid = std::numeric_limits<int>::min();

// The tasks, processes and cores of a trace and their rows in the result. Rows are made when an
// instance needs them and named when the trace is read, since names and processes may come late.
// Rows and bands are those of the writer, -1 after one of its failures.
class TaskRows {
public:
    explicit TaskRows(lanefeed_runtime::ResultWriter& writer) : m_writer(writer) {}

    // Number of a task, from 0. The idle tasks of all cores have the id 0; they are told apart by
    // the core, and other tasks are the same whatever the core.
    std::uint32_t task(int tid, int core);
    // The task is called that from now on; an empty name changes nothing.
    void called(std::uint32_t task, std::string_view comm);
    void belongsTo(std::uint32_t task, int tgid);
    int processOf(std::uint32_t task) const { return m_tasks[task].tgid; }
    // One of those that a core has when there is nothing to run.
    bool isIdle(std::uint32_t task) const { return m_tasks[task].tid == 0; }
    std::size_t size() const { return m_tasks.size(); }

    // An event tells of the core, whether it gets a row or not.
    void sees(int core) {
        const auto number = static_cast<std::size_t>(core);
        if (number < m_seenCores.size()) {
            m_seenCores.set(number);
        } else {
            m_farCores.insert(core);
        }
    }

    int threadRow(std::uint32_t task);
    int threadBand(std::uint32_t task);
    int coreRow(int core);
    int coreBand(int core);
    // Of what a process does across its threads.
    int trackBand(int tgid, std::string_view name);
    // Row of a curve.
    int counterRow(int tgid, std::string_view name);
    int counterBand(int row);

    // Names, processes and the order of all rows. To be called once, at the end.
    void finish();
    std::size_t threadCount() const { return m_threadCount; }
    std::size_t processCount() const { return m_processCount; }
    // Those of events, and those that tasks are woken for or move between.
    std::size_t coreCount() const { return m_seenCores.count() + m_farCores.size(); }

private:
    struct Task {
        int tid = 0;
        int core = -1;  // of an idle task
        int tgid = kUnknownTgid;
        int row = -1;
        int band = -1;
        std::string comm;
    };
    struct Recent {
        int tid = 0;
        std::uint32_t task = 0;
    };
    struct Core {
        int row = -1;
        int band = -1;
    };
    struct Process {
        int row = -1;
        std::string name;
        std::string label;
    };
    // A row that bears the name of its process.
    struct ProcessPart {
        lanefeed_runtime::TableId table;
        int row = -1;
        int tgid = kUnknownTgid;
        std::string name;
    };

    std::uint32_t lookUp(int tid, int core);
    Core& coreAt(int core);
    int partRow(lanefeed_runtime::TableId table, int tgid, std::string_view name);
    void nameProcesses();
    void nameThreads();
    void nameParts();
    void addProcess(int tgid, Process& process, std::int64_t place);
    static std::string threadName(const Task& task);

    lanefeed_runtime::ResultWriter& m_writer;
    std::vector<Task> m_tasks;
    std::unordered_map<int, std::uint32_t> m_taskIds;  // by tid, but idle tasks
    std::array<Recent, 256> m_recent{};                // by the low bits of the tid
    std::unordered_map<int, std::uint32_t> m_idleIds;  // by core
    std::unordered_map<int, Core> m_cores;
    std::bitset<1024> m_seenCores;
    std::set<int> m_farCores;  // of greater numbers
    std::vector<ProcessPart> m_parts;
    std::unordered_map<std::string, std::size_t> m_partIds;
    std::map<int, Process> m_processes;  // by tgid, of all rows
    std::size_t m_threadCount = 0;
    std::size_t m_processCount = 0;
};

}  // namespace lanefeed_importers
