// Kernel traces and output of perf as text: that all dialects say the same, damaged lines, and
// texts that are none.
#include "common/fact_keys.h"
#include "common/line_reader.h"
#include "import_fixture.h"

#include <fmt/format.h>

namespace lanefeed_importers {
namespace {

class TextFormats : public ImportTest {
protected:
    // Fails the test unless it is taken without a warning.
    void importWell(const std::string& text) {
        const ImportOutcome outcome = importText(text);
        ASSERT_FALSE(outcome.error.failed()) << outcome.error.text;
        ASSERT_TRUE(outcome.warnings.empty()) << outcome.warnings.front();
    }
    // Everything in the result but facts about the file.
    std::string content() const {
        std::string text = facts("events");
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
    {"my app:x-21", "   20", "001", "125", "tracing_mark_write", "B|20|inner|x"},
    {"my app:x-21", "   20", "001", "127", "tracing_mark_write", "E|20"},
    {"my app:x-21", "   20", "001", "130", "irq_handler_entry", "irq=36 name=virtio1-req.0"},
    {"my app:x-21", "   20", "001", "140", "irq_handler_exit", "irq=36 ret=handled"},
    {"my app:x-21", "   20", "001", "150", "tracing_mark_write", "C|20|queue|3"},
    {"my app:x-21", "   20", "001", "152", "tracing_mark_write", "C|20|queue|-1.5"},
    {"my app:x-21", "   20", "001", "155", "tracing_mark_write", "S|20|load|7"},
    {"my app:x-21", "   20", "001", "156", "tracing_mark_write", "S|20|load|8"},
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

TEST_F(TextFormats, saysTheSameInEveryDialect) {
    const std::string header = "# tracer: nop\n#\n# entries: 15 #P:2\n";
    const std::string plain = printed(kPlain);
    const std::size_t half = plain.find('\n', plain.size() / 2) + 1;
    importWell(header + plain);
    const std::string expected = content();
    EXPECT_EQ(rows("select start_tsc, end_tsc, name from slice_data d join dd_task t on t.rowid = "
                   "attr union select start_tsc, end_tsc, name from async_data d join dd_task t on "
                   "t.rowid = attr order by 1"),
              "20001 60000 draw: all; 25001 27000 inner|x; 55001 80000 load");
    EXPECT_EQ(rows("select start_tsc, end_tsc, value from counter_data order by 1"),
              "50001 52000 3.0; 52001 85001 -1.5");
    EXPECT_EQ(rows("select name, json from marker_data d join dd_marker m on m.rowid = attr join "
                   "args a on a.rowid = args"),
              R"(hello {"text":"<you> \"there\""})");
    EXPECT_EQ(facts("unclosedBegins unclosedAsync"), "0 1");
    const std::string lines = replaced(plain, "\"", "\\\"");
    const std::string escaped =
        replaced(replaced(replaced(plain, "&", "&amp;"), "<", "&lt;"), ">", "&gt;");
    const std::pair<const char*, std::string> dialects[] = {
        {"trace-cmd", "version = 7\r\nCPU 1 is empty\ncpus=2\n" +
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
        {"page without its begin", "x\n<script>var linuxPerfData = \"\\\n" +
                                       replaced(lines, "\n", "\\n\\\n") + "\";</script></html>"},
        {"page with a broken begin",
         "<!DOC\nx\n<script>x</script>\n<script class=\"trace-data\">\n" + plain +
             "</script>\nx-1 [0] 1.0: no:\n"},
        {"captions", "<html><pre>\n#  TASK-PID  CPU#\n" + escaped + "</pre>\n"},
        {"markup", "<HTML lang=en><pre>" + header + escaped + "</pre>\nx-1 [0] 1.0: no:\n"},
    };
    for (const auto& [name, text] : dialects) {
        importWell(text);
        EXPECT_EQ(content(), expected) << name;
    }
}

TEST_F(TextFormats, refusesTextsItCannotRead) {
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
        {"# comment\n\ng++ 27612  1044.6538: 1001 cpu-clock: \n\t6d88 main (g++)\n",
         "line 3 has no core such as [000] between thread and time; record with: perf record"},
        {"g++ 1 [0] 1.5: cpu-clock:\ng++ 1 [000] 1.5: sched:sched_switch:\n",
         "line 2 has a sched:sched_switch with other fields than expected: "
         "\"g++ 1 [000] 1.5: sched:sched_switch:\"; record with: perf record"},
        {"# cmdline : perf record\n# more\n", "holds comments alone and no event; record with"},
    };
    for (const auto& [text, message] : cases) {
        const std::string told = refusal(text);
        EXPECT_EQ(told.substr(0, message.size()), message) << told;
    }
}

TEST_F(TextFormats, countsWhatItLeavesOutAndTellsIt) {
    const ImportOutcome outcome = importText(
        " a-5 [000] 1.5: print: x\nCPU:0 [LOST 12 EVENTS]\n broken\nCPU:1 [3 "
        "EVENTS DROPPED]\n"
        "CPU:1 [EVENTS DROPPED]\nCPU:1 [LOST 3 CATS]\n => schedule\n"
        " a-5 [000] 1.6: sched_switch: a:1 [0] R ==> b:2 [0]\n"
        " a-5 [000] 1.6: sched_switch: a:1 [0\n a-5 [000] 1.7: print: C|1|x|y\n");
    EXPECT_EQ(facts("skipped events"), R"({"badPayload":2,"lostEvents":3,"noEvent":3} 4)");
    ASSERT_EQ(outcome.warnings.size(), 2U) << outcome.error.text;
    EXPECT_NE(outcome.warnings[0].find(": the tracer lost events 3 times, 15 of them at least; "),
              std::string::npos);
    EXPECT_NE(importText(" a-5 [0] 1.5: cpu_idle: x\n").warnings.at(0).find("and no mark is in it"),
              std::string::npos);
}

std::string switchFrom(int task) {
    return fmt::format(
        "  t{0} {0}/{0} [000] 1.{0:09}: sched:sched_switch: prev_comm=t{0} prev_pid={0} "
        "prev_prio=1 prev_state=S ==> next_comm=t{1} next_pid={1} next_prio=1\n",
        task, task + 1);
}

TEST_F(TextFormats, countsDamagedLinesAndGoesOn) {
    const std::string name("od\xff\0name", 8);
    const ImportOutcome outcome = importText(
        "# perf script\r\n[120] S ==> a\n" + switchFrom(1) + switchFrom(2) +
        "ev_comm=cut off at the front\n"  // begins inside of a line
        "    t3 3/3 [000] 1.000000003: sched:sched_switch: prev_comm=t3 prev_pid=3 prev_st\n"
        "    t3 3/3 [000] 1.000000003: block:plug: broken by a line\nfeed\n"
        "    t3 3/3 [000] 1.000000003: sched:sched_migrate_task: comm=t3 pi\n"
        "    t3 3/3 [000] 9000000000.000000003: block:plug: far away\n" +
        std::string(3 * LineReader::kMaxLine, 'x') + "\n    " + name +
        " 3/3 [000] 1.000000003: sched:sched_wakeup: comm=" + name + " pid=77 target_cpu=000\n" +
        "    :77 77/77 [000] 1.000000003: block:plug: of one whose name was lost\n"
        "\tffffffff815f63fe change_protection+0x5ce ([kernel])\n" +
        switchFrom(3) + switchFrom(4) + switchFrom(5) + "    t9 9/9 [000] 1.0000");
    ASSERT_FALSE(outcome.error.failed()) << outcome.error.text;
    EXPECT_EQ(facts(fact_keys::kSkipped),
              R"({"badPayload":2,"badTime":1,"callChain":1,"noEvent":5})");
    EXPECT_EQ(facts(fact_keys::kEventKinds),
              R"({"block:plug":2,"sched:sched_migrate_task":1,"sched:sched_switch":6,)"
              R"("sched:sched_wakeup":1})");
    EXPECT_EQ(facts("events runningIntervals"), "10 4");
    EXPECT_EQ(rows("select name from dd_thread where tid = 77"), "od\xEF\xBF\xBD\xEF\xBF\xBDname");
    const std::string told = fmt::format("{}", fmt::join(outcome.warnings, "\n"));
    for (const char* part :
         {"9 lines are left out, the first of them is line 2", "1 line is longer than 64 kB",
          "ends inside line 18", "1 line of a call chain is left out"}) {
        EXPECT_NE(told.find(part), std::string::npos) << part << "\n" << told;
    }
}

TEST_F(TextFormats, takesADamagedArchiveOnlyIfAsked) {
    const std::string archive = packed(textOf(LANEFEED_TEST_DATA "/scheduler/perf-script.txt"));
    const std::string cut = archive.substr(0, archive.size() * 2 / 3);
    EXPECT_NE(refusal(cut).find("early at byte"), std::string::npos);
    m_options.keepGoing = true;
    const std::uint64_t events = importText(cut).events;
    EXPECT_TRUE(events > 100 && events < 300) << events;
    std::atomic<bool> cancel{true};
    m_options.cancel = &cancel;
    EXPECT_EQ(importText(cut).error.kind, ImportError::Kind::cancelled);
}

}  // namespace
}  // namespace lanefeed_importers
