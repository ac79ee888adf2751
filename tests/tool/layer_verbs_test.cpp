// Bars, tasks, lines and counts as the client prints them: what is drawn and counted must come to
// the instances that the tables of the result hold, counted here by statements of their own, and
// small traces must come out as they were written down.

#include "support/trace_text.h"
#include "tool/answers.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <fmt/format.h>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

using rapidjson::Document;
using rapidjson::Value;
using Counts = std::map<int, long long>;  // by what a row stands for

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Rows of two numbers; NULL as -1.
Counts ask(const std::string& result, const std::string& statement) {
    Counts counts;
    sqlite3* file = nullptr;
    EXPECT_EQ(sqlite3_open(result.c_str(), &file), SQLITE_OK);
    sqlite3_stmt* query = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(file, statement.c_str(), -1, &query, nullptr), SQLITE_OK)
        << statement;
    while (sqlite3_step(query) == SQLITE_ROW) {
        const bool isNull = sqlite3_column_type(query, 0) == SQLITE_NULL;
        counts[isNull ? -1 : sqlite3_column_int(query, 0)] = sqlite3_column_int64(query, 1);
    }
    sqlite3_finalize(query);
    sqlite3_close(file);
    return counts;
}

// Instances of a table that touch a window of pane ticks, by the thing of a type that their band
// stands for. The first tick of a result is 1.
Counts touching(const std::string& result,
                const std::string& table,
                const std::string& type,
                long long start,
                long long end) {
    return ask(result, fmt::format("SELECT b.{1}, count(*) FROM {0} i JOIN dd_band b ON "
                                   "b.rowid = i.dd_band WHERE i.start_tsc - 1 < {3} AND "
                                   "i.end_tsc - 1 >= {2} AND b.{1} NOT NULL GROUP BY 1",
                                   table, type, start, end));
}

// How many instances the rows of a layer stand for, by what a row stands for.
Counts standFor(const Value& layer, const char* list) {
    Counts counts;
    for (const Value& row : layer["rows"].GetArray())
        for (const Value& drawn : row[list].GetArray())
            counts[row["dbIndex"].GetInt()] += 1 + drawn["count"].GetInt64();
    return counts;
}

// No cell of row, depth, series and bucket draws more than five bars that lie in it.
void expectThinned(const Value& layer) {
    const std::uint64_t width = layer["binTicks"].GetUint64();
    const std::uint64_t start = layer["start"].GetUint64();
    const int last = layer["bins"].GetInt() - 1;
    const auto bucket = [&](std::uint64_t tick) {
        return std::min(static_cast<int>((tick - start) / width), last);
    };
    for (const Value& row : layer["rows"].GetArray()) {
        std::set<std::tuple<int, std::uint64_t, int>> cells;
        for (const Value& bar : row["intervals"].GetArray()) {
            EXPECT_LE(bar["children"].Size(), 4U);
            EXPECT_EQ(bar["children"].Size(), std::min(bar["count"].GetUint(), 4U));
            const std::uint64_t from = bar["start"].GetUint64();
            const std::uint64_t to = bar["end"].GetUint64() - 1;
            if (from < start || bucket(from) != bucket(to)) continue;
            EXPECT_TRUE(
                cells.emplace(bar["depth"].GetInt(), bar["series"].GetUint64(), bucket(from))
                    .second)
                << "two bars of one cell in row " << row["id"].GetInt();
        }
    }
}

// What --stats says of the first layer.
Document statsOf(const ToolRun& run) {
    return parsed(run.err.substr(run.err.find("[\n")));
}

void expectAccount(const Value& stats, std::uint64_t instances) {
    EXPECT_EQ(stats["instances"].GetUint64(), instances);
    EXPECT_EQ(stats["unaccounted"].GetInt64(), 0);
    std::uint64_t reasons = 0;
    for (const auto& reason : stats["reasons"].GetObject())
        reasons += reason.value.GetUint64();
    EXPECT_EQ(stats["leftOut"].GetUint64(), reasons);
    EXPECT_EQ(stats["drawn"].GetUint64() + stats["children"].GetUint64() +
                  stats["countedOnly"].GetUint64() + reasons,
              instances);
}

