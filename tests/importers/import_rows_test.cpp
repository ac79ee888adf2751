// What each kind of event becomes in a result.
#include "common/open_slices.h"
#include "import_fixture.h"

namespace lanefeed_importers {
namespace {

class ImportRows : public ImportTest {
protected:
    // start, last tick, name of the slices in the order of the table.
    std::string slices(const std::string& table = "slice_data") const {
        return rows("select start_tsc, end_tsc, name from " + table +
                    " s join dd_task t on t.rowid = attr order by s.rowid");
    }
};

TEST_F(ImportRows, ticksCountFromTheFirstEventAndEndsAreInclusive) {
    importEvents(
        R"({"ph":"X","ts":-1.5,"dur":1,"name":"a"},{"ph":"X","ts":" 2 ","name":"late","dur":"0.25"},
           {"ph":"X","ts":3,"dur":0,"name":"point"},{"ph":"O","ts":-2},{"ph":"D","ts":4})");
    EXPECT_EQ(slices(), "501 1500 a; 4001 4250 late; 5001 5001 point");
    EXPECT_EQ(facts("origin last_tick ticks_per_second"), "-2001 6001 1000000000");
    // Begin and length are added before they are rounded.
    importEvents(
        R"({"ph":"X","ts":0,"dur":0.0014,"name":"a"},{"ph":"X","ts":3.0004,"dur":4.0003,"name":"b"})");
    EXPECT_EQ(slices(), "1 1 a; 3001 7001 b");
    // Wrong durations become one tick.
    importEvents(R"({"ph":"X","ts":1,"dur":-5,"name":"a"},{"ph":"X","ts":2,"name":"b"},
        {"ph":"X","ts":3,"dur":"x","name":"c"},{"ph":"X","ts":4,"dur":1e300,"name":"d"},
        {"ph":"X","ts":2305843009213693,"dur":1,"name":"e"})");
    EXPECT_EQ(slices(),
              "1 1 a; 1001 1001 b; 2001 2001 c; 3001 3001 d; "
              "2305843009213692001 2305843009213692001 e");
    EXPECT_EQ(facts("skipped"), R"({"missingDuration":4,"negativeDuration":1})");
}

TEST_F(ImportRows, beginsAndEndsJoinByTimeAndNameAndKeepTheirNesting) {
    // Of equal ticks the inner slice stands behind the outer one, though it closes first.
    importEvents(R"({"ph":"B","ts":1,"name":"outer"},{"ph":"B","ts":1,"name":"middle"},
        {"ph":"B","ts":1,"name":"inner"},{"ph":"E","ts":2},{"ph":"E","ts":2},{"ph":"E","ts":2},
        {"ph":"B","ts":3,"name":"next"},{"ph":"E","ts":3})");
    EXPECT_EQ(slices(), "1 1000 outer; 1 1000 middle; 1 1000 inner; 2001 2001 next");
    // An end closes the nearest begin of its name on its thread, with all that lie above it.
    importEvents(R"({"ph":"E","ts":9,"name":"a"},{"ph":"B","ts":2,"name":"b"},
        {"ph":"E","ts":5,"name":"b"},{"ph":"B","ts":1,"name":"a"},{"ph":"B","ts":3,"name":"lost"},
        {"ph":"B","ts":3,"name":"b","tid":2},{"ph":"E","ts":8,"tid":2},{"ph":"E","ts":9,"tid":2},
        {"ph":"E","ts":4,"name":"b"},{"ph":"B","ts":6,"name":"open"})");
    EXPECT_EQ(slices(), "1 8000 a; 1001 3000 b; 2001 7000 b");
    EXPECT_EQ(facts("skipped"), R"({"orphanEnd":2,"unclosedBegin":2})");
}

TEST_F(ImportRows, endsWithoutBeginDoNotSearchADeepStack) {
    OpenSlices slices;
    OpenSlice closed;
    constexpr int kDepth = 100000;
    for (int i = 0; i < kDepth; ++i)
        slices.begin(0, {{i, 0}, 1, 0, ""});
    // Each would walk the whole stack otherwise: minutes instead of milliseconds.
    for (int i = 0; i < kDepth; ++i)
        ASSERT_FALSE(slices.end(0, 2, false, closed));
}

TEST_F(ImportRows, keepsCategoriesAndTheArgumentsOfBothEnds) {
    importEvents(R"({"ph":"B","ts":1,"name":"a","cat":"x,y","args":{"k":1}},
        {"ph":"E","ts":2,"args":{"r":[2]}},{"ph":"X","ts":3,"dur":1,"name":"b","args":{}},
        {"ph":"i","ts":4,"name":"m","args":{"p":"q"}},{"ph":"X","ts":5,"dur":1,"name":"b","args":{"k":")" +
                 std::string(70000, 'x') + "\"}}");
    EXPECT_EQ(rows("select json, c.name from slice_data s left join args a on a.rowid = s.args"
                   " left join dd_category c on c.rowid = s.dd_category order by s.rowid"),
              R"({"k":1,"r":[2]} x,y; - -; - -)");
    EXPECT_EQ(rows("select json from marker_data m join args a on a.rowid = m.args"),
              R"({"p":"q"})");
    EXPECT_EQ(facts("skipped"), R"({"longArgs":1})");
    m_options.args = false;
    importEvents(R"({"ph":"X","ts":3,"dur":1,"name":"b","args":{"k":1}})");
    EXPECT_EQ(rows("select args from slice_data"), "-");
}

// Of repeated keys the last one counts.
TEST_F(ImportRows, fieldsAreThoseOfTheEventAndNothingFromBelow) {
    importEvents(R"({"args":{"name":"no","ts":1,"args":{"tid":2}},"ts":12.5000,"tid":"main","pid":
        null,"id2":{"local":"0x1","x":{"local":3}},"name":"a","name":"b\u00e4\t","dur":true,
        "cat":["no"],"stack":[{"tid":"no"}],"ph":"X"},
        {"args":{"a":1},"name":"x","args":{"b":2},"name":"y","ph":"B","ph":"i","ts":12.5,"tid":"main"},
        {"args":{"a":1},"args":5,"name":"z","ph":"i","ts":12.5,"tid":"main"},{"ph":"X","ts":true,"tid":9})");
    EXPECT_EQ(slices(), "1 1 b\xC3\xA4\t");
    EXPECT_EQ(rows("select json from slice_data s join args a on a.rowid = s.args union all select "
                   "json from marker_data m left join args a on a.rowid = m.args"),
              R"({"name":"no","ts":1,"args":{"tid":2}}; {"b":2}; -)");
    EXPECT_EQ(rows("select name from dd_thread") + facts("origin"), "main12499");
}

TEST_F(ImportRows, everyNumberOfACounterIsACurve) {
    importEvents(R"({"ph":"C","ts":1,"pid":1,"name":"mem","args":{"used":5,"free":"7.5","why":"x"}},
        {"ph":"C","ts":3,"pid":1,"name":"mem","args":{"used":6}},
        {"ph":"C","ts":3,"pid":1,"name":"mem","args":{"used":8}},
        {"ph":"C","ts":4,"pid":1,"name":"load","id":2,"args":{"value":1}},
        {"ph":"C","ts":4,"pid":1,"name":"none","args":{"a":null}},{"ph":"X","ts":5,"dur":1,"pid":1})");
    EXPECT_EQ(rows("select c.name, d.start_tsc, d.end_tsc, d.value, d.count, c.rowid = b.dd_counter"
                   " from counter_data d join dd_counter c on c.rowid = d.attr"
                   " join dd_band b on b.rowid = d.dd_band order by c.rowid, d.start_tsc"),
              "mem: used 1 2000 5.0 5 1; mem: used 2001 5001 8.0 8 1; mem: free 1 5001 7.5 8 1; "
              "load 2 3001 5001 1.0 1 1");
    EXPECT_EQ(facts("counterTracks counterSamples"), "3 5");
    EXPECT_EQ(facts("skipped"), R"({"emptyCounter":1,"nonNumericCounter":2,"replacedSample":1})");
}

TEST_F(ImportRows, asyncEventsPairByTheirIdAndNestOnOneBand) {
    importEvents(R"({"ph":"b","ts":1,"pid":1,"cat":"c","id":7,"name":"load"},
        {"ph":"b","ts":2,"pid":1,"cat":"c","id":"7","name":"parse"},
        {"ph":"n","ts":3,"pid":1,"cat":"c","id":7,"name":"step"},
        {"ph":"e","ts":4,"pid":2,"cat":"c","id":7,"name":"parse"},{"ph":"e","ts":5,"cat":"c","id":7},
        {"ph":"b","ts":1,"pid":1,"cat":"c","id2":{"local":7},"name":"other"},
        {"ph":"e","ts":6,"pid":2,"cat":"c","id2":{"local":7},"name":"other"},
        {"ph":"b","ts":1,"pid":1,"cat":"c","id":8,"name":"endless"},
        {"ph":"S","ts":1,"pid":1,"cat":"c","id":7,"name":"old"},
        {"ph":"F","ts":9,"pid":1,"cat":"c","id":7,"name":"old"})");
    EXPECT_EQ(slices("async_data"), "1 8000 old; 1 4000 load; 1001 3000 parse");
    EXPECT_EQ(rows("select t.name, count(*) from async_data a join dd_band b on b.rowid = a.dd_band"
                   " join dd_track t on t.rowid = b.dd_track group by 1 order by 1"),
              "load 2; old 1");
    EXPECT_EQ(facts("skipped"), R"({"orphanAsyncEnd":1,"unclosedAsync":2})");
    EXPECT_EQ(rows("select t.name from dd_track t left join dd_band b on t.rowid = b.dd_track left "
                   "join marker_data m on m.dd_band = b.rowid order by m.rowid"),
              "old; load")
        << "the marker's track, and no row that can hold nothing";
}

TEST_F(ImportRows, flowsLinkEachPointWithTheOneBefore) {
    importEvents(R"({"ph":"s","ts":1,"tid":1,"id":3,"name":"f"},
        {"ph":"t","ts":2,"tid":2,"id":3,"name":"f"},{"ph":"f","ts":3,"tid":3,"id":3,"name":"f"},
        {"ph":"f","ts":4,"tid":1,"id":3,"name":"f"},{"ph":"s","ts":5,"tid":1,"id":3,"name":"f"},
        {"ph":"f","ts":5,"tid":1,"id":4,"name":"f"})");
    EXPECT_EQ(
        rows("select multi_band_start_tsc, a.tid, i.start_tsc, b.tid from flow_data i"
             " join dd_band f on f.rowid = multi_band_index"
             " join dd_thread a on a.rowid = f.dd_thread join dd_band t on t.rowid = i.dd_band"
             " join dd_thread b on b.rowid = t.dd_thread order by i.start_tsc"),
        "1 1 1001 2; 1001 2 2001 3; 2001 3 3001 1");
    EXPECT_EQ(facts("skipped"), R"({"orphanFlow":1,"unfinishedFlow":1})");
}

TEST_F(ImportRows, threadsAreNamedOrderedAndToldApart) {
    importText(R"({"systemTraceEvents":{"events":[{"ph":"p","pid":2,"name":"srv"},
        {"ph":"t","pid":2,"tid":7,"name":"by system"}]},"traceEvents":[
        {"ph":"M","pid":10,"name":"process_name","args":{"name":"srv"}},
        {"ph":"M","pid":10,"tid":5,"name":"thread_name","args":{"name":"main"}},
        {"ph":"M","pid":10,"tid":5,"name":"thread_sort_index","args":{"sort_index":"-1"}},
        {"ph":"M","pid":6,"name":"thread_name","args":{"name":"by number"}},
        {"ph":"M","pid":99,"tid":1,"name":"thread_name","args":{"name":"idle"}},
        {"ph":"X","ts":1,"dur":1,"pid":10,"tid":5},{"ph":"X","ts":1,"dur":1,"pid":"10","tid":"4"},
        {"ph":"X","ts":1,"dur":1,"pid":2,"tid":6},{"ph":"X","ts":1,"dur":1,"pid":2},
        {"ph":"X","ts":1,"dur":1,"pid":2,"tid":7},
        {"ph":"X","ts":1,"dur":1,"pid":"Spans","tid":"gpu)"
               "\xff"
               R"("}]})");
    EXPECT_EQ(rows("select label, tid from dd_thread order by sort"),
              "srv (2) / by number 6; srv (2) / by system 7; srv (2) / thread 2 -; "
              "srv (10) / main 5; srv (10) / thread 4 4; Spans / gpu\xEF\xBF\xBD -");
    EXPECT_EQ(facts("threads"), "6");
}

}  // namespace
}  // namespace lanefeed_importers
