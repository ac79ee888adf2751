// Lines of perf script in all their forms, and texts that are none.
#include "common/fact_keys.h"
#include "common/line_reader.h"
#include "import_fixture.h"
#include "perf_script/perf_line.h"

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
    expectAnswers(read, R"(
        perf 26/27 [000]  1025.263185334:     sched:wakeup: comm=a pid=1 -> perf|26|27|0|1025263185334|sched:wakeup|comm=a pid=1
        a 1/2 [3] 0.5:          1 sched:sched_switch: x -> a|1|2|3|500000000|sched:sched_switch|x
        :-1  2920/-1    [000]  1.25:  sched:sched_switch: p -> :-1|2920|-1|0|1250000000|sched:sched_switch|p
        :-1    -1 [000] 1.25: sched:sched_switch: p -> :-1|-1|0|1250000000|sched:sched_switch|p
        x-1/2:3 [000] y 5/6 [001] 2.0: g:h: i -> x-1/2:3 [000] y|5|6|1|2000000000|g:h|i
        [k] [0 9 [001] 2.0: g:h: -> [k] [0|9|1|2000000000|g:h|
        5/6 [001] 2.0: g:h: i -> no thread
        g++ 27612 [001] 1044.6538262809: 1001001 cpu-clock:u: 6d88 main -> g++|27612|1|1044653826280|cpu-clock:u|6d88 main
        g++ 27612  1044.653826280:    1001001 cpu-clock: -> no core
        g++ 27612 [000] sched:sched_switch: prev_comm=a -> no time
        g++ [000] 1044.653826: sched:sched_switch: prev_comm=a -> no thread
        g++ 27612 [000] 1044.653826: -> no event
        g++ 27612 [000] 1044.653826: sched:sched_swi -> no event
        g++ 27612 [000] 2305843010.5: a:b: c -> late time
        g++ 27612 [000] 99999999999999999999.5: a:b: c -> late time
        ls-4734  [002] 106439.675591: sched_switch:         ls:4734 -> other text
        [    1.234567] usb 1-1: new device -> other text
         -> other text)");
    EXPECT_EQ(read(" 5/6 [001] 2.0: g:h: i"), "|5|6|1|2000000000|g:h|i");
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
};

TEST_F(PerfScriptTest, tellsWhatATextLacksAndHowToRecord) {
    const std::pair<const char*, const char*> cases[] = {
        {"# comment\n\ng++ 27612  1044.6538: 1001 cpu-clock: \n\t6d88 main (g++)\n",
         "line 3 has no core such as"},
        {"g++ 1 [000] sched:sched_switch: prev_comm=a\n", "line 1 has no time in seconds"},
        {"g++ [000] 1.5: sched:sched_switch: prev_comm=a\n", "line 1 has no thread before"},
        {"[001] g++ 1 1.5: sched:sched_switch: prev_comm=a\n", "line 1 has no core"},
        {"g++ 1 [0] 1.5: cpu-clock:\ng++ 1 [000] 1.5: sched:sched_switch:\n",
         "line 2 has a sched:sched_switch with other fields than expected: "
         "\"g++ 1 [000] 1.5: sched:sched_switch:\"; record with: perf record"},
        {"a 1 [0] 1.5: irq:softirq_entry: vec=7\na 1 [0] 1.6: sched:sched_wakeup: pid=1 comm=b\n",
         "line 2 has a sched:sched_wakeup with other fields"},
        {"a 1 [0] 1.5: sched:sched_wakeup: comm=b pid=1\n"
         "a 1 [0] 1.6: sched:sched_migrate_task: pid=1\n"
         "a 1 [0] 1.7: sched:sched_migrate_task: pid=1\n",
         "line 2 has a sched:sched_migrate_task with"},
        {"a 1 [0] 9999999999.5: a:b: c\n", "line 1 has a time beyond the 73 years"},
        {"# cmdline : perf record\n# more\n", "holds comments alone and no event"},
        {"Dear diary,\ntoday [000] 1.5\n", "no known trace format at byte 0 (\"Dear diary,\")"},
    };
    for (const auto& [text, message] : cases) {
        const std::string told = refusal(text);
        EXPECT_EQ(told.rfind(message, 0), 0U) << told;
        EXPECT_NE(told.find("perf script --ns -F comm,pid,tid,cpu,time,event,trace"),
                  std::string::npos);
    }
}

TEST_F(PerfScriptTest, countsDamagedLinesAndGoesOn) {
    const std::string name("od\xff\0name", 8);
    const ImportOutcome outcome = importText(
        "# perf script\r\n" + switches(1, 3) +
        "ev_comm=cut off at the front\n"  // begins inside of a line
        "    t3 3/3 [000] 1.000000003: sched:sched_switch: prev_comm=t3 prev_pid=3 prev_st\n"
        "    t3 3/3 [000] 1.000000003: block:plug: broken by a line\nfeed\n"
        "    t3 3/3 [000] 1.000000003: sched:sched_migrate_task: comm=t3 pi\n"
        "    t3 3/3 [000] 9000000000.000000003: block:plug: far away\n" +
        std::string(3 * LineReader::kMaxLine, 'x') + "\n    " + name +
        " 3/3 [000] 1.000000003: sched:sched_wakeup: comm=" + name + " pid=77 target_cpu=000\n" +
        "    :77 77/77 [000] 1.000000003: block:plug: of one whose name was lost\n"
        "\tffffffff815f63fe change_protection+0x5ce ([kernel])\n" +
        switches(3, 6) + "    t9 9/9 [000] 1.0000");
    ASSERT_FALSE(outcome.error.failed()) << outcome.error.text;
    EXPECT_EQ(fact(fact_keys::kSkipped),
              R"({"badPayload":2,"badTime":1,"callChain":1,"noEvent":4})");
    EXPECT_EQ(fact(fact_keys::kEventKinds),
              R"({"block:plug":2,"sched:sched_migrate_task":1,"sched:sched_switch":6,)"
              R"("sched:sched_wakeup":1})");
    EXPECT_EQ(facts("events runningIntervals"), "10 4");
    EXPECT_EQ(rows("select name from dd_thread where tid = 77"), "od\xEF\xBF\xBD\xEF\xBF\xBDname");
    std::string told;
    for (const std::string& warning : outcome.warnings)
        told += warning + "\n";
    for (const char* part :
         {"8 lines are left out, the first of them is line 4", "1 line is longer than 64 kB",
          "ends inside line 17", "1 line of a call chain is left out"}) {
        EXPECT_NE(told.find(part), std::string::npos) << part << "\n" << told;
    }
}

TEST_F(PerfScriptTest, takesADamagedArchiveOnlyIfAsked) {
    std::string archive = packed(switches(1, 30'000));
    archive.resize(archive.size() * 2 / 3);
    EXPECT_NE(refusal(archive).find("early at byte"), std::string::npos);
    m_options.keepGoing = true;
    const ImportOutcome outcome = importText(archive);
    EXPECT_GE(outcome.warnings.size(), 1U);
    EXPECT_GT(outcome.events, 10'000U);
    EXPECT_LT(outcome.events, 29'999U);
    std::atomic<bool> cancel{true};
    m_options.cancel = &cancel;
    EXPECT_EQ(importText(archive).error.kind, ImportError::Kind::cancelled);
}

}  // namespace
}  // namespace lanefeed_importers
