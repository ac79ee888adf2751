// What the client prints for bundled traces against facts that were found out independently: sums
// of series that must come out whatever the buckets and windows.

#include "tool/tool_test.h"

#include <cmath>

namespace {

using rapidjson::Document;
using rapidjson::Value;
using ::testing::HasSubstr;
using Sums = std::map<std::string, double>;

// Ticks over all buckets of the series of a layer, by "ID ROW "; with `bySeries` also by its name.
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

// Of the one whose name holds a text.
double sumOf(const Sums& sums, const std::string& text) {
    for (const auto& [name, sum] : sums)
        if (name.find(text) != std::string::npos) return sum;
    return -1;
}

class SeriesFacts : public ToolTest {
protected:
    Document overtime(const std::string& words) const {
        return json("overtime @ --unit ticks " + words);
    }
};

}  // namespace

// The busy time of threads, and the same told apart by name, for any buckets.
TEST_F(SeriesFacts, ChromeTracesComeToTheirFacts) {
    const Document facts = parsed(fileText(path("$facts.json")));
    for (const std::string name :
         {"node20-workers.json", "uftrace-threads.json.gz", "flow.json.gz"}) {
        SCOPED_TRACE(name);
        const Value& expected = facts[name.c_str()];
        import("$" + name);
        const Document info = json("info @");
        for (const char* key :
             {"completeSlices", "instants", "flowArrows", "firstTick", "lastTick"})
            EXPECT_EQ(info[key].GetInt64(), expected[key].GetInt64()) << key;
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
        for (const char* window : {"..14%", "14%..33.1%", "33.1%..99.99%", "99.99%.."})
            for (const auto& [row, ticks] :
                 sumsOf(overtime(std::string("--layer 0 --bins 11 --time ") + window)[0]))
                sums[row] -= ticks;
        for (const auto& [row, rest] : sums)
            EXPECT_EQ(rest, 0) << "windows that follow each other, " << row;
    }
}

// The time of threads by their states, to the tick.
TEST_F(SeriesFacts, SchedulerTracesComeToTheirFacts) {
    const Document facts = parsed(fileText(path("$scheduler/facts.json")));
    for (const auto& sample : facts.GetObject()) {
        SCOPED_TRACE(sample.name.GetString());
        import(std::string("$scheduler/") + sample.name.GetString());
        const Document states = overtime("--layer 4 --bins 13");
        const Sums sums = sumsOf(states[0], true);
        for (const auto& task : sample.value["busiest"].GetObject())
            EXPECT_EQ(sumOf(sums, std::string("(") + task.name.GetString() + ") Running"),
                      task.value.GetDouble());
        EXPECT_EQ(run("overtime @ --area 2").exit, 0) << "an area without rows";
    }
}

// A grid reaches threads by what runs on the bands of cores; facts are told for people too.
TEST_F(SeriesFacts, AGridOfASchedulerTraceHasTooltips) {
    import("$scheduler/perf-script.txt");
    const std::string grid = " @ --viewpoint scheduler_processes ";
    const std::string row = std::to_string(json("rows" + grid)[1]["id"].GetInt());
    EXPECT_THAT(out("tooltip" + grid + "--layer 0 --at 50% --format json --row " + row),
                HasSubstr("{\"key\": \"Thread id\""));
    EXPECT_THAT(out("info @"), HasSubstr(" s after the first tick)\n"));
}
