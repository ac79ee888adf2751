// Tooltips through the client: whatever a trace calls its things arrives whole, what is pointed at
// is found, innermost first, and a pointer into nothing is told.

#include "tool/tool_test.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class Tooltip : public ToolTest {
protected:
    std::string csv(const std::string& words) const {
        return out("tooltip @ --format csv " + words);
    }
};

}  // namespace

TEST_F(Tooltip, TextsOfAnyKindArriveWholeInEveryForm) {
    // As the trace writes a name, and how JSON and csv write it back.
    const std::string names[][3] = {
        {R"("say \"hi\", <b>&amp;</b>")", R"("say \"hi\", <b>&amp;</b>")",
         R"("say ""hi"", <b>&amp;</b>")"},
        {R"("\ud83d\ude80 'fly'")", "\"\U0001F680 'fly'\"", "\U0001F680 'fly'"},
        {R"("")", "\"(no name)\"", "(no name)"}};
    std::string events;
    for (const auto& name : names)
        events += (events.empty() ? "[" : ",") +
                  (R"({"ph":"X","pid":1,"tid":1,"name":)" + name[0] + R"(,"ts":)" +
                   std::to_string(events.size() * 10) +
                   R"(,"dur":5,"cat":"<c&d>","args":{"k":"<\"&","n":[1,2]}})");
    write("a.json", events + "]");
    import("@a.json");
    int id = 0;
    for (const auto& name : names) {
        const std::string pointer = "--id " + std::to_string(++id);
        const std::string json = out("tooltip @ --format json " + pointer);
        EXPECT_THAT(json, HasSubstr(R"({"key": "Slice", "value": )" + name[1] + "}"));
        EXPECT_THAT(json, HasSubstr(R"("value": "{\"k\":\"<\\\"&\",\"n\":[1,2]}"})"));
        EXPECT_THAT(csv(pointer), HasSubstr(",Slice," + name[2] + "\n"));
    }
    // On a terminal what is the same as above stands once.
    EXPECT_THAT(out("tooltip @ --id 3"), HasSubstr("  Slice      (no name)\n              "));
}

TEST_F(Tooltip, PointingFindsTheInnermostFirstAndSaysWhatIsLeftOut) {
    trace("thread main 0..100 outer 10..30 twin 10..20 inside 0..10 gone\nthread b 5..20 other");
    const auto found = [this](const std::string& words) {
        const ToolRun run = this->run("tooltip @ --format csv --layer 1 " + words);
        std::string names;
        for (std::size_t line = run.out.find(",Slice,"); line != std::string::npos;
             line = run.out.find(",Slice,", line + 1))
            names += run.out.substr(line + 7, run.out.find('\n', line) - line - 7) + ";";
        return names + run.err;
    };
    EXPECT_EQ(found("--row 0 --at 10ns"), "inside;twin;outer;");
    EXPECT_EQ(found("--row 0 --at 9ns"), "gone;outer;");
    EXPECT_EQ(found("--row 0 --at 20ns"), "twin;outer;");
    EXPECT_EQ(
        found("--row 0 --at 15ns --limit 2"),
        "inside;twin;lanefeed: note: 1 more instances cover that time; a larger --limit shows "
        "them\n");
    EXPECT_EQ(found("--row 0 --at 15ns --filter name!=twin"), "inside;outer;");
    // An instance that reaches into the kept time is there, but not in time that is cut out.
    EXPECT_EQ(found("--row 0 --at 5ns --filter time=0ns..8ns"), "gone;outer;");
    EXPECT_EQ(found("--row 0 --at 9ns --filter time=0ns..8ns"),
              "lanefeed: note: nothing of slice_data is on row 0 at tick 9\n");
    EXPECT_THAT(
        out("tooltip @ --row 0 --at 15ns --limit 1 --format json"),
        HasSubstr(R"("table": "slice_data", "leftOut": 2, "objects": [)"
                  "\n"
                  R"(  {"id": 5, "row": 0, "rowName": "app / main", "start": 10, "end": 20)"));
}

// Rows by an attribute of bands, lines by the id of the value, and times.
TEST_F(Tooltip, AViewpointMayNameAnyAttribute) {
    trace("thread main 5..15 a 7..10 b");
    write("v.xml", R"(<viewpoint><area><rowSet>
        <rowBy useGridQuery="false" query="process"/>
        <layer type="Overtime"><drawBy query="busyTime"/><tooltipBy query="sliceName">
            <infoQuery displayName="Start"><dbPath>slice_data::dd_task</dbPath>
                <displayDbPath>slice_data.start_tsc</displayDbPath><valueType>tsc</valueType>
            </infoQuery>
            <infoQuery displayName="Process"><dbPath>slice_data::dd_task</dbPath>
                <displayDbPath>dd_band.dd_thread.dd_process.name</displayDbPath></infoQuery>
        </tooltipBy></layer></rowSet></area></viewpoint>)");
    EXPECT_EQ(csv("--viewpoint @v.xml --row 0 --at 3ns --limit 1"),
              "id,row,rowName,start,end,key,value\n"
              "2,0,app,2,5,Slice,b\n"
              "2,0,app,2,5,Start,2\n"
              "2,0,app,2,5,Process,app\n");
}

TEST_F(Tooltip, APointerIntoNothingIsTold) {
    trace("thread main 0..10 a 20..30 b");
    const std::string point = "tooltip @ ";
    expectEach({{point, 2, "write --id N, or --row R and --at TIME"},
                {point + "--id 1 --row 0", 2, "leave --row and --at out"},
                {point + "--id 3", 2, "--id 3: the table slice_data of "},
                {point + "--id 2 --filter time=0ns..8ns", 2, "leave --filter out for what"},
                {point + "--row 1 --at 0s", 2, "--row 1: area 0 has 1 rows"},
                {point + "--id 1 --area 2", 2, "no layer of area 2 of "}});
}
