// What the client does for authors of viewpoints: it lists queries, checks files line by line and
// writes new ones that work.

#include "tool/tool_test.h"

#include <algorithm>

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class ViewpointAuthor : public ToolTest {
protected:
    // A check of this text finds these faults and no others: lines ":2: area 0: " that hold a text.
    // Lines count from that of <viewpoint>.
    void expectFaults(const std::string& xml,
                      const std::vector<std::pair<std::string, std::string>>& faults) const {
        const std::string file = write("v.xml", xml);
        const ToolRun run = this->run("viewpoint --check @v.xml");
        EXPECT_EQ(run.exit, faults.empty() ? 0 : 3) << run.err;
        for (const auto& [place, said] : faults) {
            bool isFound = false;
            for (std::size_t at = run.out.find(file + place); at != std::string::npos;
                 at = run.out.find(file + place, at + 1)) {
                const std::string line = run.out.substr(at, run.out.find('\n', at) - at);
                isFound = isFound || line.find(said) != std::string::npos;
            }
            EXPECT_TRUE(isFound) << place << " ... " << said << " is missing in\n" << run.out;
        }
        EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'),
                  std::max<std::ptrdiff_t>(std::ptrdiff_t(faults.size()), 1))
            << run.out;
    }
};

}  // namespace

TEST_F(ViewpointAuthor, ACheckNamesTheLineOfEachFaultAndWhatToWrite) {
    expectFaults(R"(<viewpoint>
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
)",
                 {{":2: ", "<aera>"},
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
                  {":23: area 0: ", "repeating <rowSet>"}});
    const ToolRun run = this->run("viewpoint --check @v.xml --format json");
    EXPECT_EQ(run.err, "") << "nothing is told twice";
    EXPECT_EQ(parsed(run.out)["messages"][7]["line"].GetInt(), 9);
}

TEST_F(ViewpointAuthor, ACheckReadsTheWordsOfAGrid) {
    expectFaults(R"(<viewpoint><area>
  <rowSet>
    <gridQuery defualt="true">
      <rowBy query="processAndThread" default="yes"/>
      <columnBy query="busyTime" requird="true"/>
    </gridQuery>
    <layer type="Overtime"><drawBy query="busyTime"/></layer>
  </rowSet></area><area><rowSet>
    <rowBy useGridQry="false" query="process"/>
    <rowBy useGridQuery="nope" query="thread"/></rowSet></area>
</viewpoint>)",
                 {{":3: ", "unknown attribute \"defualt\" of <gridQuery>; it takes none"},
                  {":4: ", "default=\"yes\" of <rowBy>: write true or false"},
                  {":5: ", "\"requird\" of <columnBy>; did you mean 'required'"},
                  {":9: ", "did you mean 'useGridQuery'"},
                  {":10: ", "useGridQuery=\"nope\" of <rowBy>: write true or false"}});
}

