// Payloads of scheduler events and of marks, in all their forms.
#include "scheduler/event_payloads.h"

#include "scheduler/mark_payload.h"

#include <gtest/gtest.h>

#include <string>

namespace lanefeed_importers {
namespace {

std::string joined(std::initializer_list<std::string_view> texts) {
    std::string line;
    for (const std::string_view text : texts)
        line += (line.empty() ? "" : "|") + std::string(text);
    return line;
}

std::string readSwitch(std::string_view text) {
    SwitchPayload out;
    if (!parseSwitch(text, out)) return "no";
    return joined({out.prevName, std::to_string(out.prevPid), out.prevState, out.nextName,
                   std::to_string(out.nextPid)});
}

std::string readWakeup(std::string_view text) {
    WakeupPayload out;
    if (!parseWakeup(text, out)) return "no";
    return joined({out.name, std::to_string(out.pid), std::to_string(out.targetCore)});
}

std::string readInterrupt(bool (*parse)(std::string_view, InterruptPayload&),
                          std::string_view text) {
    InterruptPayload out;
    return parse(text, out) ? joined({std::to_string(out.number), out.name}) : "no";
}

std::string readMark(std::string_view text) {
    MarkPayload out;
    if (!parseMark(text, out)) return "no";
    const std::string kind(1, "BECSFt"[static_cast<int>(out.kind)]);
    return joined({kind, std::to_string(out.process), out.name, out.value});
}

TEST(EventPayloadsTest, readsSwitches) {
    const char* cases[][2] = {
        {"prev_comm=atrace prev_pid=7952 prev_prio=120 prev_state=R ==> next_comm=kworker/u16:11 "
         "next_pid=682 next_prio=120",
         "atrace|7952|R|kworker/u16:11|682"},
        {"prev_comm=a prev_pid=-1 prev_prio=120 prev_state=R+ next_comm=b c next_pid=0",
         "a|-1|R+|b c|0"},
        // a name that looks like the next field
        {"prev_comm=x prev_pid=y prev_pid=3 prev_prio=1 prev_state=D|K ==> next_comm= next_pid=4 n",
         "x prev_pid=y|3|D|K||4"},
        {"trace-cmd:4734 [120] R ==> migration/2:18 [0]", "trace-cmd|4734|R|migration/2|18"},
        {"a:7 b:c:12 [-1] x ==> HwBinder:1118_1:1165 [120]", "a:7 b:c|12|x|HwBinder:1118_1|1165"},
        // cut, or other fields
        {"prev_comm=a prev_pid=1 prev_prio=120 prev_state=S ==> next_comm=b next_pid=", "no"},
        {"prev_comm=a prev_pid=1 prev_prio=120 prev_state=S ==> next_comm=b", "no"},
        {"prev_comm=a prev_pid=1 prev_prio=120", "no"},
        {"next_comm=b next_pid=2 ==> prev_comm=a prev_pid=1 prev_state=S", "no"},
        {"prev_pid=1 prev_state=S next_pid=2", "no"},
        {"prev_comm=a prev_pid=1 prev_state=S ==> next_comm=b next_pid=2x", "no"},
        {"a:7 [120] R ==> b:8", "no"},
        {"a:7 [120] ==> b:8 [120]", "no"},
        {"prev_comm=a prev_pid=99999999999 prev_state=S ==> next_comm=b next_pid=2", "no"},
        {"", "no"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(readSwitch(text), expected) << text;
}

TEST(EventPayloadsTest, readsWakeupsAndMigrations) {
    const char* cases[][2] = {
        {"comm=mmcqd/0 pid=95 prio=120 success=1 target_cpu=003", "mmcqd/0|95|3"},
        {"comm=<-transport pid=5851 prio=120", "<-transport|5851|-1"},
        {"POSIX timer 0:44 [120] success=1 CPU:002", "POSIX timer 0|44|2"},
        {"a:44 [120]", "a|44|-1"},
        {"comm=a pid=1 target_cpu=-7", "a|1|-1"},
        {"comm=a pid= prio=120", "no"},
        {"pid=5 comm=a", "no"},
        {"a:44", "no"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(readWakeup(text), expected) << text;

    MigrationPayload moved;
    ASSERT_TRUE(parseMigration("comm=cc1 plus pid=9 prio=120 orig_cpu=1 dest_cpu=0", moved));
    EXPECT_EQ(moved.name, "cc1 plus");
    EXPECT_EQ(moved.pid, 9);
    EXPECT_EQ(moved.fromCore, 1);
    EXPECT_EQ(moved.toCore, 0);
    EXPECT_FALSE(parseMigration("comm=a pid=9 prio=120 dest_cpu=0 orig_cpu=1", moved));
    EXPECT_FALSE(parseMigration("comm=a pid=9 prio=120 orig_cpu=-1 dest_cpu=0", moved));
}

TEST(EventPayloadsTest, readsInterrupts) {
    EXPECT_EQ(readInterrupt(parseIrq, "irq=36 name=virtio1-req.0 x"), "36|virtio1-req.0 x");
    EXPECT_EQ(readInterrupt(parseIrq, "irq=36 ret=handled"), "36|");
    EXPECT_EQ(readInterrupt(parseIrq, "name=x irq=36"), "no");
    EXPECT_EQ(readInterrupt(parseSoftirq, "vec=7 [action=SCHED]"), "7|SCHED");
    EXPECT_EQ(readInterrupt(parseSoftirq, "vec=7"), "7|");
    EXPECT_EQ(readInterrupt(parseSoftirq, "vec=7 [action=SCH"), "no");
    EXPECT_EQ(readInterrupt(parseSoftirq, "irq=7"), "no");
}

TEST(EventPayloadsTest, readsMarks) {
    const char* cases[][2] = {
        {"B|124|com.android: 2|x", "B|124|com.android: 2|x|"},
        {"B|12", "B|12||"},  // cut: its end still comes
        {"E", "E|-1||"},
        {"E|7591", "E|7591||"},
        {"C|594|HW_VSYNC_0|1", "C|594|HW_VSYNC_0|1"},
        {"C|594|a b|-1.5|category", "C|594|a b|-1.5"},
        {"S|5|load|cookie 7", "S|5|load|cookie 7"},
        {"F|5|load|cookie 7", "F|5|load|cookie 7"},
        {"tracing_mark_write: B|1|n", "B|1|n|"},  // trace-cmd report
        {"tracing_mark_write: hello: x", "t|-1|hello|x"},
        {" E", "E|-1||"},
        {"C|1|n", "no"},
        {"S|1|n|", "no"},
        {"", "no"},
        {"trace_event_clock_sync: parent_ts=538.06",
         "t|-1|trace_event_clock_sync|parent_ts=538.06"},
        {"Begin|1|n", "t|-1|Begin|1|n|"},
        {"two words: B|1|n", "t|-1|two words|B|1|n"},
        {"B", "t|-1|B|"},
        {": x", "t|-1|: x|"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(readMark(text), expected) << text;
}

}  // namespace
}  // namespace lanefeed_importers
