// What switches, wakeups, migrations and interrupts become: rows of cores and of threads. Traces
// are short lines that are printed as perf script prints them, with tick 1 at a time of 1 ns.
#include "common/fact_keys.h"
#include "import_fixture.h"

#include <fmt/format.h>
#include <sstream>

namespace lanefeed_importers {
namespace {

// A task of the number is called "t7", and belongs to the process of the tens: 17 to 10.
std::string named(const char* prefix, const std::string& tid, const char* rest = "") {
    return fmt::format("{0}comm=t{1} {0}pid={1}{2}", prefix, tid, rest);
}

// "TIME CORE TID switch PREV STATE NEXT", "... wake TID CORE", "... move TID FROM TO",
// "... EVENT PAYLOAD".
std::string printed(const std::string& line) {
    std::istringstream words(line);
    long long time = 0;
    int core = 0;
    int tid = 0;
    std::string event;
    std::string a;
    std::string b;
    std::string c;
    words >> time >> core >> tid >> event >> a;
    const std::string head = fmt::format("  t{} {}/{} [{:03}] {}.{:09}: ", tid, tid / 10 * 10, tid,
                                         core, time / 1000000000, time % 1000000000);
    if (event == "switch") {
        words >> b >> c;
        return head + "sched:sched_switch: " + named("prev_", a) +
               " prev_prio=120 prev_state=" + b + " ==> " + named("next_", c) + " next_prio=120\n";
    }
    if (event == "wake") {
        words >> b;
        return head + "sched:sched_wakeup: " + named("", a) + " prio=120 target_cpu=00" + b + "\n";
    }
    if (event == "move") {
        words >> b >> c;
        return head + "sched:sched_migrate_task: " + named("", a) + " prio=1 orig_cpu=" + b +
               " dest_cpu=" + c + "\n";
    }
    std::getline(words, b);
    return head + "irq:" + event + ": " + a + b + "\n";
}

class SchedulerRows : public ImportTest {
protected:
    ImportOutcome importLines(const std::string& lines) {
        std::istringstream text(lines);
        std::string script;
        for (std::string line; std::getline(text, line);)
            script += printed(line);
        m_outcome = importFile(writeFile("trace.txt", script));
        EXPECT_FALSE(m_outcome.error.failed()) << m_outcome.error.text;
        return m_outcome;
    }
    // One line each: "begin-end NAME on BAND", both ends inclusive, in the order of the table.
    std::string spans(const std::string& table, const std::string& names) const {
        std::string text;
        for (const auto& row :
             rows("select d.start_tsc, d.end_tsc, n.name, coalesce(c.name, t.name), r.name from " +
                  table + " d join " + names +
                  " n on n.rowid = d.attr join dd_band b on b.rowid = d.dd_band"
                  " left join dd_core c on c.rowid = b.dd_core"
                  " left join dd_thread t on t.rowid = b.dd_thread left join dd_core r on r.rowid "
                  "= " +
                  (table == "state_data" ? "d.dd_core" : "null") + " order by 4, 1, d.rowid")) {
            text += fmt::format("{} {}-{} {}{}\n", row[3], row[0], row[1], row[2],
                                row[4] == "null" ? "" : " at " + row[4]);
        }
        return text;
    }

