// Selections and filters through the client: what is selected is all that later answers show, in
// every verb and format, and clearing brings the first answers back to the byte.

#include "tool/tool_test.h"

namespace {

using rapidjson::Document;
using rapidjson::Value;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// "b" is inside of "a".
constexpr const char* kTrace =
    "thread main  0..100 a  10..40 b\n"
    "thread worker  20..60 c  80..120 d\n"
    "counter n  10=1\n";

class Selection : public ToolTest {
protected:
    void SetUp() override { trace(kTrace); }

    // Busy ticks of each row, "main=100 worker=80"; rows without a series have 0.
    std::string busy(const std::string& words = "") const {
        const Document answer = json("overtime @ --layer 0 --bins 1 --unit ticks " + words);
        std::string text;
        for (const Value& row : answer[0]["rows"].GetArray()) {
            const Value& ticks = row["series"][0]["values"][0];
            const std::string name = row["name"].GetString();
            text += (text.empty() ? "" : " ") + name.substr(name.rfind(' ') + 1) + "=" +
                    std::to_string(ticks.IsNull() ? 0 : ticks.GetInt());
        }
        return text;
    }
    // Names of the rows, with a value of each if it is named.
    std::string rows(const std::string& words, const char* value = nullptr) const {
        const Document answer = json("rows @ " + words);
        std::string text;
        for (const Value& row : answer.GetArray()) {
            text += (text.empty() ? "" : " ") + std::to_string(row["id"].GetInt()) + ":" +
                    row["name"].GetString();
            if (value != nullptr) text += "=" + std::to_string(row["values"][value].GetInt());
        }
        return text;
    }
};

}  // namespace

// One narrows what is selected, unless it replaces it.
TEST_F(Selection, OfTimeRowsOrAnObjectIsAllThatIsLeft) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"--time 30ns..90ns"}, "main=60 worker=40"},
        {{"--time 30ns..90ns --exclude"}, "main=40 worker=40"},
        {{"--rows 1"}, "worker=80"},
        {{"--rows 1 --exclude"}, "main=100"},
        {{"--rows 0 --time 50ns..100ns"}, "main=50"},
        {{"--attr 1:3"}, "worker=40"},
        {{"--attr 1:3 --exclude"}, "main=100 worker=40"},
        {{"--attr 1:b"}, "main=30"},
        {{"--time 30ns..90ns", "--rows 1", "--time 80ns..100ns"}, "worker=10"},
        {{"--rows 1", "--time 20ns..40ns --replace"}, "main=20 worker=20"}};
    const std::string first = out("rows @") + out("overtime @");
    for (const auto& [selections, left] : cases) {
        for (const std::string& words : selections)
            quiet("select @ " + words);
        EXPECT_EQ(busy(), left) << selections.front();
        if (selections.size() == 2) {
            EXPECT_NE(out("info @ --format json").find(R"("time": [{"start": 20, "end": 40}])"),
                      std::string::npos);
        }
        quiet("select @ --clear");
        EXPECT_EQ(out("rows @") + out("overtime @"), first);
    }
}

TEST_F(Selection, ThatFailsChangesNothingAndSaysWhy) {
    quiet("select @ --rows 1");
    const std::string select = "select @ ";
    expectEach(
        {{select + "--rows 1", 2, "the rows are 0 to 0"},  // the one that is left is row 0
         {select + "--area ruler --rows 0", 2, "the ruler has one row, which stands for"},
         {select + "--attr 1:99", 2, "dd_task has no row with the name or number '99'"},
         {select + "--area 1 --attr 0:1", 2, "the layer draws numbers"},
         {select + "--exclude --clear", 2, "--exclude goes with"},
         {select + "--rows 0 --time 1ns..9ns --exclude", 2, "select twice"},
         {select, 2, "say what to select"},
         {"rows @ --filter thraed=main", 2, "the columns are "},
         {"rows @ --filter thread=a,b", 2, "a comma that belongs to a value is written \\,"},
         {"rows @ --filter thread!=nope", 0, "the result holds no thread 'nope'; there are"}});
    EXPECT_EQ(busy(), "worker=80");
}

