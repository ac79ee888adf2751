// Bars, tasks, lines and counts as the client prints them: what is drawn and counted must come to
// the instances that the tables of the result hold, counted here by statements of their own, and
// small traces must come out as they were written down.

#include "tool/tool_test.h"

#include <sqlite3.h>

#include <fmt/format.h>
#include <map>

namespace {

using rapidjson::Document;
using rapidjson::Value;
using ::testing::HasSubstr;
using ::testing::Not;
using Counts = std::map<int, long long>;  // by what a row stands for

class LayerVerbs : public ToolTest {
protected:
    // Rows of two numbers.
    Counts ask(const std::string& statement) const {
        Counts counts;
        sqlite3* file = nullptr;
        EXPECT_EQ(sqlite3_open(path("@").c_str(), &file), SQLITE_OK);
        sqlite3_stmt* query = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(file, statement.c_str(), -1, &query, nullptr), SQLITE_OK)
            << statement;
        while (sqlite3_step(query) == SQLITE_ROW)
            counts[sqlite3_column_int(query, 0)] = sqlite3_column_int64(query, 1);
        sqlite3_finalize(query);
        sqlite3_close(file);
        return counts;
    }
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

void expectAccount(const Value& stats, long long instances) {
    EXPECT_EQ(stats["instances"].GetInt64(), instances);
    EXPECT_EQ(stats["unaccounted"].GetInt64(), 0);
    long long reasons = 0;
    for (const auto& reason : stats["reasons"].GetObject())
        reasons += reason.value.GetInt64();
    EXPECT_EQ(stats["leftOut"].GetInt64(), reasons);
    EXPECT_EQ(stats["drawn"].GetInt64() + stats["children"].GetInt64() +
                  stats["countedOnly"].GetInt64() + reasons,
              instances);
}

// "start-end name@depth+count" of each bar, its children in brackets.
std::string barsText(const Value& bars) {
    std::string text;
    for (const Value& bar : bars.GetArray()) {
        text += fmt::format("{}{}-{} {}@{}+{}", text.empty() ? "" : ", ", bar["start"].GetUint64(),
                            bar["end"].GetUint64(), bar["name"].GetString(), bar["depth"].GetInt(),
                            bar["count"].GetUint());
        if (!bar["children"].Empty()) text += " [" + barsText(bar["children"]) + "]";
    }
    return text;
}

std::string textOf(const Value& values) {
    std::string text;
    for (const Value& value : values.GetArray())
        text += (text.empty() ? "" : ",") +
                (value.IsNull() ? std::string("-") : std::to_string(value.GetInt()));
    return text;
}

}  // namespace

TEST_F(LayerVerbs, BarsStandForTheInstancesOfTheirTableInAnyWindow) {
    const struct {
        const char* trace;
        const char* words;
        const char* table;
        const char* type;
    } cases[] = {
        {"$flow.json.gz", "tasks @ --layer 4", "slice_data", "dd_thread"},
        {"$scheduler/perf-script.txt", "intervals @ --layer 0", "state_data", "dd_thread"},
        {"$scheduler/perf-script.txt", "intervals @ --area 1 --layer 1", "running_data", "dd_core"},
        {"$scheduler/perf-script.txt", "tasks @ --area 1 --layer 2", "interrupt_data", "dd_core"}};
    for (const auto& c : cases) {
        import(c.trace);
        for (const char* window :
             {"", " --bins 1000", " --time 10%..35% --bins 7", " --time 40%..40.1% --bins 1"}) {
            SCOPED_TRACE(std::string(c.words) + window);
            Document answer;
            const Document account = stats(std::string(c.words) + window, answer);
            // The first tick of a result is 1.
            const Counts expected = ask(fmt::format(
                "SELECT b.{1}, count(*) FROM {0} i JOIN dd_band b ON b.rowid = i.dd_band "
                "WHERE i.start_tsc - 1 < {3} AND i.end_tsc - 1 >= {2} AND b.{1} NOT NULL GROUP BY "
                "1",
                c.table, c.type, answer[0]["start"].GetInt64(), answer[0]["end"].GetInt64()));
            EXPECT_EQ(standFor(answer[0], "intervals"), expected);
            expectAccount(account[0], sumOf(expected));
        }
    }
}