    ImportOutcome m_outcome;
};

TEST_F(SchedulerRows, timeBelongsToTheTaskThatLeaves) {
    importLines(
        "1 0 1 switch 1 S 2\n"    // nothing is known before
        "3 1 2 wake 9 1\n"        // another core knows nothing of it
        "11 0 2 switch 2 R+ 0\n"  // took the core away
        "21 0 0 switch 0 R 2\n"
        "31 0 2 switch 2 D|W 3\n"
        "33 0 3 wake 3 0\n"  // of one that runs
        "36 1 9 wake 2 0\n"
        "37 1 9 wake 2 0\n"  // again
        "41 0 3 switch 3 I 2\n"
        "43 1 9 wake 2 0\n"      // of one that still runs
        "51 0 4 switch 4 t 5\n"  // 2 came, 4 leaves: 2 has lost the core without a switch
        "56 1 9 wake 2 0\n"
        "61 0 5 switch 5 x 2\n"  // 5 ends
        "71 0 2 switch 2 P 0\n");
    EXPECT_EQ(spans("running_data", "dd_thread"),
              "core 0 1-10 t2\ncore 0 21-30 t2\ncore 0 31-40 t3\ncore 0 41-50 t4\n"
              "core 0 51-60 t5\ncore 0 61-70 t2\n");
    EXPECT_EQ(spans("idle_data", "dd_state"), "core 0 11-20 Idle\n");
    EXPECT_EQ(spans("state_data", "dd_state"),
              "t1 1-70 Sleeping\n"
              "t2 1-10 Running at core 0\nt2 11-20 Runnable\nt2 21-30 Running at core 0\n"
              "t2 31-35 Blocked\nt2 36-40 Runnable\nt2 56-60 Runnable\nt2 61-70 Running at core 0\n"
              "t3 31-40 Running at core 0\nt3 41-70 Sleeping\n"
              "t4 41-50 Running at core 0\nt4 51-70 Stopped\n"
              "t5 51-60 Running at core 0\n"
              "t9 3-70 Runnable\n");
    EXPECT_EQ(fact(fact_keys::kSwitchesOutOfStep), "1");
    EXPECT_EQ(fact(fact_keys::kRunningIntervals), "6");
    EXPECT_EQ(fact(fact_keys::kRunningTotal), "60");
    ASSERT_EQ(m_outcome.warnings.size(), 1U);
    EXPECT_NE(m_outcome.warnings[0].find("of 8 switches 1 is out of step"), std::string::npos);
}

// A state that the trace contradicts makes no row, and those of before end where it ran.
TEST_F(SchedulerRows, lostSwitchesMakeNoOverlap) {
    importLines(
        "1 0 1 switch 1 S 2\n"
        "5 0 2 wake 1 0\n"
        "9 0 2 wake 4 0\n"
        "11 0 4 switch 4 S 2\n"  // ran from 1 on: wasn't waiting at 9
        "15 0 2 switch 2 S 1\n"
        "16 1 3 switch 3 S 2\n"  // first of its core
        "21 1 1 switch 1 S 0\n"  // left a core that it didn't come to
        "22 2 0 switch 0 S 8\n"
        "23 3 0 switch 0 S 8\n"  // on another core by now
        "25 2 7 switch 7 S 0\n"
        "26 2 0 wake 8 2\n"
        "28 2 0 switch 0 S 8\n");
    EXPECT_EQ(spans("state_data", "dd_state"),
              "t1 1-4 Sleeping\nt1 5-14 Runnable\nt1 16-20 Running at core 1\nt1 21-27 Sleeping\n"
              "t2 11-14 Running at core 0\nt2 15-15 Sleeping\n"
              "t3 16-27 Sleeping\n"
              "t4 1-10 Running at core 0\nt4 11-27 Sleeping\n"
              "t7 22-24 Running at core 2\nt7 25-27 Sleeping\n");
}

TEST_F(SchedulerRows, clocksThatStandOrJumpBackMakeNoSpans) {
    importLines(
        "1 0 1 switch 1 S 2\n"
        "21 0 2 switch 2 S 3\n"
        "21 0 3 switch 3 S 2\n"  // shorter than a tick
        "11 0 2 switch 2 S 3\n"
        "15 0 3 softirq_entry vec=1 [action=TIMER]\n"
        "13 0 3 softirq_exit vec=1 [action=TIMER]\n"
        "16 0 3 switch 3 S 0\n");
    EXPECT_EQ(spans("running_data", "dd_thread"), "core 0 1-20 t2\ncore 0 11-15 t3\n");
    EXPECT_EQ(spans("interrupt_data", "dd_task"), "");
    EXPECT_EQ(fact(fact_keys::kRunningIntervals), "3");
    EXPECT_EQ(fact(fact_keys::kEmptyIntervals), "1");
    EXPECT_EQ(fact(fact_keys::kRunningTotal), "25");
    EXPECT_EQ(fact(fact_keys::kClockJumps), "2");
    EXPECT_EQ(fact(fact_keys::kBackwardSpans), "2");
    EXPECT_EQ(fact("last_tick"), "21");
    ASSERT_EQ(m_outcome.warnings.size(), 1U);
    EXPECT_NE(m_outcome.warnings[0].find("2 times, first in line 4; 2 spans"), std::string::npos);
}

TEST_F(SchedulerRows, interruptsNestByKindAndCore) {
    importLines(
        "1 0 11 irq_handler_exit irq=4 ret=handled\n"  // began before the trace
        "2 0 11 irq_handler_entry irq=4 name=virtio1-req.0 x\n"
        "3 0 11 softirq_entry vec=9 [action=RCU]\n"
        "4 1 0 softirq_entry vec=3\n"
        "5 0 11 irq_handler_entry irq=5 name=b\n"
        "6 0 11 irq_handler_exit irq=5 ret=handled\n"
        "7 0 11 irq_handler_exit irq=4 ret=handled\n"
        "8 0 11 softirq_exit vec=9 [action=RCU]\n"
        "9 1 0 softirq_exit vec=3\n"
        "10 1 0 softirq_entry vec=3\n"
        "11 0 11 wake 11 0\n");
    EXPECT_EQ(spans("interrupt_data", "dd_task"),
              "core 0 2-6 irq 4 virtio1-req.0 x\ncore 0 3-7 softirq RCU\ncore 0 5-5 irq 5 b\n"
              "core 1 4-8 softirq 3\n");
    EXPECT_EQ(
        rows("select distinct substr(t.name, 1, 4), c.name from interrupt_data d join dd_task t "
             "on t.rowid = attr join dd_category c on c.rowid = dd_category order by 1"),
        (Rows{{"irq ", "irq"}, {"soft", "softirq"}}));
    EXPECT_EQ(fact(fact_keys::kInterruptPairs), "4");
    EXPECT_EQ(fact(fact_keys::kOrphanInterruptEnds), "1");
    EXPECT_EQ(fact(fact_keys::kUnclosedInterrupts), "1");
}

TEST_F(SchedulerRows, linesLeadFromBandToBand) {
    importLines(
        "1 0 11 wake 21 3\n2 1 0 wake 11 1\n3 2 0 wake 11 1\n4 0 11 move 22 0 1\n"
        "5 0 10 wake 11 1\n6 0 12 wake 11 1\n7 9 0 softirq_exit vec=1\n"
        "8 9999 0 softirq_exit vec=1\n");
    const std::string ends =
        " join dd_band b on b.rowid = d.dd_band join dd_band s on s.rowid = d.multi_band_index ";
    EXPECT_EQ(
        rows("select d.start_tsc, d.multi_band_start_tsc, x.name, y.name, c.name, f.name from "
             "wakeup_data d" +
             ends +
             "join dd_thread x on x.rowid = s.dd_thread join dd_thread y on y.rowid = "
             "b.dd_thread join dd_core c on c.rowid = d.dd_core join dd_flow f on f.rowid = attr"),
        (Rows{{"1", "1", "t11", "t21", "core 3", "wakeup"},
              {"2", "2", "swapper/1", "t11", "core 1", "wakeup"},
              {"3", "3", "swapper/2", "t11", "core 1", "wakeup"},
              {"5", "5", "t10", "t11", "core 1", "wakeup"},
              {"6", "6", "t12", "t11", "core 1", "wakeup"}}));
    EXPECT_EQ(rows("select d.start_tsc, x.number, y.number, t.name from migration_data d" + ends +
                   "join dd_core x on x.rowid = s.dd_core join dd_core y on y.rowid = b.dd_core "
                   "join dd_thread t on t.rowid = attr"),
              (Rows{{"4", "0", "1", "t22"}}));
    // A process is called like its first thread; that of a task of which only others speak isn't
    // known.
    EXPECT_EQ(rows("select t.name, t.label, t.tid, p.label from dd_thread t "
                   "join dd_process p on p.rowid = dd_process order by t.sort"),
              (Rows{{"t10", "t10 (10)", "10", "t10 (10)"},
                    {"t11", "t11 (11)", "11", "t10 (10)"},
                    {"t12", "t12 (12)", "12", "t10 (10)"},
                    {"swapper/1", "swapper/1", "0", "no process"},
                    {"swapper/2", "swapper/2", "0", "no process"},
                    {"t21", "t21 (21)", "21", "no process"},
                    {"t22", "t22 (22)", "22", "no process"}}));
    EXPECT_EQ(fact(fact_keys::kProcesses), "1");
    EXPECT_EQ(fact(fact_keys::kWakeups), "5");
    EXPECT_EQ(fact(fact_keys::kCores), "6") << "also those without rows";
    EXPECT_EQ(fact(fact_keys::kMigrations), "1");
}

}  // namespace
}  // namespace lanefeed_importers
