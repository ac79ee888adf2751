// Bars, tasks, lines and counts as the client prints them: what is drawn and counted must come to
// the instances that the tables of the result hold, counted here by statements of their own, and
// small traces must come out as they were written down.

#include "tool/tool_test.h"

#include <fmt/format.h>

namespace {

using rapidjson::Document;
using rapidjson::Value;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class LayerVerbs : public ToolTest {
protected:
    // What --stats says of the layers; what is printed goes to `answer`.
    Document stats(const std::string& words, Document& answer) const {
        const ToolRun run = this->run(words + " --stats --format json");
        EXPECT_EQ(run.exit, 0) << run.err;
        EXPECT_EQ(out(words + " --format json", kPlain), run.out) << "without the timeline";
        answer = parsed(run.out);
        return parsed(run.err.substr(run.err.find("[\n")));
    }
    // A trace with all kinds of layers, shown by "@all.xml".
    void smallTrace() const {
        trace(
            "thread main  0..100000 outer  10..20 inner  30..40 inner\n"
            "thread busy  50..51 n  51..52 n  52..53 n  53..54 n  54..55 n  55..56 n\n"
            "marker main  5 gc\n"
            "flow main 15 busy 50 wake\n"
            "flow main 16 main 60 self\n");
        write("all.xml", threadsWith(layerXml("Overtime", "busyTime") +
                                     layerXml("RowIntervalNested", "sliceName") +
                                     layerXml("EventMarker", "instantName") +
                                     layerXml("EventMarkerGlobal", "instantName") +
                                     layerXml("Transition", "flowName") +
                                     layerXml("InstanceCountOverTime", "sliceCount")));
    }
};

// How many instances the rows of a layer stand for, by what a row stands for.
Counts standFor(const Value& layer, const char* list) {
    Counts counts;
    for (const Value& row : layer["rows"].GetArray())
        for (const Value& drawn : row[list].GetArray())
            counts[row["dbIndex"].GetInt()] += 1 + drawn["count"].GetInt64();
    return counts;
}

long long sumOf(const Counts& counts) {
    long long sum = 0;
    for (const auto& [row, count] : counts)
        sum += count;
    return sum;
}

// `reason`: what all those that are left out are left out for.
void expectAccount(const Value& stats, long long instances, const char* reason = nullptr) {
    EXPECT_EQ(stats["instances"].GetInt64(), instances);
    EXPECT_EQ(stats["unaccounted"].GetInt64(), 0);
    long long reasons = 0;
    for (const auto& one : stats["reasons"].GetObject())
        reasons += one.value.GetInt64();
    EXPECT_EQ(stats["leftOut"].GetInt64(), reasons);
    EXPECT_EQ(stats["drawn"].GetInt64() + stats["children"].GetInt64() +
                  stats["countedOnly"].GetInt64() + reasons,
              instances);
    if (reason != nullptr) {
        EXPECT_GT(reasons, 0);
        EXPECT_EQ(stats["reasons"][reason].GetInt64(), reasons) << reason;
    }
}

}  // namespace