TEST_F(LayerVerbs, LinesAndWhatIsNoLineComeToTheTransitionsOfTheTable) {
    const char* const cases[][3] = {
        {"$flow.json.gz", "--layer 6", "flow_data"},
        {"$scheduler/perf-script.txt", "--layer 3", "wakeup_data"},
        {"$scheduler/perf-script.txt", "--area 1 --layer 3", "migration_data"}};
    for (const auto& [trace, layer, table] : cases) {
        import(trace);
        for (const char* window : {" --bins 1", " --time 20%..60% --bins 300"}) {
            SCOPED_TRACE(std::string(trace) + layer + window);
            Document answer;
            const Document account = stats(std::string("transitions @ ") + layer + window, answer);
            const std::string touches = fmt::format(
                "SELECT 0, count(*) FROM {0} WHERE "
                "max(multi_band_start_tsc, end_tsc) - 1 >= {1} AND "
                "min(multi_band_start_tsc, end_tsc) - 1 <= {2}",
                table, answer[0]["start"].GetInt64(), answer[0]["end"].GetInt64());
            const long long total = sumOf(ask(touches));
            expectAccount(account[0], total);
            EXPECT_EQ(account[0]["reasons"]["withinRow"].GetInt64(),
                      sumOf(ask(touches + " AND multi_band_index = dd_band")));
            EXPECT_EQ(sumOf(standFor(answer[0], "transitions")),
                      total - account[0]["leftOut"].GetInt64());
        }
    }
}

TEST_F(LayerVerbs, ASmallTraceComesOutAsItWasWritten) {
    smallTrace();
    const std::string all = " @ --viewpoint @all.xml ";
    const std::string window = all + "--time 0ticks..100ticks --bins 10";
    const Document tasks = json("tasks" + window);
    ASSERT_EQ(tasks.Size(), 1U);
    EXPECT_STREQ(tasks[0]["kind"].GetString(), "tasks");
    EXPECT_EQ(tasks[0]["binTicks"].GetInt(), 10);
    const Value& rows = tasks[0]["rows"];
    EXPECT_EQ(barsText(rows[0]["intervals"]),
              "0-100000 outer@0+0, 10-20 inner@1+0, 30-40 inner@1+0");
    EXPECT_EQ(barsText(rows[1]["intervals"]),
              "50-51 n@0+5 [51-52 n@0+0, 52-53 n@0+0, 53-54 n@0+0, 54-55 n@0+0]");

    // What starts at the end of the window is outside; a line that ends in it is not.
    Document before;
    expectAccount(stats("tasks" + all + "--time 0ticks..50ticks", before)[0], 3);
    EXPECT_TRUE(before[0]["rows"][1]["intervals"].Empty());
    expectAccount(stats("transitions" + all + "--time 20ticks..100ticks", before)[0], 2);
    expectAccount(stats("transitions" + all + "--time 1ticks..16ticks", before)[0], 2);

    const Document marks = json("intervals" + window);
    ASSERT_EQ(marks.Size(), 2U);
    EXPECT_EQ(barsText(marks[0]["rows"][0]["intervals"]), "5-6 gc@0+0");
    EXPECT_TRUE(marks[0]["rows"][1]["intervals"].Empty());
    ASSERT_EQ(marks[1]["rows"].Size(), 1U) << "markers for all rows at once";
    EXPECT_TRUE(marks[1]["rows"][0]["id"].IsNull());
    EXPECT_EQ(barsText(marks[1]["rows"][0]["intervals"]), "5-6 gc@0+0");

    const Document counts = json("counts" + window);
    const Value& open = counts[0]["rows"][0]["series"][0];
    EXPECT_EQ(open["peak"].GetInt(), 2);
    EXPECT_EQ(textOf(open["values"]), "1,2,1,2,1,1,1,1,1,1");
    EXPECT_EQ(textOf(counts[0]["rows"][1]["series"][0]["values"]), "-,-,-,-,-,1,-,-,-,-");

    EXPECT_EQ(out("transitions" + all + "--format csv"),
              "start_row_id,start_row,end_row_id,end_row,start,end,attr,name,count,duplicate\n"
              "0,app / main,1,app / busy,15,50,1,wake,0,0\n");
}

