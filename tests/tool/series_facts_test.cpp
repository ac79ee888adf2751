// What the client prints for bundled traces against facts that were found out independently: the
// facts of a result, and sums of series that must come out whatever the buckets and windows.

#include "tool/tool_test.h"

#include <cmath>
#include <map>
#include <sstream>

namespace {

using rapidjson::Document;
using rapidjson::SizeType;
using rapidjson::Value;
using ::testing::HasSubstr;
using Sums = std::map<std::string, double>;

class SeriesFacts : public ToolTest {
protected:
    Document overtime(const std::string& words, const RunOptions& how = {}) const {
        return json("overtime @ --unit ticks " + words, how);
    }
    // Of the first layer that is asked for.
    Sums rowSums(const std::string& words) const;
};

// Ticks of each row over all buckets of a layer; with `series` those of each series.
Sums sumsOf(const Value& layer, bool bySeries = false) {
    Sums sums;
    for (const Value& row : layer["rows"].GetArray()) {
        for (const Value& series : row["series"].GetArray()) {
            const std::string name = bySeries ? series["name"].GetString() : "";
            double& sum = sums[std::to_string(row["id"].GetInt()) + " " + row["name"].GetString() +
                               " " + name];
            for (const Value& value : series["values"].GetArray())
                sum += value.IsNull() ? 0 : value.GetDouble();
        }
    }
    return sums;
}

Sums SeriesFacts::rowSums(const std::string& words) const {
    const Document answer = overtime(words);
    return sumsOf(answer[0]);
}

Sums operator+(Sums sums, const Sums& more) {
    for (const auto& [row, sum] : more)
        sums[row] += sum;
    return sums;
}

void expectFacts(const Document& info, const Value& expected, const std::string& keys) {
    std::istringstream in(keys);
    for (std::string key; in >> key;) {
        ASSERT_TRUE(info.HasMember(key.c_str())) << key;
        EXPECT_EQ(info[key.c_str()].GetInt64(), expected[key.c_str()].GetInt64()) << key;
    }
}

}  // namespace

// The busy time of threads, and the same told apart by name, for any buckets and by both providers.
TEST_F(SeriesFacts, ChromeTracesComeToTheirFacts) {
    const Document facts = parsed(fileText(traceFile("facts.json")));
    for (const std::string name :
         {"node20-workers.json", "uftrace-threads.json.gz", "flow.json.gz"}) {
        SCOPED_TRACE(name);
        const Value& expected = facts[name.c_str()];
        import("$" + name);
        expectFacts(json("info @"), expected,
                    "completeSlices orphanEnds unclosedBegins processes threads instants "
                    "counterTracks counterSamples asyncPairs flowArrows firstTick lastTick");
        Sums sums;
        for (const char* bins : {"--bins 1", "--bins 37"}) {
            const Document answer = overtime(bins);
            sums = sumsOf(answer[0]);
            EXPECT_EQ(sumsOf(answer[1]), sums) << "by name";
            for (const Value& thread : expected["busiestThreads"].GetArray()) {
                const double covered = thread["coveredTicks"].GetDouble();
                double nearest = 1e300;
                for (const auto& [row, ticks] : sums)
                    if (std::fabs(ticks - covered) < std::fabs(nearest - covered)) nearest = ticks;
                EXPECT_NEAR(nearest, covered, thread["slices"].GetDouble()) << bins;
            }
        }
        const std::string csv = "overtime @ --layer 0 --bins 37 --format csv";
        EXPECT_TRUE(out(csv, kPlain) == out(csv)) << "without the timeline";
        const std::string layer = "--layer 0 --bins 11 --time ";
        EXPECT_EQ(rowSums(layer + "..14%") + rowSums(layer + "14%..33.1%") +
                      rowSums(layer + "33.1%..99.99%") + rowSums(layer + "99.99%.."),
                  sums)
            << "windows that follow each other";
    }
}

