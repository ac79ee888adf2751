// Everything that is read out of a line: columns, payloads, states, times, and bytes that are no
// text. In tables of "KIND TEXT -> what was found".
#include "common/clean_text.h"
#include "common/trace_time.h"
#include "ftrace_text/trace_line.h"
#include "import_fixture.h"
#include "perf_script/perf_line.h"
#include "scheduler/event_payloads.h"
#include "scheduler/mark_payload.h"
#include "scheduler/thread_states.h"

#include <fmt/format.h>

namespace lanefeed_importers {
namespace {

// "name|pid|process|core|time|event|payload".
std::string kernelLine(std::string_view line) {
    TraceLine out;
    out.process = 99;
    if (!parseTraceLine(line, out)) return "no";
    return fmt::format("{}|{}|{}|{}|{}|{}|{}{}", out.name, out.pid, out.process, out.core, out.time,
                       out.event, out.payload, isTaskName(out.name) ? "" : "|nameless");
}

// "comm|pid/tid|core|time|event|payload", with a pid of "-" if the line has none; else what it
// lacks.
std::string perfLine(std::string_view line) {
    PerfLine out;
    if (!parsePerfLine(line, out)) {
        static const char* const kFaults[] = {"no core",   "no time",  "late time",
                                              "no thread", "no event", "other text"};
        return kFaults[static_cast<int>(perfFaultOf(line))];
    }
    const std::string pid = out.pid == PerfLine::kNoPid ? "-" : std::to_string(out.pid);
    return fmt::format("{}|{}/{}|{}|{}|{}|{}", out.comm, pid, out.tid, out.core, out.time,
                       out.wholeEvent, out.payload);
}

TEST(LineParsersTest, readTheColumnsOfAllTracers) {
    expectAnswers(kernelLine, R"(
        ls-4734  [002] 106439.675591: sched_switch:      ls:47 ==> a:1 -> ls|4734|-1|2|106439675591000|sched_switch|ls:47 ==> a:1
        <idle>-0     (-----) [006] d.h3   538.064923: cpu_idle: id=6 -> <idle>|0|-1|6|538064923000|cpu_idle|id=6
        kworker/u17:1-959   (  959) [006] d..3   538.0: x: -> kworker/u17:1|959|959|6|538000000000|x|
        <...>-1 [000] .... 1.5: do_idle <-cpu_startup -> <...>|1|-1|0|1500000000|do_idle|<-cpu_startup|nameless
        <7952>-12 ( 7) [11] 2.000001: 0: E -> <7952>|12|7|11|2000001000|0|E|nameless
        a [000] 1.0: b-5 [003] 2.0: e: c-6 [004] 3.0: f: g -> a [000] 1.0: b|5|-1|3|2000000000|e|c-6 [004] 3.0: f: g
        <-a-1 [000] 7.1234567899: e: -> <-a|1|-1|0|7123456789|e|
        my-prog-7 11.N.1.  104us!: sched_wakeup: x -> my-prog|7|-1|11|104000|sched_wakeup|x
        a-1 [000] 7.5: e:f: p -> no
        ls-1 [002] 99999999999.0: e: p -> no
        ls-1 [002] somewhere 1.0: e: p -> no)");
    expectAnswers(perfLine, R"(
        perf 26/27 [000]  1025.263185334:     sched:wakeup: comm=a pid=1 -> perf|26/27|0|1025263185334|sched:wakeup|comm=a pid=1
        :-1  2920/-1    [000]  1.25:  sched:sched_switch: p -> :-1|2920/-1|0|1250000000|sched:sched_switch|p
        :-1    -1 [000] 1.25: sched:sched_switch: p -> :-1|-/-1|0|1250000000|sched:sched_switch|p
        x-1/2:3 [000] y 5/6 [001] 2.0: g:h: i -> x-1/2:3 [000] y|5/6|1|2000000000|g:h|i
        5/6 [001] 2.0: g:h: i -> no thread
        g++ 27612 [001] 1044.6538262809: 1001001 cpu-clock:u: 6d88 main -> g++|-/27612|1|1044653826280|cpu-clock:u|6d88 main
        g++ 27612  1044.653826280:    1001001 cpu-clock: -> no core
        g++ 27612 [000] 99999999999999999999.5: a:b: c -> late time
        ls-4734  [002] 106439.675591: sched_switch:         ls:4734 -> other text
         -> other text)");
}

std::string payload(std::string_view line) {
    const std::size_t blank = line.find(' ');
    const std::string_view kind = line.substr(0, blank);
    const std::string_view text = line.substr(blank + 1);
    SwitchPayload change;
    WakeupPayload wake;
    MigrationPayload move;
    InterruptPayload irq;
    MarkPayload mark;
    if (kind == "switch" && parseSwitch(text, change)) {
        return fmt::format("{}|{}|{}|{}|{}", change.prevName, change.prevPid, change.prevState,
                           change.nextName, change.nextPid);
    }
    if (kind == "wake" && parseWakeup(text, wake))
        return fmt::format("{}|{}|{}", wake.name, wake.pid, wake.targetCore);
    if (kind == "move" && parseMigration(text, move))
        return fmt::format("{}|{}|{}|{}", move.name, move.pid, move.fromCore, move.toCore);
    if (kind == "irq" ? parseIrq(text, irq) : kind == "vec" && parseSoftirq(text, irq))
        return fmt::format("{}|{}", irq.number, irq.name);
    if (kind == "mark" && parseMark(text, mark)) {
        return fmt::format("{}|{}|{}|{}", "BECSFt"[static_cast<int>(mark.kind)], mark.process,
                           mark.name, mark.value);
    }
    return "no";
}

TEST(LineParsersTest, readPayloadsInAllForms) {
    expectAnswers(payload, R"(
        switch prev_comm=a prev_pid=-1 prev_prio=120 prev_state=0x1 next_comm=b c next_pid=0 -> a|-1|0x1|b c|0
        switch prev_comm=x prev_pid=y prev_pid=3 prev_state=D|K ==> next_comm= next_pid=4 n -> x prev_pid=y|3|D|K||4
        switch a:7 b:c:12 [-1] x ==> HwBinder:1118_1:1165 [120] -> a:7 b:c|12|x|HwBinder:1118_1|1165
        switch prev_comm=a prev_pid=1 prev_state=S ==> next_comm=b next_pid=2x -> no
        switch a:7 [120] R ==> b:8 -> no
        switch prev_comm=a prev_pid=99999999999 prev_state=S ==> next_comm=b next_pid=2 -> no
        wake comm=<-transport pid=5851 prio=120 -> <-transport|5851|-1
        wake POSIX timer 0:44 [120] success=1 CPU:002 -> POSIX timer 0|44|2
        wake pid=5 comm=a -> no
        move comm=cc1 plus pid=9 prio=120 orig_cpu=1 dest_cpu=0 -> cc1 plus|9|1|0
        move comm=a pid=9 prio=120 orig_cpu=-1 dest_cpu=0 -> no
        irq name=x irq=36 -> no
        vec vec=7 [action=SCH -> no
        mark  E -> E|-1||
        mark C|594|a b|-1.5|category -> C|594|a b|-1.5
        mark S|1|n| -> no
        mark trace_event_clock_sync: parent_ts=538.06 -> t|-1|trace_event_clock_sync|parent_ts=538.06
        mark : x -> t|-1|: x|)");
    // Letters of which the rest only modifies the first, or bits.
    for (const auto& [name, states] :
         {std::pair("Runnable", "R R+ 0 0x0 256 0x100 1024 2048 4096"),
          {"Sleeping", "S I 1 0x1 128 257 1025"},
          {"Blocked", "D D|W 2 130 0x402"},
          {"Stopped", "T t 4 8 0x8 260"},
          {"Parked", "P 512"},
          {"", "X x Z K 16 32 0x10 64 8192 0x 1x 99999999999999999999 -1"}}) {
        std::istringstream words(states);
        for (std::string word; words >> word;)
            EXPECT_EQ(nameOf(stateOf(word)), name) << word;
    }
}

std::string roundedTime(std::string_view text) {
    TraceTime time;
    return parseMicroseconds(text, time) ? std::to_string(rounded(time)) : "no";
}

TEST(LineParsersTest, timesAreExactToTheLastDigitAndRoundedOnce) {
    expectAnswers(roundedTime, R"(
        1712195495505338.955 -> 1712195495505338955
        0.00000000000000000000000000000000000000005e41 -> 5000
        0.0005 -> 1
        0.00049999999999999 -> 0
        -0.0005 -> -1
        2305843009213693.951 -> 2305843009213693951
        2305843009213693.952 -> no
         -> no
        1e300 -> no)");
}

TEST(LineParsersTest, keepTextAndReplaceTheRest) {
    const std::string text = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";
    EXPECT_TRUE(isCleanText(text) && cleanText(text) == text);
    // A zero, a lone continuation, an overlong form, a surrogate, a character that is cut.
    const std::string broken("x\0\x80\xC0\x80\xED\xA0\x80\xE2\x82", 10);
    EXPECT_FALSE(isCleanText(broken));
    std::string expected = "x";
    for (int i = 0; i < 9; ++i)
        expected += "\xEF\xBF\xBD";
    EXPECT_EQ(cleanText(broken), expected);
}

}  // namespace
}  // namespace lanefeed_importers