TEST_F(LayerVerbs, WhatIsDrawnAndCountedComesToTheTableInAnyWindow) {
    const struct {
        const char* trace;
        const char* words;
        const char* table;
        const char* type;  // of bands; of lines all have the row of their account
    } cases[] = {
        {"$flow.json.gz", "tasks @ --layer 4", "slice_data", "dd_thread"},
        {"$flow.json.gz", "transitions @ --layer 6", "flow_data", nullptr},
        {"$scheduler/perf-script.txt", "intervals @ --layer 0", "state_data", "dd_thread"},
        {"$scheduler/perf-script.txt", "transitions @ --layer 3", "wakeup_data", nullptr},
        {"$scheduler/perf-script.txt", "intervals @ --area 1 --layer 1", "running_data", "dd_core"},
        {"$scheduler/perf-script.txt", "tasks @ --area 1 --layer 2", "interrupt_data", "dd_core"}};
    for (const auto& c : cases) {
        import(c.trace);
        for (const char* window :
             {"", " --time 20%..60% --bins 300", " --time 40%..40.1% --bins 1"}) {
            SCOPED_TRACE(std::string(c.words) + window);
            Document answer;
            const Document account = stats(std::string(c.words) + window, answer);
            const auto start = answer[0]["start"].GetInt64();
            const auto end = answer[0]["end"].GetInt64();
            // The first tick of a result is 1.
            if (c.type != nullptr) {
                const Counts expected = ask(fmt::format(
                    "SELECT b.{1}, count(*) FROM {0} i JOIN dd_band b ON b.rowid = i.dd_band WHERE "
                    "i.start_tsc - 1 < {3} AND i.end_tsc - 1 >= {2} AND b.{1} NOT NULL GROUP BY 1",
                    c.table, c.type, start, end));
                EXPECT_EQ(standFor(answer[0], "intervals"), expected);
                expectAccount(account[0], sumOf(expected));
                continue;
            }
            const std::string touching = fmt::format(
                "SELECT 0, count(*) FROM {} WHERE max(multi_band_start_tsc, end_tsc) - 1 >= {} AND "
                "min(multi_band_start_tsc, end_tsc) - 1 <= {}",
                c.table, start, end);
            const long long total = sumOf(ask(touching));
            expectAccount(account[0], total);
            EXPECT_EQ(account[0]["reasons"]["withinRow"].GetInt64(),
                      sumOf(ask(touching + " AND multi_band_index = dd_band")));
            EXPECT_EQ(sumOf(standFor(answer[0], "transitions")),
                      total - account[0]["leftOut"].GetInt64());
        }
    }
}

TEST_F(LayerVerbs, ASmallTraceComesOutAsItWasWritten) {
    smallTrace();
    const std::string all = " @ --viewpoint @all.xml ";
    const std::string window = all + "--time 0ticks..100ticks --bins 10";
    EXPECT_EQ(out("tasks" + window + " --format csv"),
              "row_id,row,start,end,attr,name,color,count,series,depth,child\n"
              "0,app / main,0,100000,1,outer,,0,0,0,0\n"
              "0,app / main,10,20,2,inner,,0,0,1,0\n"
              "0,app / main,30,40,2,inner,,0,0,1,0\n"
              "1,app / busy,50,51,3,n,,5,0,0,0\n"
              "1,app / busy,51,52,3,n,,0,0,0,1\n"
              "1,app / busy,52,53,3,n,,0,0,0,1\n"
              "1,app / busy,53,54,3,n,,0,0,0,1\n"
              "1,app / busy,54,55,3,n,,0,0,0,1\n");
    EXPECT_THAT(out("tasks" + window + " --format json"),
                HasSubstr(R"({"start": 10, "end": 20, "attr": 2, "name": "inner", "color": null, )"
                          R"("count": 0, "series": 0, "depth": 1, "children": []})"));
    // Markers for all rows stand on none.
    EXPECT_EQ(out("intervals" + window + " --format csv"),
              "row_id,row,start,end,attr,name,color,count,series,depth,child,layer\n"
              "0,app / main,5,6,1,gc,,0,0,0,0,2\n"
              ",all rows,5,6,1,gc,,0,0,0,0,3\n");

    // What starts at the end of the window is outside; a line that ends in it is not.
    Document before;
    expectAccount(stats("tasks" + all + "--time 0ticks..50ticks", before)[0], 3);
    EXPECT_TRUE(before[0]["rows"][1]["intervals"].Empty());
    expectAccount(stats("tasks" + all + "--time 19ticks..20ticks", before)[0], 2);
    expectAccount(stats("transitions" + all + "--time 20ticks..100ticks", before)[0], 2);
    expectAccount(stats("transitions" + all + "--time 1ticks..16ticks", before)[0], 2);

    const std::string counts = out("counts" + window + " --format json");
    EXPECT_THAT(counts, HasSubstr(R"("peak": 2, "values": [1, 2, 1, 2, 1, 1, 1, 1, 1, 1])"));
    EXPECT_THAT(counts, HasSubstr("[null, null, null, null, null, 1, null, null, null, null]"));
    EXPECT_EQ(out("transitions" + all + "--format csv"),
              "start_row_id,start_row,end_row_id,end_row,start,end,attr,name,count,duplicate\n"
              "0,app / main,1,app / busy,15,50,1,wake,0,0\n");
}

