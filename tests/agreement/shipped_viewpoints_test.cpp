// The shipped viewpoints, and the examples of the documentation, asked for as a pane does: on a
// result that holds everything all layers have something to show, and it is what the trace was
// written with; on one that holds little the others are left out, and none of those that stay
// fails.
#include "session/shipped_viewpoints.h"

#include "agreement/series_cells.h"
#include "agreement/viewpoint_result.h"
#include "session/apply_selection.h"
#include "session/filter_text.h"
#include "support/table_text.h"
#include "support/trace_text.h"

#include <map>

namespace lanefeed_test {
namespace {

const char* const kEvents = R"(
    process app
    thread main  0..50 outer@ui  10..20 inner@io  60..70 inner@io
    thread worker  20..100 job@gc
    track upload  3..9 part  5..40 part
    counter load  0=5  50=7.5
    counter free  0=1
    marker main 5 tick)";

// Two threads on two cores; the marks of main are nested, worker is woken and moves once.
const char* const kEverything = R"(
    process app
    thread main  0..50 outer@ui  10..20 inner@io
    thread worker  20..100 job@gc
    track upload  3..9 part  5..40 part
    counter load  0=5  50=7.5
    marker main 5 tick  6 tick
    flow main 12 worker 20 handover
    core 0  0..40 main  40..60 -  60..100 worker
    core 1  20..50 worker  50..100 -
    state main  0..40 Running%0  40..100 Sleeping
    state worker  0..15 Sleeping  15..20 Runnable  20..50 Running%1  50..60 Blocked  60..100 Running%0
    wakeup main 15 worker 15 wakeup%1
    migration worker 1 50 0 60
    interrupt 0  12..14 timer@irq)";

// A text as a result with a viewpoint on it.
struct Shown : TextResult, ViewpointResult {
    Shown(const char* trace, const std::string& viewpoint)
        : TextResult(trace), ViewpointResult(file()) {
        show(viewpoint);
    }

    // Captions of the layers that are shown, by area; each must have something on some row.
    std::string served() {
        std::string captions;
        for (std::size_t area = 0; area < areas(); ++area, captions += "|")
            for (std::size_t i = 0; i < rowSet(area).layers.size(); ++i) {
                const std::string shown = text(area, i);
                if (shown == "not shown") continue;
                const std::string& caption = rowSet(area).layers[i].displayName;
                EXPECT_NE(shown.find_first_not_of(" |"), std::string::npos) << caption;
                captions += (captions.empty() || captions.back() == '|' ? "" : ", ") + caption;
            }
        return captions;
    }
    std::string allTexts() {
        reopen();
        std::string all;
        for (std::size_t area = 0; area < areas(); ++area)
            for (std::size_t i = 0; i < rowSet(area).layers.size(); ++i)
                all += text(area, i) + "\n";
        return all;
    }
};

TEST(ShippedViewpoints, AllLayersAreShownAndServedOnAResultThatHoldsEverything) {
    std::vector<std::string> names = lanefeed_runtime::shippedViewpointNames();
    names.emplace_back("wakeups.xml");
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        Shown result(kEverything, name);
        EXPECT_NE(result.served(), "");
        EXPECT_EQ(result.allTexts().find("not shown"), std::string::npos);
    }
}

