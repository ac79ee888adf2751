// Tasks, processes and cores as rows of the result. Tested by
// tests/importers/scheduler_trace_test.cpp.
#include "scheduler/task_rows.h"

#include "common/clean_text.h"

#include <algorithm>
#include <fmt/format.h>
#include <store/result_writer.h>
#include <tuple>

namespace lanefeed_importers {
namespace {

using lanefeed_runtime::Cell;
using lanefeed_runtime::TableId;

constexpr const char* kNoProcess = "no process";
// The kernel's own names are much shorter; what is longer comes from a damaged text.
constexpr std::size_t kMaxName = 255;

// What tools print for a task whose name they don't know: "<...>" or ":26624".
bool standsForNoName(std::string_view comm) {
    return comm.empty() || comm.front() == ':' || comm == "<...>";
}

}  // namespace

// Events come in bursts of the same few tasks.
std::uint32_t TaskRows::task(int tid, int core) {
    if (tid == 0) return lookUp(tid, core);
    Recent& recent = m_recent[static_cast<unsigned>(tid) % m_recent.size()];
    if (recent.tid != tid) recent = {tid, lookUp(tid, core)};
    return recent.task;
}

std::uint32_t TaskRows::lookUp(int tid, int core) {
    auto& ids = tid == 0 ? m_idleIds : m_taskIds;
    const auto [place, added] =
        ids.try_emplace(tid == 0 ? core : tid, static_cast<std::uint32_t>(m_tasks.size()));
    if (added) {
        m_tasks.emplace_back();
        m_tasks.back().tid = tid;
        m_tasks.back().core = tid == 0 ? core : -1;
    }
    return place->second;
}

void TaskRows::called(std::uint32_t task, std::string_view comm) {
    std::string& known = m_tasks[task].comm;
    comm = comm.substr(0, kMaxName);
    if (known != comm && !standsForNoName(comm)) known = comm;
}

// Tools tell any process for a task that was gone when the text was made.
void TaskRows::belongsTo(std::uint32_t task, int tgid) {
    if (tgid != kUnknownTgid && m_tasks[task].tid > 0) m_tasks[task].tgid = tgid;
}

int TaskRows::threadRow(std::uint32_t task) {
    Task& known = m_tasks[task];
    if (known.row < 0) {
        const std::string key =
            known.tid == 0 ? fmt::format("idle {}", known.core) : std::to_string(known.tid);
        known.row = m_writer.attribute(TableId::thread, key, {{"tid", known.tid}});
        ++m_threadCount;
    }
    return known.row;
}

int TaskRows::threadBand(std::uint32_t task) {
    const int row = threadRow(task);
    int& band = m_tasks[task].band;
    if (band < 0) band = m_writer.band(TableId::thread, row);
    return band;
}

TaskRows::Core& TaskRows::coreAt(int core) {
    Core& known = m_cores[core];
    if (known.row < 0) {
        sees(core);
        const std::string name = fmt::format("core {}", core);
        known.row =
            m_writer.attribute(TableId::core, name,
                               {{"name", name}, {"label", name}, {"number", core}, {"sort", core}});
        known.band = m_writer.band(TableId::core, known.row);
    }
    return known;
}

int TaskRows::coreRow(int core) {
    return coreAt(core).row;
}

int TaskRows::coreBand(int core) {
    return coreAt(core).band;
}

// The end of the number ends the process, so no name can look like another process.
int TaskRows::partRow(TableId table, int tgid, std::string_view name) {
    const std::string key = fmt::format("{} {} {}", static_cast<int>(table), tgid, name);
    const auto [place, added] = m_partIds.try_emplace(key, m_parts.size());
    if (added) {
        const std::string shown = cleanText(name);
        const int row = m_writer.attribute(
            table, key, {{"name", shown}, {"sort", static_cast<std::int64_t>(m_parts.size())}});
        m_parts.push_back({table, row, tgid, shown});
    }
    return m_parts[place->second].row;
}

int TaskRows::trackBand(int tgid, std::string_view name) {
    return m_writer.band(TableId::track, partRow(TableId::track, tgid, name));
}

int TaskRows::counterRow(int tgid, std::string_view name) {
    return partRow(TableId::counter, tgid, name);
}

int TaskRows::counterBand(int row) {
    return m_writer.band(TableId::counter, row);
}

void TaskRows::finish() {
    nameProcesses();
    nameThreads();
    nameParts();
}

// Those of all rows; called like their first thread, whose id is theirs.
void TaskRows::nameProcesses() {
    for (const ProcessPart& part : m_parts)
        m_processes[part.tgid];
    for (const Task& task : m_tasks) {
        if (task.row >= 0) m_processes[task.tgid];
    }
    for (const Task& task : m_tasks) {
        const auto found = m_processes.find(task.tgid);
        if (found == m_processes.end() || task.tgid == kUnknownTgid) continue;
        if (task.tid == task.tgid || found->second.name.empty()) {
            if (!task.comm.empty()) found->second.name = task.comm;
        }
    }
    std::int64_t place = 0;
    for (auto& [tgid, process] : m_processes)
        addProcess(tgid, process, ++place);
}

void TaskRows::addProcess(int tgid, Process& process, std::int64_t place) {
    if (tgid == kUnknownTgid) {
        process.name = kNoProcess;
        process.label = kNoProcess;
        process.row = m_writer.attribute(
            TableId::process, "-", {{"name", kNoProcess}, {"label", kNoProcess}, {"sort", place}});
        return;
    }
    ++m_processCount;
    if (process.name.empty()) process.name = fmt::format("process {}", tgid);
    process.name = cleanText(process.name);
    process.label = fmt::format("{} ({})", process.name, tgid);
    process.row = m_writer.attribute(
        TableId::process, std::to_string(tgid),
        {{"name", process.name}, {"label", process.label}, {"pid", tgid}, {"sort", place}});
}

std::string TaskRows::threadName(const Task& task) {
    if (task.tid == 0) return fmt::format("swapper/{}", task.core);
    if (!task.comm.empty()) return cleanText(task.comm);
    return fmt::format("thread {}", task.tid);
}

// In the order of processes and of their threads; those without process come last.
void TaskRows::nameThreads() {
    std::vector<const Task*> order;
    for (const Task& task : m_tasks) {
        if (task.row >= 0) order.push_back(&task);
    }
    const auto place = [](const Task* task) {
        return std::make_tuple(task->tgid == kUnknownTgid, task->tgid, task->tid, task->core);
    };
    std::sort(order.begin(), order.end(),
              [&](const Task* a, const Task* b) { return place(a) < place(b); });
    std::int64_t sort = 0;
    for (const Task* task : order) {
        const std::string name = threadName(*task);
        const std::string label = task->tid > 0 ? fmt::format("{} ({})", name, task->tid) : name;
        const std::vector<Cell> cells = {{"name", name},
                                         {"label", label},
                                         {"dd_process", m_processes[task->tgid].row},
                                         {"sort", ++sort}};
        for (const Cell& cell : cells)
            m_writer.update(TableId::thread, task->row, cell);
    }
}

void TaskRows::nameParts() {
    for (const ProcessPart& part : m_parts) {
        const Process& process = m_processes[part.tgid];
        m_writer.update(part.table, part.row, {"label", process.label + " / " + part.name});
        m_writer.update(part.table, part.row, {"dd_process", process.row});
    }
}

}  // namespace lanefeed_importers
