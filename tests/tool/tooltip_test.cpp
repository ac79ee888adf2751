// Tooltips through the client: whatever a trace calls its things arrives whole, what is pointed at
// is found, innermost first, and a pointer into nothing is told.

#include "tool/run_tool.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string event(const std::string& name, int start, int duration, const std::string& more = "") {
    return R"({"ph":"X","pid":1,"tid":1,"name":)" + name + R"(,"ts":)" + std::to_string(start) +
           R"(,"dur":)" + std::to_string(duration) + more + "}";
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

class Tooltip : public ::testing::Test {
protected:
    void import(const std::string& events) {
        const std::string trace = m_folder.write("a.json", "[" + events + "]");
        const ToolRun run = runTool({"import", trace, "-o", result()});
        ASSERT_EQ(run.exit, 0) << run.err;
    }
    std::string result() const { return m_folder / "a.lft"; }
    ToolRun ask(std::vector<std::string> options) {
        options.insert(options.begin(), {"tooltip", result()});
        return runTool(options);
    }

    ScratchFolder m_folder;
};

TEST_F(Tooltip, TextsOfAnyKindArriveWholeInEveryForm) {
    // As the trace writes a name, what it is, and how JSON and csv write it back.
    const std::string big(100000, 'x');
    const struct {
        std::string written;
        std::string text;
        std::string json;
        std::string csv;
    } names[] = {
        {R"("say \"hi\", <b>&amp;</b>")", R"(say "hi", <b>&amp;</b>)",
         R"("say \"hi\", <b>&amp;</b>")", R"("say ""hi"", <b>&amp;</b>")"},
        {R"("\ud83d\ude80 'fly'")", "\U0001F680 'fly'", "\"\U0001F680 'fly'\"", "\U0001F680 'fly'"},
        {R"("")", "(no name)", "\"(no name)\"", "(no name)"},
        {"\"" + big + "\"", big, "\"" + big + "\"", big}};
    std::string events;
    int at = 0;
    for (const auto& name : names) {
        events += (at == 0 ? "" : ",") + event(name.written, at * 10, 5,
                                               R"(,"cat":"<c&d>","args":{"k":"<\"&","n":[1,2]})");
        ++at;
    }
    import(events);
    for (int i = 0; i < at; ++i) {
        SCOPED_TRACE(i);
        const std::string id = std::to_string(i + 1);
        const ToolRun json = ask({"--id", id, "--format", "json"});
        ASSERT_EQ(json.exit, 0) << json.err;
        EXPECT_TRUE(contains(json.out, R"({"key": "Slice", "value": )" + names[i].json + "}"));
        EXPECT_TRUE(contains(json.out, R"({"key": "Category", "value": "<c&d>"})"));
        EXPECT_TRUE(contains(json.out, R"("value": "{\"k\":\"<\\\"&\",\"n\":[1,2]}"})"))
            << json.out;
        const std::string csv = ask({"--id", id, "--format", "csv"}).out;
        EXPECT_TRUE(contains(csv, ",Slice," + names[i].csv + "\n"));
        EXPECT_TRUE(contains(csv, R"(,Arguments,"{""k"":""<\""&"",""n"":[1,2]}")"));
        const std::string table = ask({"--id", id}).out;
        EXPECT_TRUE(contains(table, "Slice      " + names[i].text + "\n"));
        EXPECT_TRUE(contains(table, R"(Arguments  {"k":"<\"&","n":[1,2]})"));
    }
}

TEST_F(Tooltip, PointingFindsTheInnermostFirstAndSaysWhatIsLeftOut) {
    import(event("\"outer\"", 0, 100) + "," + event("\"twin\"", 10, 20) + "," +
           event("\"twin inside\"", 10, 10) + "," + event("\"gone\"", 0, 10));
    const auto found = [this](const std::string& at, const std::string& limit) {
        const ToolRun run =
            ask({"--row", "0", "--at", at, "--limit", limit, "--format", "csv", "--layer", "1"});
        EXPECT_EQ(run.exit, 0) << run.err;
        std::string names;
        for (std::size_t line = run.out.find(",Slice,"); line != std::string::npos;
             line = run.out.find(",Slice,", line + 1))
            names += run.out.substr(line + 7, run.out.find('\n', line) - line - 7) + ";";
        return names + run.err;
    };
    EXPECT_EQ(found("10us", "9"), "twin inside;twin;outer;");
    EXPECT_EQ(found("9999ns", "9"), "gone;outer;");
    EXPECT_EQ(found("20us", "9"), "twin;outer;");
    EXPECT_EQ(found("15us", "2"),
              "twin inside;twin;lanefeed: note: 1 more instances cover that "
              "time; a larger --limit shows them\n");
    const ToolRun json = ask({"--row", "0", "--at", "15us", "--limit", "1", "--format", "json"});
    EXPECT_TRUE(contains(json.out, R"("table": "slice_data", "leftOut": 2, "objects": [)"));
    EXPECT_TRUE(contains(json.out, R"("row": 0, "rowName": "process 1 / thread 1", )"
                                   R"("start": 10000, "end": 20000, "items": [)"))
        << json.out;
}

