// Kernel traces as text: what marks become, that all dialects say the same, and bad input.
#include "common/fact_keys.h"
#include "import_fixture.h"
#include "support/random_seed.h"

#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <random>
#include <sstream>

namespace lanefeed_importers {
namespace {

class FtraceText : public ImportTest {
protected:
    ImportOutcome import(const std::string& text) {
        std::filesystem::remove(target());
        return importFile(writeFile("trace.txt", text));
    }
    // Fails the test unless it is taken without a warning.
    void importWell(const std::string& text) {
        const ImportOutcome outcome = import(text);
        ASSERT_FALSE(outcome.error.failed()) << outcome.error.text;
        ASSERT_TRUE(outcome.warnings.empty()) << outcome.warnings.front();
    }
    // Why it isn't taken, without the name of the file.
    std::string refusal(const std::string& text) {
        const ImportOutcome outcome = import(text);
        EXPECT_EQ(outcome.error.kind, ImportError::Kind::notUnderstood) << text;
        EXPECT_EQ(files(), std::vector<std::string>{"trace.txt"});
        return outcome.error.text.substr(
            std::min(outcome.error.text.size(), path("trace.txt: ").size()));
    }
    // Everything in the result but ids and facts about the file.
    std::string content() const;
};

std::string FtraceText::content() const {
    constexpr const char* kQuery =
        "select d.start_tsc, d.end_tsc, th.label, co.name, cn.label, tr.label, a.name, d.count "
        "from "
        "{} d left join dd_band b on b.rowid = d.dd_band left join dd_thread th on th.rowid = "
        "b.dd_thread left join dd_core co on co.rowid = b.dd_core left join dd_counter cn on "
        "cn.rowid = b.dd_counter left join dd_track tr on tr.rowid = b.dd_track left join {} a on "
        "a.rowid = d.attr order by d.rowid";
    const std::string names[][2] = {{"running_data", "dd_thread"}, {"idle_data", "dd_state"},
                                    {"state_data", "dd_state"},    {"interrupt_data", "dd_task"},
                                    {"wakeup_data", "dd_flow"},    {"migration_data", "dd_thread"},
                                    {"slice_data", "dd_task"},     {"async_data", "dd_task"},
                                    {"marker_data", "dd_marker"},  {"counter_data", "dd_counter"}};
    std::string text;
    for (const auto& [table, attr] : names) {
        for (const auto& row : rows(fmt::format(kQuery, table, attr))) {
            text += table + ":";
            for (const std::string& value : row)
                text += value == "null" ? "" : " " + value;
            text += "\n";
        }
    }
    return text + fact(fact_keys::kEvents);
}

struct Event {
    const char* task;  // name and id
    const char* process;
    int core;
    const char* time;
    const char* name;
    const char* payload;
    const char* brief = nullptr;  // the payload as trace-cmd shortens it
};

const Event kEvents[] = {
    {"<idle>-0", "-----", 0, "10.000100", "sched_wakeup",
     "comm=my app:x pid=21 prio=120 target_cpu=001", "    my app:x:21 [120] success=1 CPU:001"},
    {"<idle>-0", "-----", 1, "10.000110", "sched_switch",
     "prev_comm=swapper/1 prev_pid=0 prev_prio=120 prev_state=R ==> next_comm=my app:x next_pid=21 "
     "next_prio=120",
     "swapper/1:0 [120] R ==> my app:x:21 [120]"},
    {"my app:x-21", "   20", 1, "10.000120", "tracing_mark_write", "B|20|draw: all"},
    {"my app:x-21", "   20", 1, "10.000130", "irq_handler_entry", "irq=36 name=virtio1-req.0"},
    {"my app:x-21", "   20", 1, "10.000131", "softirq_entry", "vec=4 [action=BLOCK]"},
    {"my app:x-21", "   20", 1, "10.000133", "softirq_exit", "vec=4 [action=BLOCK]"},
    {"my app:x-21", "   20", 1, "10.000140", "irq_handler_exit", "irq=36 ret=handled"},
    {"my app:x-21", "   20", 1, "10.000150", "tracing_mark_write", "C|20|queue|3"},
    {"my app:x-21", "   20", 1, "10.000155", "tracing_mark_write", "S|20|load|7"},
    {"my app:x-21", "   20", 1, "10.000160", "tracing_mark_write", "E"},
    {"my app:x-21", "   20", 1, "10.000165", "sched_migrate_task",
     "comm=a&b pid=22 prio=120 orig_cpu=0 dest_cpu=1"},
    {"my app:x-21", "   20", 1, "10.000170", "sched_switch",
     "prev_comm=my app:x prev_pid=21 prev_prio=120 prev_state=S ==> next_comm=a&b next_pid=22 "
     "next_prio=120",
     "my app:x:21 [120] S ==> a&b:22 [120]"},
    {"a&b-22", "-----", 1, "10.000180", "tracing_mark_write", "F|20|load|7"},
    {"a&b-22", "-----", 1, "10.000185", "tracing_mark_write", "hello: <you> \"there\""},
    {"a&b-22", "-----", 1, "10.000190", "sched_switch",
     "prev_comm=a&b prev_pid=22 prev_prio=120 prev_state=D ==> next_comm=swapper/1 next_pid=0 "
     "next_prio=120",
     "a&b:22 [120] D ==> swapper/1:0 [120]"},
};

std::string replaced(std::string text, std::string_view what, std::string_view with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
        text.replace(at, what.size(), with);
    return text;
}

// The events as tracefs prints them; `format` of name, process, core, time, event and payload.
std::string printed(const char* format, bool isBrief = false) {
    std::string text;
    for (const Event& event : kEvents) {
        text += fmt::format(fmt::runtime(format), event.task, event.process, event.core, event.time,
                            event.name, isBrief && event.brief ? event.brief : event.payload) +
                "\n";
    }
    return text;
}

constexpr const char* kPlain = "{:>16}   ({}) [{:03}] d..2. {}: {}: {}";

TEST_F(FtraceText, saysTheSameInEveryDialect) {
    const std::string header = "# tracer: nop\n#\n# entries: 15 #P:2\n";
    importWell(header + printed(kPlain));
    const std::string expected = content();
    EXPECT_NE(expected.find("slice_data: 20001 60000 my app:x (21) draw: all 1"), std::string::npos)
        << expected;

    const std::string lines = replaced(printed(kPlain), "\"", "\\\"");
    const std::string escaped =
        replaced(replaced(replaced(printed(kPlain), "&", "&amp;"), "<", "&lt;"), ">", "&gt;");
    const std::pair<const char*, std::string> dialects[] = {
        {"carriage returns", replaced(header + printed(kPlain), "\n", "\r\n")},
        {"trace-cmd", "version = 7\nCPU 1 is empty\ncpus=2\n" +
                          replaced(printed(kPlain, true),
                                   "tracing_mark_write: ", "print:      tracing_mark_write: ")},
        // Without processes, which the marks tell too.
        {"old kernel",
         replaced(printed("{0}   [{2:03}] {3}: {4}: {5}"), "tracing_mark_write", "0")},
        {"latency format", printed("{0} {2}d..2 {3}000: {4}: {5}")},
        {"old page", "<html>\n<script>var linuxPerfData = \"\\\n" +
                         replaced(header + lines, "\n", "\\n\\\n") + "\";</script></html>"},
        {"page",
         "<!DOCTYPE html>\n<script>\nx-1 [0] 1.0: no:\n</script>\n<script class=\"trace-data\">\n" +
             header + printed(kPlain) + "</script>\n{\"a\":1}"},
        {"markup", "<html><pre>" + header + escaped + "</pre>"},
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
        (Rows{{"1", "300", "outer", "5", "4"}, {"101", "200", "inner|x", "5", "4"}}));
    EXPECT_EQ(rows("select start_tsc, end_tsc, value from counter_data order by 1"),
              (Rows{{"161", "240", "2.5"}, {"241", "301", "-1.0"}}));
    EXPECT_EQ(
        rows("select start_tsc, end_tsc, name from async_data join dd_task t on t.rowid = attr"),
        (Rows{{"211", "230", "load"}}));
    EXPECT_EQ(
        rows("select d.start_tsc, name, json from marker_data d join dd_marker m on m.rowid = "
             "attr join args a on a.rowid = args"),
        (Rows{{"251", "hello", R"({"text":"a: b"})"}}));
    for (const auto& [key, value] : {std::pair("unclosedBegins", "1"), {"unclosedAsync", "1"}}) {
        EXPECT_EQ(fact(key), value) << key;
    }
}

TEST_F(FtraceText, columnsTellNamesAndProcesses) {
    importWell(
        " a-5 (   4) [000] .... 1.0: print: x\n <9>-9 (   4) [000] .... 1.1: print: y\n"
        " <...>-8 (-----) [000] .... 1.2: print: z\n b c-4 (   4) [000] .... 1.3: print: C||own|1\n"
        " b c-4 (   4) [000] .... 1.4: print: w\n");
    EXPECT_EQ(
        rows("select t.label, p.label from dd_thread t join dd_process p on p.rowid = dd_process "
             "order by t.sort"),
        (Rows{{"b c (4)", "b c (4)"},
              {"a (5)", "b c (4)"},
              {"thread 9 (9)", "b c (4)"},
              {"thread 8 (8)", "no process"}}));
    EXPECT_EQ(cell("select label from dd_counter"), "b c (4) / own");
}

TEST_F(FtraceText, refusesTextsItCannotRead) {
    const std::string remedy =
        "; record with `trace-cmd record -e sched_switch -e sched_wakeup -e sched_wakeup_new "
        "-e sched_migrate_task -e irq` and give what `trace-cmd report` prints";
    EXPECT_EQ(refusal("ls-4734 1.5: sched_switch: a:1 [0] R ==> b:2 [0]\n"),
              "line 1 is no event of a kernel trace: \"ls-4734 1.5: sched_switch: a:1 [0] R ==> "
              "b:2 [0]\"" +
                  remedy);
    EXPECT_EQ(
        refusal("# tracer: x\n\n [002] ls-4734 1.5: sched_switch: a\tb" + std::string(200, 'x')),
        "line 3 is no event of a kernel trace: \" [002] ls-4734 1.5: sched_switch: a b" +
            std::string(123, 'x') + "...\"" + remedy);
    EXPECT_EQ(
        refusal("ls-1 [0] 1.0: print: x\nls-1 [0] 2.0: sched_switch: next_pid=1 prev_pid=2\n"),
        "line 2 has a sched_switch with other fields than expected: "
        "\"ls-1 [0] 2.0: sched_switch: next_pid=1 prev_pid=2\"" +
            remedy);
    EXPECT_EQ(refusal("ls-1 [0] 1.0: print: x\nls-1 [0] 2.0: sched_wakeup: pid=2 comm=x\n"),
              "line 2 has a sched_wakeup with other fields than expected: "
              "\"ls-1 [0] 2.0: sched_wakeup: pid=2 comm=x\"" +
                  remedy);
    EXPECT_EQ(refusal("# tracer: x\nls-1 [0] 9999999999.0: print: x"),
              "line 2 has a time beyond the 73 years that a result can hold: "
              "\"ls-1 [0] 9999999999.0: print: x\"" +
                  remedy);
    EXPECT_EQ(refusal("<html>\n<script>/^# tracer:/</script>\nls-1 [0] 1.0: print: x\n</html>"),
              "no trace in this page, which would begin with a line \"# tracer\"; give a page that "
              "systrace wrote, or the text of `trace-cmd report`");
    EXPECT_EQ(refusal("# tracer: nop\n#\n"), "holds comments alone and no event" + remedy);
    // Doesn't read to the end of what is none.
    std::string much = "# tracer: nop\n";
    for (int i = 0; i < 2000; ++i)
        much += "no\n";
    EXPECT_EQ(refusal(much + "ls-1 [0] 1.0: print: x\n").substr(0, 6), "line 2");
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
    const ImportOutcome outcome = import(text + " a-5 [000] 1.4");
    ASSERT_FALSE(outcome.error.failed()) << outcome.error.text;
    EXPECT_EQ(fact("skipped"), R"({"badPayload":2,"lostEvents":3,"noEvent":1005})");
    EXPECT_EQ(fact("events"), "5");
    ASSERT_EQ(outcome.warnings.size(), 4U);
    EXPECT_EQ(
        outcome.warnings[0].substr(path("trace.txt").size()),
        ": the tracer lost events 3 times, 15 of them at least; states and slices around these "
        "places are not those of the program");
    EXPECT_NE(import(" a-5 [0] 1.5: cpu_idle: x\n").warnings.at(0).find("and no mark is in it"),
              std::string::npos);
}

// Whatever becomes of the text, the import ends, in a result or in an error that tells why.
TEST_F(FtraceText, survivesDamage) {
    std::mt19937 random(lanefeed_test::randomSeed());
    for (const char* name : {"trace-cmd-report.txt", "systrace.html"}) {
        std::stringstream whole;
        whole << std::ifstream(std::string(LANEFEED_TEST_DATA) + "/scheduler/" + name).rdbuf();
        for (int round = 0; round < 20; ++round) {
            std::string text = whole.str();
            // The first byte alone can make another format of it.
            for (int i = 0; i < 1 << (round % 10); ++i)
                text[1 + random() % (text.size() - 1)] = "\n\0\r |:[]-0=\xff"[random() % 12];
            text.resize(text.size() - random() % (text.size() / 2));
            const ImportOutcome outcome = import(text);
            EXPECT_TRUE(outcome.error.failed()
                            ? outcome.error.kind == ImportError::Kind::notUnderstood
                            : outcome.events > 0)
                << outcome.error.text;
        }
    }
}

}  // namespace
}  // namespace lanefeed_importers