TEST(ShippedViewpoints, LayersShowWhatTheTraceHolds) {
    const struct {
        const char* trace;
        const char* viewpoint;
        std::size_t area;
        std::size_t layer;
        unsigned bins;
        const char* text;
    } kLayers[] = {
        {kEvents, "trace_events", 0, 0, 10, "Busy time 0-4=100 6=100 | Busy time 2-9=100"},
        // The innermost slice takes the time; the largest total comes first.
        {kEvents, "trace_events", 0, 1, 10,
         "job 0-4=0 6=0; outer 0=100 1=0 2-4=100 6=0; inner 0=0 1=100 2-4=0 6=100 | job 2-9=100; "
         "outer 2-9=0; inner 2-9=0"},
        {kEvents, "trace_events", 0, 2, 10, "Slices 0=1 1=2 2-4=1 6=1 | Slices 2-9=1"},
        // 60 ticks of main's slices, 20 of them inner ones.
        {kEvents, "trace_events", 0, 3, 2, "ui 0=80; io 0=20 1=100 | gc 0-1=100"},
        {kEvents, "trace_events", 1, 0, 10, "Value 0-4=5 5-9=7.5 | Value 0-9=1"},
        // The counters of a process on one row: their mean.
        {kEvents, "trace_events", 3, 0, 10, "Value 0-4=3 5-9=4.25"},
        {kEvents, "trace_events", 2, 0, 10, "Time with operations 0=70 1-3=100"},
        {kEvents, "trace_events", 2, 1, 10, "Operations 0=2 1-3=1"},
        {kEverything, "trace_events", 0, 7, 10, "Slices 0=1 1=2 2-4=1 | Slices 2-9=1"},
        // Each instant.
        {kEverything, "trace_events", 0, 8, 10, "Instants 0=2 | "},
        {kEvents, "processes", 0, 0, 10,
         "Busy time 0-1=100 2-4=200 5=100 6=200 7-9=100 | Busy time 0-4=100 6=100 | Busy time "
         "2-9=100"},
        // Two threads of one process add up.
        {kEvents, "categories.xml", 0, 0, 10, "Busy time 0-1=100 2-4=200 5=100 6=200 7-9=100"},
        {kEvents, "categories.xml", 0, 1, 10, "ui 0=100 1=0 2-4=100 6=0; io 0=0 1=100 2-4=0 6=100"},
        // Narrowed to one state.
        {kEverything, "wakeups.xml", 0, 0, 10, " | 15..19 Runnable"},
        {kEverything, "scheduler", 0, 0, 10,
         "0..39 Running 40..99 Sleeping | 0..14 Sleeping 15..19 Runnable 20..49 Running 50..59 "
         "Blocked 60..99 Running"},
        {kEverything, "scheduler", 0, 1, 10, "0..49 outer 10..19 inner | 20..99 job"},
        {kEverything, "scheduler", 0, 2, 10, "5..5 tick 6..6 tick | "},
        {kEverything, "scheduler", 0, 3, 10, " | 15..15 wakeup"},
        {kEverything, "scheduler", 0, 6, 10, " | Wakeups 1=1"},
        {kEverything, "scheduler", 1, 0, 10, "40..59 Idle | 50..99 Idle"},
        {kEverything, "scheduler", 1, 1, 10,
         "0..39 app / main/1/app 60..99 app / worker/2/app | 20..49 app / worker/2/app"},
        {kEverything, "scheduler", 1, 2, 10, "12..13 timer | "},
        {kEverything, "scheduler", 1, 3, 10, "50..60 app / worker/2/app | "},
        // Core 1 is not known before 20.
        {kEverything, "scheduler", 1, 5, 10,
         "Idle share 0-3=0 4-5=100 6-9=0 | Idle share 2-4=0 5-9=100"},
        // Both cores are busy from 20 to 40, none from 50 to 60; runnable is worker from 15 to 20.
        {kEverything, "scheduler", 2, 0, 10, "core 0 0-3=1 4=0 6-9=1; core 1 0-1=0 2-4=1 6-9=0"},
        {kEverything, "scheduler", 2, 1, 10, "Mean of running threads 0-1=1 2-3=2 4=1 6-9=1"},
        {kEverything, "scheduler", 2, 2, 10, "Runnable 1=0.5"},
    };
    for (const auto& layer : kLayers)
        EXPECT_EQ(Shown(layer.trace, layer.viewpoint).text(layer.area, layer.layer, layer.bins),
                  layer.text)
            << layer.viewpoint << " " << layer.area << " " << layer.layer;
    EXPECT_EQ(tableText(Shown(kEvents, "processes").rows(0), {false, false, {"name"}}),
              "name\napp\n  main\n  worker\n");
}