std::string layerXml(const std::string& type, const std::string& query) {
    return fmt::format("<layer type=\"{0}\" displayName=\"{0}\"><drawBy query=\"{1}\"/></layer>",
                       type, query);
}

// A viewpoint with rows by thread and these layers.
std::string threadsWith(const std::string& layers) {
    return "<viewpoint><area><rowSet><rowBy useGridQuery=\"false\" query=\"thread\"/>" + layers +
           "</rowSet></area></viewpoint>";
}

const RunOptions kPlain{-1, {}, {"LANEFEED_SQLITE=1"}};

}  // namespace

TEST(LayerVerbs, BarsStandForTheInstancesOfTheirTableInAnyWindow) {
    const struct {
        const char* trace;
        const char* verb;
        const char* area;
        const char* layer;
        const char* table;
        const char* type;
    } cases[] = {{"node20-workers.json", "tasks", "0", "4", "slice_data", "dd_thread"},
                 {"flow.json.gz", "tasks", "0", "4", "slice_data", "dd_thread"},
                 {"scheduler/perf-script.txt", "intervals", "0", "0", "state_data", "dd_thread"},
                 {"scheduler/perf-script.txt", "intervals", "1", "1", "running_data", "dd_core"},
                 {"scheduler/perf-script.txt", "tasks", "1", "2", "interrupt_data", "dd_core"}};
    for (const auto& c : cases) {
        const ImportedTrace trace(c.trace);
        for (const char* time : {"whole", "10%..35%", "40%..40.1%"}) {
            for (const char* bins : {"1", "7", "1000"}) {
                SCOPED_TRACE(fmt::format("{} {} {} {}", c.trace, c.table, time, bins));
                const std::vector<std::string> arguments{
                    c.verb, trace.result(), "--area", c.area,     "--layer", c.layer,  "--time",
                    time,   "--bins",       bins,     "--format", "json",    "--stats"};
                const ToolRun run = runTool(arguments);
                ASSERT_EQ(run.exit, 0) << run.err;
                const Document answer = parsed(run.out);
                const Value& layer = answer[0];
                const Counts expected =
                    touching(trace.result(), c.table, c.type, layer["start"].GetInt64(),
                             layer["end"].GetInt64());
                EXPECT_EQ(standFor(layer, "intervals"), expected);
                expectThinned(layer);
                std::uint64_t instances = 0;
                for (const auto& [row, count] : expected)
                    instances += static_cast<std::uint64_t>(count);
                expectAccount(statsOf(run)[0], instances);
                EXPECT_EQ(runTool(arguments, kPlain).out, run.out) << "without the timeline";
            }
        }
    }
}

// Where every bar is drawn, the outermost of a row cover its busy time.
TEST(LayerVerbs, OutermostTasksCoverTheBusyTime) {
    const ImportedTrace trace("node20-workers.json");
    const std::vector<std::string> window{"--time", "10%..30%", "--bins", "100000"};
    std::vector<std::string> tasks{"tasks", trace.result(), "--layer", "4"};
    std::vector<std::string> busy{"overtime", trace.result(), "--layer", "0", "--unit", "ticks"};
    tasks.insert(tasks.end(), window.begin(), window.end());
    busy.insert(busy.end(), {"--time", "10%..30%", "--bins", "1"});
    const Document bars = answerOf(tasks);
    const Document series = answerOf(busy);
    const std::uint64_t start = bars[0]["start"].GetUint64();
    const std::uint64_t end = bars[0]["end"].GetUint64();
    for (rapidjson::SizeType i = 0; i < bars[0]["rows"].Size(); ++i) {
        std::uint64_t covered = 0;
        const auto add = [&](const Value& bar) {
            if (bar["depth"].GetInt() != 0) return;
            EXPECT_EQ(bar["count"].GetUint(), bar["children"].Size()) << "not all are drawn";
            covered +=
                std::min(bar["end"].GetUint64(), end) - std::max(bar["start"].GetUint64(), start);
        };
        for (const Value& bar : bars[0]["rows"][i]["intervals"].GetArray()) {
            add(bar);
            for (const Value& child : bar["children"].GetArray())
                add(child);
        }
        const Value& all = series[0]["rows"][i]["series"];
        const Value& ticks = all[0]["values"][0];
        EXPECT_EQ(static_cast<double>(covered), ticks.IsNull() ? 0 : ticks.GetDouble()) << i;
    }
}

