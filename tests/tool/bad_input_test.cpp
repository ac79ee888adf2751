// What goes wrong ends in one line with file and remedy, the told exit code, and no half-written
// result.

#include "tool/run_tool.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kTrace = "node20-workers.json";

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string sampleTrace() {
    return R"([{"ph":"X","pid":1,"tid":1,"ts":1,"dur":5,"name":"a"}])";
}

// Ends with this code and says this, in one line that begins as all do.
void expectError(const ToolRun& run, int exit, const std::string& said) {
    EXPECT_EQ(run.exit, exit) << run.err;
    EXPECT_TRUE(contains(run.err, said)) << "expected '" << said << "' in: " << run.err;
    EXPECT_EQ(run.err.rfind("lanefeed: error: ", 0), 0U) << run.err;
    EXPECT_EQ(run.out, "");
}

}  // namespace

TEST(BadInput, OfAnImportIsToldAndLeavesNothing) {
    ScratchFolder folder;
    const std::string target = folder / "out.lft";
    folder.write("text.json", "hello, this is no trace\n");
    folder.write("number.json", "42");
    folder.write("noarray.json", R"({"traceEvents": 7})");
    folder.write("other.json", R"({"frames": [1, 2, 3]})");
    folder.write("empty.json", "");
    const std::string whole = fileText(traceFile("uftrace-threads.json.gz"));
    folder.write("cut.json.gz", whole.substr(0, whole.size() / 2));
    const struct {
        std::string trace;
        int exit;
    } cases[] = {
        {folder / "missing.json", 1}, {folder / "", 1},
        {folder / "text.json", 3},    {folder / "number.json", 3},
        {folder / "noarray.json", 3}, {folder / "other.json", 3},
        {folder / "empty.json", 3},   {folder / "cut.json.gz", 3},
    };
    const std::vector<std::string> before = folder.files();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.trace);
        expectError(runTool({"import", c.trace, "-o", target}), c.exit, c.trace);
        EXPECT_EQ(folder.files(), before);
    }
}

TEST(BadInput, ADamagedGzipIsTakenAsFarAsItUnpacksWhenAsked) {
    ScratchFolder folder;
    const std::string whole = fileText(traceFile("uftrace-threads.json.gz"));
    const std::string trace = folder.write("cut.json.gz", whole.substr(0, whole.size() / 2));
    const ToolRun run = runTool({"import", trace, "-o", folder / "out.lft", "--keep-going"});
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_TRUE(contains(run.err, "lanefeed: warning: ")) << run.err;
    EXPECT_EQ(runTool({"overtime", folder / "out.lft"}).exit, 0);
}

TEST(BadInput, ACutArrayIsImportedUpToTheLastEventWithAWarning) {
    ScratchFolder folder;
    const std::string event = R"({"ph":"X","pid":1,"tid":1,"ts":1,"dur":5,"name":"a"})";
    for (const std::string& text :
         {"[" + event + "," + event, "[" + event + ",", "[" + event + R"(,{"ph":"X","pi)",
          "{\"traceEvents\":[" + event}) {
        SCOPED_TRACE(text);
        const std::string trace = folder.write("cut.json", text);
        const ToolRun run = runTool({"import", trace, "-o", folder / "cut.lft", "--force"});
        EXPECT_EQ(run.exit, 0) << run.err;
        EXPECT_TRUE(contains(run.err, "byte")) << run.err;
    }
}

TEST(BadInput, ATraceWithoutTimedEventsGivesAnEmptyResultThatSaysSo) {
    ScratchFolder folder;
    const std::string trace = folder.write(
        "empty.json", R"([{"ph":"M","pid":1,"name":"process_name","args":{"name":"p"}}])");
    const ToolRun import = runTool({"import", trace, "-o", folder / "empty.lft"});
    EXPECT_EQ(import.exit, 0) << import.err;
    EXPECT_TRUE(contains(import.err, "warning")) << import.err;
    const ToolRun rows = runTool({"rows", folder / "empty.lft", "--format", "json"});
    EXPECT_EQ(rows.exit, 0) << rows.err;
    EXPECT_TRUE(contains(rows.err, "holds no instances")) << rows.err;
    EXPECT_EQ(rows.out, "[\n]\n");
}

TEST(BadInput, AnExistingResultStaysWhenAnImportFails) {
    ScratchFolder folder;
    const std::string trace = folder.write("a.json", sampleTrace());
    const std::string target = folder / "a.lft";
    ASSERT_EQ(runTool({"import", trace, "-o", target}).exit, 0);
    const std::string before = fileText(target);

    RunOptions full;
    full.fileSizeLimit = 20000;
    expectError(runTool({"import", traceFile(kTrace), "-o", target, "--force"}, full), 1, target);
    EXPECT_EQ(fileText(target), before);

    // Another source needs to be told to replace it, the same source doesn't.
    expectError(runTool({"import", traceFile(kTrace), "-o", target}), 1, "--force");
    EXPECT_EQ(fileText(target), before);
    EXPECT_EQ(runTool({"import", trace, "-o", target}).exit, 0);
    EXPECT_EQ(folder.files(), (std::vector<std::string>{"a.json", "a.lft"}));
}

