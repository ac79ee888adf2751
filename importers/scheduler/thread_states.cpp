// What a thread does between its switches: waits for a core from its wakeup, or from a switch that
// took the core away, and sleeps from one that it asked for. A thread that has ended has no state.
// Tested by tests/importers/scheduler_trace_test.cpp.
#include "scheduler/thread_states.h"

#include "scheduler/task_rows.h"

#include <algorithm>
#include <store/result_writer.h>

namespace lanefeed_importers {
namespace {

using lanefeed_runtime::InstanceRow;
using lanefeed_runtime::TableId;

constexpr std::array<std::string_view, kThreadStates> kNames{
    "", "Running", "Runnable", "Sleeping", "Blocked", "Stopped", "Parked", "Idle"};

}  // namespace

std::string_view nameOf(ThreadState state) {
    return kNames[static_cast<std::size_t>(state)];
}

// What follows the first letter only modifies it.
ThreadState stateOf(std::string_view letters) {
    switch (letters.empty() ? '?' : letters.front()) {
    case 'R': return ThreadState::runnable;
    case 'S':
    case 'I': return ThreadState::sleeping;
    case 'D': return ThreadState::blocked;
    case 'T':
    case 't': return ThreadState::stopped;
    case 'P': return ThreadState::parked;
    default: return ThreadState::none;
    }
}

ThreadStates::ThreadStates(TaskRows& tasks, lanefeed_runtime::ResultWriter& writer)
    : m_tasks(tasks), m_writer(writer) {
    m_rows.fill(-1);
}

int ThreadStates::row(ThreadState state) {
    int& row = m_rows[static_cast<std::size_t>(state)];
    if (row < 0) row = m_writer.named(TableId::state, nameOf(state));
    return row;
}

ThreadStates::Open& ThreadStates::openAt(std::uint32_t task, std::int64_t time) {
    if (task >= m_open.size()) m_open.resize(task + 1);
    m_latest = std::max(m_latest, time);
    return m_open[task];
}

void ThreadStates::store(
    std::uint32_t task, ThreadState state, std::int64_t begin, std::int64_t end, int coreRow) {
    if (state == ThreadState::none || begin >= end) return;
    InstanceRow row;
    row.begin = begin;
    row.end = end;
    row.band = m_tasks.threadBand(task);
    row.attr = this->row(state);
    row.core = coreRow;
    m_writer.add(TableId::stateData, row);
}

void ThreadStates::close(std::uint32_t task, const Open& open, std::int64_t time) {
    store(task, open.state, open.since, time, -1);
}

void ThreadStates::ran(
    std::uint32_t task, std::int64_t begin, std::int64_t end, int coreRow, ThreadState next) {
    Open& open = openAt(task, end);
    close(task, open, begin);
    store(task, ThreadState::running, begin, end, coreRow);
    open = {end, next, false};
}

void ThreadStates::left(std::uint32_t task, std::int64_t time, ThreadState next) {
    openAt(task, time) = {time, next, false};
}

void ThreadStates::gotCore(std::uint32_t task, std::int64_t time) {
    Open& open = openAt(task, time);
    close(task, open, time);
    open = {time, ThreadState::none, true};
}

void ThreadStates::lost(std::uint32_t task, std::int64_t since) {
    Open& open = openAt(task, since);
    if (open.onCore && open.since == since) open = {};
}

// One that is ready already, or has not even left its core, only goes on.
void ThreadStates::woken(std::uint32_t task, std::int64_t time) {
    Open& open = openAt(task, time);
    if (open.onCore || open.state == ThreadState::runnable) return;
    close(task, open, time);
    open = {time, ThreadState::runnable, false};
}

void ThreadStates::finish() {
    for (std::uint32_t task = 0; task < m_open.size(); ++task)
        close(task, m_open[task], m_latest);
}

}  // namespace lanefeed_importers
