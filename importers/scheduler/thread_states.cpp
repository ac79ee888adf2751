// What a thread does between its switches: waits for a core from its wakeup, or from a switch that
// took the core away, and sleeps from one that it asked for. A thread that has ended has no state.
// Tested by tests/importers/scheduler_trace_test.cpp.
#include "scheduler/thread_states.h"

#include "scheduler/task_rows.h"

#include <algorithm>
#include <charconv>
#include <store/result_writer.h>

namespace lanefeed_importers {
namespace {

using lanefeed_runtime::InstanceRow;
using lanefeed_runtime::TableId;

constexpr std::array<std::string_view, kThreadStates> kNames{
    "", "Running", "Runnable", "Sleeping", "Blocked", "Stopped", "Parked", "Idle"};

// Bits of a state that is printed as a number. Those above "traced" have moved from kernel to
// kernel; of these only what can be told whatever the kernel.
ThreadState stateOfBits(unsigned bits) {
    constexpr unsigned kStopped = 4 | 8;
    constexpr unsigned kIdleThread = 128;
    constexpr unsigned kParked = 512;
    // A task that had its core taken away.
    constexpr unsigned kPreempted = 256 | 1024 | 2048 | 4096;
    constexpr unsigned kAll = 8191;
    if (bits > kAll) return ThreadState::none;
    if ((bits & 1) != 0) return ThreadState::sleeping;
    if ((bits & 2) != 0) return ThreadState::blocked;
    if ((bits & kStopped) != 0) return ThreadState::stopped;
    if (bits == kIdleThread) return ThreadState::sleeping;
    if (bits == kParked) return ThreadState::parked;
    // 16 and 32 are ends of a thread; 64 is parked in some kernels and an end in others.
    return (bits & ~kPreempted) == 0 ? ThreadState::runnable : ThreadState::none;
}

ThreadState stateOfNumber(std::string_view text) {
    const bool isHex = text.substr(0, 2) == "0x";
    if (isHex) text.remove_prefix(2);
    unsigned bits = 0;
    const char* const end = text.data() + text.size();
    const auto [behind, failure] = std::from_chars(text.data(), end, bits, isHex ? 16 : 10);
    return failure == std::errc() && behind == end ? stateOfBits(bits) : ThreadState::none;
}

}  // namespace

std::string_view nameOf(ThreadState state) {
    return kNames[static_cast<std::size_t>(state)];
}

// What follows the first letter only modifies it.
ThreadState stateOf(std::string_view letters) {
    if (!letters.empty() && letters.front() >= '0' && letters.front() <= '9') {
        return stateOfNumber(letters);
    }
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
