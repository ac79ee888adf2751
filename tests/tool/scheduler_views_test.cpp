// What the shipped viewpoints show of scheduler traces, through the client.
#include "run_tool.h"

#include <gtest/gtest.h>

#include <map>
#include <rapidjson/document.h>

namespace {

using rapidjson::Document;
using rapidjson::Value;

class SchedulerViews : public ::testing::Test {
protected:
    void import(const std::string& trace) {
        m_result = m_folder / "a.lft";
        ASSERT_EQ(
            runTool({"import", traceFile("scheduler/" + trace), "-o", m_result, "--force"}).exit,
            0);
    }
    Document json(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin() + 1, m_result);
        arguments.insert(arguments.end(), {"--format", "json"});
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.exit, 0) << run.err;
        Document document;
        document.Parse(run.out.c_str());
        EXPECT_FALSE(document.HasParseError()) << run.out;
        return document;
    }

    ScratchFolder m_folder;
    std::string m_result;
};

TEST_F(SchedulerViews, EveryTraceIsShownByThreadsAndCores) {
    for (const char* trace : {"perf-script.txt", "systrace.html", "trace-cmd-report.txt"}) {
        SCOPED_TRACE(trace);
        import(trace);
        for (const char* area : {"0", "1"}) {
            const Document bars =
                json({"intervals", "--area", area, "--layer", area, "--bins", "50"});
            EXPECT_GT(bars[0]["rows"].Size(), 0U);
        }
        EXPECT_EQ(runTool({"overtime", m_result, "--area", "2"}).exit, 0) << "an area without rows";
    }
}

// Colours and series of states are found by the names that imports give them.
TEST_F(SchedulerViews, StatesHaveTheirColoursAndSeries) {
    import("perf-script.txt");
    std::map<std::string, std::string> colors;
    const Document bars = json({"intervals", "--layer", "0", "--bins", "5000"});
    for (const Value& row : bars[0]["rows"].GetArray())
        for (const Value& bar : row["intervals"].GetArray())
            colors[bar["name"].GetString()] =
                bar["color"].IsString() ? bar["color"].GetString() : "none";
    EXPECT_EQ(colors, (std::map<std::string, std::string>{{"Running", "#2e7d32"},
                                                          {"Runnable", "#ffb300"},
                                                          {"Sleeping", "#cfd8dc"},
                                                          {"Blocked", "#c62828"}}));
    const Document counts = json({"counts", "--layer", "5"});
    const Value& series = counts[0]["rows"][0]["series"];
    ASSERT_EQ(series.Size(), 2U);
    EXPECT_STREQ(series[0]["name"].GetString(), "Running");
    EXPECT_STREQ(series[1]["name"].GetString(), "Runnable");
}

// Time on cores belongs to bands of cores; the grid reaches threads by what runs there.
TEST_F(SchedulerViews, ThreadsOfProcessesHaveTheTimeThatTheirColumnSays) {
    import("perf-script.txt");
    const std::string file =
        LANEFEED_SOURCE_DIR "/runtime/session/viewpoints/scheduler_processes.xml";
    const Document rows = json({"rows", "--viewpoint", file});
    const Document layers =
        json({"overtime", "--viewpoint", file, "--layer", "0", "--bins", "1", "--unit", "ticks"});
    const Value& series = layers[0]["rows"];
    ASSERT_GT(rows.Size(), 10U);
    ASSERT_EQ(series.Size(), rows.Size());
    for (rapidjson::SizeType i = 0; i < rows.Size(); ++i) {
        EXPECT_EQ(series[i]["id"].GetInt(), rows[i]["id"].GetInt());
        EXPECT_EQ(series[i]["series"][0]["values"][0].GetUint64(),
                  rows[i]["values"]["CPU use"].GetUint64());
    }
    const std::string busiest = std::to_string(rows[1]["id"].GetInt());
    const Document pointed =
        json({"tooltip", "--viewpoint", file, "--layer", "0", "--row", busiest, "--at", "50%"});
    ASSERT_EQ(pointed["objects"].Size(), 1U);
    EXPECT_STREQ(pointed["objects"][0]["items"][1]["key"].GetString(), "Thread id");
}

}  // namespace
