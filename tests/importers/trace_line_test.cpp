// The columns of kernel trace lines in all their forms.
#include "ftrace_text/trace_line.h"

#include <gtest/gtest.h>

#include <string>

namespace lanefeed_importers {
namespace {

// "name|pid|process|core|time|event|payload", or "no event".
std::string read(std::string_view line) {
    TraceLine out;
    out.process = 99;
    if (!parseTraceLine(line, out)) return "no event";
    std::string text(out.name);
    for (const std::int64_t number :
         {std::int64_t{out.pid}, std::int64_t{out.process}, std::int64_t{out.core}, out.time}) {
        text += "|" + std::to_string(number);
    }
    return text + "|" + std::string(out.event) + "|" + std::string(out.payload);
}

TEST(TraceLineTest, readsTheColumnsOfAllTracers) {
    struct Case {
        const char* line;
        const char* expected;
    };
    const Case cases[] = {
        // trace-cmd report without and with flags, six and nine digits
        {"       ls-4734  [002] 106439.675591: sched_switch:         ls:4734 [120] R ==> a:1 [0]",
         "ls|4734|-1|2|106439675591000|sched_switch|ls:4734 [120] R ==> a:1 [0]"},
        {"ls-4734  [002] d..2. 1.123456789: bprint: x", "ls|4734|-1|2|1123456789|bprint|x"},
        // trace and trace_pipe, without and with the process
        {"  bash-1977    [000] .... 17284.993652: sys_close: fd: 3  ",
         "bash|1977|-1|0|17284993652000|sys_close|fd: 3"},
        {"<idle>-0     (-----) [006] d.h3   538.064923: cpu_idle: state=2 cpu_id=6\r",
         "<idle>|0|-1|6|538064923000|cpu_idle|state=2 cpu_id=6\r"},
        {"kworker/u17:1-959   (  959) [006] d..3   538.0: x:",
         "kworker/u17:1|959|959|6|538000000000|x|"},
        // the tracer's own text, which has no colon
        {"a-1 [000] .... 1.5: do_idle <-cpu_startup_entry",
         "a|1|-1|0|1500000000|do_idle|<-cpu_startup_entry"},
        // names with blanks, dashes, colons, brackets, and none
        {" Jit thread pool-12 ( 7) [11] 2.000001: 0: E", "Jit thread pool|12|7|11|2000001000|0|E"},
        {"ksoftirqd-net-x:-1-33 [001] 2.0: e: p", "ksoftirqd-net-x:-1|33|-1|1|2000000000|e|p"},
        {"a [000] 1.0: b-5 [003] 2.0: e: c-6 [004] 3.0: f: g",
         "a [000] 1.0: b|5|-1|3|2000000000|e|c-6 [004] 3.0: f: g"},
        {"(x)-5 [003] 2.0: e:  ", "(x)|5|-1|3|2000000000|e|"},
        {" -5 [003] 2.0: e: p", "|5|-1|3|2000000000|e|p"},
        // digits below nanoseconds are cut
        {"a-1 [000] 0.0: e:", "a|1|-1|0|0|e|"},
        {"a-1 [000] 7.1234567899: e:", "a|1|-1|0|7123456789|e|"},
        // latency format, of trace-cmd and of tracefs
        {"  ls-4734    2d..3 106439.675591: sched_wakeup: x",
         "ls|4734|-1|2|106439675591000|sched_wakeup|x"},
        {"my-prog-7 11.N.1.  104us!: sched_wakeup: x", "my-prog|7|-1|11|104000|sched_wakeup|x"},
        {"  <idle>-0       0dN.2   17us : do_irq <-x", "<idle>|0|-1|0|17000|do_irq|<-x"},
    };
    for (const Case& each : cases)
        EXPECT_EQ(read(each.line), each.expected) << each.line;
}

TEST(TraceLineTest, refusesWhatIsNoEvent) {
    for (const char* line : {
             "",
             " ",
             "cpus=6",
             " gid=4",
             "CPU:0 [LOST 12 EVENTS]",
             " => schedule",
             "ls-4734 106439.675591: e: p",    // no core
             "ls-4734 [002] 106439: e: p",     // a clock that doesn't count seconds
             "ls-4734 [002] 106439.675591: ",  // cut
             "ls-4734 [002] 106439.675591",
             "ls-4734 [002] d..3",
             "ls-4734 [002",
             "ls-4734 [",
             "ls 4734 [002] 1.0: e: p",  // other columns
             "ls-4734x [002] 1.0: e: p",
             "ls-4734[002] 1.0: e: p",
             "ls-4734 [x] 1.0: e: p",
             "ls-4734 (12 [002] 1.0: e: p",
             "ls-4734(12) [002] 1.0: e: p",
             "ls-4734 () [002] 1.0: e: p",
             "ls-4734 (1x) [002] 1.0: e: p",
             "ls-99999999999 [002] 1.0: e: p",
             "ls-1 [99999999999] 1.0: e: p",
             "ls-1 [002] 99999999999.0: e: p",  // beyond what a result can hold
             "ls-1 [002] 99999999999999999999.0: e: p",
             "make 12/13 [001] 1025.263185334: sched:sched_switch: prev_comm=make",
             "ls-1 [002] somewhere 1.0: e: p",
             "ls-1 2 1.0: e: p",
             "ls-1 2d..3.abcd 1.0: e: p",
             "ls- [002] 1.0: e: p",
             "ls-1 [] 1.0: e: p",
             "ls-1 2d..3 99999999999999999999us : e: p",
         }) {
        EXPECT_EQ(read(line), "no event") << line;
    }
}

TEST(TraceLineTest, knowsNamesFromStandIns) {
    for (const char* name : {"<idle>", "ls", "<", "<a.b>", "<-transport"}) {
        EXPECT_TRUE(isTaskName(name)) << name;
    }
    for (const char* name : {"", "<...>", "<7952>"})
        EXPECT_FALSE(isTaskName(name)) << name;
}

}  // namespace
}  // namespace lanefeed_importers
