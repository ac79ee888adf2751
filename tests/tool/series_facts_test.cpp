// What the client prints for bundled traces against facts that were found out independently: the
// facts of a result, and sums of series that must come out whatever the buckets and windows.

#include "tool/answers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <rapidjson/document.h>
#include <string>
#include <vector>

namespace {

using rapidjson::Document;
using rapidjson::Value;

const char* const kTraces[] = {"node20-workers.json", "uftrace-threads.json.gz", "flow.json.gz",
                               "bazel-profile-with_queuing.json.gz", "fuchsia_trace.json.gz"};

Document overtime(const std::string& result,
                  const std::vector<std::string>& options,
                  const RunOptions& how = {}) {
    std::vector<std::string> arguments{"overtime", result, "--format", "json", "--unit", "ticks"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ToolRun run = runTool(arguments, how);
    EXPECT_EQ(run.exit, 0) << run.err;
    return parsed(run.out);
}

// Ticks of each row over all series and buckets of a layer.
std::map<int, double> rowSums(const Value& layer) {
    std::map<int, double> sums;
    for (const Value& row : layer["rows"].GetArray()) {
        double& sum = sums[row["id"].GetInt()];
        for (const Value& series : row["series"].GetArray()) {
            for (const Value& value : series["values"].GetArray())
                sum += value.IsNull() ? 0 : value.GetDouble();
        }
    }
    return sums;
}

void add(std::map<int, double>& sums, const std::map<int, double>& more) {
    for (const auto& [row, sum] : more)
        sums[row] += sum;
}

std::uint64_t duration(const std::string& result) {
    const Document answer = overtime(result, {"--layer", "0", "--bins", "1"});
    return answer[0]["end"].GetUint64();
}

}  // namespace

TEST(SeriesFacts, InfoTellsWhatTheTraceHolds) {
    const Document expected = parsed(fileText(traceFile("facts.json")));
    for (const char* name : kTraces) {
        SCOPED_TRACE(name);
        const ImportedTrace trace(name);
        const ToolRun run = runTool({"info", trace.result(), "--format", "json"});
        ASSERT_EQ(run.exit, 0) << run.err;
        const Document info = parsed(run.out);
        for (const char* key : {"completeSlices", "orphanEnds", "unclosedBegins", "processes",
                                "threads", "instants", "counterTracks", "counterSamples",
                                "asyncPairs", "flowArrows", "firstTick", "lastTick"}) {
            ASSERT_TRUE(info.HasMember(key)) << key;
            EXPECT_EQ(info[key].GetInt64(), expected[name][key].GetInt64()) << key;
        }
        EXPECT_EQ(info["ticksPerSecond"].GetInt64(), 1000000000);
        EXPECT_TRUE(info["skipped"].IsObject());
    }
}

TEST(SeriesFacts, BusyTimeIsThatOfTheThreadsForAnyNumberOfBuckets) {
    const Document expected = parsed(fileText(traceFile("facts.json")));
    for (const char* name : kTraces) {
        SCOPED_TRACE(name);
        const ImportedTrace trace(name);
        for (const char* bins : {"1", "1013"}) {
            SCOPED_TRACE(bins);
            const Document answer = overtime(trace.result(), {"--layer", "0", "--bins", bins});
            std::map<std::string, double> byName;
            const std::map<int, double> sums = rowSums(answer[0]);
            for (const Value& row : answer[0]["rows"].GetArray())
                byName[row["name"].GetString()] = sums.at(row["id"].GetInt());
            for (const Value& thread : expected[name]["busiestThreads"].GetArray()) {
                const double covered = thread["coveredTicks"].GetDouble();
                const double slices = thread["slices"].GetDouble();
                double nearest = 1e300;
                for (const auto& [row, ticks] : byName)
                    if (std::fabs(ticks - covered) < std::fabs(nearest - covered)) nearest = ticks;
                EXPECT_NEAR(nearest, covered, slices) << "thread " << thread["tid"].GetString();
            }
        }
    }
}

TEST(SeriesFacts, WindowsThatFollowEachOtherAddUpToTheTick) {
    for (const char* name : kTraces) {
        SCOPED_TRACE(name);
        const ImportedTrace trace(name);
        const std::uint64_t end = duration(trace.result());
        const auto whole = rowSums(overtime(trace.result(), {"--layer", "0", "--bins", "13"})[0]);
        std::map<int, double> parts;
        const std::uint64_t cuts[] = {0, end / 7, end / 3 + 1, end / 2, end - 17, end};
        for (std::size_t i = 0; i + 1 < std::size(cuts); ++i) {
            const std::string span =
                std::to_string(cuts[i]) + "ticks.." + std::to_string(cuts[i + 1]) + "ticks";
            add(parts, rowSums(overtime(trace.result(),
                                        {"--layer", "0", "--bins", "11", "--time", span})[0]));
        }
        EXPECT_EQ(parts, whole);
    }
}

TEST(SeriesFacts, TimeByNameAddsUpToTheBusyTime) {
    for (const char* name : kTraces) {
        SCOPED_TRACE(name);
        const ImportedTrace trace(name);
        for (const char* bins : {"1", "50"}) {
            const Document answer = overtime(trace.result(), {"--bins", bins});
            EXPECT_EQ(rowSums(answer[1]), rowSums(answer[0])) << bins;
        }
    }
}

TEST(SeriesFacts, ABucketWithDataNeverLooksEmptyAtACoarserZoom) {
    const ImportedTrace trace("node20-workers.json");
    const Document fine = overtime(trace.result(), {"--layer", "0", "--bins", "1000"});
    const Document coarse = overtime(trace.result(), {"--layer", "0", "--bins", "50"});
    const std::uint64_t width = coarse[0]["binTicks"].GetUint64();
    for (rapidjson::SizeType i = 0; i < fine[0]["rows"].Size(); ++i) {
        const Value& fineSeries = fine[0]["rows"][i]["series"];
        if (fineSeries.Empty()) continue;
        const Value& values = fineSeries[0]["values"];
        const Value& covered = coarse[0]["rows"][i]["series"][0]["values"];
        for (rapidjson::SizeType bucket = 0; bucket < values.Size(); ++bucket) {
            if (values[bucket].IsNull()) continue;
            const std::uint64_t start = bucket * fine[0]["binTicks"].GetUint64();
            const auto at =
                static_cast<rapidjson::SizeType>(std::min<std::uint64_t>(start / width, 49));
            const bool next = at + 1 < 50 && !covered[at + 1].IsNull();
            EXPECT_TRUE(!covered[at].IsNull() || next) << "row " << i << " bucket " << bucket;
        }
    }
}

TEST(SeriesFacts, BothProvidersGiveTheSameAnswers) {
    RunOptions plain;
    plain.environment = {"LANEFEED_SQLITE=1"};
    for (const char* name : kTraces) {
        SCOPED_TRACE(name);
        const ImportedTrace trace(name);
        for (const char* area : {"0", "1", "2"}) {
            const Document timeline = overtime(trace.result(), {"--bins", "37", "--area", area});
            const Document store =
                overtime(trace.result(), {"--bins", "37", "--area", area}, plain);
            EXPECT_TRUE(timeline == store) << "area " << area;
        }
    }
}

TEST(SeriesFacts, APauseCarriesNothingAndTheRestStays) {
    ScratchFolder folder;
    const std::string source = traceFile("node20-workers.json");
    const std::string whole = folder / "whole.lft";
    const std::string paused = folder / "paused.lft";
    ASSERT_EQ(runTool({"import", source, "-o", whole}).exit, 0);
    const ToolRun import = runTool({"import", source, "-o", paused, "--pause", "100ms..150ms"});
    ASSERT_EQ(import.exit, 0) << import.err;
    for (const char* layer : {"0", "1"}) {
        SCOPED_TRACE(layer);
        std::map<int, double> outside =
            rowSums(overtime(whole, {"--layer", layer, "--time", "..100ms"})[0]);
        add(outside, rowSums(overtime(whole, {"--layer", layer, "--time", "150ms.."})[0]));
        EXPECT_EQ(rowSums(overtime(paused, {"--layer", layer})[0]), outside);
        const Document inside =
            overtime(paused, {"--layer", layer, "--time", "100ms..150ms", "--bins", "7"});
        for (const auto& [row, ticks] : rowSums(inside[0]))
            EXPECT_EQ(ticks, 0) << "row " << row;
    }
}

// Facts of scheduler traces, and the time of threads and of idle cores, to the tick.
TEST(SeriesFacts, SchedulerTracesComeToTheirFacts) {
    const Document expected = parsed(fileText(traceFile("scheduler/facts.json")));
    ScratchFolder folder;
    const std::string viewpoint = folder.write(
        "v.xml",
        R"(<viewpoint><area><rowSet><rowBy useGridQuery="false" query="thread"/>)"
        R"(<layer type="Overtime"><drawBy query="timeByState"/></layer></rowSet></area>)"
        R"(<area><rowSet><rowBy useGridQuery="false" query="core"/>)"
        R"(<layer type="Overtime"><drawBy query="idleTime"/></layer></rowSet></area></viewpoint>)");
    for (const auto& sample : expected.GetObject()) {
        SCOPED_TRACE(sample.name.GetString());
        const ImportedTrace trace(std::string("scheduler/") + sample.name.GetString());
        const Document info = answerOf({"info", trace.result()});
        for (const char* key : {"switches", "wakeups", "runningIntervals", "runningTotal",
                                "interruptPairs", "switchesOutOfStep"})
            EXPECT_EQ(info[key].GetInt64(), sample.value[key].GetInt64()) << key;
        EXPECT_EQ(info["firstTick"].GetInt64(), sample.value["firstTime"].GetInt64());
        EXPECT_EQ(info["lastTick"].GetInt64(), sample.value["lastTime"].GetInt64());
        EXPECT_TRUE(info["skipped"].IsObject());

        const auto sumsOf = [&](const char* area) {
            std::map<std::string, double> sums;
            const Document answer = overtime(
                trace.result(), {"--viewpoint", viewpoint, "--area", area, "--bins", "13"});
            for (const Value& row : answer[0]["rows"].GetArray()) {
                for (const Value& series : row["series"].GetArray()) {
                    double& sum = sums[row["name"].GetString() + std::string(" ") +
                                       series["name"].GetString()];
                    for (const Value& value : series["values"].GetArray())
                        sum += value.IsNull() ? 0 : value.GetDouble();
                }
            }
            return sums;
        };
        const auto find = [](const std::map<std::string, double>& sums, const std::string& text) {
            for (const auto& [name, sum] : sums)
                if (name.find(text) != std::string::npos) return sum;
            return -1.0;
        };
        const auto states = sumsOf("0");
        for (const auto& task : sample.value["busiest"].GetObject())
            EXPECT_EQ(find(states, std::string("(") + task.name.GetString() + ") Running"),
                      task.value.GetDouble())
                << task.name.GetString();
        const auto idle = sumsOf("1");
        for (const auto& core : sample.value["idle"].GetObject())
            EXPECT_EQ(find(idle, std::string("core ") + core.name.GetString() + " "),
                      core.value.GetDouble())
                << core.name.GetString();
    }
}
