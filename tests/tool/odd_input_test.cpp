// Input that is nearly right: damaged pages of a result, empty viewpoints, spans shorter than the
// default asks for, pauses behind the trace. Each ends in the right answer or in an error that
// helps, never in half an answer.

#include "tool/run_tool.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

namespace {

constexpr std::size_t kPageSize = 4096;

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string imported(const ScratchFolder& folder, const std::string& trace) {
    const std::string result = folder / "a.lft";
    const ToolRun run = runTool({"import", folder.write("a.json", trace), "-o", result});
    EXPECT_EQ(run.exit, 0) << run.err;
    return result;
}

std::string slice(const std::string& time, const std::string& duration) {
    return R"({"ph":"X","pid":1,"tid":1,"name":"a","ts":)" + time + R"(,"dur":)" + duration + "}";
}

}  // namespace

TEST(OddInput, ADamagedPageGivesTheRightAnswerOrAnError) {
    ScratchFolder folder;
    const std::string good = imported(folder, "[" + slice("1", "5") + "," + slice("7", "2") + "]");
    const std::string whole = fileText(good);
    const std::string damaged = folder / "damaged.lft";
    const std::string verbs[] = {"rows", "overtime", "viewpoint"};
    int errors = 0;
    for (const std::string& verb : verbs) {
        const std::string answer = runTool({verb, good, "--format", "json"}).out;
        for (std::size_t page = kPageSize; page < whole.size(); page += kPageSize) {
            SCOPED_TRACE(verb + " with the page at byte " + std::to_string(page));
            folder.write("damaged.lft",
                         whole.substr(0, page) + std::string(8, '\xff') + whole.substr(page + 8));
            const ToolRun run = runTool({verb, damaged, "--format", "json"});
            if (run.exit == 0) {
                EXPECT_EQ(run.out, answer);
                continue;
            }
            EXPECT_TRUE(run.exit == 1 || run.exit == 3) << run.exit;
            EXPECT_EQ(run.out, "");
            EXPECT_TRUE(contains(run.err, damaged)) << run.err;
            ++errors;
        }
    }
    EXPECT_GT(errors, 3);
}

TEST(OddInput, AFactThatIsNoLongerJsonIsPrintedAsText) {
    ScratchFolder folder;
    const std::string result = imported(folder, "[" + slice("1", "5") + "]");
    std::string bytes = fileText(result);
    const std::size_t place = bytes.find(R"({"X":{"events":1)");
    ASSERT_NE(place, std::string::npos);
    bytes[place + 2] = '\xee';
    folder.write("a.lft", bytes);
    const ToolRun run = runTool({"info", result, "--format", "json"});
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_TRUE(contains(run.out, "\"phases\": \"{\\\"\xEF\xBF\xBD\\\":")) << run.out;
}

TEST(OddInput, AnEmptyOrBrokenViewpointIsToldWithPlaceAndRemedy) {
    ScratchFolder folder;
    const std::string result = imported(folder, "[" + slice("1", "5") + "]");
    const struct {
        const char* text;
        const char* place;
    } cases[] = {{"", "v.xml:1:1: "}, {"<viewpoint>\n<area></viewpoint>", "v.xml:2:"}};
    for (const auto& c : cases) {
        const std::string file = folder.write("v.xml", c.text);
        const ToolRun run = runTool({"rows", result, "--viewpoint", file});
        EXPECT_EQ(run.exit, 3) << run.err;
        EXPECT_TRUE(contains(run.err, c.place)) << run.err;
        EXPECT_TRUE(contains(run.err, "; mend it")) << run.err;
    }
    EXPECT_EQ(runTool({"rows", result, "--viewpoint", folder / ""}).exit, 1);
}

TEST(OddInput, WithoutBinsAShortSpanHasABucketForEachTick) {
    ScratchFolder folder;
    const std::string result = imported(folder, "[" + slice("1", "0.005") + "]");
    const ToolRun whole = runTool({"overtime", result, "--format", "json", "--layer", "0"});
    EXPECT_EQ(whole.exit, 0) << whole.err;
    EXPECT_TRUE(contains(whole.out, "\"bins\": 6, \"binTicks\": 1,")) << whole.out;
    EXPECT_TRUE(contains(whole.out, "[100, 100, 100, 100, 100, null]")) << whole.out;

    ScratchFolder other;
    const ToolRun empty = runTool({"overtime", imported(other, "[]"), "--format", "json"});
    EXPECT_EQ(empty.exit, 0) << empty.err;
    EXPECT_TRUE(contains(empty.err, "holds no instances")) << empty.err;
    EXPECT_EQ(empty.out, "[\n]\n");
}

TEST(OddInput, PausesNeverMakeAResultLongerThanItsTrace) {
    ScratchFolder folder;
    const std::string trace = folder.write("a.json", "[" + slice("1e15", "5") + "]");
    const std::string result = folder / "a.lft";
    const ToolRun run = runTool({"import", trace, "-o", result, "--pause", "4us..9223372036s",
                                 "--pause", "8us..9us", "--pause", "1us..2us"});
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_TRUE(contains(run.err, "4000ns..9223372036000000000ns reaches beyond")) << run.err;
    EXPECT_TRUE(contains(run.err, "8000ns..9000ns reaches beyond")) << run.err;
    EXPECT_FALSE(contains(run.err, "1000ns..2000ns")) << run.err;
    const ToolRun info = runTool({"info", result, "--format", "json"});
    EXPECT_TRUE(contains(info.out, R"("pauses": [{"start": 1000, "end": 2000}, )"
                                   R"({"start": 4000, "end": 5001}])"))
        << info.out;
    EXPECT_EQ(runTool({"overtime", result, "--bins", "5001"}).exit, 0);
    EXPECT_EQ(runTool({"overtime", result, "--bins", "5002"}).exit, 2);
}

TEST(OddInput, UsageErrorsNameTheChoicesInOneShortLine) {
    ScratchFolder folder;
    const std::string result = imported(folder, "[" + slice("1", "5") + "]");
    const struct {
        const char* option;
        const char* value;
        const char* said;
    } cases[] = {{"--layer", "-1", "0 to 2147483647"},
                 {"--format", "xml", "table"},
                 {"--format", "1", "table"},
                 {"--unit", "s", "lanefeed overtime --help"}};
    for (const auto& c : cases) {
        const ToolRun run = runTool({"overtime", result, c.option, c.value});
        EXPECT_EQ(run.exit, 2) << run.err;
        EXPECT_TRUE(contains(run.err, c.said)) << run.err;
        EXPECT_LT(run.err.size(), 150U) << run.err;
    }
}
