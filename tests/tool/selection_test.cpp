// Selections and filters through the client: what is selected is all that later answers show, in
// every verb and format, and clearing brings the first answers back to the byte.

#include "tool/run_tool.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <map>
#include <rapidjson/document.h>
#include <string>
#include <vector>

namespace {

using rapidjson::Document;
using rapidjson::Value;
using Sums = std::map<std::string, double>;

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Leaves a tree in the file that no reader can make sense of.
void spoilFilters(const std::string& result) {
    sqlite3* file = nullptr;
    ASSERT_EQ(sqlite3_open(result.c_str(), &file), SQLITE_OK);
    const char* change = "update filters set level = 9 where level = 1";
    EXPECT_EQ(sqlite3_exec(file, change, nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_GT(sqlite3_changes(file), 0);
    sqlite3_close(file);
}

// Two threads; times in microseconds, a tick is a nanosecond. "b" is inside of "a".
constexpr const char* kTrace = R"([
  {"ph":"M","pid":1,"tid":1,"name":"thread_name","args":{"name":"main"}},
  {"ph":"M","pid":1,"tid":2,"name":"thread_name","args":{"name":"worker"}},
  {"ph":"X","pid":1,"tid":1,"name":"a","ts":0,"dur":100},
  {"ph":"X","pid":1,"tid":1,"name":"b","ts":10,"dur":30},
  {"ph":"X","pid":1,"tid":2,"name":"c","ts":20,"dur":40},
  {"ph":"X","pid":1,"tid":2,"name":"d","ts":80,"dur":40},
  {"ph":"C","pid":1,"tid":1,"name":"n","ts":10,"args":{"v":1}}])";

class Selection : public ::testing::Test {
protected:
    void SetUp() override {
        m_result = m_folder / "a.lft";
        ASSERT_EQ(runTool({"import", m_folder.write("a.json", kTrace), "-o", m_result}).exit, 0);
    }

    ToolRun run(const std::string& verb, const std::vector<std::string>& options) const {
        std::vector<std::string> arguments{verb, m_result};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return runTool(arguments);
    }

    Document json(const std::string& verb, std::vector<std::string> options) const {
        options.insert(options.end(), {"--format", "json"});
        const ToolRun answer = run(verb, options);
        EXPECT_EQ(answer.exit, 0) << answer.err;
        Document document;
        document.Parse(answer.out.c_str());
        EXPECT_FALSE(document.HasParseError()) << answer.out;
        return document;
    }

    // Busy ticks of each row; rows without a series have 0.
    Sums busy(std::vector<std::string> options = {}) const {
        options.insert(options.end(), {"--layer", "0", "--bins", "7", "--unit", "ticks"});
        const Document answer = json("overtime", options);
        Sums sums;
        for (const Value& row : answer[0]["rows"].GetArray()) {
            double& sum = sums[row["name"].GetString()];
            for (const Value& series : row["series"].GetArray())
                for (const Value& value : series["values"].GetArray())
                    sum += value.IsNull() ? 0 : value.GetDouble();
        }
        return sums;
    }

    void select(const std::vector<std::string>& options) const {
        const ToolRun answer = run("select", options);
        EXPECT_EQ(answer.exit, 0) << answer.err;
        EXPECT_EQ(answer.err, "");
    }

    const std::string m_main = "process 1 / main";
    const std::string m_worker = "process 1 / worker";
    ScratchFolder m_folder;
    std::string m_result;
};

}  // namespace

