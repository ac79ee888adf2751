// The columns of kernel trace lines in all their forms.
#include "ftrace_text/trace_line.h"

#include "import_fixture.h"

#include <fmt/format.h>

namespace lanefeed_importers {
namespace {

// "name|pid|process|core|time|event|payload", or "no event".
std::string read(std::string_view line) {
    TraceLine out;
    out.process = 99;
    if (!parseTraceLine(line, out)) return "no event";
    return fmt::format("{}|{}|{}|{}|{}|{}|{}", out.name, out.pid, out.process, out.core, out.time,
                       out.event, out.payload);
}

TEST(TraceLineTest, readsTheColumnsOfAllTracers) {
    expectAnswers(read, R"(
        ls-4734  [002] 106439.675591: sched_switch:      ls:47 ==> a:1 -> ls|4734|-1|2|106439675591000|sched_switch|ls:47 ==> a:1
        <idle>-0     (-----) [006] d.h3   538.064923: cpu_idle: id=6 -> <idle>|0|-1|6|538064923000|cpu_idle|id=6
        kworker/u17:1-959   (  959) [006] d..3   538.0: x: -> kworker/u17:1|959|959|6|538000000000|x|
        a-1 [000] .... 1.5: do_idle <-cpu_startup -> a|1|-1|0|1500000000|do_idle|<-cpu_startup
        Jit thread pool-12 ( 7) [11] 2.000001: 0: E -> Jit thread pool|12|7|11|2000001000|0|E
        a [000] 1.0: b-5 [003] 2.0: e: c-6 [004] 3.0: f: g -> a [000] 1.0: b|5|-1|3|2000000000|e|c-6 [004] 3.0: f: g
        -5 [003] 2.0: e: p -> |5|-1|3|2000000000|e|p
        a-1 [000] 7.1234567899: e: -> a|1|-1|0|7123456789|e|
        ls-4734    2d..3 106439.675591: sched_wakeup: x -> ls|4734|-1|2|106439675591000|sched_wakeup|x
        my-prog-7 11.N.1.  104us!: sched_wakeup: x -> my-prog|7|-1|11|104000|sched_wakeup|x
        <idle>-0       0dN.2   17us : do_irq <-x -> <idle>|0|-1|0|17000|do_irq|<-x
        ls-4734 106439.675591: e: p -> no event
        ls-4734 [002] 106439: e: p -> no event
        ls-4734 [002] 106439.675591: -> no event
        ls-4734 [002 -> no event
        ls 4734 [002] 1.0: e: p -> no event
        ls-4734[002] 1.0: e: p -> no event
        ls-4734 [x] 1.0: e: p -> no event
        ls-4734 (12 [002] 1.0: e: p -> no event
        ls-4734 () [002] 1.0: e: p -> no event
        ls-4734 (1x) [002] 1.0: e: p -> no event
        ls-99999999999 [002] 1.0: e: p -> no event
        ls-1 [99999999999] 1.0: e: p -> no event
        ls-1 [002] 99999999999.0: e: p -> no event
        ls-1 [002] somewhere 1.0: e: p -> no event
        ls-1 2 1.0: e: p -> no event
        ls-1 2d..3.abcd 1.0: e: p -> no event
        ls-1 2d..3 99999999999999999999us : e: p -> no event
         -> no event)");
    for (const char* name : {"<idle>", "ls", "<", "<a.b>", "<-transport"})
        EXPECT_TRUE(isTaskName(name)) << name;
    for (const char* name : {"", "<...>", "<7952>"})
        EXPECT_FALSE(isTaskName(name)) << name;
}

}  // namespace
}  // namespace lanefeed_importers