TEST_F(LayerVerbs, AReportHasEveryLayerWithColumnsOfItsOwn) {
    smallTrace();
    const std::string words = "report @ --viewpoint @all.xml --time 0ticks..100ticks --bins 2";
    const std::string csv = out(words + " --format csv");
    EXPECT_EQ(csv.substr(0, csv.find("\n\n", csv.find("\n\n") + 1)),
              "row,level,layer,bin start,bin end,Busy time\n"
              "app / main,0,Overtime,0,50,100\n"
              "app / main,0,Overtime,50,100,100\n"
              "app / busy,0,Overtime,50,100,12\n"
              "\n"
              "row,level,layer,start,end,name,depth,series,count\n"
              "app / main,0,RowIntervalNested,0,100000,outer,0,0,0\n"
              "app / main,0,RowIntervalNested,10,20,inner,1,0,1\n"
              "app / main,0,RowIntervalNested,30,40,inner,1,0,0\n"
              "app / busy,0,RowIntervalNested,50,51,n,0,0,5\n"
              "app / busy,0,RowIntervalNested,51,52,n,0,0,0\n"
              "app / busy,0,RowIntervalNested,52,53,n,0,0,0\n"
              "app / busy,0,RowIntervalNested,53,54,n,0,0,0\n"
              "app / busy,0,RowIntervalNested,54,55,n,0,0,0");
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
    EXPECT_EQ(out("tasks" + all + " --filter thread=busy"),
              "Layer 1: RowIntervalNested (tasks), 10 buckets of 10 ticks\n"
              "row         start  end  ticks  more  name\n"
              "app / busy     50   51      1    +5  n\n\n");
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
    write("v.xml", "<viewpoint><area><rowSet>" + layerXml("Transition", "flowName") +
                       "</rowSet></area></viewpoint>");
    const std::string all = " @ --viewpoint @all.xml ";
    expectEach({{"tasks" + all + "--layer 0", 2, "is shown by 'lanefeed overtime'"},
                {"overtime" + all + "--layer 1", 2, "is shown by 'lanefeed tasks'"},
                {"counts" + all + "--layer 4", 2, "is shown by 'lanefeed transitions'"},
                {"intervals" + all + "--layer 6", 2, "area 0 of " + path("@all.xml") + " has 6"},
                {"tasks" + all, 0, "'lanefeed intervals' shows layer 2, 3"},
                {"tasks" + all + "--bins 100001", 2, "ask for 1 to 100000 buckets"},
                {"transitions" + all + "--layer 4 --bins 32768", 2, "32767 buckets at most"},
                {"report" + all + "--bins 32768", 0, "in 32767 buckets at most; left out"},
                {"overtime @ --area 1 --layer 0", 2, "needs data that the result does not hold"},
                {"transitions @ --viewpoint @v.xml --layer 0", 2, "which its area has none of"}});
    // The shipped viewpoint has a curve above all areas.
    const Document ruler = json("report @ --area ruler --bins 1");
    EXPECT_TRUE(ruler[0]["area"].IsNull());
    EXPECT_STREQ(ruler[0]["name"].GetString(), "Slices of all threads");
    EXPECT_EQ(ruler[0]["lines"][0][5].GetInt(), 9);
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

    write("wrong.xml", threadsWith(layerXml("RowInterval", "busyTime")));
    expectEach({{"intervals @ --viewpoint @wrong.xml", 1,
                 "layer 0 (RowInterval) of " + path("@") + " could not be read: "},
                {"intervals @ --viewpoint @wrong.xml --log off", 1, "could not be read: "}});

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
}