TEST_F(Selection, OfTimeRowsOrAnObjectIsAllThatIsLeft) {
    const struct {
        std::vector<std::string> options;
        Sums expected;
    } cases[] = {
        {{"--time", "30us..90us"}, {{m_main, 60000}, {m_worker, 40000}}},
        {{"--time", "30us..90us", "--exclude"}, {{m_main, 40000}, {m_worker, 40000}}},
        {{"--rows", "1"}, {{m_worker, 80000}}},
        {{"--rows", "1", "--exclude"}, {{m_main, 100000}}},
        {{"--rows", "0,1"}, {{m_main, 100000}, {m_worker, 80000}}},
        {{"--rows", "0", "--time", "50us..100us"}, {{m_main, 50000}}},
        {{"--attr", "1:3"}, {{m_worker, 40000}}},
        {{"--attr", "1:3", "--exclude"}, {{m_main, 100000}, {m_worker, 40000}}},
        {{"--attr", "1:b"}, {{m_main, 30000}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.options[0] + " " + c.options[1]);
        select(c.options);
        EXPECT_EQ(busy(), c.expected);
        EXPECT_EQ(json("rows", {}).Size(), c.expected.size());
        select({"--clear"});
    }
    EXPECT_EQ(busy(), (Sums{{m_main, 100000}, {m_worker, 80000}}));
}

TEST_F(Selection, NarrowsWhatIsSelectedUnlessItReplacesIt) {
    select({"--time", "30us..90us"});
    select({"--rows", "1"});
    EXPECT_EQ(busy(), (Sums{{m_worker, 40000}}));
    select({"--time", "80us..100us"});
    EXPECT_EQ(busy(), (Sums{{m_worker, 10000}}));
    select({"--time", "20us..40us", "--replace"});
    EXPECT_EQ(busy(), (Sums{{m_main, 20000}, {m_worker, 20000}}));

    const Document filters = json("info", {});
    bool found = false;
    for (const Value& filter : filters["filters"].GetArray()) {
        if (filter["name"] != "global") continue;
        found = true;
        EXPECT_EQ(filter["time"][0]["start"].GetUint64(), 20000U);
        EXPECT_EQ(filter["time"][0]["end"].GetUint64(), 40000U);
        EXPECT_TRUE(filter["query"].IsNull());
    }
    EXPECT_TRUE(found);
    select({"--clear"});
    EXPECT_EQ(json("info", {})["filters"].Size(), 0U);
}

TEST_F(Selection, ThatFailsChangesNothingAndSaysWhy) {
    select({"--rows", "1"});
    const struct {
        std::vector<std::string> options;
        const char* said;
    } cases[] = {
        {{"--rows", "1"}, "there are"},  // the one row that is left is row 0
        {{"--rows", "x"}, "'x' is no row"},
        {{"--attr", "1:99"}, "has no row 99"},
        {{"--attr", "1:nobody"}, "has no 'nobody'"},
        {{"--attr", "9:1"}, "layers, counted from 0"},
        {{"--attr", "one"}, "LAYER:ID"},
        {{"--area", "1", "--attr", "0:1"}, "the layer draws numbers"},
        {{"--time", "1s..2s"}, "outside"},
        {{"--rows", "0", "--attr", "1:1"}, "excludes"},
        {{"--exclude", "--clear"}, "--exclude goes with"},
        {{"--dive", "--time", "1us..2us"}, "--attr"},
        {{}, "say what to select"},
    };
    for (const auto& c : cases) {
        const ToolRun answer = run("select", c.options);
        SCOPED_TRACE(answer.err);
        EXPECT_EQ(answer.exit, 2);
        EXPECT_EQ(answer.out, "");
        EXPECT_EQ(answer.err.rfind("lanefeed: error: ", 0), 0U);
        const bool first = c.options.size() == 2 && c.options[1] == "1";
        EXPECT_TRUE(contains(answer.err, first ? "the rows are 0 to 0" : c.said));
    }
    EXPECT_EQ(busy(), (Sums{{m_worker, 80000}}));
}

TEST_F(Selection, ThatLeavesNothingSaysSo) {
    const ToolRun answer = run("select", {"--rows", "1", "--time", "0us..15us"});
    EXPECT_EQ(answer.exit, 0) << answer.err;
    EXPECT_TRUE(contains(answer.err, "leave nothing")) << answer.err;
    for (const char* verb : {"rows", "overtime"}) {
        const ToolRun empty = run(verb, {});
        EXPECT_EQ(empty.exit, 0) << empty.err;
        EXPECT_TRUE(contains(empty.err, "lanefeed: note: ")) << empty.err;
        EXPECT_FALSE(contains(empty.err, "error")) << empty.err;
    }
    select({"--clear"});
    EXPECT_EQ(busy(), (Sums{{m_main, 100000}, {m_worker, 80000}}));
}

TEST_F(Selection, AFilterOfACallJoinsWhatIsKeptAndIsForgotten) {
    EXPECT_EQ(busy({"--filter", "thread=main"}), (Sums{{m_main, 100000}}));
    EXPECT_EQ(busy({"--filter", "thread!=main", "--filter", "time=90us..110us"}),
              (Sums{{m_worker, 20000}}));
    EXPECT_EQ(busy(), (Sums{{m_main, 100000}, {m_worker, 80000}}));
    select({"--time", "30us..90us"});
    EXPECT_EQ(busy({"--filter", "thread=wor*"}), (Sums{{m_worker, 40000}}));
    EXPECT_EQ(busy(), (Sums{{m_main, 60000}, {m_worker, 40000}}));

    for (const char* verb : {"rows", "overtime", "info", "viewpoint"}) {
        const ToolRun unknown = run(verb, {"--filter", "thraed=main"});
        EXPECT_EQ(unknown.exit, 2) << unknown.err;
        EXPECT_TRUE(contains(unknown.err, "thraed") && contains(unknown.err, "thread"))
            << unknown.err;
    }
}

TEST_F(Selection, VisibleRowsKeepTheirIds) {
    const Document rows = json("rows", {"--visible", "--filter", "thread=worker"});
    ASSERT_EQ(rows.Size(), 1U);
    EXPECT_EQ(rows[0]["id"].GetInt(), 1);
    EXPECT_STREQ(rows[0]["name"].GetString(), m_worker.c_str());
    EXPECT_EQ(json("rows", {"--visible"}).Size(), 2U);
    EXPECT_EQ(run("rows", {"--sort", ""}).exit, 2);
    // Values are those under the filter, as without --visible; so is their order.
    const auto values = [&](std::vector<std::string> options) {
        options.insert(options.end(), {"--viewpoint", "processes", "--filter", "time=30us..70us",
                                       "--sort", "Busy time:desc"});
        const Document answer = json("rows", options);
        std::string text;
        for (const auto& row : answer.GetArray())
            text += row["name"].GetString() + std::string("=") +
                    std::to_string(row["values"]["Slices"].GetInt()) + " ";
        return text;
    };
    EXPECT_EQ(values({"--visible"}), "process 1=3 main=2 worker=1 ");
    EXPECT_EQ(values({}), values({"--visible"}));
}

TEST_F(Selection, OfBundledTracesIsTakenBackToTheByte) {
    const struct {
        const char* trace;
        std::vector<std::string> selected;
    } cases[] = {{"node20-workers.json", {"--time", "20%..30%"}},
                 {"flow.json.gz", {"--rows", "0"}},
                 {"uftrace-threads.json.gz", {"--attr", "1:2"}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.trace);
        const std::string result = m_folder / "bundled.lft";
        ASSERT_EQ(runTool({"import", traceFile(c.trace), "-o", result, "--force"}).exit, 0);
        const auto answers = [&] {
            std::vector<std::string> all;
            for (const char* verb : {"rows", "overtime"})
                for (const char* format : {"table", "csv", "json"})
                    all.push_back(runTool({verb, result, "--format", format}).out);
            return all;
        };
        const std::vector<std::string> first = answers();
        std::vector<std::string> arguments{"select", result};
        arguments.insert(arguments.end(), c.selected.begin(), c.selected.end());
        const ToolRun run = runTool(arguments);
        ASSERT_EQ(run.exit, 0) << run.err;
        EXPECT_NE(runTool({"overtime", result, "--format", "json"}).out, first.back());
        ASSERT_EQ(runTool({"select", result, "--clear"}).exit, 0);
        EXPECT_TRUE(answers() == first);
    }
}

TEST_F(Selection, IsAsItWasWhenItCannotBeWrittenAndToldWhenItCannotBeRead) {
    select({"--rows", "0"});
    const Sums before = busy();
    RunOptions full;
    full.fileSizeLimit = 0;
    const ToolRun failed = runTool({"select", m_result, "--time", "10us..20us"}, full);
    EXPECT_EQ(failed.exit, 1) << failed.err;
    EXPECT_TRUE(contains(failed.err, "the filters can't be kept")) << failed.err;
    EXPECT_EQ(busy(), before);

    spoilFilters(m_result);
    for (const char* verb : {"rows", "info", "overtime"}) {
        const ToolRun told = run(verb, {});
        EXPECT_EQ(told.exit, 0);
        EXPECT_TRUE(contains(told.err, "the filters in it are not understood")) << told.err;
    }
    ASSERT_EQ(run("select", {"--clear"}).exit, 0);
    EXPECT_EQ(run("rows", {}).err, "");
}

TEST_F(Selection, RowsAreSortedByAnyColumnWithinTheirLevel) {
    const auto names = [this](const std::vector<std::string>& options) {
        std::vector<std::string> all;
        const Document rows = json("rows", options);
        for (const Value& row : rows.GetArray())
            all.emplace_back(row["name"].GetString());
        return all;
    };
    EXPECT_EQ(names({"--sort", "name"}), (std::vector<std::string>{m_main, m_worker}));
    EXPECT_EQ(names({"--sort", "name:desc"}), (std::vector<std::string>{m_worker, m_main}));
    const ToolRun unknown = run("rows", {"--sort", "nme"});
    EXPECT_EQ(unknown.exit, 2);
    EXPECT_TRUE(contains(unknown.err, "known: name, start, end")) << unknown.err;

    const std::string levels = LANEFEED_SOURCE_DIR "/runtime/session/viewpoints/processes.xml";
    const Document nested = json("rows", {"--viewpoint", levels});
    ASSERT_EQ(nested.Size(), 3U) << "a process and its threads";
    EXPECT_EQ(nested[0]["level"].GetInt(), 0);
    EXPECT_EQ(nested[1]["parent"].GetInt(), nested[0]["id"].GetInt());
    EXPECT_EQ(nested[1]["values"].MemberCount(), nested[0]["values"].MemberCount());
    EXPECT_GT(nested[0]["values"].MemberCount(), 0U);
    const std::vector<std::string> up = names({"--viewpoint", levels, "--sort", "name"});
    const std::vector<std::string> down = names({"--viewpoint", levels, "--sort", "name:desc"});
    EXPECT_EQ(up[0], down[0]);
    EXPECT_EQ(up[1], down[2]);
    EXPECT_EQ(up[2], down[1]);
}
