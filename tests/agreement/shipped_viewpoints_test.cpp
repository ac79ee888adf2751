// The shipped viewpoints, and the examples of the documentation, read as the client reads them: on
// a result that holds everything all layers have something to show, and it is what the trace was
// written with; on one that holds little the others are left out, and none of those that stay
// fails.
#include "session/shipped_viewpoints.h"

#include "agreement/viewpoint_result.h"
#include "support/answer_rows.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

namespace lanefeed_test {
namespace {

// Two threads on two cores; the marks of main are nested, worker is woken and moves once.
const char* const kEverything = R"(
    process app
    thread main  0..50 outer@ui  10..20 inner@io  60..70 inner@io
    thread worker  20..100 job@gc
    track upload  3..9 part  5..40 part
    counter load  0=5  50=7.5
    counter free  0=1
    marker main 5 tick  6 tick
    flow main 12 worker 20 handover
    core 0  0..40 main  40..60 -  60..100 worker
    core 1  20..50 worker  50..100 -
    state main  0..40 Running%0  40..100 Sleeping
    state worker  0..15 Sleeping  15..20 Runnable  20..50 Running%1  50..60 Blocked  60..100 Running%0
    wakeup main 15 worker 15 wakeup%1
    migration 1 50 0 60 worker
    interrupt 0  12..14 timer@irq)";

// A text as a result with a viewpoint on it.
struct Shown : TextResult, ViewpointResult {
    Shown(const char* trace, const std::string& viewpoint)
        : TextResult(trace), ViewpointResult(file(), viewpoint) {}

    // Captions of the layers that are shown, areas parted by "|"; each must have something on some
    // row.
    std::string served() {
        std::string captions;
        for (int area = 0; area < areas(); ++area) {
            if (area > 0) captions += "|";
            for (const auto& layer : rowSet(area).layers) {
                const std::string shown =
                    text(area, static_cast<int>(&layer - rowSet(area).layers.data()));
                hidden += shown == "not shown" ? 1 : 0;
                if (shown == "not shown") continue;
                EXPECT_NE(shown.find_first_of("0123456789"), std::string::npos)
                    << layer.displayName;
                captions +=
                    (captions.empty() || captions.back() == '|' ? "" : ", ") + layer.displayName;
            }
        }
        return captions;
    }