// Each reason for which an instance is left out; filters leave fewer to account for.
TEST_F(LayerVerbs, TheAccountTellsWhyInstancesAreLeftOut) {
    smallTrace();
    const std::string all = " @ --viewpoint @all.xml ";
    Document answer;
    expectAccount(stats("tasks" + all + "--filter thread=busy", answer)[0], 6);
    // The row that the line leaves is filtered out.
    expectAccount(stats("transitions" + all + "--filter thread=busy", answer)[0], 1,
                  "withoutSource");
    write("inner.xml", threadsWith(R"(<layer type="RowIntervalNested"><drawBy><infoQuery id="i">
        <dbPath>slice_data::dd_task</dbPath><values><value>inner</value></values>
        </infoQuery></drawBy></layer>)"));
    expectAccount(stats("tasks @ --viewpoint @inner.xml", answer)[0], 9, "restricted");
    EXPECT_EQ(standFor(answer[0], "intervals"), (Counts{{1, 2}}));
}

TEST_F(LayerVerbs, AReportHasEveryLayerWithColumnsOfItsOwn) {
    smallTrace();
    const std::string words = "report @ --viewpoint @all.xml --time 0ticks..100ticks --bins 2";
    const std::string csv = out(words + " --format csv");
    EXPECT_THAT(csv, StartsWith("row,level,layer,bin start,bin end,Busy time\n"
                                "app / main,0,Overtime,0,50,100\n"
                                "app / main,0,Overtime,50,100,100\n"
                                "app / busy,0,Overtime,50,100,12\n"
                                "\n"
                                "row,level,layer,start,end,name,depth,series,count\n"
                                "app / main,0,RowIntervalNested,0,100000,outer,0,0,0\n"
                                "app / main,0,RowIntervalNested,10,20,inner,1,0,1\n"));
    EXPECT_THAT(csv, HasSubstr("\n\nrow,level,layer,from row,start,end,name,count\n"
                               "app / busy,0,Transition,app / main,15,50,wake,0\n"));
    Document report;
    EXPECT_EQ(stats(words, report).Size(), 6U);
    ASSERT_EQ(report.Size(), 6U);
    for (const Value& layer : report.GetArray())
        for (const Value& line : layer["lines"].GetArray())
            EXPECT_EQ(line.Size(), layer["columns"].Size());
}

TEST_F(LayerVerbs, TablesForPeopleSayWhatTheyLeaveOut) {
    smallTrace();
    const std::string all = " @ --viewpoint @all.xml --time 0ticks..100ticks --bins 10";
    EXPECT_THAT(out("tasks" + all), HasSubstr("\napp / busy     50      51       1    +5  n\n"));
    EXPECT_EQ(out("transitions" + all),
              "Layer 4: Transition (transitions), 10 buckets of 10 ticks\n"
              "to row      from row    start  end  more  name\n"
              "app / busy  app / main     15   50        wake\n"
              "no line arrives on 1 of 2 rows\n\n");
    // The mean of a share is over all buckets, idle ones as 0.
    EXPECT_EQ(out("overtime" + all),
              "Layer 0: Overtime (percent), 10 buckets of 10 ticks\n"
              "row         series     mean  max  buckets\n"
              "app / main  Busy time   100  100       10\n"
              "app / busy  Busy time     6   60        1\n\n");
    EXPECT_THAT(out("counts" + all),
                HasSubstr("\napp / main  Slices   1.2    2      10       10\n"));
}

TEST_F(LayerVerbs, ALayerOfAnotherKindIsShownByAnotherVerb) {
    smallTrace();
    const std::string all = " @ --viewpoint @all.xml ";
    expectEach({{"tasks" + all + "--layer 0", 2, "is shown by 'lanefeed overtime'"},
                {"intervals" + all + "--layer 6", 2, "area 0 of " + path("@all.xml") + " has 6"},
                {"tasks" + all, 0, "'lanefeed intervals' shows layer 2, 3"},
                {"transitions" + all + "--layer 4 --bins 32768", 2, "32767 buckets at most"},
                {"report" + all + "--bins 32768", 0, "in 32767 buckets at most; left out"},
                {"overtime @ --area 1 --layer 0", 2, "needs data that the result does not hold"}});
    // The shipped viewpoint has a curve above all areas.
    EXPECT_THAT(out("report @ --area ruler --bins 1 --format csv"),
                HasSubstr("\n,0,Slices of all threads,0,100000,9\n"));
    EXPECT_THAT(out("viewpoint @ --format csv"),
                HasSubstr("\nruler,,,0,overtime,sliceCount,yes\n"));
}

// What fails is told from what is merely not there.
TEST_F(LayerVerbs, ARequestThatFailsSaysWhyAndOneThatFindsNothingIsNone) {
    smallTrace();
    const std::string all = " @ --viewpoint @all.xml ";
    const ToolRun filtered = run("intervals" + all + "--filter thread=busy --format json");
    EXPECT_EQ(filtered.exit, 0);
    EXPECT_THAT(filtered.err, HasSubstr("the filters in force leave nothing of marker_data"));
    EXPECT_THAT(filtered.err, Not(HasSubstr("error")));
    EXPECT_TRUE(parsed(filtered.out)[0]["rows"][0]["intervals"].Empty());
    // A share of the time of each category has none in an idle window.
    EXPECT_THAT(out("overtime @ --layer 3 --filter thread=busy --time 60ns..70ns --format json"),
                HasSubstr("\"series\": []"));

    write("wrong.xml", threadsWith(layerXml("RowInterval", "busyTime")));
    expectEach({{"intervals @ --viewpoint @wrong.xml --log off", 1,
                 "layer 0 (RowInterval) of " + path("@") + " could not be read: "}});

    ask("DELETE FROM marker_data");
    const char* const said = "reads the table marker_data, which is empty";
    expectEach({{"intervals" + all + "--layer 2", 2, said}, {"report" + all, 0, said}});
    EXPECT_EQ(json("report" + all).Size(), 4U) << "the layers that have data";
}

// The library logs an error for each instance that lacks a value; the client tells it once.
TEST_F(LayerVerbs, WhatComesAgainAndAgainIsToldOnce) {
    trace("thread main 0..10 a@x 10..20 b@x 20..30 c@x");
    write("v.xml", threadsWith(R"(<layer type="InstanceCountOverTime"><drawBy>
        <instanceCountQuery id="c"><dbPath>slice_data</dbPath><expand><infoQuery id="e">
        <dbPath>slice_data::dd_category</dbPath></infoQuery></expand></instanceCountQuery>
        </drawBy></layer>)"));
    ask("UPDATE slice_data SET dd_category = NULL WHERE attr < 3");
    const ToolRun run = this->run("counts @ --viewpoint @v.xml");
    EXPECT_EQ(run.exit, 0);
    EXPECT_THAT(run.err, HasSubstr(" (2 times)\n"));
    EXPECT_LT(run.err.size(), 200U) << run.err;
    ask("UPDATE slice_data SET dd_category = NULL");
    expectEach(
        {{"counts @ --viewpoint @v.xml", 0, "note: layer 0 (c): no instance of slice_data"}});
}
