// What goes wrong, or nearly: it ends in one line with file and remedy, the told exit code, and no
// half-written result; or in the right answer, never in half of one.

#include "tool/tool_test.h"

#include <sys/stat.h>

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr std::size_t kPageSize = 16384;

class Errors : public ToolTest {
protected:
    void importSlice(const std::string& time = "1", const std::string& duration = "5") const {
        write("a.json", R"([{"ph":"X","pid":1,"tid":1,"name":"a","ts":)" + time + R"(,"dur":)" +
                            duration + "}]");
        import("@a.json");
    }
};

}  // namespace

TEST_F(Errors, OfAnImportAreToldAndLeaveNothing) {
    write("text.json", "hello, this is no trace\n");
    const std::string whole = fileText(path("$uftrace-threads.json.gz"));
    write("cut.json.gz", whole.substr(0, whole.size() / 2));
    const std::vector<std::string> before = m_folder.names();
    expectEach({{"import @missing.json -o @", 1, path("@missing.json")},
                {"import @text.json -o @", 3, path("@text.json")},
                {"import @cut.json.gz -o @", 3, path("@cut.json.gz")},
                {"import @cut.json.gz --pause 1ms.. -o @", 2, "--pause 1ms..: write A..B"},
                {"import @cut.json.gz --pause 1%..2% -o @", 2, "write A..B from the first tick"}});
    EXPECT_EQ(m_folder.names(), before);
    const ToolRun taken = run("import @cut.json.gz --keep-going");
    EXPECT_EQ(taken.exit, 0) << taken.err;
    EXPECT_THAT(taken.err, StartsWith("lanefeed: warning: "));
    EXPECT_THAT(taken.err, Not(HasSubstr("--keep-going"))) << "it is on already";
    EXPECT_EQ(run("overtime @cut.lft").exit, 0) << "named after the trace";
}

TEST_F(Errors, AnExistingResultStaysWhenAnImportFails) {
    importSlice();
    const std::string before = fileText(path("@"));
    EXPECT_EQ(run("import $node20-workers.json -o @ --force", "ulimit -f 20;").exit, 1);
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
    const auto isTold = [this](const std::string& words, int ms) {
        const std::string seconds = std::to_string(ms / 1000.0);
        const ToolRun run = this->run(words, "timeout --preserve-status " + seconds);
        // Before main has set its handler the signal itself ends the process.
        EXPECT_TRUE(run.exit == 130 || run.exit == 143 || run.exit == 0) << run.err;
        return run.err.find("interrupted") != std::string::npos;
    };
    bool told = false;
    for (int ms = 20; ms < 3000 && !told; ms *= 2) {
        told = isTold("import @long.json -o @out.lft", ms);
        if (run("info @out.lft").exit == 0) break;  // done before the signal came
        EXPECT_EQ(m_folder.names(), std::vector<std::string>{"long.json"}) << ms;
    }
    EXPECT_TRUE(told);
    ASSERT_EQ(mkfifo(path("@pipe").c_str(), 0600), 0);
    EXPECT_TRUE(isTold("import @pipe -o @none.lft", 800));
    import("@long.json");
    told = false;
    for (int ms = 20; ms < 3000 && !told; ms += 20)
        told = isTold("tasks @ --format json", ms);
    EXPECT_TRUE(told);
}

TEST_F(Errors, OfUsageNameTheOptionAsItWasTyped) {
    importSlice("1", "300000000");
    write("none.xml", threadsWith(layerXml("Overtime", "busyTime")));
    expectEach({{"overtime @ --time 0ns..9ns --bins 0", 2, "--bins 0: ask for 1 to 9 buckets"},
                {"overtime @ --bins 5000001", 2, "series of 1 rows may have 1 to 5000000 buckets"},
                {"overtime @ --bins 99999999999999999999", 2, "99999999999999999999 is more than"},
                {"overtime @ --area 9", 2, "--area 9"},
                {"rows @ --area ruler --viewpoint @none.xml", 2, "none.xml has no ruler"},
                {"overtme @", 2, "did you mean 'overtime'"},
                {"rows @ --sort nme", 2, "known: name, start, end"},
                {"viewpoint", 2, "--check FILE, or --new"},
                {"info @none.xml", 3, path("@none.xml")},
                {"info @missing.lft", 1, path("@missing.lft")},
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
                {"rows @ --viewpoint @none.xml", 1, "none.xml"},
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
    trace(
        "thread main 0..10 a 20..30 b\nthread other 0..30 c\nflow main 5 other 9 f\nmarker main 5 "
        "m");
    const std::string whole = fileText(path("@"));
    for (const std::string verb :
         {"rows", "overtime", "intervals", "transitions", "tooltip --id 1"}) {
        const std::string answer = out(verb + " @ --format json");
        int errors = 0;
        for (std::size_t page = kPageSize; page < whole.size(); page += kPageSize) {
            SCOPED_TRACE(verb + " with the page at byte " + std::to_string(page));
            write("damaged.lft",
                  whole.substr(0, page) + std::string(8, '\xff') + whole.substr(page + 8));
            const ToolRun run = this->run(verb + " @damaged.lft --format json");
            EXPECT_EQ(run.out, run.exit == 0 ? answer : "");
            if (run.exit == 0) continue;
            ++errors;
            EXPECT_TRUE(run.exit == 1 || run.exit == 3) << run.exit;
            EXPECT_THAT(run.err, HasSubstr("damaged.lft"));
            EXPECT_THAT(run.err, HasSubstr("import the trace again"));
            EXPECT_THAT(run.err, Not(HasSubstr("select t0"))) << "no statements";
        }
        EXPECT_GT(errors, 0) << verb;
    }
}

TEST_F(Errors, OfNothingToShowAreNone) {
    importSlice("1", "0.005");
    EXPECT_THAT(out("overtime @ --format json --layer 0"),
                HasSubstr("[100, 100, 100, 100, 100, null]"))
        << "a bucket for each tick";
    write("cores.xml", "<viewpoint><area><rowSet><rowBy useGridQuery=\"false\" query=\"core\"/>" +
                           layerXml("Overtime", "busyTime") + "</rowSet></area></viewpoint>");
    EXPECT_THAT(run("rows @ --viewpoint @cores.xml").err, StartsWith("lanefeed: note: "));
    expectEach({{"overtime @ --viewpoint @cores.xml", 0, "rows that the result has none of"}});
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
    importSlice("1e15");
    EXPECT_THAT(run("import @a.json -o @ --pause 4us..9223372036s --pause 1us..2us").err,
                StartsWith("lanefeed: warning: "));
    EXPECT_THAT(out("info @ --format json"),
                HasSubstr(R"("pauses": [{"start": 1000, "end": 2000}, )"
                          R"({"start": 4000, "end": 5001}])"));
}
