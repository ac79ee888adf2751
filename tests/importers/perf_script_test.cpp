// Text of perf script: damaged lines, and texts that are none.
#include "common/fact_keys.h"
#include "common/line_reader.h"
#include "import_fixture.h"

#include <fmt/format.h>

namespace lanefeed_importers {
namespace {

std::string switchFrom(int task) {
    return fmt::format(
        "  t{0} {0}/{0} [000] 1.{0:09}: sched:sched_switch: prev_comm=t{0} prev_pid={0} "
        "prev_prio=1 prev_state=S ==> next_comm=t{1} next_pid={1} next_prio=1\n",
        task, task + 1);
}

class PerfScriptTest : public ImportTest {};

TEST_F(PerfScriptTest, tellsWhatATextLacksAndHowToRecord) {
    const std::pair<const char*, const char*> cases[] = {
        {"# comment\n\ng++ 27612  1044.6538: 1001 cpu-clock: \n\t6d88 main (g++)\n",
         "line 3 has no core such as"},
        {"g++ 1 [0] 1.5: cpu-clock:\ng++ 1 [000] 1.5: sched:sched_switch:\n",
         "line 2 has a sched:sched_switch with other fields than expected: "
         "\"g++ 1 [000] 1.5: sched:sched_switch:\"; record with: perf record"},
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
        EXPECT_NE(told.find("perf script --ns -F comm,pid,tid"), std::string::npos) << told;
    }
}

TEST_F(PerfScriptTest, countsDamagedLinesAndGoesOn) {
    const std::string name("od\xff\0name", 8);
    const ImportOutcome outcome = importText(
        "# perf script\r\n" + switchFrom(1) + switchFrom(2) +
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
    EXPECT_EQ(fact(fact_keys::kSkipped),
              R"({"badPayload":2,"badTime":1,"callChain":1,"noEvent":4})");
    EXPECT_EQ(fact(fact_keys::kEventKinds),
              R"({"block:plug":2,"sched:sched_migrate_task":1,"sched:sched_switch":6,)"
              R"("sched:sched_wakeup":1})");
    EXPECT_EQ(facts("events runningIntervals"), "10 4");
    EXPECT_EQ(rows("select name from dd_thread where tid = 77"), "od\xEF\xBF\xBD\xEF\xBF\xBDname");
    const std::string told = fmt::format("{}", fmt::join(outcome.warnings, "\n"));
    for (const char* part :
         {"8 lines are left out, the first of them is line 4", "1 line is longer than 64 kB",
          "ends inside line 17", "1 line of a call chain is left out"}) {
        EXPECT_NE(told.find(part), std::string::npos) << part << "\n" << told;
    }
}

TEST_F(PerfScriptTest, takesADamagedArchiveOnlyIfAsked) {
    std::string archive = packed(textOf(LANEFEED_TEST_DATA "/scheduler/perf-script.txt"));
    archive.resize(archive.size() * 2 / 3);
    EXPECT_NE(refusal(archive).find("early at byte"), std::string::npos);
    m_options.keepGoing = true;
    const ImportOutcome outcome = importText(archive);
    EXPECT_GE(outcome.warnings.size(), 1U);
    EXPECT_TRUE(outcome.events > 100 && outcome.events < 300) << outcome.events;
    std::atomic<bool> cancel{true};
    m_options.cancel = &cancel;
    EXPECT_EQ(importText(archive).error.kind, ImportError::Kind::cancelled);
}

}  // namespace
}  // namespace lanefeed_importers
