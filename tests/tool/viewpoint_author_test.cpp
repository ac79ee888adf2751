// What the client does for authors of viewpoints: it lists queries, checks files line by line and
// writes new ones that work.

#include "tool/tool_test.h"

#include <sstream>

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class ViewpointAuthor : public ToolTest {
protected:
    // A check of this text finds these faults and no others: lines ":2: area 0: " that hold a text.
    // Lines count from that of <viewpoint>.
    void expectFaults(const std::string& xml,
                      const std::vector<std::pair<std::string, std::string>>& faults) const {
        write("v.xml", xml);
        const ToolRun run = this->run("viewpoint --check @v.xml");
        EXPECT_EQ(run.exit, 3) << run.err;
        std::istringstream lines(run.out);
        std::string line;
        for (const auto& [place, said] : faults) {
            std::getline(lines, line);
            EXPECT_THAT(line, AllOf(StartsWith(path("@v.xml") + place), HasSubstr(said)));
        }
        EXPECT_FALSE(std::getline(lines, line)) << line;
    }
};

}  // namespace

TEST_F(ViewpointAuthor, ACheckNamesTheLineOfEachFaultAndWhatToWrite) {
    expectFaults(R"(<viewpoint>
  <aera/>
  <ruler><layer type="Overtime"><drawBy query="sliceCount"/><zzz/></layer></ruler>
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
  </area>
</viewpoint>
)",
                 {{":2: ", "<aera>"},
                  {":3: ruler, layer 0: ", "<zzz>"},
                  {":4: area 0: ", "visible=\"yes\" of <area>: write true or false"},
                  {":4: area 0: ", "did you mean 'headerMode'"},
                  {":6: area 0: ", "text:"},
                  {":7: area 0: ", "no query \"thred\"; did you mean 'thread'"},
                  {":8: area 0: ", "<bogus>"},
                  {":9: area 0, layer 0: ", "did you mean \"Overtime\""},
                  {":11: area 0, layer 0: ", "Multiple <drawBy>"},
                  {":12: area 0, layer 0: ", "Query ID: busyTime"},
                  {":15: area 0, layer 1: ", "unknown element <dbPth>; write dbPath"},
                  {":17: area 0, layer 1: ", "<diveBy>"},
                  {":18: area 0, layer 1: ", "no query \"zzzzzzzz\"; 'lanefeed queries'"},
                  {":18: area 0, layer 1: ", "\"markerSize\" is \"big\""},
                  {":19: area 0, layer 1: ", "<huh>"}});
    EXPECT_EQ(run("viewpoint --check @v.xml --format json").err, "") << "nothing is told twice";
}

TEST_F(ViewpointAuthor, ACheckReadsTheWordsOfAGrid) {
    expectFaults(
        R"(<viewpoint><area>
  <rowSet>
    <gridQuery defualt="true">
      <rowBy query="processAndThread, runningProcessAndThread" default="yes"/>
      <columnBy query="busyTime" requird="true"/>
    </gridQuery>
    <layer type="Overtime"><drawBy query="busyTime"/></layer>
  </rowSet></area><area><rowSet>
    <rowBy useGridQry="false" query="process"/>
    <rowBy useGridQuery="nope" query="thread"/></rowSet></area>
  <area><rowSet><gridQuery><rowBy query="process, core"/></gridQuery></rowSet></area></viewpoint>)",
        {{":3: ", "unknown attribute \"defualt\" of <gridQuery>; it takes none"},
         {":4: ", "default=\"yes\" of <rowBy>: write true or false"},
         {":5: ", "\"requird\" of <columnBy>; did you mean 'required'"},
         {":9: ", "did you mean 'useGridQuery'"},
         {":10: ", "useGridQuery=\"nope\" of <rowBy>: write true or false"},
         {":11: ", "\"process\" makes rows of dd_process, but \"core\" of dd_core; make"}});
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
        EXPECT_EQ(fileText(path("@new.xml")).find("\n    core ") == std::string::npos,
                  std::string(trace).find("scheduler") == std::string::npos);
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
    </queryLibrary>)");
    trace("thread main 0..10 a");
    const std::string csv = out("queries --queries @mine.xml --format csv");
    EXPECT_THAT(csv, StartsWith("id,kind,table,path,help\n"));
    EXPECT_THAT(csv, HasSubstr("\nmine,timeQuery,no_such_table,,\"Time, mine\"\n"));
    const rapidjson::Document queries = json("queries @ --queries @mine.xml");
    for (const auto& query : queries.GetArray())
        if (query["id"] == "mine" || query["id"] == "busyTime") {
            EXPECT_EQ(query["held"].GetBool(), query["id"] == "busyTime");
        }
    write("bad.xml", "<queryLibrary>\n<infQuery id='x'/>");
    expectEach({{"rows @ --queries @bad.xml", 3, "bad.xml:2:"}});
}
