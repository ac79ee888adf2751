#pragma once

#include <cstdint>
#include <string_view>

// What stands behind "event:" in the text of kernel traces. Texts are parts of the line they were
// read from. Every parser answers false, with `out` in no particular state, for what it doesn't
// understand: cut lines, other fields, another order of fields.
namespace lanefeed_importers {

enum class KernelEvent {
    other,
    switchTo,  // sched_switch
    wakeup,    // sched_wakeup, sched_wakeup_new; not sched_waking, which comes before it
    migration,
    irqEntry,
    irqExit,
    softirqEntry,
    softirqExit,
    mark  // print, bprint, tracing_mark_write: text written by a program
};

// By the name without that of its subsystem, such as "sched_switch".
KernelEvent kernelEventOf(std::string_view name);

struct SwitchPayload {
    std::string_view prevName;
    std::string_view prevState;  // such as "S", "R+", "D|K"
    std::string_view nextName;
    std::int32_t prevPid = 0;  // 0 is idle, -1 a task that was gone already
    std::int32_t nextPid = 0;
};

struct WakeupPayload {
    std::string_view name;
    std::int32_t pid = 0;
    std::int32_t targetCore = -1;  // -1 if the line doesn't tell
};

struct MigrationPayload {
    std::string_view name;
    std::int32_t pid = 0;
    std::int32_t fromCore = 0;
    std::int32_t toCore = 0;
};

// Entry and exit of a handler: "irq=36 name=virtio1-req.0", "irq=36 ret=handled"; or of a softirq:
// "vec=7 [action=SCHED]".
struct InterruptPayload {
    std::int32_t number = 0;
    std::string_view name;  // empty at the exit of a handler
};

// "prev_comm=... prev_pid=.. ... prev_state=. [==>] next_comm=... next_pid=.. ...", or
// "comm:pid [prio] state ==> comm:pid [prio]".
bool parseSwitch(std::string_view text, SwitchPayload& out);
// "comm=... pid=.. ... target_cpu=..", or "comm:pid [prio] ... CPU:..".
bool parseWakeup(std::string_view text, WakeupPayload& out);
// "comm=... pid=.. ... orig_cpu=.. dest_cpu=..".
bool parseMigration(std::string_view text, MigrationPayload& out);
bool parseIrq(std::string_view text, InterruptPayload& out);
bool parseSoftirq(std::string_view text, InterruptPayload& out);

}  // namespace lanefeed_importers