// What a parse takes without a word, and a request fails for.
TEST_F(ViewpointAuthor, ACheckTellsLayersThatCannotDrawWhatTheirTypePromises) {
    expectFaults(R"(<viewpoint><area><rowSet>
    <gridQuery><columnBy query="busyTime"/></gridQuery>
    <layer type="Overtime"/>
    <layer type="RowInterval"><drawBy query="busyTime"/></layer>
    <layer type="RowInterval"><drawBy query="sliceName">
      <displayAttributes timelineGraphColor="redish,1,2"/></drawBy></layer>
    <layer type="CountOverTime"><drawBy query="sliceCount">
      <displayAttributes timelineGraphColor="1, 2, 255" timelineFilterColor="0x80ABCDEF"/></drawBy>
    </layer></rowSet></area></viewpoint>)",
                 {{":2: area 0: ", "<gridQuery> has no <rowBy>"},
                  {":3: area 0, layer 0: ", "<layer> has no <drawBy>"},
                  {":4: area 0, layer 1: ", "\"busyTime\" is none"},
                  {":6: area 0, layer 2: ", "timelineGraphColor=\"redish,1,2\""}});
    expectFaults(
        R"(<viewpoint><ruler>
      <layer type="Transition"><drawBy query="wakeup"/></layer></ruler><area><rowSet>
      <rowBy useGridQuery="false" query="thread"/>
      <layer type="RowIntervalNested"><drawBy query="sliceName"/>
        <tooltipBy query="sliceName, tipSliceArguments"/></layer>
      <layer type="CountOverTime"><drawBy query="sliceName"/></layer>
      <layer type="Overtime"><drawBy query="busyTime"/><tooltipBy query="tipSliceName"/></layer>
      <layer type="Transition"><drawBy query="wakeup"/><tooltipBy query="wakeup"/></layer>
      </rowSet></area></viewpoint>)",
        {{":2: ruler, layer 0: ", "needs a <rowBy>"},
         {":4: area 0, layer 0: ", "\"tipSliceArguments\" is asked for rows of slice_data"},
         {":6: area 0, layer 1: ", "a countQuery"}});
    expectFaults(R"(<viewpoint><area><rowSet>
      <layer visibleSeriesCount="many"><drawBy query="busyTime"/></layer><layer
      rowByLevels="0,x"><drawBy query="busyTime"/></layer></rowSet></area></viewpoint>)",
                 {{":2: ", "visibleSeriesCount=\"many\""}, {":2: ", "rowByLevels=\"0,x\""}});
    EXPECT_THAT(run("viewpoint --check @v.xml").err, HasSubstr("ends the parse"));
}

TEST_F(ViewpointAuthor, ANewViewpointWorksOnItsResultAsItStands) {
    // The second one has instants on tracks, and a thread that is no row.
    for (const char* trace :
         {"flow.json.gz", "catapult-small/nestable_async.json", "scheduler/perf-script.txt"}) {
        SCOPED_TRACE(trace);
        import(std::string("$") + trace);
        write("new.xml", out("viewpoint --new @"));
        EXPECT_THAT(out("viewpoint --check @new.xml @"), HasSubstr("nothing to mend"));
        quiet("rows @ --viewpoint @new.xml --strict");
        const std::string all = out("viewpoint @ --viewpoint @new.xml");
        EXPECT_THAT(all, HasSubstr(" yes\n"));
        EXPECT_THAT(all, Not(HasSubstr(" no\n")));
        EXPECT_THAT(out("report @ --viewpoint @new.xml --bins 3"), HasSubstr(" buckets of "));
    }
    write("all.xml", out("viewpoint --new"));
    EXPECT_EQ(run("viewpoint --check @all.xml").exit, 0);
}

TEST_F(ViewpointAuthor, QueriesAreListedWithKindTableAndHelp) {
    write("mine.xml", R"(<queryLibrary>
      <timeQuery id="mine" help="Time, mine"><dbPath>no_such_table</dbPath></timeQuery>
      <infoQuery id="thread" help="Other"><dbPath>dd_band::dd_thread</dbPath></infoQuery>
    </queryLibrary>)");
    trace("thread main 0..10 a");
    const std::string csv = out("queries --queries @mine.xml --format csv");
    EXPECT_THAT(csv, ::testing::StartsWith("id,kind,table,path,help\n"));
    EXPECT_THAT(csv, HasSubstr("\nmine,timeQuery,no_such_table,,\"Time, mine\"\n"));
    EXPECT_THAT(csv, HasSubstr("\nthread,infoQuery,dd_band,dd_thread,Other\n"));
    EXPECT_THAT(csv, Not(HasSubstr("dd_band,dd_thread.label"))) << "the later definition counts";
    const rapidjson::Document queries = json("queries @ --queries @mine.xml");
    for (const auto& query : queries.GetArray()) {
        if (query["id"] == "mine" || query["id"] == "busyTime") {
            EXPECT_EQ(query["held"].GetBool(), query["id"] == "busyTime");
        }
    }
    write("bad.xml", "<queryLibrary>\n<infQuery id='x'/>");
    expectEach({{"queries --queries @bad.xml", 3, "; mend it there"},
                {"rows @ --queries @bad.xml", 3, "bad.xml:2:"}});
}
