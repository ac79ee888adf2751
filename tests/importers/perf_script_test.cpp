// Lines of perf script in all their forms, and texts that are none.
#include "common/fact_keys.h"
#include "common/line_reader.h"
#include "import_fixture.h"
#include "perf_script/perf_line.h"
#include "perf_script/perf_script_importer.h"

#include <fmt/format.h>

namespace lanefeed_importers {
namespace {

// "comm|pid|tid|core|time|event|payload", without pid if the line has none; else what it lacks.
std::string read(std::string_view line) {
    PerfLine out;
    if (!parsePerfLine(line, out)) {
        static const char* const kFaults[] = {"no core",   "no time",  "late time",
                                              "no thread", "no event", "other text"};
        return kFaults[static_cast<int>(perfFaultOf(line))];
    }
    const std::string pid = out.pid == PerfLine::kNoPid ? "" : std::to_string(out.pid) + "|";
    EXPECT_EQ(out.event, out.wholeEvent.substr(out.wholeEvent.find(':') + 1));
    return fmt::format("{}|{}{}|{}|{}|{}|{}", out.comm, pid, out.tid, out.core, out.time,
                       out.wholeEvent, out.payload);
}

TEST(PerfLineTest, readsColumnsInAllForms) {
    const char* cases[][2] = {
        // nine digits and six, with and without the process, blanks as printed
        {"            perf 26721/26721 [000]  1025.263185334:       sched:sched_wakeup: comm=a "
         "pid=1",
         "perf|26721|26721|0|1025263185334|sched:sched_wakeup|comm=a pid=1"},
        {"swapper     0 [001] 17.000007: irq:softirq_entry: vec=7",
         "swapper|0|1|17000007000|irq:softirq_entry|vec=7"},
        {"a 1/2 [3] 0.5:          1 sched:sched_switch: x",
         "a|1|2|3|500000000|sched:sched_switch|x"},
        // a task that was gone
        {"             :-1  2920/-1    [000]  1.25:  sched:sched_switch: p",
         ":-1|2920|-1|0|1250000000|sched:sched_switch|p"},
        {" :-1    -1 [000] 1.25: sched:sched_switch: p",
         ":-1|-1|0|1250000000|sched:sched_switch|p"},
        // names of every kind
        {" npm install lod 27015/27015 [127] 1.0: a:b: c",
         "npm install lod|27015|27015|127|1000000000|a:b|c"},
        {" x-1/2:3 [000] y 5/6 [001] 2.0: g:h: i", "x-1/2:3 [000] y|5|6|1|2000000000|g:h|i"},
        {" bg02----------- 5/6 [001] 2.0: g:h: i", "bg02-----------|5|6|1|2000000000|g:h|i"},
        {" [k] [0 9 [001] 2.0: g:h:", "[k] [0|9|1|2000000000|g:h|"},
        {" 5/6 [001] 2.0: g:h: i", "|5|6|1|2000000000|g:h|i"},
        // a sample, digits below nanoseconds
        {"g++ 27612 [001] 1044.6538262809: 1001001 cpu-clock:u: 6d88 main",
         "g++|27612|1|1044653826280|cpu-clock:u|6d88 main"},
        // columns that lack
        {"g++ 27612  1044.653826280:    1001001 cpu-clock: ", "no core"},
        {"g++ 27612/27613 1044.653826280: sched:sched_switch: prev_comm=a", "no core"},
        {"g++ 27612 [000] sched:sched_switch: prev_comm=a", "no time"},
        {"g++ [000] 1044.653826: sched:sched_switch: prev_comm=a", "no thread"},
        {"g++ 27612 [000] 1044.653826: ", "no event"},
        {"g++ 27612 [000] 1044.653826: sched:sched_swi", "no event"},
        {"g++ 27612 [000] 1044.65", "other text"},
        {"g++ 27612 [000] 2305843010.5: a:b: c", "late time"},
        {"g++ 27612 [000] 99999999999999999999.5: a:b: c", "late time"},
        // other tools
        {"              ls-4734  [002] 106439.675591: sched_switch:         ls:4734", "other text"},
        {"[    1.234567] usb 1-1: new device", "other text"},
        {"12:00:01.123 [main] INFO: started", "other text"},
        {"", "other text"},
    };
    for (const auto& [line, expected] : cases)
        EXPECT_EQ(read(line), expected) << line;
}

class PerfScriptTest : public ImportTest {
protected:
    static std::string switches(int from, int to) {
        std::string text;
        for (int i = from; i < to; ++i) {
            text += fmt::format(
                "    t{0} {0}/{0} [000] 1.{2:09}: sched:sched_switch: prev_comm=t{0} "
                "prev_pid={0} prev_prio=1 prev_state=S ==> next_comm=t{1} next_pid={1} "
                "next_prio=1\n",
                i % 50 + 1, (i + 1) % 50 + 1, i);
        }
        return text;
    }
    std::string refusal(std::string_view text) {
        const ImportOutcome outcome = importFile(writeFile("bad.txt", text));
        EXPECT_EQ(outcome.error.kind, ImportError::Kind::notUnderstood);
        EXPECT_EQ(files(), std::vector<std::string>{"bad.txt"});
        return outcome.error.text;
    }
};

TEST_F(PerfScriptTest, tellsWhatATextLacksAndHowToRecord) {
    const std::pair<const char*, const char*> cases[] = {
        {"# comment\n\ng++ 27612  1044.6538: 1001 cpu-clock: \n\t6d88 main (g++)\n",
         "bad.txt: line 3 has no core"},
        {"g++ 1 [000] sched:sched_switch: prev_comm=a\n", "bad.txt: line 1 has no time"},
        {"g++ [000] 1.5: sched:sched_switch: prev_comm=a\n", "bad.txt: line 1 has no thread"},
        {"g++ 1 [000] 1.5: cpu-clock:\ng++ 1 [000] 1.5: sched:sched_switch:\n",
         "bad.txt: line 2 has a sched:sched_switch with other fields than expected: \"g++ 1 [000] "
         "1.5: sched:sched_switch:\"; record with: perf record"},
        {"a 1 [0] 1.5: irq:softirq_entry: vec=7\na 1 [0] 1.6: sched:sched_wakeup: pid=1 comm=b\n",
         "line 2 has a sched:sched_wakeup with other fields"},
        {"a 1 [0] 1.5: sched:sched_wakeup: comm=b pid=1\n"
         "a 1 [0] 1.6: sched:sched_migrate_task: pid=1\n"
         "a 1 [0] 1.7: sched:sched_migrate_task: pid=1\n",
         "line 2 has a sched:sched_migrate_task with"},
        {"[001] g++ 1 1.5: sched:sched_switch: prev_comm=a\n", "bad.txt: line 1"},
        {"a 1 [0] 9999999999.5: a:b: c\n", "line 1 has a time beyond the 73 years"},
        {"# cmdline : perf record\n# more\n", "bad.txt: holds comments alone"},
    };
    for (const auto& [text, message] : cases) {
        const std::string told = refusal(text);
        EXPECT_NE(told.find(message), std::string::npos) << told;
        EXPECT_NE(told.find("perf script --ns -F comm,pid,tid,cpu,time,event,trace"),
                  std::string::npos);
    }
    // no format at all: those that there are
    const std::string told = refusal("Dear diary,\ntoday [000] 1.5\n");
    EXPECT_NE(told.find("perf script"), std::string::npos);
    EXPECT_NE(told.find("trace-cmd"), std::string::npos);
}

TEST_F(PerfScriptTest, countsDamagedLinesAndGoesOn) {
    const std::string name(
        "od\xff"
        "d\0name",
        9);
    const std::string text =
        "# perf script\r\n" + switches(1, 3) +
        "ev_comm=cut off at the front\n"  // begins inside of a line
        "    t3 3/3 [000] 1.000000003: sched:sched_switch: prev_comm=t3 prev_pid=3 prev_st\n"
        "    t3 3/3 [000] 1.000000003: block:plug: broken by a line\nfeed\n"
        "    t3 3/3 [000] 1.000000003: sched:sched_migrate_task: comm=t3 pi\n"
        "    t3 3/3 [000] 9000000000.000000003: block:plug: far away\n" +
        std::string(3 * LineReader::kMaxLine, 'x') + "\n" + "    " + name +
        " 3/3 [000] 1.000000003: sched:sched_wakeup: comm=" + name + " pid=77 target_cpu=000\n" +
        "    :77 77/77 [000] 1.000000003: block:plug: of one whose name was lost\n"
        "\tffffffff815f63fe change_protection+0x5ce ([kernel])\n" +
        switches(3, 6) + "    t9 9/9 [000] 1.0000";
    const ImportOutcome outcome = importFile(writeFile("trace.txt", text));
    ASSERT_FALSE(outcome.error.failed()) << outcome.error.text;
    EXPECT_EQ(fact(fact_keys::kSkipped),
              R"({"badPayload":2,"badTime":1,"callChain":1,"noEvent":4})");
    EXPECT_EQ(fact(fact_keys::kEvents), "10");
    EXPECT_EQ(
        fact(fact_keys::kEventKinds),
        R"({"block:plug":2,"sched:sched_migrate_task":1,"sched:sched_switch":6,"sched:sched_wakeup":1})");
    EXPECT_EQ(fact(fact_keys::kRunningIntervals), "4");
    EXPECT_EQ(cell("select name from dd_thread where tid = 77"),
              "od\xEF\xBF\xBD"
              "d\xEF\xBF\xBDname");
    std::string told;
    for (const std::string& warning : outcome.warnings)
        told += warning + "\n";
    for (const char* part :
         {"8 lines are left out, the first of them is line 4", "1 line is longer",
          "ends inside line 17", "1 line of a call chain is left out"}) {
        EXPECT_NE(told.find(part), std::string::npos) << part << "\n" << told;
    }
}

TEST_F(PerfScriptTest, takesADamagedArchiveOnlyIfAsked) {
    std::string archive = packed(switches(1, 30'000));
    archive.resize(archive.size() * 2 / 3);
    const std::string file = writeFile("trace.gz", archive);
    EXPECT_TRUE(importFile(file).error.failed());
    m_options.keepGoing = true;
    const ImportOutcome outcome = importFile(file);
    ASSERT_FALSE(outcome.error.failed()) << outcome.error.text;
    EXPECT_GE(outcome.warnings.size(), 1U);
    EXPECT_GT(outcome.events, 10'000U);
    EXPECT_LT(outcome.events, 29'999U);
    EXPECT_EQ(cell("select count(*) from running_data"), fact(fact_keys::kRunningIntervals));
    std::atomic<bool> cancel{true};
    m_options.cancel = &cancel;
    EXPECT_EQ(importFile(file).error.kind, ImportError::Kind::cancelled);
}

// Whatever bytes come, an import ends, and what it counts adds up.
TEST_F(PerfScriptTest, survivesAnyDamage) {
    const std::string good = switches(1, 40);
    for (std::size_t i = 0; i < good.size(); i += 61) {
        std::string text = good;
        text[i] = "\n\0x[ 9"[i % 6];
        text.erase(good.size() - i / 2);
        const ImportOutcome outcome = importFile(writeFile("trace.txt", text));
        if (outcome.error.failed()) continue;
        const Rows negative = rows("select * from running_data where end_tsc < start_tsc");
        EXPECT_TRUE(negative.empty()) << i;
        EXPECT_EQ(fact(fact_keys::kEvents), std::to_string(outcome.events));
    }
}

}  // namespace
}  // namespace lanefeed_importers
