// What the client does for authors of viewpoints: it lists queries, checks files line by line and
// writes new ones that work.

#include "tool/run_tool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <rapidjson/document.h>
#include <string>
#include <vector>

namespace {

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// One of the lines that begin with the place holds the rest.
void expectLine(const std::string& report, const std::string& place, const std::string& said) {
    bool found = false;
    for (std::size_t at = report.find(place); at != std::string::npos;
         at = report.find(place, at + 1)) {
        const std::string line = report.substr(at, report.find('\n', at) - at);
        found = found || contains(line, said);
    }
    EXPECT_TRUE(found) << place << " ... " << said << " is missing in\n" << report;
}

}  // namespace

TEST(ViewpointAuthor, ACheckNamesTheLineOfEachFaultAndWhatToWrite) {
    ScratchFolder folder;
    const std::string file = folder.write("mine.xml", R"(<viewpoint>
  <aera/>
  <ruler><layer type="Overtime"><drawBy query="sliceCount"/><zzz/></layer>
    <foo/></ruler>
  <area id="a" visible="yes"
        headrMode="x">
    <rowSet displayName="true">
      <rowBy useGridQuery="false" query="thred"/>
      <bogus/>
      <layer type="Overtimee">
        <drawBy query="busyTime"/>
        <drawBy query="sliceCount"/>
        <tooltipBy query="sliceName, busyTime"/>
      </layer>
      <layer type="Overtime">
        <drawBy><timeQuery>
          <dbPth>a</dbPth></timeQuery></drawBy>
        <diveBy query="busyTime"/>
        <colorBy query="zzzzzzzz"><displayAttributes markerSize="big"/></colorBy>
        <huh/>
      </layer>
    </rowSet>
    <rowSet/>
  </area>
</viewpoint>
)");
    const ToolRun run = runTool({"viewpoint", "--check", file});
    EXPECT_EQ(run.exit, 3);
    EXPECT_EQ(run.err, "");
    const struct {
        const char* place;
        const char* said;
    } expected[] = {{":2: ", "<aera>"},
                    {":3: ruler, layer 0: ", "<zzz>"},
                    {":4: ruler: ", "<foo>"},
                    {":5: area 0: ", "visible=\"yes\" of <area>: write true or false"},
                    {":5: area 0: ", "did you mean 'headerMode'"},
                    {":7: area 0: ", "text:"},
                    {":8: area 0: ", "no query \"thred\"; did you mean 'thread'"},
                    {":9: area 0: ", "<bogus>"},
                    {":10: area 0, layer 0: ", "did you mean \"Overtime\""},
                    {":12: area 0, layer 0: ", "Multiple <drawBy>"},
                    {":13: area 0, layer 0: ", "Query ID: busyTime"},
                    {":16: area 0, layer 1: ", "unknown element <dbPth>; write dbPath"},
                    {":18: area 0, layer 1: ", "<diveBy>"},
                    {":19: area 0, layer 1: ", "no query \"zzzzzzzz\"; 'lanefeed queries'"},
                    {":19: area 0, layer 1: ", "\"markerSize\" is \"big\""},
                    {":20: area 0, layer 1: ", "<huh>"},
                    {":23: area 0: ", "repeating <rowSet>"}};
    for (const auto& one : expected)
        expectLine(run.out, file + one.place, one.said);
    EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), std::ptrdiff_t(std::size(expected)))
        << run.out;

    rapidjson::Document json;
    json.Parse(runTool({"viewpoint", "--check", file, "--format", "json"}).out.c_str());
    ASSERT_FALSE(json.HasParseError());
    EXPECT_EQ(json["messages"].Size(), std::size(expected));
    EXPECT_EQ(json["messages"][7]["line"].GetInt(), 9);
}

TEST(ViewpointAuthor, ACheckReadsTheWordsOfAGrid) {
    ScratchFolder folder;
    const std::string file = folder.write("grid.xml", R"(<viewpoint><area>
  <rowSet>
    <gridQuery defualt="true">
      <rowBy query="processAndThread" default="yes"/>
      <columnBy query="busyTime" requird="true"/>
    </gridQuery>
    <layer type="Overtime"><drawBy query="busyTime"/></layer>
  </rowSet></area><area><rowSet>
    <rowBy useGridQry="false" query="process"/>
    <rowBy useGridQuery="nope" query="thread"/></rowSet></area>
</viewpoint>)");
    const std::string report = runTool({"viewpoint", "--check", file}).out;
    expectLine(report,
               file + ":3: ", "unknown attribute \"defualt\" of <gridQuery>; it takes none");
    expectLine(report, file + ":4: ", "default=\"yes\" of <rowBy>: write true or false");
    expectLine(report, file + ":5: ", "\"requird\" of <columnBy>; did you mean 'required'");
    expectLine(report, file + ":9: ", "did you mean 'useGridQuery'");
    expectLine(report, file + ":10: ", "useGridQuery=\"nope\" of <rowBy>: write true or false");
    const std::string shipped = LANEFEED_SOURCE_DIR "/runtime/session/viewpoints/processes.xml";
    EXPECT_EQ(runTool({"viewpoint", "--check", shipped}).exit, 0);
}

