// What goes wrong, or nearly: it ends in one line with file and remedy, the told exit code, and no
// half-written result; or in the right answer, never in half of one.

#include "tool/tool_test.h"

#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr std::size_t kPageSize = 16384;

std::string slice(const std::string& time, const std::string& duration) {
    return R"([{"ph":"X","pid":1,"tid":1,"name":"a","ts":)" + time + R"(,"dur":)" + duration + "}]";
}

class Errors : public ToolTest {
protected:
    void importSlice(const std::string& time = "1", const std::string& duration = "5") {
        write("a.json", slice(time, duration));
        import("@a.json");
    }
};

}  // namespace

TEST_F(Errors, OfAnImportAreToldAndLeaveNothing) {
    write("text.json", "hello, this is no trace\n");
    write("other.json", R"({"frames": [1, 2, 3]})");
    write("empty.json", "");
    const std::string whole = fileText(traceFile("uftrace-threads.json.gz"));
    write("cut.json.gz", whole.substr(0, whole.size() / 2));
    const std::vector<std::string> before = m_folder.names();
    expectEach({{"import @missing.json -o @", 1, path("@missing.json")},
                {"import " + m_folder.path() + " -o @", 1, m_folder.path()},
                {"import @text.json -o @", 3, path("@text.json")},
                {"import @other.json -o @", 3, path("@other.json")},
                {"import @empty.json -o @", 3, path("@empty.json")},
                {"import @cut.json.gz -o @", 3, path("@cut.json.gz")},
                {"import @cut.json.gz --pause 1ms.. -o @", 2, "--pause 1ms..: write A..B"},
                {"import @cut.json.gz --pause 1%..2% -o @", 2, "write A..B from the first tick"}});
    EXPECT_EQ(m_folder.names(), before);
    const ToolRun taken = run("import @cut.json.gz --keep-going");
    EXPECT_EQ(taken.exit, 0) << taken.err;
    EXPECT_THAT(taken.err, StartsWith("lanefeed: warning: "));
    EXPECT_EQ(run("overtime @cut.lft").exit, 0) << "named after the trace";
}

TEST_F(Errors, AnExistingResultStaysWhenAnImportFails) {
    importSlice();
    const std::string before = fileText(path("@"));
    RunOptions full;
    full.fileSizeLimit = 20000;
    EXPECT_EQ(run("import $node20-workers.json -o @ --force", full).exit, 1);
    EXPECT_EQ(fileText(path("@")), before);
    // Another source needs to be told to replace it, the same source doesn't.
    expectEach({{"import $node20-workers.json -o @", 1, "--force"}});
    EXPECT_EQ(fileText(path("@")), before);
    EXPECT_EQ(run("import @a.json -o @").exit, 0);
    EXPECT_EQ(m_folder.names(), (std::vector<std::string>{"a.json", "a.lft"}));
}

// An import takes away what it wrote; it also ends while it waits for a pipe.
TEST_F(Errors, AnInterruptEndsAnyVerbWithALine) {
    std::string text = "[";
    for (int i = 0; i < 200000; ++i)
        text += R"({"ph":"X","pid":1,"tid":1,"ts":)" + std::to_string(i * 10) +
                R"(,"dur":5,"name":"n)" + std::to_string(i % 100) + R"("},)";
    write("long.json", text + "{}]");
    const auto interrupted = [this](const std::string& words, int wait) {
        RunOptions options;
        options.onStart = [wait](int pid) {
            usleep(static_cast<useconds_t>(wait));
            kill(pid, SIGINT);
        };
        const ToolRun run = this->run(words, options);
        // Before main has set its handler the signal itself ends the process, with the same code.
        EXPECT_TRUE(run.exit == 130 || run.exit == 0) << run.err;
        return run.err.find("interrupted") != std::string::npos;
    };
    int told = 0;
    for (int wait = 20000; wait < 500000; wait += 60000) {
        told += interrupted("import @long.json -o @out.lft", wait) ? 1 : 0;
        if (run("info @out.lft").exit == 0) break;  // done before the signal came
        EXPECT_EQ(m_folder.names(), std::vector<std::string>{"long.json"}) << wait;
    }
    EXPECT_GT(told, 0);
    ASSERT_EQ(mkfifo(path("@pipe").c_str(), 0600), 0);
    EXPECT_TRUE(interrupted("import @pipe -o @none.lft", 400000));
    import("@long.json");
    told = 0;
    for (int wait = 20000; wait < 500000 && told == 0; wait += 20000)
        told += interrupted("tasks @ --format json", wait) ? 1 : 0;
    EXPECT_GT(told, 0);
}