TEST(BadInput, AnInterruptedImportLeavesNothing) {
    ScratchFolder folder;
    std::string text = "[";
    for (int i = 0; i < 200000; ++i) {
        text += R"({"ph":"X","pid":1,"tid":1,"ts":)" + std::to_string(i * 10) +
                R"(,"dur":5,"name":"n)" + std::to_string(i % 100) + R"("},)";
    }
    const std::string trace = folder.write("long.json", text + "{}]");
    int interrupted = 0;
    for (int point = 0; point < 10; ++point) {
        RunOptions options;
        options.onStart = [point](int pid) {
            usleep(static_cast<useconds_t>(20000 + 60000 * point));
            kill(pid, SIGINT);
        };
        const ToolRun run = runTool({"import", trace, "-o", folder / "out.lft"}, options);
        if (run.exit == 0) break;  // done before the signal came
        // Before main has set its handler the signal itself ends the process, with the same code.
        EXPECT_EQ(run.exit, 130) << run.err;
        EXPECT_EQ(folder.files(), std::vector<std::string>{"long.json"}) << "point " << point;
        ++interrupted;
    }
    EXPECT_GT(interrupted, 0);
}

TEST(BadInput, WhatIsNoResultIsToldApartFromWhatCannotBeRead) {
    ScratchFolder folder;
    const std::string trace = folder.write("a.json", sampleTrace());
    const std::string good = folder / "good.lft";
    ASSERT_EQ(runTool({"import", trace, "-o", good}).exit, 0);
    std::string other = fileText(good);
    other[63] = 77;  // the version in the head of the file
    folder.write("other.lft", other);
    folder.write("text.lft",
                 "no result at all, but longer than a head of a database file would be, so that it "
                 "is looked at....");
    folder.write("short.lft", fileText(good).substr(0, 50));
    folder.write("empty.lft", "");
    const struct {
        const char* name;
        int exit;
    } cases[] = {{"missing.lft", 1}, {"text.lft", 3},  {"short.lft", 3},
                 {"empty.lft", 3},   {"other.lft", 3}, {"", 1}};
    for (const auto& c : cases) {
        for (const char* verb : {"info", "rows", "overtime", "viewpoint"}) {
            SCOPED_TRACE(std::string(verb) + " " + c.name);
            expectError(runTool({verb, folder / c.name}), c.exit, c.name);
        }
    }
}

TEST(BadInput, OptionsOutOfRangeAreUsageErrors) {
    ScratchFolder folder;
    const std::string result = folder / "a.lft";
    ASSERT_EQ(runTool({"import", folder.write("a.json", sampleTrace()), "-o", result}).exit, 0);
    const struct {
        std::vector<std::string> options;
        const char* said;
    } cases[] = {
        {{"overtime", result, "--bins", "0"}, "--bins 0"},
        {{"overtime", result, "--bins", "-5"}, "--bins"},
        {{"overtime", result, "--bins", "5002"}, "--bins 5002"},
        {{"overtime", result, "--bins", "many"}, "--bins"},
        {{"overtime", result, "--area", "9"}, "--area 9"},
        {{"rows", result, "--area", "-1"}, "--area"},
        {{"overtime", result, "--layer", "9", "--bins", "5"}, "--layer 9"},
        {{"overtime", result, "--time", "1s..2s"}, "--time 1s..2s"},
        {{"overtime", result, "--time", "nonsense"}, "--time nonsense"},
        {{"overtime", result, "--format", "xml"}, "--format"},
        {{"overtime", result, "--nonsense"}, "--nonsense"},
        {{"overtme", result}, "did you mean 'overtime'"},
        {{"overtime"}, "result"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.said);
        expectError(runTool(c.options), 2, c.said);
    }
    EXPECT_EQ(runTool({}).exit, 2);
    EXPECT_EQ(runTool({"--help"}).exit, 0);
    EXPECT_EQ(runTool({"--version"}).exit, 0);
}

TEST(BadInput, ViewpointsWithErrorsAreToldWithTheirPlace) {
    ScratchFolder folder;
    const std::string result = folder / "a.lft";
    ASSERT_EQ(runTool({"import", folder.write("a.json", sampleTrace()), "-o", result}).exit, 0);
    const std::string broken = folder.write("broken.xml", "<viewpoint>\n<area></viewpoint>");
    expectError(runTool({"rows", result, "--viewpoint", broken}), 3, "broken.xml");
    expectError(runTool({"rows", result, "--viewpoint", folder / "none.xml"}), 1, "none.xml");

    const std::string words = folder.write(
        "words.xml",
        R"(<viewpoint><area><rowSet><layer visibleSeriesCount="many"/></rowSet></area></viewpoint>)");
    expectError(runTool({"rows", result, "--viewpoint", words}), 3, "words.xml");

    const std::string unknown = folder.write("unknown.xml",
                                             R"(<viewpoint><area id="a"><rowSet>
      <rowBy useGridQuery="false" query="thread"/>
      <layer type="Overtime"><drawBy query="busyTime"/></layer>
      <layer type="Overtime"><drawBy query="noSuchQuery"/></layer>
      </rowSet></area></viewpoint>)");
    const ToolRun tolerant =
        runTool({"overtime", result, "--viewpoint", unknown, "--bins", "5", "--format", "csv"});
    EXPECT_EQ(tolerant.exit, 0) << tolerant.err;
    EXPECT_TRUE(contains(tolerant.err, "noSuchQuery")) << tolerant.err;
    EXPECT_EQ(tolerant.out.rfind("row_id,row,series,bucket,start,end,value\n"
                                 "0,process 1 / thread 1,Busy time,0,0,1000,100\n",
                                 0),
              0U)
        << tolerant.out;
    const ToolRun strict = runTool({"overtime", result, "--viewpoint", unknown, "--strict"});
    EXPECT_EQ(strict.exit, 3) << strict.err;
    EXPECT_TRUE(contains(strict.err, "unknown.xml")) << strict.err;
}