TEST(LayerVerbs, LinesAndWhatIsNoLineComeToTheTransitionsOfTheTable) {
    const struct {
        const char* trace;
        const char* area;
        const char* layer;
        const char* table;
    } cases[] = {{"flow.json.gz", "0", "6", "flow_data"},
                 {"scheduler/perf-script.txt", "0", "3", "wakeup_data"},
                 {"scheduler/perf-script.txt", "1", "3", "migration_data"}};
    for (const auto& c : cases) {
        const ImportedTrace trace(c.trace);
        for (const char* time : {"whole", "20%..60%"}) {
            for (const char* bins : {"1", "300"}) {
                SCOPED_TRACE(fmt::format("{} {} {} {}", c.trace, c.table, time, bins));
                const std::vector<std::string> arguments{
                    "transitions", trace.result(), "--area", c.area,   "--layer",
                    c.layer,       "--time",       time,     "--bins", bins,
                    "--stats",     "--format",     "json"};
                const ToolRun run = runTool(arguments);
                ASSERT_EQ(run.exit, 0) << run.err;
                const Document answer = parsed(run.out);
                const std::string touches = fmt::format(
                    "FROM {0} WHERE max(multi_band_start_tsc, end_tsc) - 1 >= {1} AND "
                    "min(multi_band_start_tsc, end_tsc) - 1 <= {2}",
                    c.table, answer[0]["start"].GetInt64(), answer[0]["end"].GetInt64());
                const auto total = ask(trace.result(), "SELECT 0, count(*) " + touches)[0];
                const Document stats = statsOf(run);
                expectAccount(stats[0], static_cast<std::uint64_t>(total));
                const auto within = ask(trace.result(), "SELECT 0, count(*) " + touches +
                                                            " AND multi_band_index = dd_band")[0];
                EXPECT_EQ(stats[0]["reasons"]["withinRow"].GetInt64(), within);
                Counts lines = standFor(answer[0], "transitions");
                long long drawn = 0;
                for (const auto& [row, count] : lines)
                    drawn += count;
                EXPECT_EQ(drawn, total - stats[0]["leftOut"].GetInt64());
                EXPECT_EQ(runTool(arguments, kPlain).out, run.out) << "without the timeline";
            }
        }
    }
}