TEST_F(Errors, WhatIsNoResultIsToldApartFromWhatCannotBeRead) {
    importSlice();
    std::string other = fileText(path("@"));
    write("short.lft", other.substr(0, 50));
    other[63] = 77;  // the version in the head of the file
    write("other.lft", other);
    write("text.lft", std::string(200, 'x'));
    write("empty.lft", "");
    for (const std::string verb : {"info ", "overtime "})
        expectEach({{verb + "@missing.lft", 1, "missing.lft"},
                    {verb + "@text.lft", 3, "text.lft"},
                    {verb + "@short.lft", 3, "short.lft"},
                    {verb + "@empty.lft", 3, "empty.lft"},
                    {verb + "@other.lft", 3, "other.lft"},
                    {verb + m_folder.path(), 1, m_folder.path()}});
}

TEST_F(Errors, OfUsageNameTheOptionAsItWasTyped) {
    importSlice();
    write("none.xml", threadsWith(layerXml("Overtime", "busyTime")));
    expectEach({{"overtime @ --bins 0", 2, "--bins 0: ask for 1 to 5001 buckets"},
                {"overtime @ --bins 5002", 2, "--bins 5002"},
                {"overtime @ --bins 99999999999999999999", 2, "99999999999999999999 is more than"},
                {"overtime @ --bins many", 2, "--bins: 'many' is no whole number"},
                {"overtime @ --bins \"\"", 2, "--bins"},
                {"overtime @ --area 9", 2, "--area 9"},
                {"rows @ --area -1", 2, "--area: '-1' is none; write the number of an area"},
                {"rows @ --area ruler --viewpoint @none.xml", 2, "none.xml has no ruler"},
                {"overtime @ --layer 9 --bins 5", 2, "--layer 9"},
                {"overtime @ --layer -1", 2, "0 to 2147483647"},
                {"overtime @ --time 1s..2s", 2, "--time 1s..2s"},
                {"overtime @ --format 1", 2, "--format"},
                {"overtime @ --unit s", 2, "lanefeed overtime --help"},
                {"overtime @ --nonsense", 2, "--nonsense"},
                {"overtme @", 2, "did you mean 'overtime'"},
                {"overtime", 2, "result"},
                {"rows @ --sort \"\"", 2, "--sort"},
                {"rows @ --sort nme", 2, "known: name, start, end"},
                {"viewpoint --new --format json", 2, "--format"},
                {"viewpoint", 2, "--check FILE, or --new"},
                {"overtime @ --help", 0, ""},
                {"--version", 0, ""}});
    EXPECT_EQ(run("").exit, 2);
}

TEST_F(Errors, OfViewpointsAreToldWithTheirPlace) {
    importSlice();
    write("broken.xml", "<viewpoint>\n<area></viewpoint>");
    write("words.xml", threadsWith("<layer visibleSeriesCount=\"many\"/>"));
    write("unknown.xml",
          threadsWith(layerXml("Overtime", "busyTime") + layerXml("Overtime", "noSuchQuery")));
    expectEach({{"rows @ --viewpoint @broken.xml", 3, "broken.xml:2:"},
                {"viewpoint --check @broken.xml", 3, "broken.xml:2:"},
                {"rows @ --viewpoint @none.xml", 1, "none.xml"},
                {"viewpoint --check @none.xml", 1, "none.xml"},
                {"rows @ --viewpoint " + m_folder.path(), 1, m_folder.path()},
                {"rows @ --viewpoint @words.xml", 3, "words.xml: a visibleSeriesCount"}});
    const std::string words = "overtime @ --viewpoint @unknown.xml --bins 5 --format csv";
    const ToolRun tolerant = run(words);
    EXPECT_EQ(tolerant.exit, 0);
    EXPECT_THAT(tolerant.err, HasSubstr("noSuchQuery"));
    EXPECT_THAT(tolerant.out, StartsWith("row_id,row,series,bucket,start,end,value\n"
                                         "0,process 1 / thread 1,Busy time,0,0,1000,100\n"));
    const ToolRun strict = run(words + " --strict");
    EXPECT_EQ(strict.exit, 3) << strict.err;
    EXPECT_THAT(strict.err, HasSubstr("unknown.xml"));
}

