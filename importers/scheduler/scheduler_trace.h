#pragma once

#include "common/counts_by_name.h"
#include "common/time_spread.h"
#include "scheduler/core_lanes.h"
#include "scheduler/event_payloads.h"
#include "scheduler/mark_rows.h"
#include "scheduler/task_rows.h"
#include "scheduler/thread_states.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace lanefeed_runtime {
class ResultWriter;
}

namespace lanefeed_importers {

// The columns before the text of an event: who was on which core when it happened.
struct EventHead {
    std::int64_t time = 0;  // ns of the trace's own clock
    int core = 0;
    int tid = 0;
    int tgid = kUnknownTgid;
    std::string_view comm;  // empty if the line doesn't tell
};

// Why lines are left out, as stored with a result.
namespace skip_reasons {
inline constexpr std::string_view kNoEvent = "noEvent";        // no line of this format
inline constexpr std::string_view kBadPayload = "badPayload";  // an event that isn't understood
inline constexpr std::string_view kBadTime = "badTime";        // beyond what a result can hold
inline constexpr std::string_view kHeader = "header";          // of the text, such as "cpus=2"
}  // namespace skip_reasons

// What the events of a scheduler trace mean, whatever text they come from: the rows of the result
// and its facts. Takes events in the order of the file, in which each core's are in order of time;
// those that aren't are counted and never make an interval that ends before it begins. Keeps what
// is open and names, never events. Failures of the writer are found there. One thread.
//
//   SchedulerTrace trace(writer);
//   trace.event("sched:sched_switch", {time, core, tid, tgid, comm});
//   trace.kernelEvent(KernelEvent::switchTo, "prev_comm=make prev_pid=12 ...");
//   trace.event("irq:softirq_entry", ...);
//   trace.interruptBegin(InterruptKind::softirq, "softirq NET_RX");
//   trace.skip(skip_reasons::kNoEvent);
//   trace.finish();
class SchedulerTrace {
public:
    // `texts`: keep what is said besides the name of a mark.
    explicit SchedulerTrace(lanefeed_runtime::ResultWriter& writer, bool texts = true);

    // To be called for every event of the text. The operations below, of which most events need
    // none, tell what it was.
    void event(std::string_view name, const EventHead& head);
    // A line that is no event, or whose event is not understood after event() was called.
    void skip(std::string_view reason) { m_skipped.add(reason); }
    // A line that is no event and never was meant to be one.
    void header() {
        m_skipped.add(skip_reasons::kHeader);
        ++m_headers;
    }

    // Reads the payload of any event but a mark and calls what it says below; counts a payload that
    // isn't understood as left out, and answers false.
    bool kernelEvent(KernelEvent kind, std::string_view payload);

    void switched(const SwitchPayload& change);
    void woken(const WakeupPayload& wakeup);
    void migrated(const MigrationPayload& migration);
    // Ends close the latest begin of their kind on the core. The name is shown as it is.
    void interruptBegin(InterruptKind kind, std::string_view name);
    void interruptEnd(InterruptKind kind);

    // Marks that programs write: on the thread of the event, or of the process `tgid` (kUnknownTgid
    // for that of the thread).
    void markProcess(int tgid);  // the thread of the event belongs to it
    void markBegin(std::string_view name);
    void markEnd(std::string_view name);  // without name: closes the innermost begin
    void mark(std::string_view name, std::string_view text = {});
    void asyncBegin(int tgid, std::string_view name, std::string_view cookie);
    void asyncEnd(int tgid, std::string_view name, std::string_view cookie);
    void counter(int tgid, std::string_view name, double value);

    // Closes what is open at the end of the trace, names the rows and sets the facts.
    void finish();

    std::uint64_t events() const { return m_events; }
    const MarkRows& marks() const { return m_marks; }
    // But headers.
    std::uint64_t skipped() const { return m_skipped.total() - m_headers; }
    std::uint64_t clockJumps() const { return m_clockJumps; }
    std::uint64_t backwardSpans() const {
        return m_lanes.backwardSpans() + m_marks.backwardSpans();
    }
    std::uint64_t switches() const { return m_lanes.switches(); }
    std::uint64_t switchesOutOfStep() const { return m_lanes.switchesOutOfStep(); }
    // Of all events; none without any.
    std::optional<std::int64_t> firstTime() const { return m_first; }
    std::int64_t lastTime() const { return m_last; }

private:
    bool tell(KernelEvent kind, std::string_view payload);
    bool tellInterrupt(KernelEvent kind, std::string_view payload);
    int processOr(int tgid) const;
    void setFacts();
    void setMarkFacts();
    void setCount(std::string_view key, std::uint64_t count);

    lanefeed_runtime::ResultWriter& m_writer;
    bool m_texts;
    TaskRows m_tasks;
    ThreadStates m_states;
    CoreLanes m_lanes;
    MarkRows m_marks;
    CountsByName m_skipped;
    std::uint64_t m_headers = 0;
    CountsByName m_kinds;
    EventHead m_now;
    std::uint32_t m_task = 0;  // of m_now
    std::optional<std::int64_t> m_first;
    std::int64_t m_last = 0;
    TimeSpread m_spread;
    std::uint64_t m_events = 0;
    std::uint64_t m_clockJumps = 0;
    std::uint64_t m_wakeups = 0;
    std::uint64_t m_migrations = 0;
    int m_wakeupFlow = -1;  // row in dd_flow
};

}  // namespace lanefeed_importers