// What a parse takes without a word, and a request fails for.
TEST(ViewpointAuthor, ACheckTellsLayersThatCanDrawNothing) {
    ScratchFolder folder;
    const std::string file = folder.write("v.xml", R"(<viewpoint><area><rowSet>
    <gridQuery><columnBy query="busyTime"/></gridQuery>
    <layer type="Overtime"/>
    <layer type="RowInterval"><drawBy query="busyTime"/></layer>
    <layer type="RowInterval"><drawBy query="sliceName">
      <displayAttributes timelineGraphColor="redish,1,2"/></drawBy></layer>
    <layer type="CountOverTime"><drawBy query="sliceCount">
      <displayAttributes timelineGraphColor="1, 2, 255" timelineFilterColor="0x80ABCDEF"/></drawBy>
    </layer></rowSet></area></viewpoint>)");
    const std::string report = runTool({"viewpoint", "--check", file}).out;
    expectLine(report, file + ":2: area 0: ", "<gridQuery> has no <rowBy>");
    expectLine(report, file + ":3: area 0, layer 0: ", "<layer> has no <drawBy>");
    expectLine(report, file + ":4: area 0, layer 1: ", "\"busyTime\" is none");
    expectLine(report, file + ":6: area 0, layer 2: ", "timelineGraphColor=\"redish,1,2\"");
    EXPECT_EQ(std::count(report.begin(), report.end(), '\n'), 4) << report;
}

TEST(ViewpointAuthor, ACheckTellsBrokenXmlAndNumbersThatEndTheParse) {
    ScratchFolder folder;
    const ToolRun broken =
        runTool({"viewpoint", "--check", folder.write("b.xml", "<viewpoint>\n<area>")});
    EXPECT_EQ(broken.exit, 3);
    EXPECT_TRUE(contains(broken.err, "b.xml:2:")) << broken.err;
    EXPECT_EQ(runTool({"viewpoint", "--check", folder / "none.xml"}).exit, 1);
    EXPECT_EQ(runTool({"viewpoint"}).exit, 2);

    const std::string numbers = folder.write("n.xml", R"(<viewpoint><area><rowSet>
      <layer visibleSeriesCount="many"/><layer
      rowByLevels="0,x"/></rowSet></area></viewpoint>)");
    const ToolRun run = runTool({"viewpoint", "--check", numbers});
    EXPECT_EQ(run.exit, 3);
    expectLine(run.out, numbers + ":2: ", "visibleSeriesCount=\"many\"");
    expectLine(run.out, numbers + ":2: ", "rowByLevels=\"0,x\"");
    EXPECT_TRUE(contains(run.err, "ends the parse")) << run.err;
}

TEST(ViewpointAuthor, ACheckTellsLayersThatCannotShowWhatTheirTypePromises) {
    ScratchFolder folder;
    const std::string file = folder.write("l.xml", R"(<viewpoint><ruler>
      <layer type="Transition"><drawBy query="wakeup"/></layer></ruler><area><rowSet>
      <rowBy useGridQuery="false" query="thread"/>
      <layer type="RowIntervalNested"><drawBy query="sliceName"/>
        <tooltipBy query="sliceName, tipSliceArguments"/></layer>
      <layer type="CountOverTime"><drawBy query="sliceName"/></layer>
      <layer type="Overtime"><drawBy query="busyTime"/><tooltipBy query="tipSliceName"/></layer>
      <layer type="Transition"><drawBy query="wakeup"/><tooltipBy query="wakeup"/></layer>
      </rowSet></area></viewpoint>)");
    const ToolRun run = runTool({"viewpoint", "--check", file});
    EXPECT_EQ(run.exit, 3);
    expectLine(run.out, file + ":2: ruler, layer 0: ", "needs a <rowBy>");
    expectLine(run.out, file + ":4: area 0, layer 0: ",
               "\"tipSliceArguments\" is asked for rows of slice_data");
    expectLine(run.out, file + ":6: area 0, layer 1: ", "a countQuery");
    EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 3) << run.out;
}