TEST_F(Errors, ADamagedPageGivesTheRightAnswerOrAnError) {
    importSlice();
    const std::string whole = fileText(path("@"));
    int errors = 0;
    for (const std::string verb : {"rows ", "overtime ", "tasks "}) {
        const std::string answer = out(verb + "@ --format json");
        for (std::size_t page = kPageSize; page < whole.size(); page += kPageSize) {
            SCOPED_TRACE(verb + "with the page at byte " + std::to_string(page));
            write("damaged.lft",
                  whole.substr(0, page) + std::string(8, '\xff') + whole.substr(page + 8));
            const ToolRun run = this->run(verb + "@damaged.lft --format json");
            if (run.exit == 0) {
                EXPECT_EQ(run.out, answer);
                continue;
            }
            EXPECT_TRUE(run.exit == 1 || run.exit == 3) << run.exit;
            EXPECT_EQ(run.out, "");
            EXPECT_THAT(run.err, HasSubstr("damaged.lft"));
            ++errors;
        }
    }
    EXPECT_GT(errors, 3);
}

TEST_F(Errors, AFactThatIsNoLongerJsonIsPrintedAsText) {
    importSlice();
    std::string bytes = fileText(path("@"));
    const std::size_t place = bytes.find(R"({"X":{"events":1)");
    ASSERT_NE(place, std::string::npos);
    bytes[place + 2] = '\xee';
    write("a.lft", bytes);
    EXPECT_THAT(out("info @ --format json"), HasSubstr("\"phases\": \"{\\\"\xEF\xBF\xBD\\\":"));
}

TEST_F(Errors, OfNothingToShowAreNone) {
    importSlice("1", "0.005");
    const std::string whole = out("overtime @ --format json --layer 0");
    EXPECT_THAT(whole, HasSubstr("\"bins\": 6, \"binTicks\": 1,")) << "a bucket for each tick";
    EXPECT_THAT(whole, HasSubstr("[100, 100, 100, 100, 100, null]"));
    write("empty.json", R"([{"ph":"M","pid":1,"name":"process_name","args":{"name":"p"}}])");
    EXPECT_THAT(run("import @empty.json -o @ --force").err, HasSubstr("warning"));
    for (const std::string verb : {"rows", "overtime", "report"}) {
        const ToolRun empty = run(verb + " @ --format json");
        EXPECT_EQ(empty.exit, 0);
        EXPECT_THAT(empty.err, HasSubstr("holds no instances"));
        EXPECT_EQ(empty.out, "[\n]\n");
    }
}

TEST_F(Errors, PausesNeverMakeAResultLongerThanItsTrace) {
    write("a.json", slice("1e15", "5"));
    const ToolRun run =
        this->run("import @a.json -o @ --pause 4us..9223372036s --pause 8us..9us --pause 1us..2us");
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("4000ns..9223372036000000000ns reaches beyond"));
    EXPECT_THAT(run.err, HasSubstr("8000ns..9000ns reaches beyond"));
    EXPECT_THAT(run.err, Not(HasSubstr("1000ns..2000ns")));
    EXPECT_THAT(out("info @ --format json"),
                HasSubstr(R"("pauses": [{"start": 1000, "end": 2000}, )"
                          R"({"start": 4000, "end": 5001}])"));
    quiet("overtime @ --layer 0 --bins 5001");
}
