#include "viewpoint_text.h"

#include "support/captured_log.h"

namespace lanefeed_1 {
namespace {

using fakes::Facts;
using fakes::info;
using fakes::vectorOf;
using lanefeed_test::CapturedLog;

class Resolving : public fakes::ViewpointTest {
protected:
    void SetUp() override {
        Facts facts;
        facts.id = "task";
        facts.table = "slice_data";
        facts.path = "dd_task";
        facts.attr = "name";
        task = info(facts);
        series = fakes::make<fakes::FakeData<dataface_1::ITimeQuery>>(facts);
        library->known["task"] = vectorOf({task});
    }

    basekit2::sptr_t<dataface_1::IQuery> task;
    basekit2::sptr_t<dataface_1::IQuery> series;
};

TEST_F(Resolving, AsksRulerRowsAndLayersInAFixedOrder) {
    parse(R"(<area><rowSet>
               <layer><highlightBy query="2"/><tooltipBy query="1"/><diveBy query="0"/>
                      <drawBy query="draw"/></layer>
               <layer><diveBy query="never"/></layer>
               <rowBy useGridQuery="false" query="row"/></rowSet></area>
             <area/>
             <ruler><layer><tooltipBy query="ruler"/></layer></ruler>)");
    EXPECT_EQ(library->asked,
              (std::vector<std::string>{"tooltipBy ruler", "rowBy row", "drawBy draw", "diveBy 0",
                                        "tooltipBy 1", "highlightBy 2"}));
}

TEST_F(Resolving, FillsARowFromItsAttributeQuery) {
    Facts facts;
    facts.table = "dd_band";
    facts.path = "dd_thread.dd_process";
    facts.attr = "name";
    facts.attributes = {{"timelineGraphColor", "1,2,3"}};
    library->known["threads"] = vectorOf({info(facts)});
    parse(R"(<area><rowSet><rowBy useGridQuery="false" query="threads"/></rowSet></area>)");
    const TLViewpointParser::RowBy& row = parser.m_areas.at(0).rowSets.at(0).rowBys.at(0);
    EXPECT_EQ(row.ds.m_path + "/" + row.ds.m_table + "/" + row.ds.m_attr + "/" + row.ds.m_band,
              "dd_thread.dd_process/dd_band/name/dd_thread");
    EXPECT_EQ(row.ds.m_vectorQuery, library->known["threads"]);
    EXPECT_EQ(row.ds.m_defaultQuery, library->known["threads"]->getDefaultQuery());
    EXPECT_TRUE(row.hasColor);
    EXPECT_EQ(row.color.blue, 3);
    EXPECT_EQ(row.ds.m_dataType, DicerDataSource::dsNone);
}

TEST_F(Resolving, KeepsARowThatFailed) {
    Facts colored;
    colored.attributes = {{"timelineGraphColor", 7}};
    library->known["series"] = vectorOf({series});
    library->known["colored"] = vectorOf({info(colored)});
    const CapturedLog log;
    parse(R"(<area><rowSet><rowBy useGridQuery="false" query="none"/><rowBy query="series"/>
             <rowBy query="colored"/></rowSet></area>)");
    EXPECT_EQ(messages(),
              "area 1: Row by query is unknown. Area won't be created\n"
              "area 1: Row by query must resolve to info query. Area won't be created\n");
    EXPECT_EQ(log.count("Area #1 Row by query "), 2);
    const auto& rows = parser.m_areas.at(0).rowSets.at(0).rowBys;
    EXPECT_TRUE(rows.at(0).valid && rows.at(0).ds.m_vectorQuery.is_null());
    EXPECT_TRUE(rows.at(1).valid && rows.at(1).ds.m_defaultQuery.is_null());
    EXPECT_EQ(rows.at(1).ds.m_vectorQuery, library->known["series"]);
    EXPECT_EQ(log.count("can_get<const char*>()"), 1);
    EXPECT_FALSE(rows.at(2).hasColor);
}

TEST_F(Resolving, KeepsTheGoodMembersOfATooltip) {
    Facts bad;
    bad.id = "bad";
    library->known["mixed"] = vectorOf({task, nullptr, fakes::make<fakes::FakeDerived>(bad), task});
    library->known["strange"] = basekit2::make_object<fakes::UncastableVector>(Facts());
    const CapturedLog log;
    parse(R"(<area><rowSet><layer><tooltipBy query="mixed"/><highlightBy query="none"/></layer>
             <layer><tooltipBy query="strange"/></layer></rowSet></area>)");
    const std::string bag = "layer 1/1: <tooltipBy> <query> = mixed\\n";
    const std::string noInfo = " is empty or doesn't resolve to an info query.  Query ID: ";
    EXPECT_EQ(messages(), bag + noInfo + "NULL\n" + bag + noInfo + "bad\n" +
                              "layer 1/1: <tooltipBy> <query> = none\\n resolved to a NULL query.\n"
                              "layer 1/2: <tooltipBy> <query> = strange\\n"
                              " resolves to a NULL vector query.\n");
    EXPECT_EQ(log.entries().size(), 2U) << "a single bad member is no severe report";
    EXPECT_EQ(log.count("Area #1 Layer #"), 2);
    const DicerDataSource& ds = firstLayer().tooltipBy.ds;
    ASSERT_EQ(ds.m_extras.size(), 2U);
    EXPECT_EQ(ds.m_extras[1].query, task);
    EXPECT_EQ(ds.m_extras[1].path + "/" + ds.m_extras[1].table + "/" + ds.m_extras[1].attr + "/" +
                  ds.m_extras[1].suffix,
              "dd_task/slice_data/name/text of task");
    EXPECT_TRUE(ds.m_extras[1].values.empty());
}

TEST_F(Resolving, EndsADiveAtItsFirstBadMember) {
    library->known["dive"] = vectorOf({task, nullptr, task});
    library->known["strange"] = basekit2::make_object<fakes::UncastableVector>(Facts());
    const CapturedLog log;
    parse(R"(<area/><area><rowSet>
        <layer><drawBy query="task"/><diveBy query="dive"/></layer>
        <layer><drawBy query="task"/><diveBy query="none"/></layer>
        <layer><drawBy query="task"/><diveBy query="strange"/></layer></rowSet></area>)");
    const std::string bag = "<diveBy> <query> = task\\n";
    EXPECT_EQ(messages(),
              "layer 0/1: " + bag +
                  " is invalid or doesn't resolve to an info query. Query ID is: NULL\n" +
                  "layer 0/2: " + bag + " resolved to a NULL query.\n" + "layer 0/3: " + bag +
                  " resolves to a NULL vector query.\n");
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(parser.m_areas.at(1).rowSets.at(0).layers.at(0).drawBy.ds.m_infoQueries.size(), 1U);
}

TEST_F(Resolving, FilesARulerUnderItsOwnKey) {
    parse(R"(<ruler><layer><drawBy query="none"/><diveBy query="none"/></layer></ruler><area/>)");
    EXPECT_EQ(messages(),
              "layer -1/1: <drawBy> <query> = none\\n"
              "resolved to a NULL query. Layer won't be created\n"
              "layer 0/1: <diveBy> <query> = none\\n resolved to a NULL query.\n");
}

TEST_F(Resolving, AddsTooltipsAgainInASecondPass) {
    parseOneLayer("", R"(<tooltipBy query="task"/>)");
    parser.resolveQueries();
    EXPECT_EQ(firstLayer().tooltipBy.ds.m_extras.size(), 2U);
}

}  // namespace
}  // namespace lanefeed_1