    int hidden = 0;
};

TEST(ShippedViewpoints, AllLayersAreShownAndServedOnAResultThatHoldsEverything) {
    std::vector<std::string> names = lanefeed_runtime::shippedViewpointNames();
    names.emplace_back("wakeups.xml");
    for (const std::string& name : names) {
        Shown result(kEverything, name);
        EXPECT_NE(result.served(), "") << name;
        EXPECT_EQ(result.hidden, 0) << name;
    }
}

TEST(ShippedViewpoints, LayersShowWhatTheTraceHolds) {
    const std::pair<const char*, const char*> viewpoints[] = {
        // The innermost slice takes the time; the largest total comes first. The counters of a
        // process on one row show their mean.
        {"trace_events", R"(
            0 0 | Busy time 0-4=100 6=100 & Busy time 2-9=100
            0 1 | outer 0=100 2-4=100, inner 1=100 6=100 & job 2-9=100
            0 2 | Slices 0=1 1=2 2-4=1 6=1 & Slices 2-9=1
            0 3 | ui 0=100 2-4=100, io 1=100 6=100 & gc 2-9=100
            0 7 | Slices 0=1 1=2 2-4=1 6=1 & Slices 2-9=1
            0 8 | Instants 0=2 & -
            1 0 | Value 0-4=5 5-9=7.5 & Value 0-9=1
            2 0 | Time with operations 0=70 1-3=100
            2 1 | Operations 0=2 1-3=1
            3 0 | Value 0-4=3 5-9=4.25)"},
        // Two threads of one process add up.
        {"processes",
         "0 0 |\nBusy time 0-1=100 2-4=200 5=100 6=200 7-9=100 & Busy time 0-4=100 6=100 & "
         "Busy time 2-9=100"},
        {"categories.xml", R"(
            0 0 | Busy time 0-1=100 2-4=200 5=100 6=200 7-9=100
            0 1 | ui 0=100 2-4=100, io 1=100 6=100)"},
        // Narrowed to one state.
        {"wakeups.xml", "0 0 | - & 15..20 Runnable"},
        // Core 1 is not known before 20. Both are busy from 20 to 40, none from 50 to 60; runnable
        // is worker from 15 to 20.
        {"scheduler",
         "0 0 |\n0..40 Running 40..100 Sleeping & 0..15 Sleeping 15..20 Runnable 20..50 Running "
         "50..60 Blocked 60..100 Running"
         R"(
            0 1 | 0..50 outer 10..20 inner 60..70 inner & 20..100 job
            0 2 | 5..6 tick 6..7 tick & -
            0 3 | - & 15..15 wakeup
            0 6 | - & Wakeups 1=1
            1 0 | 40..60 Idle & 50..100 Idle
            1 1 | 0..40 app / main/1/app 60..100 app / worker/2/app & 20..50 app / worker/2/app
            1 2 | 12..14 timer & -
            1 3 | 50..60 app / worker/2/app & -
            1 5 | Idle share 0-3=0 4-5=100 6-9=0 & Idle share 2-4=0 5-9=100
            2 0 | core 0 0-3=1 6-9=1, core 1 2-4=1
            2 1 | Mean of running threads 0-1=1 2-3=2 4=1 6-9=1
            2 2 | Runnable 1=0.5)"}};
    for (const auto& [viewpoint, layers] : viewpoints) {
        SCOPED_TRACE(viewpoint);
        Shown result(kEverything, viewpoint);
        expectAnswers(layers, [&](const std::string& place) {
            return result.text(place.front() - '0', place.back() - '0');
        });
    }
}

TEST(ShippedViewpoints, LayersWithoutDataAreLeftOutAndTheOthersServed) {
    const struct {
        const char* trace;
        const char* viewpoint;
        const char* shown;  // by area
    } kParts[] = {
        {"state main 0..50 Running 50..90 Runnable", "scheduler",
         "States, Time by state, Running and runnable||Mean of runnable threads||"},
        {"wakeup main 0 worker 40 wake\nwakeup main 50 worker 90 wake", "scheduler",
         "Wakeups, Wakeups per bucket||Wakeups||"},
        {"core 0 0..50 main", "scheduler",
         "|Threads, CPU use, Time by thread|Running threads, Mean of running threads||"},
        {"core 0 0..50 -\ninterrupt 0 5..6 timer", "scheduler",
         "|Idle, Interrupts, Time in interrupts|||"},
        {"thread main 0..50 a 60..100 b", "trace_events",
         "Busy time, Time by slice, Slices per bucket, CPU share, Slices, Open slices|||"},
        {"marker main 0 tick 90 tick", "trace_events", "Instants, Instants per bucket|||"},
        {"counter load 0=5 90=6\ntrack up 0..90 part", "counters",
         "Value|Mean of counters|Time with operations, Operations per bucket, Operations, "
         "Operations at once"},
        {"track up 0..90 part", "asynchronous",
         "Time with operations, Operations per bucket, Operations, Operations at once"},
        {"", "trace_events", "|||"}};
    for (const auto& part : kParts) {
        SCOPED_TRACE(part.trace);
        Shown result(part.trace, part.viewpoint);
        EXPECT_EQ(lanefeed_runtime::fittingViewpoint(result.session().input()), part.viewpoint);
        EXPECT_EQ(result.served(), part.shown);
    }
    // What a layer is expanded by and its tooltip need their tables, what highlights it does not.
    const std::string layer = "<layer type='Overtime' displayName='";
    const std::string counted =
        "<infoQuery id='counted'><dbPath>counter_data::dd_counter</dbPath></infoQuery>";
    Shown result("thread main 0..100 a",
                 "<viewpoint><area><rowSet><rowBy useGridQuery='false' query='thread'/>" + layer +
                     "plain'><drawBy query='busyTime'/><highlightBy>" + counted +
                     "</highlightBy></layer>" + layer +
                     "told'><drawBy query='busyTime'/><tooltipBy>" + counted +
                     "</tooltipBy></layer>" + layer +
                     "split'><drawBy><timeQuery><dbPath>slice_data</dbPath><expand>" + counted +
                     "</expand></timeQuery></drawBy></layer></rowSet></area></viewpoint>");
    EXPECT_EQ(result.served(), "plain");
}

}  // namespace
}  // namespace lanefeed_test
