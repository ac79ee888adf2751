// What switches, wakeups, migrations and interrupts become: rows of cores and of threads. Traces
// are short lines that are printed as perf script prints them, with tick 1 at a time of 1 ns.
#include "import_fixture.h"

#include <array>
#include <fmt/format.h>
#include <sstream>

namespace lanefeed_importers {
namespace {

// "TIME CORE TID switch PREV STATE NEXT", "... wake TID CORE", "... move TID FROM TO",
// "... EVENT PAYLOAD". A task is called "t7", and belongs to the process of the tens: 17 to 10.
std::string printed(const std::string& line) {
    std::istringstream words(line);
    std::array<std::string, 7> word;
    for (std::string& next : word)
        words >> next;
    const auto& [time, core, tid, event, a, b, c] = word;
    const std::string form =
        event == "switch" ? "sched:sched_switch: prev_comm=t{4} prev_pid={4} prev_state={5} ==> "
                            "next_comm=t{6} next_pid={6} next_prio=120"
        : event == "wake" ? "sched:sched_wakeup: comm=t{4} pid={4} target_cpu=00{5}"
        : event == "move" ? "sched:sched_migrate_task: comm=t{4} pid={4} orig_cpu={5} dest_cpu={6}"
                          : "irq:{3}: {4} {5} {6}";
    return fmt::format(fmt::runtime("  t{2} {7}/{2} [{1:0>3}] 0.{0:0>9}: " + form + "\n"), time,
                       core, tid, event, a, b, c, std::stoi(tid) / 10 * 10);
}

class SchedulerRows : public ImportTest {
protected:
    // Gives the warnings.
    std::string importLines(const std::string& lines) {
        std::istringstream text(lines);
        std::string script;
        for (std::string line; std::getline(text, line);)
            script += printed(line);
        const ImportOutcome outcome = importText(script);
        EXPECT_FALSE(outcome.error.failed()) << outcome.error.text;
        return fmt::format("{}", fmt::join(outcome.warnings, "\n"));
    }
    // One each: "BAND begin-end NAME", both ends inclusive, and of states the core.
    std::string spans(const std::string& table, const std::string& names) const {
        const char* const core = table == "state_data" ? "d.dd_core" : "null";
        return rows(fmt::format(
            "select coalesce(c.name, t.name) band, d.start_tsc || '-' || d.end_tsc, n.name || "
            "coalesce(' at ' || r.name, '') from {} d join {} n on n.rowid = d.attr join dd_band b "
            "on b.rowid = d.dd_band left join dd_core c on c.rowid = b.dd_core left join dd_thread "
            "t on t.rowid = b.dd_thread left join dd_core r on r.rowid = {} order by band, "
            "d.start_tsc, d.rowid",
            table, names, core));
    }
};

TEST_F(SchedulerRows, timeBelongsToTheTaskThatLeaves) {
    const std::string warning = importLines(
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
        "51 0 4 switch 4 x 0\n"  // 2 came, 4 leaves and ends: 2 has lost the core
        "56 1 9 wake 2 0\n");
    EXPECT_EQ(spans("running_data", "dd_thread"),
              "core 0 1-10 t2; core 0 21-30 t2; core 0 31-40 t3; core 0 41-50 t4");
    EXPECT_EQ(spans("idle_data", "dd_state"), "core 0 11-20 Idle");
    EXPECT_EQ(spans("state_data", "dd_state"),
              "t1 1-55 Sleeping; "
              "t2 1-10 Running at core 0; t2 11-20 Runnable; t2 21-30 Running at core 0; "
              "t2 31-35 Blocked; t2 36-40 Runnable; "
              "t3 31-40 Running at core 0; t3 41-55 Sleeping; t4 41-50 Running at core 0; "
              "t9 3-55 Runnable");
    EXPECT_EQ(facts("switchesOutOfStep runningIntervals runningTotal"), "1 4 40");
    EXPECT_NE(warning.find("of 6 switches 1 is out of step"), std::string::npos) << warning;
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
        "27 2 0 wake 8 2\n"
        "28 2 0 switch 0 S 8\n");
    EXPECT_EQ(spans("state_data", "dd_state"),
              "t1 1-4 Sleeping; t1 5-14 Runnable; t1 16-20 Running at core 1; t1 21-27 Sleeping; "
              "t2 11-14 Running at core 0; t2 15-15 Sleeping; "
              "t3 16-27 Sleeping; "
              "t4 1-10 Running at core 0; t4 11-27 Sleeping; t8 27-27 Runnable");
}

TEST_F(SchedulerRows, clocksThatStandOrJumpBackMakeNoSpans) {
    const std::string warning = importLines(
        "1 0 1 switch 1 S 2\n"
        "21 0 2 switch 2 S 3\n"
        "21 0 3 switch 3 S 2\n"  // shorter than a tick
        "11 0 2 switch 2 S 3\n"
        "15 0 3 softirq_entry vec=1\n"
        "13 0 3 softirq_exit vec=1\n"
        "16 0 3 switch 3 S 0\n");
    EXPECT_EQ(spans("running_data", "dd_thread") + spans("interrupt_data", "dd_task"),
              "core 0 1-20 t2; core 0 11-15 t3");
    EXPECT_EQ(facts("runningIntervals emptyIntervals runningTotal clockJumps backwardSpans"),
              "3 1 25 2 2");
    EXPECT_NE(warning.find("back 2 times, first in line 4; 2 spans that would"), std::string::npos)
        << warning;
}

TEST_F(SchedulerRows, interruptsNestByKindAndCore) {
    importLines(
        "1 0 11 irq_handler_exit irq=4 ret=handled\n"  // began before the trace
        "2 0 11 irq_handler_entry irq=4 name=virtio1-req.0 x\n"
        "3 0 11 softirq_entry vec=9 [action=RCU]\n"
        "4 1 0 softirq_entry vec=3\n"
        "5 0 11 irq_handler_entry irq=5 name=b c\n"
        "6 0 11 irq_handler_exit irq=5 ret=handled\n"
        "7 0 11 irq_handler_exit irq=4 ret=handled\n"
        "8 0 11 softirq_exit vec=9 [action=RCU]\n"
        "9 0 11 wake 11 0\n");
    EXPECT_EQ(spans("interrupt_data", "dd_task"),
              "core 0 2-6 irq 4 virtio1-req.0 x; core 0 3-7 softirq RCU; core 0 5-5 irq 5 b c");
    EXPECT_EQ(rows("select name from interrupt_data d join dd_category c on c.rowid = dd_category"),
              "irq; softirq; irq");
    EXPECT_EQ(facts("interruptPairs orphanInterruptEnds unclosedInterrupts"), "3 1 1");
}

TEST_F(SchedulerRows, linesLeadFromBandToBand) {
    importLines(
        "1 0 11 wake 21 3\n2 1 0 wake 11 1\n3 2 0 wake 11 1\n4 0 11 move 22 0 1\n"
        "5 0 10 wake 11 1\n6 0 12 wake 11 1\n7 9 0 softirq_exit vec=1\n8 9999 0 softirq_exit\n");
    const std::string ends =
        " join dd_band b on b.rowid = d.dd_band join dd_band s on s.rowid = d.multi_band_index ";
    EXPECT_EQ(
        rows("select d.start_tsc, d.multi_band_start_tsc, x.name, y.name, c.name, f.name from "
             "wakeup_data d" +
             ends +
             "join dd_thread x on x.rowid = s.dd_thread join dd_thread y on y.rowid = "
             "b.dd_thread join dd_core c on c.rowid = d.dd_core join dd_flow f on f.rowid = attr"),
        "1 1 t11 t21 core 3 wakeup; 2 2 swapper/1 t11 core 1 wakeup; "
        "3 3 swapper/2 t11 core 1 wakeup; 5 5 t10 t11 core 1 wakeup; 6 6 t12 t11 core 1 wakeup");
    EXPECT_EQ(rows("select d.start_tsc, x.number, y.number, t.name from migration_data d" + ends +
                   "join dd_core x on x.rowid = s.dd_core join dd_core y on y.rowid = b.dd_core "
                   "join dd_thread t on t.rowid = attr"),
              "4 0 1 t22");
    // A process is called like its first thread; that of a task of which only others speak isn't
    // known.
    EXPECT_EQ(rows("select t.name, t.label, t.tid, p.label from dd_thread t "
                   "join dd_process p on p.rowid = dd_process order by t.sort"),
              "t10 t10 (10) 10 t10 (10); t11 t11 (11) 11 t10 (10); t12 t12 (12) 12 t10 (10); "
              "swapper/1 swapper/1 0 no process; swapper/2 swapper/2 0 no process; "
              "t21 t21 (21) 21 no process; t22 t22 (22) 22 no process");
    EXPECT_EQ(facts("processes wakeups migrations"), "1 5 1");
    EXPECT_EQ(facts("cores"), "6") << "also those without rows";
}

}  // namespace
}  // namespace lanefeed_importers
