// Kernel traces as text: what marks become, that all dialects say the same, and bad input.
#include "import_fixture.h"

#include <fmt/format.h>

namespace lanefeed_importers {
namespace {

class FtraceText : public ImportTest {
protected:
    // Fails the test unless it is taken without a warning.
    void importWell(const std::string& text) {
        const ImportOutcome outcome = importText(text);
        ASSERT_FALSE(outcome.error.failed()) << outcome.error.text;
        ASSERT_TRUE(outcome.warnings.empty()) << outcome.warnings.front();
    }
    // Everything in the result but facts about the file.
    std::string content() const {
        std::string text = fact("events");
        for (const char* table :
             {"running_data", "idle_data", "state_data", "interrupt_data", "wakeup_data",
              "migration_data", "slice_data", "async_data", "marker_data", "counter_data", "args",
              "dd_band", "dd_thread", "dd_process", "dd_task", "dd_track", "dd_counter"})
            text += fmt::format("\n{}: {}", table, rows(fmt::format("select * from {}", table)));
        return text;
    }
};

// Task, process, core, microsecond, event, its payload, and that as trace-cmd shortens it.
const char* const kEvents[][7] = {
    {"<idle>-0", "-----", "000", "100", "sched_wakeup",
     "comm=my app:x pid=21 prio=120 target_cpu=001", "    my app:x:21 [120] success=1 CPU:001"},
    {"<idle>-0", "-----", "001", "110", "sched_switch",
     "prev_comm=swapper/1 prev_pid=0 prev_prio=120 prev_state=R ==> next_comm=my app:x next_pid=21",
     "swapper/1:0 [120] R ==> my app:x:21 [120]"},
    {"my app:x-21", "   20", "001", "120", "tracing_mark_write", "B|20|draw: all"},
    {"my app:x-21", "   20", "001", "130", "irq_handler_entry", "irq=36 name=virtio1-req.0"},
    {"my app:x-21", "   20", "001", "131", "softirq_entry", "vec=4 [action=BLOCK]"},
    {"my app:x-21", "   20", "001", "133", "softirq_exit", "vec=4 [action=BLOCK]"},
    {"my app:x-21", "   20", "001", "140", "irq_handler_exit", "irq=36 ret=handled"},
    {"my app:x-21", "   20", "001", "150", "tracing_mark_write", "C|20|queue|3"},
    {"my app:x-21", "   20", "001", "155", "tracing_mark_write", "S|20|load|7"},
    {"my app:x-21", "   20", "001", "160", "tracing_mark_write", "E"},
    {"my app:x-21", "   20", "001", "165", "sched_migrate_task",
     "comm=a&b pid=22 prio=120 orig_cpu=0 dest_cpu=1"},
    {"my app:x-21", "   20", "001", "170", "sched_switch",
     "prev_comm=my app:x prev_pid=21 prev_prio=120 prev_state=S ==> next_comm=a&b next_pid=22",
     "my app:x:21 [120] S ==> a&b:22 [120]"},
    {"a&b-22", "-----", "001", "180", "tracing_mark_write", "F|20|load|7"},
    {"a&b-22", "-----", "001", "185", "tracing_mark_write", "hello: <you> \"there\""},
};

std::string replaced(std::string text, std::string_view what, std::string_view with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
        text.replace(at, what.size(), with);
    return text;
}

// The events as tracefs prints them; `format` of what stands above.
std::string printed(const char* format, bool isBrief = false) {
    std::string text;
    for (const auto& [task, process, core, time, event, payload, brief] : kEvents) {
        text += fmt::format(fmt::runtime(format), task, process, core, time, event,
                            isBrief && brief ? brief : payload);
    }
    return text;
}

constexpr const char* kPlain = "{:>16}   ({}) [{}] d..2. 10.000{}: {}: {}\n";

TEST_F(FtraceText, saysTheSameInEveryDialect) {
    const std::string header = "# tracer: nop\n#\n# entries: 15 #P:2\n";
    const std::string plain = printed(kPlain);
    const std::size_t half = plain.find('\n', plain.size() / 2) + 1;
    importWell(header + plain);
    const std::string expected = content();
    EXPECT_EQ(
        rows("select start_tsc, end_tsc, name from slice_data join dd_task t on t.rowid = attr"),
        "20001 60000 draw: all")
        << expected;
    const std::string lines = replaced(plain, "\"", "\\\"");
    const std::string escaped =
        replaced(replaced(replaced(plain, "&", "&amp;"), "<", "&lt;"), ">", "&gt;");
    const std::pair<const char*, std::string> dialects[] = {
        {"carriage returns", replaced(header + plain, "\n", "\r\n")},
        {"trace-cmd", "version = 7\nCPU 1 is empty\ncpus=2\n" +
                          replaced(printed(kPlain, true),
                                   "tracing_mark_write: ", "print:      tracing_mark_write: ")},
        // Without processes, which the marks tell too.
        {"old kernel",
         replaced(printed("{0}   [{2}] 10.000{3}: {4}: {5}\n"), "tracing_mark_write", "0")},
        {"latency format", printed("{0} {2}d..2 10.000{3}000: {4}: {5}\n")},
        {"numbers for states", replaced(replaced(plain, "prev_state=R", "prev_state=0"),
                                        "prev_state=S ==>", "prev_state=0x1")},
        {"old page", "<html>\n<script>var linuxPerfData = \"\\\n" +
                         replaced(header + lines, "\n", "\\n\\\n") + "\";</script></html>"},
        // Events outside of the trace and text that talks about one are none; a page may hold two.
        {"page",
         "\xEF\xBB\xBF\r\n <!DOCTYPE html>\n<script>\nx-1 [0] 1.0: no:\na = '# tracer';\n"
         "</script>\n<script class=\"trace-data\">\n" +
             header + plain.substr(0, half) + "</script>\nx-1 [0] 1.0: no:\n<script>" + header +
             plain.substr(half) + "</script>\n{\"a\":1}"},
        {"markup", "<HTML lang=en><pre>" + header + escaped + "</pre>\nx-1 [0] 1.0: no:\n"},
    };
    for (const auto& [name, text] : dialects) {
        importWell(text);
        EXPECT_EQ(content(), expected) << name;
    }
}

TEST_F(FtraceText, marksBecomeSlicesTracksCurvesAndPoints) {
    importWell(
        " a-5 [000] .... 1.000000100: 0: B|4|outer\n"
        " a-5 [000] .... 1.000000200: 0: B|4|inner|x\n"
        " b-6 [001] .... 1.000000250: 0: B|4|other\n"
        " b-6 [001] .... 1.000000260: 0: C|4|frames|2.5\n"
        " a-5 [000] .... 1.000000300: 0: E|4\n"
        " a-5 [000] .... 1.000000310: 0: S|4|load|1\n"
        " b-6 [001] .... 1.000000320: 0: S|4|load|2\n"
        " b-6 [001] .... 1.000000330: 0: F|4|load|1\n"
        " b-6 [001] .... 1.000000340: 0: C|4|frames|-1\n"
        " b-6 [001] .... 1.000000350: 0: hello: a: b\n"
        " a-5 [000] .... 1.000000400: 0: E\n");
    EXPECT_EQ(
        rows(
            "select s.start_tsc, s.end_tsc, t.name, th.tid, p.pid from slice_data s join dd_task "
            "t on t.rowid = attr join dd_band b on b.rowid = dd_band join dd_thread th on "
            "th.rowid = b.dd_thread join dd_process p on p.rowid = th.dd_process order by s.rowid"),
        "1 300 outer 5 4; 101 200 inner|x 5 4");
    EXPECT_EQ(rows("select start_tsc, end_tsc, value from counter_data order by 1"),
              "161 240 2.5; 241 301 -1.0");
    EXPECT_EQ(
        rows("select start_tsc, end_tsc, name from async_data join dd_task t on t.rowid = attr"),
        "211 230 load");
    EXPECT_EQ(rows("select d.start_tsc, name, json from marker_data d join dd_marker m on m.rowid "
                   "= attr join args a on a.rowid = args"),
              R"(251 hello {"text":"a: b"})");
    EXPECT_EQ(facts("unclosedBegins unclosedAsync"), "1 1");
}

TEST_F(FtraceText, columnsTellNamesAndProcesses) {
    importWell(
        " a-5 (   4) [000] .... 1.0: print: x\n <9>-9 (   4) [000] .... 1.1: print: y\n"
        " <...>-8 (-----) [000] .... 1.2: print: z\n b c-4 (   4) [000] .... 1.3: print: C||own|1\n"
        " b c-4 (   4) [000] .... 1.4: print: w\n");
    EXPECT_EQ(
        rows("select t.label, p.label from dd_thread t join dd_process p on p.rowid = dd_process "
             "order by t.sort"),
        "b c (4) b c (4); a (5) b c (4); thread 9 (9) b c (4); thread 8 (8) no process");
    EXPECT_EQ(rows("select label from dd_counter"), "b c (4) / own");
}

TEST_F(FtraceText, refusesTextsItCannotRead) {
    std::string much = "# tracer: nop\n";
    for (int i = 0; i < 2000; ++i)
        much += "no\n";
    const std::pair<std::string, std::string> cases[] = {
        {"# tracer: x\n\n [002] ls-4734 1.5: sched_switch: a\tb" + std::string(200, 'x'),
         "line 3 is no event of a kernel trace: \" [002] ls-4734 1.5: sched_switch: a b" +
             std::string(123, 'x') + "...\"; record with `trace-cmd record -e sched_switch "},
        {"ls-1 [0] 1.0: print: x\nls-1 [0] 2.0: sched_switch: next_pid=1 prev_pid=2\n",
         "line 2 has a sched_switch with other fields than expected: "
         "\"ls-1 [0] 2.0: sched_switch: next_pid=1 prev_pid=2\"; record"},
        {"# tracer: x\nls-1 [0] 9999999999.0: print: x",
         "line 2 has a time beyond the 73 years that a result can hold: "
         "\"ls-1 [0] 9999999999.0: print: x\"; record"},
        {"<html>\n<script>/^# tracer:/</script>\nls-1 [0] 1.0: print: x\n</html>",
         "no trace in this page, which would begin with a line \"# tracer\"; give a page"},
        {"# tracer: nop\n#\n", "holds comments alone and no event; record"},
        // Doesn't read to the end of what is none.
        {much + "ls-1 [0] 1.0: print: x\n", "line 2 is no event of a kernel trace: \"no\"; rec"},
    };
    for (const auto& [text, message] : cases) {
        const std::string told = refusal(text);
        EXPECT_EQ(told.substr(0, message.size()), message) << told;
    }
}

TEST_F(FtraceText, countsWhatItLeavesOutAndTellsIt) {
    const std::string event = " a-5 [000] 1.5: print: x";
    std::string text = event + "\nCPU:0 [LOST 12 EVENTS]\n" + event +
                       "\n broken\nCPU:1 [3 EVENTS DROPPED]\nCPU:1 [EVENTS DROPPED]\n"
                       "CPU:1 [LOST 3 CATS]\n => schedule\n" +
                       event + std::string(100'000, 'x') +
                       "\n a-5 [000] 1.6: sched_switch: a:1 [0] R ==> b:2 [0]\n"
                       " a-5 [000] 1.6: sched_switch: a:1 [0\n a-5 [000] 1.7: print: C|1|x|y\n";
    for (int i = 0; i < 1000; ++i)
        text += "no\n";
    const ImportOutcome outcome = importText(text + " a-5 [000] 1.4");
    EXPECT_EQ(facts("skipped events"), R"({"badPayload":2,"lostEvents":3,"noEvent":1005} 5)");
    ASSERT_EQ(outcome.warnings.size(), 4U) << outcome.error.text;
    EXPECT_NE(outcome.warnings[0].find(": the tracer lost events 3 times, 15 of them at least; "),
              std::string::npos);
    EXPECT_NE(importText(" a-5 [0] 1.5: cpu_idle: x\n").warnings.at(0).find("and no mark is in it"),
              std::string::npos);
}

}  // namespace
}  // namespace lanefeed_importers