TEST_F(Tooltip, FiltersLeaveOutWhatTheyHide) {
    import(event("\"outer\"", 0, 100) + "," + event("\"inner\"", 10, 20));
    const auto at = [this](const std::string& time, const std::string& filter) {
        return ask({"--row", "0", "--at", time, "--filter", filter, "--format", "csv"}).out;
    };
    EXPECT_TRUE(contains(at("15us", "name!=inner"), ",Slice,outer"));
    EXPECT_FALSE(contains(at("15us", "name!=inner"), "inner"));
    // An instance that reaches into the kept time is there, but not in time that is cut out.
    EXPECT_TRUE(contains(at("5us", "time=0us..8us"), ",Slice,outer"));
    EXPECT_FALSE(contains(at("9us", "time=0us..8us"), "outer"));
    const ToolRun hidden = ask({"--id", "2", "--filter", "time=0us..8us"});
    EXPECT_EQ(hidden.exit, 2);
    EXPECT_TRUE(contains(hidden.err, "--id 2: the filters in force leave this instance"));
}

// Rows by an attribute of bands, lines by the id of the value, and times.
TEST_F(Tooltip, AViewpointMayNameAnyAttribute) {
    import(event("\"a\"", 5, 10) + "," + event("\"b\"", 7, 3));
    const std::string viewpoint = m_folder.write("v.xml", R"(<viewpoint><area><rowSet>
        <rowBy useGridQuery="false" query="process"/>
        <layer type="Overtime"><drawBy query="busyTime"/><tooltipBy query="sliceName">
            <infoQuery displayName="Start"><dbPath>slice_data::dd_task</dbPath>
                <displayDbPath>slice_data.start_tsc</displayDbPath><valueType>tsc</valueType>
            </infoQuery>
            <infoQuery displayName="Process"><dbPath>slice_data::dd_task</dbPath>
                <displayDbPath>dd_band.dd_thread.dd_process.pid</displayDbPath></infoQuery>
            <infoQuery displayName="None"><dbPath>slice_data::dd_task</dbPath>
                <displayDbPath>slice_data.dd_flow.name</displayDbPath></infoQuery>
        </tooltipBy></layer></rowSet></area></viewpoint>)");
    const ToolRun run = ask(
        {"--viewpoint", viewpoint, "--row", "0", "--at", "3us", "--format", "csv", "--limit", "1"});
    EXPECT_EQ(run.exit, 0);
    EXPECT_EQ(run.out,
              "id,row,rowName,start,end,key,value\n"
              "2,0,process 1,2000,5000,Slice,b\n"
              "2,0,process 1,2000,5000,Start,2000\n"
              "2,0,process 1,2000,5000,Process,1\n");
    EXPECT_EQ(run.err,
              "lanefeed: note: 1 more instances cover that time; a larger --limit shows "
              "them\n");
}

TEST_F(Tooltip, APointerIntoNothingIsTold) {
    import(event("\"a\"", 0, 10) + "," + event("\"b\"", 20, 10));
    const ToolRun nothing = ask({"--row", "0", "--at", "15us", "--format", "json"});
    EXPECT_EQ(nothing.exit, 0);
    EXPECT_TRUE(contains(nothing.out, "\"objects\": [\n]}")) << nothing.out;
    EXPECT_TRUE(contains(nothing.err, "nothing of slice_data is on row 0 at tick 15000"));
    const struct {
        std::vector<std::string> options;
        const char* said;
    } cases[] = {{{}, "write --id N, or --row R and --at TIME"},
                 {{"--row", "0"}, "write --id N, or --row R and --at TIME"},
                 {{"--id", "1", "--row", "0"}, "leave --row and --at out"},
                 {{"--id", "3"}, "--id 3: the table slice_data of "},
                 {{"--id", "99999999999"}, "has no such instance"},
                 {{"--row", "1", "--at", "0s"}, "--row 1: area 0 has 1 rows"},
                 {{"--row", "0", "--at", "soon"}, "'soon' is no time"},
                 {{"--row", "0", "--at", "100%"}, "lies outside of the result"},
                 {{"--id", "1", "--layer", "9"}, "layers, counted from 0"},
                 {{"--id", "1", "--area", "2"}, "no layer of area 2"}};
    for (const auto& c : cases) {
        const ToolRun run = ask(c.options);
        EXPECT_EQ(run.exit, 2) << c.said;
        EXPECT_EQ(run.out, "");
        EXPECT_TRUE(contains(run.err, c.said)) << run.err;
    }
}

}  // namespace