// Facts of scheduler traces, and the time of threads and of idle cores, to the tick.
TEST_F(SeriesFacts, SchedulerTracesComeToTheirFacts) {
    const Document facts = parsed(fileText(traceFile("scheduler/facts.json")));
    write(
        "v.xml",
        R"(<viewpoint><area><rowSet><rowBy useGridQuery="false" query="thread"/>)"
        R"(<layer type="Overtime"><drawBy query="timeByState"/></layer></rowSet></area>)"
        R"(<area><rowSet><rowBy useGridQuery="false" query="core"/>)"
        R"(<layer type="Overtime"><drawBy query="idleTime"/></layer></rowSet></area></viewpoint>)");
    for (const auto& sample : facts.GetObject()) {
        SCOPED_TRACE(sample.name.GetString());
        import(std::string("$scheduler/") + sample.name.GetString());
        const Document info = json("info @");
        expectFacts(info, sample.value,
                    "switches wakeups runningIntervals runningTotal interruptPairs "
                    "switchesOutOfStep");
        EXPECT_EQ(info["firstTick"].GetInt64(), sample.value["firstTime"].GetInt64());
        EXPECT_EQ(info["lastTick"].GetInt64(), sample.value["lastTime"].GetInt64());
        const auto find = [](const Sums& sums, const std::string& text) {
            for (const auto& [name, sum] : sums)
                if (name.find(text) != std::string::npos) return sum;
            return -1.0;
        };
        const Document states = overtime("--viewpoint @v.xml --bins 13");
        for (const auto& task : sample.value["busiest"].GetObject())
            EXPECT_EQ(find(sumsOf(states[0], true),
                           std::string("(") + task.name.GetString() + ") Running"),
                      task.value.GetDouble())
                << task.name.GetString();
        const Document idle = overtime("--viewpoint @v.xml --area 1 --bins 13");
        for (const auto& core : sample.value["idle"].GetObject())
            EXPECT_EQ(find(sumsOf(idle[0]), std::string("core ") + core.name.GetString() + " "),
                      core.value.GetDouble())
                << core.name.GetString();
        EXPECT_EQ(run("overtime @ --area 2").exit, 0) << "an area without rows";
    }
}

// Colours and series of states are found by the names that imports give them; the grid reaches
// threads by what runs on the bands of cores.
TEST_F(SeriesFacts, ShippedViewpointsShowSchedulerTraces) {
    import("$scheduler/perf-script.txt");
    std::map<std::string, std::string> colors;
    const Document bars = json("intervals @ --layer 0 --bins 5000");
    for (const Value& row : bars[0]["rows"].GetArray())
        for (const Value& bar : row["intervals"].GetArray())
            colors[bar["name"].GetString()] =
                bar["color"].IsString() ? bar["color"].GetString() : "none";
    EXPECT_EQ(colors, (std::map<std::string, std::string>{{"Running", "#2e7d32"},
                                                          {"Runnable", "#ffb300"},
                                                          {"Sleeping", "#cfd8dc"},
                                                          {"Blocked", "#c62828"}}));
    const Document counts = json("counts @ --layer 5");
    const Value& series = counts[0]["rows"][0]["series"];
    ASSERT_EQ(series.Size(), 2U);
    EXPECT_STREQ(series[1]["name"].GetString(), "Runnable");

    const std::string grid = "--viewpoint scheduler_processes ";
    const Document rows = json("rows @ " + grid);
    const Document use = overtime(grid + "--layer 0 --bins 1");
    ASSERT_GT(rows.Size(), 10U);
    for (SizeType i = 0; i < rows.Size(); ++i)
        EXPECT_EQ(use[0]["rows"][i]["series"][0]["values"][0].GetUint64(),
                  rows[i]["values"]["CPU use"].GetUint64());
    EXPECT_THAT(out("tooltip @ " + grid + "--layer 0 --at 50% --format json --row " +
                    std::to_string(rows[1]["id"].GetInt())),
                HasSubstr("{\"key\": \"Thread id\""));
    // What a fact comes to stands behind it, for people.
    EXPECT_THAT(out("info @"), HasSubstr(" s after the first tick)\n"));
}
