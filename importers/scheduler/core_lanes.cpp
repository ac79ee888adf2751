// From switch to switch on each core. A task that leaves without having come shows that switches
// were lost; the time is its own all the same, since the switch that ends it is what is known.
// Tested by tests/importers/scheduler_trace_test.cpp.
#include "scheduler/core_lanes.h"

#include "common/clean_text.h"
#include "scheduler/task_rows.h"

#include <store/result_writer.h>

namespace lanefeed_importers {
namespace {

using lanefeed_runtime::InstanceRow;
using lanefeed_runtime::TableId;

constexpr std::array<std::string_view, 2> kCategories{"irq", "softirq"};

std::size_t indexOf(InterruptKind kind) {
    return static_cast<std::size_t>(kind);
}

}  // namespace

CoreLanes::CoreLanes(TaskRows& tasks, ThreadStates& states, lanefeed_runtime::ResultWriter& writer)
    : m_tasks(tasks), m_states(states), m_writer(writer) {}

CoreLanes::Core& CoreLanes::coreAt(int core) {
    if (!m_last || m_lastCore != core) {
        m_lastCore = core;
        m_last = &m_cores[core];
    }
    return *m_last;
}

void CoreLanes::switched(int core, std::int64_t time, const CoreSwitch& change) {
    ++m_switches;
    Core& lane = coreAt(core);
    if (lane.known && lane.task != change.prev) {
        ++m_outOfStep;
        if (!m_tasks.isIdle(lane.task)) m_states.lost(lane.task, lane.since);
    }
    if (lane.known && lane.since <= time) {
        closeLane(core, lane.since, time, change);
    } else {
        if (lane.known) ++m_backward;
        if (!m_tasks.isIdle(change.prev)) m_states.left(change.prev, time, change.prevState);
    }
    if (!m_tasks.isIdle(change.next)) m_states.gotCore(change.next, time);
    lane.known = true;
    lane.since = time;
    lane.task = change.next;
}

void CoreLanes::closeLane(int core,
                          std::int64_t begin,
                          std::int64_t end,
                          const CoreSwitch& change) {
    const bool idle = m_tasks.isIdle(change.prev);
    if (!idle) {
        ++m_runningIntervals;
        m_runningTotal += end - begin;
        m_empty += begin == end ? 1 : 0;
        m_states.ran(change.prev, begin, end, m_tasks.coreRow(core), change.prevState);
    }
    if (begin == end) return;
    InstanceRow row;
    row.begin = begin;
    row.end = end;
    row.band = m_tasks.coreBand(core);
    row.attr = idle ? m_states.row(ThreadState::idle) : m_tasks.threadRow(change.prev);
    m_writer.add(idle ? TableId::idleData : TableId::runningData, row);
}

void CoreLanes::interruptBegin(int core,
                               std::int64_t time,
                               InterruptKind kind,
                               std::string_view name) {
    const int task = m_writer.named(TableId::task, isCleanText(name) ? name : cleanText(name));
    coreAt(core).interrupts[indexOf(kind)].push_back({time, task});
}

void CoreLanes::interruptEnd(int core, std::int64_t time, InterruptKind kind) {
    std::vector<OpenInterrupt>& open = coreAt(core).interrupts[indexOf(kind)];
    if (open.empty()) {
        ++m_orphanEnds;
        return;
    }
    const OpenInterrupt closed = open.back();
    open.pop_back();
    if (closed.begin > time) {
        ++m_backward;
        return;
    }
    ++m_pairs;
    InstanceRow row;
    row.begin = closed.begin;
    row.end = time;
    row.band = m_tasks.coreBand(core);
    row.attr = closed.task;
    row.category = categoryRow(kind);
    m_writer.add(TableId::interruptData, row);
}

std::uint64_t CoreLanes::unclosedInterrupts() const {
    std::uint64_t count = 0;
    for (const auto& [number, core] : m_cores) {
        for (const auto& open : core.interrupts)
            count += open.size();
    }
    return count;
}

int CoreLanes::categoryRow(InterruptKind kind) {
    int& row = m_categoryRows[indexOf(kind)];
    if (row < 0) row = m_writer.named(TableId::category, kCategories[indexOf(kind)]);
    return row;
}

}  // namespace lanefeed_importers
