// The front of the model: takes what an importer read, keeps who is where, and hands it on to the
// lanes of the cores, the states of the threads and the marks.
// Tested by tests/importers/scheduler_trace_test.cpp.
#include "scheduler/scheduler_trace.h"

#include "common/fact_keys.h"

#include <algorithm>
#include <fmt/format.h>
#include <store/result_writer.h>

namespace lanefeed_importers {
namespace {

using lanefeed_runtime::InstanceRow;
using lanefeed_runtime::TableId;
namespace keys = fact_keys;

std::string interruptName(KernelEvent kind, const InterruptPayload& interrupt) {
    if (kind == KernelEvent::irqEntry)
        return fmt::format("irq {} {}", interrupt.number, interrupt.name);
    if (interrupt.name.empty()) return fmt::format("softirq {}", interrupt.number);
    return fmt::format("softirq {}", interrupt.name);
}

}  // namespace

SchedulerTrace::SchedulerTrace(lanefeed_runtime::ResultWriter& writer, bool texts)
    : m_writer(writer),
      m_texts(texts),
      m_tasks(writer),
      m_states(m_tasks, writer),
      m_lanes(m_tasks, m_states, writer),
      m_marks(m_tasks, writer) {}

void SchedulerTrace::event(std::string_view name, const EventHead& head) {
    if (m_events > 0 && head.time < m_now.time) ++m_clockJumps;
    ++m_events;
    m_kinds.add(name);
    m_now = head;
    m_spread.add(head.time);
    m_first = std::min(m_first.value_or(head.time), head.time);
    m_last = m_events == 1 ? head.time : std::max(m_last, head.time);
    m_tasks.sees(head.core);
    m_task = m_tasks.task(head.tid, head.core);
    m_tasks.called(m_task, head.comm);
    m_tasks.belongsTo(m_task, head.tgid);
}

bool SchedulerTrace::kernelEvent(KernelEvent kind, std::string_view payload) {
    const bool understood = tell(kind, payload);
    if (!understood) skip(skip_reasons::kBadPayload);
    return understood;
}

bool SchedulerTrace::tell(KernelEvent kind, std::string_view payload) {
    switch (kind) {
    case KernelEvent::switchTo: {
        SwitchPayload change;
        if (!parseSwitch(payload, change)) return false;
        switched(change);
        return true;
    }
    case KernelEvent::wakeup: {
        WakeupPayload wakeup;
        if (!parseWakeup(payload, wakeup)) return false;
        woken(wakeup);
        return true;
    }
    case KernelEvent::migration: {
        MigrationPayload migration;
        if (!parseMigration(payload, migration)) return false;
        migrated(migration);
        return true;
    }
    case KernelEvent::irqEntry:
    case KernelEvent::softirqEntry: return tellInterrupt(kind, payload);
    case KernelEvent::irqExit: interruptEnd(InterruptKind::irq); return true;
    case KernelEvent::softirqExit: interruptEnd(InterruptKind::softirq); return true;
    case KernelEvent::other:
    case KernelEvent::mark: break;
    }
    return true;
}

bool SchedulerTrace::tellInterrupt(KernelEvent kind, std::string_view payload) {
    const bool handler = kind == KernelEvent::irqEntry;
    InterruptPayload interrupt;
    if (!(handler ? parseIrq(payload, interrupt) : parseSoftirq(payload, interrupt))) return false;
    interruptBegin(handler ? InterruptKind::irq : InterruptKind::softirq,
                   interruptName(kind, interrupt));
    return true;
}

void SchedulerTrace::switched(const SwitchPayload& change) {
    CoreSwitch tasks;
    tasks.prev = m_tasks.task(change.prevPid, m_now.core);
    tasks.next = m_tasks.task(change.nextPid, m_now.core);
    tasks.prevState = stateOf(change.prevState);
    m_tasks.called(tasks.prev, change.prevName);
    m_tasks.called(tasks.next, change.nextName);
    m_lanes.switched(m_now.core, m_now.time, tasks);
}

void SchedulerTrace::woken(const WakeupPayload& wakeup) {
    ++m_wakeups;
    const int core = wakeup.targetCore >= 0 ? wakeup.targetCore : m_now.core;
    const std::uint32_t task = m_tasks.task(wakeup.pid, core);
    m_tasks.called(task, wakeup.name);
    if (!m_tasks.isIdle(task)) m_states.woken(task, m_now.time);
    if (m_wakeupFlow < 0) m_wakeupFlow = m_writer.named(TableId::flow, "wakeup");
    InstanceRow row;
    row.begin = m_now.time;
    row.end = m_now.time;
    row.band = m_tasks.threadBand(task);
    row.attr = m_wakeupFlow;
    row.sourceBegin = m_now.time;
    row.sourceBand = m_tasks.threadBand(m_task);
    row.core = wakeup.targetCore >= 0 ? m_tasks.coreRow(core) : -1;
    m_writer.add(TableId::wakeupData, row);
}

void SchedulerTrace::migrated(const MigrationPayload& migration) {
    ++m_migrations;
    const std::uint32_t task = m_tasks.task(migration.pid, migration.fromCore);
    m_tasks.called(task, migration.name);
    InstanceRow row;
    row.begin = m_now.time;
    row.end = m_now.time;
    row.band = m_tasks.coreBand(migration.toCore);
    row.attr = m_tasks.threadRow(task);
    row.sourceBegin = m_now.time;
    row.sourceBand = m_tasks.coreBand(migration.fromCore);
    m_writer.add(TableId::migrationData, row);
}

void SchedulerTrace::interruptBegin(InterruptKind kind, std::string_view name) {
    m_lanes.interruptBegin(m_now.core, m_now.time, kind, name);
}

void SchedulerTrace::interruptEnd(InterruptKind kind) {
    m_lanes.interruptEnd(m_now.core, m_now.time, kind);
}

void SchedulerTrace::markProcess(int tgid) {
    m_tasks.belongsTo(m_task, tgid);
}

void SchedulerTrace::markBegin(std::string_view name) {
    m_marks.begin(m_task, m_now.time, name);
}

void SchedulerTrace::markEnd(std::string_view name) {
    m_marks.end(m_task, m_now.time, name);
}

void SchedulerTrace::mark(std::string_view name, std::string_view text) {
    m_marks.point(m_task, m_now.time, name, m_texts ? text : std::string_view());
}

void SchedulerTrace::asyncBegin(int tgid, std::string_view name, std::string_view cookie) {
    m_marks.asyncBegin(processOr(tgid), m_now.time, name, cookie);
}

void SchedulerTrace::asyncEnd(int tgid, std::string_view name, std::string_view cookie) {
    m_marks.asyncEnd(processOr(tgid), m_now.time, name, cookie);
}

void SchedulerTrace::counter(int tgid, std::string_view name, double value) {
    m_marks.counter(processOr(tgid), m_now.time, name, value);
}

int SchedulerTrace::processOr(int tgid) const {
    return tgid == kUnknownTgid ? m_tasks.processOf(m_task) : tgid;
}

void SchedulerTrace::finish() {
    m_states.finish();
    m_marks.finish();
    m_tasks.finish();
    if (m_first) {
        // Also events that make no instance belong to the span of the trace.
        m_writer.cover(*m_first);
        m_writer.cover(m_last);
    }
    setFacts();
}

void SchedulerTrace::setCount(std::string_view key, std::uint64_t count) {
    m_writer.setFact(key, std::to_string(count));
}

void SchedulerTrace::setFacts() {
    setCount(lanefeed_runtime::result_keys::kTicksPerSecond, 1'000'000'000);
    setCount(keys::kEvents, m_events);
    m_writer.setFact(keys::kEventKinds, m_kinds.json());
    m_writer.setFact(keys::kSkipped, m_skipped.json());
    setCount(keys::kSwitches, m_lanes.switches());
    setCount(keys::kSwitchesOutOfStep, m_lanes.switchesOutOfStep());
    setCount(keys::kRunningIntervals, m_lanes.runningIntervals());
    setCount(keys::kEmptyIntervals, m_lanes.emptyIntervals());
    m_writer.setFact(keys::kRunningTotal, std::to_string(m_lanes.runningTotal()));
    setCount(keys::kWakeups, m_wakeups);
    setCount(keys::kMigrations, m_migrations);
    setCount(keys::kInterruptPairs, m_lanes.interruptPairs());
    setCount(keys::kOrphanInterruptEnds, m_lanes.orphanInterruptEnds());
    setCount(keys::kUnclosedInterrupts, m_lanes.unclosedInterrupts());
    setCount(keys::kCores, m_tasks.coreCount());
    setCount(keys::kThreads, m_tasks.threadCount());
    setCount(keys::kProcesses, m_tasks.processCount());
    setCount(keys::kClockJumps, m_clockJumps);
    setCount(keys::kBackwardSpans, backwardSpans());
    setMarkFacts();
    if (!m_first) return;
    m_writer.setFact(keys::kFirstTime, std::to_string(*m_first));
    m_writer.setFact(keys::kLastTime, std::to_string(m_last));
    const TimeSpread::Span content = m_spread.content();
    m_writer.setFact(keys::kContentStart, std::to_string(content.begin));
    m_writer.setFact(keys::kContentEnd, std::to_string(content.end));
}

void SchedulerTrace::setMarkFacts() {
    setCount(keys::kCompleteSlices, m_marks.completeSlices());
    setCount(keys::kOrphanEnds, m_marks.orphanEnds());
    setCount(keys::kUnclosedBegins, m_marks.unclosedBegins());
    setCount(keys::kInstants, m_marks.points());
    setCount(keys::kAsyncPairs, m_marks.asyncPairs());
    setCount(keys::kOrphanAsyncEnds, m_marks.orphanAsyncEnds());
    setCount(keys::kUnclosedAsync, m_marks.unclosedAsync());
    setCount(keys::kCounterTracks, m_marks.counterTracks());
    setCount(keys::kCounterSamples, m_marks.counterSamples());
}

}  // namespace lanefeed_importers