TEST(ViewpointAuthor, ANewViewpointWorksOnItsResultAsItStands) {
    ScratchFolder folder;
    // The last one has instants on tracks, and a thread that is no row.
    for (const char* trace : {"node20-workers.json", "fuchsia_trace.json.gz", "flow.json.gz",
                              "catapult-small/nestable_async.json", "scheduler/perf-script.txt"}) {
        SCOPED_TRACE(trace);
        const std::string result = folder / (std::string(trace).substr(0, 8) + ".lft");
        ASSERT_EQ(runTool({"import", traceFile(trace), "-o", result}).exit, 0);
        const ToolRun made = runTool({"viewpoint", "--new", result});
        EXPECT_EQ(made.exit, 0) << made.err;
        const std::string file = folder.write("new.xml", made.out);
        const ToolRun check = runTool({"viewpoint", "--check", file, result});
        EXPECT_EQ(check.exit, 0) << check.out << check.err;
        const ToolRun rows = runTool({"rows", result, "--viewpoint", file, "--strict"});
        EXPECT_EQ(rows.exit, 0) << rows.err;
        EXPECT_EQ(rows.err, "");
        const ToolRun all = runTool({"viewpoint", result, "--viewpoint", file});
        EXPECT_TRUE(contains(all.out, " yes\n") && !contains(all.out, " no\n")) << all.out;
        const ToolRun series = runTool({"overtime", result, "--viewpoint", file, "--strict"});
        EXPECT_EQ(series.exit, 0) << series.err;
        EXPECT_TRUE(contains(series.out, " buckets of ")) << series.out;
    }
    const std::string general = folder.write("all.xml", runTool({"viewpoint", "--new"}).out);
    EXPECT_EQ(runTool({"viewpoint", "--check", general}).exit, 0);
}

TEST(ViewpointAuthor, QueriesAreListedWithKindTableAndHelp) {
    ScratchFolder folder;
    const std::string mine = folder.write("mine.xml", R"(<queryLibrary>
      <timeQuery id="mine" help="Time, mine"><dbPath>no_such_table</dbPath></timeQuery>
      <infoQuery id="thread" help="Other"><dbPath>dd_band::dd_thread</dbPath></infoQuery>
    </queryLibrary>)");
    const ToolRun csv = runTool({"queries", "--queries", mine, "--format", "csv"});
    EXPECT_EQ(csv.exit, 0) << csv.err;
    EXPECT_EQ(csv.out.rfind("id,kind,table,path,help\n", 0), 0U) << csv.out;
    EXPECT_TRUE(contains(csv.out, "\nbusyTime,timeQuery,slice_data,,")) << csv.out;
    EXPECT_TRUE(contains(csv.out, "\nmine,timeQuery,no_such_table,,\"Time, mine\"\n")) << csv.out;
    EXPECT_TRUE(contains(csv.out, "\nthread,infoQuery,dd_band,dd_thread,Other\n")) << csv.out;
    EXPECT_FALSE(contains(csv.out, "dd_band,dd_thread.label")) << "the later definition counts";

    const std::string result = folder / "a.lft";
    ASSERT_EQ(runTool({"import", traceFile("node20-workers.json"), "-o", result}).exit, 0);
    rapidjson::Document json;
    json.Parse(runTool({"queries", result, "--queries", mine, "--format", "json"}).out.c_str());
    ASSERT_FALSE(json.HasParseError());
    int held = 0;
    for (const auto& query : json.GetArray()) {
        EXPECT_EQ(query["id"] == "mine" && query["held"].GetBool(), false);
        held += query["held"].GetBool() ? 1 : 0;
    }
    EXPECT_GT(held, 5);

    const std::string bad = folder.write("bad.xml", "<queryLibrary>\n<infQuery id='x'/>");
    for (const std::vector<std::string>& verb :
         {std::vector<std::string>{"queries"}, {"rows", result}}) {
        std::vector<std::string> arguments = verb;
        arguments.insert(arguments.end(), {"--queries", bad});
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.exit, 3);
        EXPECT_TRUE(contains(run.err, "bad.xml:2:")) << run.err;
        EXPECT_TRUE(contains(run.err, "; mend it there")) << run.err;
    }
}