namespace {

constexpr const char* kSmallTrace =
    "thread main  0..100000 outer  10..20 inner  30..40 inner\n"
    "thread busy  50..51 n  51..52 n  52..53 n  53..54 n  54..55 n  55..56 n\n"
    "marker main  5 gc\n"
    "flow main 15 busy 50 wake\n"
    "flow main 16 main 60 self\n";

// The trace, and a viewpoint with a layer of each kind.
class SmallTrace {
public:
    SmallTrace() : m_result(m_folder / "small.lft") {
        lanefeed_test::writeTraceText(m_result, kSmallTrace);
        m_viewpoint =
            m_folder.write("all.xml", threadsWith(layerXml("Overtime", "busyTime") +
                                                  layerXml("RowIntervalNested", "sliceName") +
                                                  layerXml("EventMarker", "instantName") +
                                                  layerXml("EventMarkerGlobal", "instantName") +
                                                  layerXml("Transition", "flowName") +
                                                  layerXml("InstanceCountOverTime", "sliceCount")));
    }
    const std::string& result() const { return m_result; }
    std::vector<std::string> arguments(const std::string& verb,
                                       std::vector<std::string> more) const {
        more.insert(more.begin(), {verb, m_result, "--viewpoint", m_viewpoint});
        return more;
    }
    std::string write(const std::string& name, const std::string& text) const {
        return m_folder.write(name, text);
    }

private:
    ScratchFolder m_folder;
    std::string m_result;
    std::string m_viewpoint;
};

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

TEST(LayerVerbs, ASmallTraceComesOutAsItWasWritten) {
    const SmallTrace trace;
    const std::vector<std::string> window{"--time", "0ticks..100ticks", "--bins", "10"};
    const Document tasks = answerOf(trace.arguments("tasks", window));
    ASSERT_EQ(tasks.Size(), 1U);
    EXPECT_STREQ(tasks[0]["kind"].GetString(), "tasks");
    EXPECT_EQ(tasks[0]["binTicks"].GetInt(), 10);
    const Value& rows = tasks[0]["rows"];
    ASSERT_EQ(rows.Size(), 2U);
    EXPECT_EQ(barsText(rows[0]["intervals"]),
              "0-100000 outer@0+0, 10-20 inner@1+0, 30-40 inner@1+0");
    EXPECT_EQ(barsText(rows[1]["intervals"]),
              "50-51 n@0+5 [51-52 n@0+0, 52-53 n@0+0, 53-54 n@0+0, 54-55 n@0+0]");

    // What starts at the end of the window is outside; a line that ends in it is not.
    const ToolRun before = runTool(
        trace.arguments("tasks", {"--time", "0ticks..50ticks", "--format", "json", "--stats"}));
    EXPECT_TRUE(parsed(before.out)[0]["rows"][1]["intervals"].Empty());
    expectAccount(statsOf(before)[0], 3);
    const ToolRun after =
        runTool(trace.arguments("transitions", {"--time", "20ticks..100ticks", "--stats"}));
    expectAccount(statsOf(after)[0], 2);

    const Document marks = answerOf(trace.arguments("intervals", window));
    ASSERT_EQ(marks.Size(), 2U);
    EXPECT_EQ(barsText(marks[0]["rows"][0]["intervals"]), "5-6 gc@0+0");
    EXPECT_TRUE(marks[0]["rows"][1]["intervals"].Empty());
    ASSERT_EQ(marks[1]["rows"].Size(), 1U) << "markers for all rows at once";
    EXPECT_TRUE(marks[1]["rows"][0]["id"].IsNull());
    EXPECT_EQ(barsText(marks[1]["rows"][0]["intervals"]), "5-6 gc@0+0");

    const Document lines = answerOf(trace.arguments("transitions", window));
    EXPECT_TRUE(lines[0]["rows"][0]["transitions"].Empty()) << "within one row";
    const Value& line = lines[0]["rows"][1]["transitions"][0];
    EXPECT_EQ(line["start"].GetUint64(), 15U);
    EXPECT_EQ(line["end"].GetUint64(), 50U);
    EXPECT_STREQ(line["name"].GetString(), "wake");
    EXPECT_EQ(line["startRow"].GetInt(), rows[0]["id"].GetInt());
    EXPECT_EQ(line["endRow"].GetInt(), rows[1]["id"].GetInt());

    const Document counts = answerOf(trace.arguments("counts", window));
    const Value& open = counts[0]["rows"][0]["series"][0];
    EXPECT_EQ(open["peak"].GetInt(), 2);
    EXPECT_EQ(textOf(open["values"]), "1,2,1,2,1,1,1,1,1,1");
    EXPECT_EQ(textOf(counts[0]["rows"][1]["series"][0]["values"]), "-,-,-,-,-,1,-,-,-,-");

    const ToolRun csv = runTool(trace.arguments("transitions", {"--format", "csv"}));
    EXPECT_EQ(csv.out,
              "start_row_id,start_row,end_row_id,end_row,start,end,attr,name,count,duplicate\n"
              "0,app / main,1,app / busy,15,50,1,wake,0,0\n");
}

TEST(LayerVerbs, AReportHasEveryLayerWithColumnsOfItsOwn) {
    const SmallTrace trace;
    const ToolRun csv = runTool(trace.arguments(
        "report", {"--time", "0ticks..100ticks", "--bins", "2", "--format", "csv", "--stats"}));
    ASSERT_EQ(csv.exit, 0) << csv.err;
    EXPECT_EQ(csv.out.substr(0, csv.out.find("\n\n", csv.out.find("\n\n") + 1)),
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
    EXPECT_TRUE(contains(csv.out,
                         "\n\nrow,level,layer,from row,start,end,name,count\n"
                         "app / busy,0,Transition,app / main,15,50,wake,0\n"))
        << csv.out;
    const Document report = answerOf(trace.arguments("report", {}));
    const Document stats = statsOf(csv);
    ASSERT_EQ(report.Size(), 6U);
    ASSERT_EQ(stats.Size(), 6U);
    for (const Value& layer : report.GetArray()) {
        for (const Value& line : layer["lines"].GetArray())
            EXPECT_EQ(line.Size(), layer["columns"].Size());
    }
}

TEST(LayerVerbs, ALayerOfAnotherKindIsShownByAnotherVerb) {
    const SmallTrace trace;
    const struct {
        std::vector<std::string> arguments;
        int exit;
        const char* says;
    } cases[] = {
        {trace.arguments("tasks", {"--layer", "0"}), 2, "is shown by 'lanefeed overtime'"},
        {trace.arguments("overtime", {"--layer", "1"}), 2, "is shown by 'lanefeed tasks'"},
        {trace.arguments("counts", {"--layer", "4"}), 2, "is shown by 'lanefeed transitions'"},
        {trace.arguments("intervals", {"--layer", "9"}), 2, "has 6 layers, counted from 0"},
        {trace.arguments("tasks", {}), 0, "'lanefeed intervals' shows layer 2, 3"},
        {trace.arguments("tasks", {"--bins", "100001"}), 2, "ask for 1 to 100000 buckets"},
        {trace.arguments("transitions", {"--bins", "32768"}), 2, "32767 buckets at most"},
        {{"transitions", trace.result(), "--viewpoint",
          trace.write("v.xml", "<viewpoint><area><rowSet>" + layerXml("Transition", "flowName") +
                                   "</rowSet></area></viewpoint>"),
          "--layer", "0"},
         2,
         "which its area has none of"},
    };
    for (const auto& c : cases) {
        const ToolRun run = runTool(c.arguments);
        EXPECT_EQ(run.exit, c.exit) << run.err;
        EXPECT_TRUE(contains(run.err, c.says)) << run.err;
        EXPECT_EQ(run.out.empty(), c.exit != 0) << run.out;
    }
}

// What fails is told from what is merely not there.
TEST(LayerVerbs, ARequestThatFailsSaysWhyAndOneThatFiltersEmptyIsNone) {
    const SmallTrace trace;
    const ToolRun filtered =
        runTool(trace.arguments("intervals", {"--filter", "thread=busy", "--format", "json"}));
    EXPECT_EQ(filtered.exit, 0) << filtered.err;
    EXPECT_TRUE(contains(filtered.err, "the filters in force leave nothing of marker_data"));
    EXPECT_FALSE(contains(filtered.err, "error")) << filtered.err;
    EXPECT_TRUE(parsed(filtered.out)[0]["rows"][0]["intervals"].Empty());

    const std::string wrong =
        trace.write("wrong.xml", threadsWith(layerXml("RowInterval", "busyTime")));
    const ToolRun failed = runTool({"intervals", trace.result(), "--viewpoint", wrong});
    EXPECT_EQ(failed.exit, 1) << failed.err;
    EXPECT_EQ(failed.out, "");
    EXPECT_TRUE(contains(failed.err, "layer 0 (RowInterval) of " + trace.result())) << failed.err;
    EXPECT_TRUE(contains(failed.err, "could not be read: ")) << failed.err;
    EXPECT_FALSE(contains(failed.err, ".cpp")) << failed.err;

    ask(trace.result(), "DELETE FROM marker_data");
    const char* const said = "reads the table marker_data, which is empty";
    const ToolRun empty = runTool(trace.arguments("intervals", {"--layer", "2"}));
    EXPECT_EQ(empty.exit, 2) << empty.err;
    EXPECT_TRUE(contains(empty.err, said)) << empty.err;
    const ToolRun rest = runTool(trace.arguments("report", {"--format", "json"}));
    EXPECT_EQ(rest.exit, 0) << rest.err;
    EXPECT_TRUE(contains(rest.err, said)) << rest.err;
    EXPECT_EQ(parsed(rest.out).Size(), 4U) << "the layers that have data";
}
