// Payloads of scheduler events and of marks, in all their forms.
#include "scheduler/event_payloads.h"

#include "import_fixture.h"
#include "scheduler/mark_payload.h"

#include <fmt/format.h>

namespace lanefeed_importers {
namespace {

std::string readSwitch(std::string_view text) {
    SwitchPayload out;
    if (!parseSwitch(text, out)) return "no";
    return fmt::format("{}|{}|{}|{}|{}", out.prevName, out.prevPid, out.prevState, out.nextName,
                       out.nextPid);
}

std::string readWakeup(std::string_view text) {
    WakeupPayload out;
    if (!parseWakeup(text, out)) return "no";
    return fmt::format("{}|{}|{}", out.name, out.pid, out.targetCore);
}

std::string readMigration(std::string_view text) {
    MigrationPayload out;
    if (!parseMigration(text, out)) return "no";
    return fmt::format("{}|{}|{}|{}", out.name, out.pid, out.fromCore, out.toCore);
}

std::string readInterrupt(std::string_view text) {
    InterruptPayload out;
    const bool isIrq = text.substr(0, 4) == "irq:";
    text = text.substr(4);
    if (!(isIrq ? parseIrq(text, out) : parseSoftirq(text, out))) return "no";
    return fmt::format("{}|{}", out.number, out.name);
}

std::string readMark(std::string_view text) {
    MarkPayload out;
    if (!parseMark(text, out)) return "no";
    return fmt::format("{}|{}|{}|{}", "BECSFt"[static_cast<int>(out.kind)], out.process, out.name,
                       out.value);
}

TEST(EventPayloadsTest, readsEventsOfTheScheduler) {
    expectAnswers(readSwitch, R"(
        prev_comm=at prev_pid=79 prev_prio=1 prev_state=R ==> next_comm=k/u16:1 next_pid=6 next_prio=1 -> at|79|R|k/u16:1|6
        prev_comm=a prev_pid=-1 prev_prio=120 prev_state=R+ next_comm=b c next_pid=0 -> a|-1|R+|b c|0
        prev_comm=x prev_pid=y prev_pid=3 prev_state=D|K ==> next_comm= next_pid=4 n -> x prev_pid=y|3|D|K||4
        trace-cmd:4734 [120] R ==> migration/2:18 [0] -> trace-cmd|4734|R|migration/2|18
        a:7 b:c:12 [-1] x ==> HwBinder:1118_1:1165 [120] -> a:7 b:c|12|x|HwBinder:1118_1|1165
        prev_comm=a prev_pid=1 prev_prio=120 prev_state=S ==> next_comm=b next_pid= -> no
        prev_comm=a prev_pid=1 prev_prio=120 prev_state=S ==> next_comm=b -> no
        prev_comm=a prev_pid=1 prev_state=S ==> next_comm=b next_pid=2x -> no
        a:7 [120] R ==> b:8 -> no
        a:7 [120] ==> b:8 [120] -> no
        prev_comm=a prev_pid=99999999999 prev_state=S ==> next_comm=b next_pid=2 -> no
         -> no)");
    expectAnswers(readWakeup, R"(
        comm=mmcqd/0 pid=95 prio=120 success=1 target_cpu=003 -> mmcqd/0|95|3
        comm=<-transport pid=5851 prio=120 -> <-transport|5851|-1
        POSIX timer 0:44 [120] success=1 CPU:002 -> POSIX timer 0|44|2
        comm=a pid=1 target_cpu=-7 -> a|1|-1
        comm=a pid= prio=120 -> no
        pid=5 comm=a -> no
        a:44 -> no)");
    expectAnswers(readMigration, R"(
        comm=cc1 plus pid=9 prio=120 orig_cpu=1 dest_cpu=0 -> cc1 plus|9|1|0
        comm=a pid=9 prio=120 dest_cpu=0 orig_cpu=1 -> no
        comm=a pid=9 prio=120 orig_cpu=-1 dest_cpu=0 -> no
        comm=a pid=9 prio=120 orig_cpu=1 dest_cpu=-1 -> no)");
    expectAnswers(readInterrupt, R"(
        irq:irq=36 name=virtio1-req.0 x -> 36|virtio1-req.0 x
        irq:irq=36 ret=handled -> 36|
        irq:name=x irq=36 -> no
        vec:vec=7 [action=SCHED] -> 7|SCHED
        vec:vec=7 -> 7|
        vec:vec=7 [action=SCH -> no
        vec:irq=7 -> no)");
}

TEST(EventPayloadsTest, readsMarks) {
    expectAnswers(readMark, R"(
        B|124|com.android: 2|x -> B|124|com.android: 2|x|
        E -> E|-1||
        E|7591 -> E|7591||
        F|5|load|cookie 7 -> F|5|load|cookie 7
        C|594|a b|-1.5|category -> C|594|a b|-1.5
        tracing_mark_write: B|1|n -> B|1|n|
        C|1|n -> no
        S|1|n| -> no
         -> no
        trace_event_clock_sync: parent_ts=538.06 -> t|-1|trace_event_clock_sync|parent_ts=538.06
        B -> t|-1|B|
        : x -> t|-1|: x|)");
    EXPECT_EQ(readMark(" E"), "E|-1||");
}

}  // namespace
}  // namespace lanefeed_importers