// A name that several have is none; what is in force tells which one is meant.
TEST_F(Selection, OfOneOfSeveralWithANameTellsItsNumber) {
    trace("thread w 0..10 3 0..9 b\nprocess other\nthread w 0..20 b 1..9 c 1..5 7");
    EXPECT_THAT(run("select @ --attr 1:3").err, HasSubstr("the row called '3' is number 1\n"));
    EXPECT_THAT(out("select @ --attr 1:7 --replace"), HasSubstr("task = \"7\""));
    quiet("select @ --clear");
    write("v.xml", R"(<viewpoint><area><rowSet><layer type="Overtime"><drawBy>
        <timeQuery id="t"><dbPath>slice_data</dbPath><expand><queryRef>thread</queryRef></expand>
        </timeQuery></drawBy></layer></rowSet></area></viewpoint>)");
    expectEach({{"select @ --viewpoint @v.xml --attr 0:w", 2,
                 "2 rows of dd_thread are called 'w': 1, 2; name one by its number"}});
    EXPECT_THAT(out("select @ --viewpoint @v.xml --attr 0:2"), HasSubstr("thread = \"w\" #2"));
    EXPECT_EQ(busy(), "w=20");
    quiet("select @ --clear");
    EXPECT_THAT(out("select @ --viewpoint @v.xml --attr \"0:other / w\""), HasSubstr("\"w\" #2"));
}

TEST_F(Selection, ThatLeavesNothingSaysSo) {
    for (const char* words : {"select @ --rows 1 --time 0ns..15ns", "rows @", "overtime @"}) {
        const ToolRun answer = run(words);
        EXPECT_EQ(answer.exit, 0);
        EXPECT_THAT(answer.err, StartsWith("lanefeed: note: the filters in force leave no"));
    }
}

TEST_F(Selection, AFilterOfACallJoinsWhatIsKeptAndIsForgotten) {
    EXPECT_EQ(busy("--filter thread=main"), "main=100");
    EXPECT_EQ(run("rows --filter thread=main @").out, run("rows @ --filter thread=main").out);
    EXPECT_EQ(busy("--filter thread!=main --filter time=90ns..110ns"), "worker=20");
    quiet("select @ --time 30ns..90ns");
    EXPECT_EQ(busy("--filter thread=wor*"), "worker=40");
    EXPECT_EQ(busy(), "main=60 worker=40");
}

TEST_F(Selection, RowsAreSortedByAnyColumnWithinTheirLevelAndKeepTheirIds) {
    EXPECT_EQ(rows("--sort name:desc"), "1:app / worker 0:app / main");
    EXPECT_EQ(rows("--visible --filter thread=worker"), "1:app / worker");
    EXPECT_EQ(rows("--filter thread=worker"), "0:app / worker");
    const std::string grid = "--viewpoint processes ";
    EXPECT_EQ(rows(grid + "--sort name"), "0:app 1:main 2:worker");
    EXPECT_EQ(rows(grid + "--sort name:desc"), "0:app 2:worker 1:main");
    const Document nested = json("rows @ --viewpoint processes");
    EXPECT_TRUE(nested[0]["parent"].IsNull());
    EXPECT_EQ(nested[1]["parent"].GetInt(), 0);
    // Values and their order are those under the filter, with --visible and without.
    const std::string filtered = grid + "--filter time=30ns..70ns --sort busyTime:desc";
    EXPECT_EQ(rows(filtered + " --visible", "Slices"), "0:app=3 1:main=2 2:worker=1");
    EXPECT_EQ(rows(filtered, "Slices"), rows(filtered + " --visible", "Slices"));
    // Columns of one caption are told apart.
    write("v.xml", R"(<viewpoint><area><rowSet><gridQuery>
        <rowBy query="processAndThread"/><columnBy query="sliceCount, sliceCount"/>
        </gridQuery></rowSet></area></viewpoint>)");
    EXPECT_THAT(out("rows @ --viewpoint @v.xml --format json"),
                HasSubstr("{\"Slices (sliceCount)\": 4, \"Slices (sliceCount) #2\": 4}}"));
}

TEST_F(Selection, IsAsItWasWhenItCannotBeWrittenAndToldWhenItCannotBeRead) {
    quiet("select @ --rows 0");
    const std::string before = busy();
    const ToolRun failed = run("select @ --time 10ns..20ns", "ulimit -f 1;");
    EXPECT_EQ(failed.exit, 1);
    EXPECT_THAT(failed.err, HasSubstr("the filters can't be kept"));
    EXPECT_EQ(busy(), before);

    // A tree that no reader can make sense of.
    ask("UPDATE filters SET level = 9 WHERE level = 1");
    for (const char* words : {"rows @", "info @"})
        EXPECT_THAT(run(words).err, HasSubstr("the filters in it are not understood"));
    out("select @ --clear");
    quiet("rows @");
}