// What is left of the viewpoint that fits, and that none of it fails.
TEST(ShippedViewpoints, LayersWithoutDataAreLeftOutAndTheOthersServed) {
    const struct {
        const char* trace;
        const char* viewpoint;
        const char* shown;  // by area
    } kParts[] = {
        {"state main 0..50 Running 50..90 Runnable", "scheduler",
         "States, Time by state, Running and runnable||Mean of runnable threads|||"},
        {"wakeup main 0 worker 40 wake\nwakeup main 50 worker 90 wake", "scheduler",
         "Wakeups, Wakeups per bucket||Wakeups|||"},
        {"core 0 0..50 main", "scheduler",
         "|Threads, CPU use, Time by thread|Running threads, Mean of running threads|||"},
        {"core 0 0..50 -\ninterrupt 0 5..6 timer", "scheduler",
         "|Idle, Interrupts, Time in interrupts||||"},
        {"thread main 0..50 a 60..100 b", "trace_events",
         "Busy time, Time by slice, Slices per bucket, CPU share, Slices, Open slices||||"},
        {"marker main 0 tick 90 tick", "trace_events", "Instants, Instants per bucket||||"},
        {"counter load 0=5 90=6\ntrack up 0..90 part", "counters",
         "Value|Mean of counters|Time with operations, Operations per bucket, Operations, "
         "Operations at once|"},
        {"track up 0..90 part", "asynchronous",
         "Time with operations, Operations per bucket, Operations, Operations at once|"}};
    for (const auto& part : kParts) {
        SCOPED_TRACE(part.trace);
        Shown result(part.trace, part.viewpoint);
        EXPECT_EQ(lanefeed_runtime::fittingViewpoint(result.result()), part.viewpoint);
        EXPECT_EQ(result.served(), part.shown);
    }
    // What a layer is expanded by and its tooltip need their tables, what highlights it does not.
    const std::string counted =
        "<infoQuery id='counted'><dbPath>counter_data::dd_counter</dbPath></infoQuery>";
    const std::string busy = "<drawBy query='busyTime'/>";
    Shown result(
        "thread main 0..100 a",
        "<viewpoint><area><rowSet><rowBy useGridQuery='false' query='thread'/>"
        "<layer displayName='plain'>" +
            busy + "<highlightBy>" + counted + "</highlightBy></layer><layer displayName='told'>" +
            busy + "<tooltipBy>" + counted +
            "</tooltipBy></layer><layer displayName='split'><drawBy><timeQuery>"
            "<dbPath>slice_data</dbPath><expand>" +
            counted + "</expand></timeQuery></drawBy></layer></rowSet></area></viewpoint>");
    EXPECT_EQ(result.served(), "plain|");
}

TEST(ShippedViewpoints, SharesOfABusyThreadAddUp) {
    Shown result(kEvents, "trace_events");
    for (const unsigned bins : {1U, 3U, 7U, 33U})
        for (const auto& table : result.ask(0, 3, bins)) {
            std::map<basekit2::u64_t, double> sums;
            for (const SeriesCell& cell : cellsOf(table))
                sums[cell.bin] += cell.value;
            EXPECT_GT(sums.size(), bins / 2);
            for (const auto& [bin, sum] : sums)
                EXPECT_NEAR(sum, 100, 1e-6) << bin << " of " << bins;
        }
}

TEST(ShippedViewpoints, AFilterChangesRowsAndSeriesAlikeUntilItIsCleared) {
    Shown result(kEvents, "trace_events");
    const auto filter = [&](const std::string& name, const std::vector<std::string>& texts) {
        std::string error;
        EXPECT_TRUE(lanefeed_runtime::readFilterTexts(result.result(), texts, name, error))
            << error;
        result.reopen();
    };
    const std::string first = result.allTexts();
    filter("selection", {"time=40ns..70ns"});
    EXPECT_EQ(result.allTexts(), first) << "not in force yet";
    filter("global", {"time=40ns..70ns"});
    EXPECT_EQ(result.text(0, 0), "Busy time 4=100 6=100 | Busy time 4-6=100");
    EXPECT_EQ(result.text(1, 0), "Value 4=5 5-6=7.5 | Value 4-6=1");
    filter("global", {"time=40ns..70ns", "thread!=worker"});
    EXPECT_EQ(result.text(0, 1), "outer 4=100 6=0; inner 4=0 6=100");
    EXPECT_EQ(tableText(result.rows(0), {false, false, {"name"}}), "name\napp / main\n");
    lanefeed_runtime::clearFilters(result.result());
    EXPECT_EQ(result.allTexts(), first);
}

TEST(ShippedViewpoints, DefinitionsColourWhatTheyDraw) {
    Shown example(kEvents, "categories.xml");
    EXPECT_EQ(example.rowSet(0).layers[0].drawBy.displayColor.red, 255);
    EXPECT_EQ(example.rowSet(0).layers[1].drawBy.ds.m_max, 200) << "two threads";
    example.show(
        "<viewpoint><area><rowSet><rowBy useGridQuery='false' query='thread'/>"
        "<layer type='Overtime'><drawBy query='timeByCategory'/></layer></rowSet></area>"
        "</viewpoint>");
    std::string colors;
    for (const auto& column : allColumns(example.ask(0, 0).at(0))) {
        basekit2::variant_t color;
        if (column->getContent(dataface_1::ccStyle, color))
            colors += seriesOf(column) + "=" + std::to_string(color.get<basekit2::u32_t>());
    }
    // Blue, green, red, alpha from the top; ui and io have no style.
    EXPECT_EQ(colors, "gc=" + std::to_string(0x2828C6FFU));
}

}  // namespace
}  // namespace lanefeed_test
