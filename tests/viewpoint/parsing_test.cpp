#include "viewpoint_text.h"

#include "support/captured_log.h"

namespace lanefeed_1 {
namespace {

using lanefeed_test::CapturedLog;

class Parsing : public fakes::ViewpointTest {
protected:
    TLViewpointParser::RowSet& rowSet() { return parser.m_areas.at(0).rowSets.at(0); }
};

TEST_F(Parsing, ReadsEveryAttributeOfAnArea) {
    parse(R"(<area id="x" headerMode="%head" maxLabels="true" sizeMode="rowLimit" visible="false"
              showYScale="true" useWideBands="false" rowOutlineStyle="thin">
              <rowSet displayName="%rows"/></area>
             <area sizeMode="other"/>)");
    ASSERT_EQ(parser.m_areas.size(), 2U);
    const TLViewpointParser::Area& full = parser.m_areas[0];
    EXPECT_EQ(full.index, 1);
    EXPECT_EQ(full.id, "x");
    EXPECT_EQ(full.headerMode, "[%head]");
    EXPECT_TRUE(full.maxLabels && full.showYScale);
    EXPECT_EQ(full.sizeMode, TLViewpointParser::sizeRowLimit);
    EXPECT_FALSE(full.visible || full.useWideBands);
    EXPECT_EQ(full.rowOutlineStyle, "thin");
    ASSERT_EQ(full.rowSets.size(), 1U);
    EXPECT_EQ(full.rowSets[0].id, 1);
    EXPECT_EQ(full.rowSets[0].displayName, "[%rows]");
    const TLViewpointParser::Area& bare = parser.m_areas[1];
    EXPECT_EQ(bare.index, 2);
    EXPECT_EQ(bare.id + bare.headerMode + bare.rowOutlineStyle, "");
    EXPECT_FALSE(bare.maxLabels || bare.showYScale);
    EXPECT_EQ(bare.sizeMode, TLViewpointParser::sizeAuto);
    EXPECT_TRUE(bare.visible && bare.useWideBands);
    EXPECT_EQ(messages(), "");
}

TEST_F(Parsing, ReportsWrongKindsInStrictReadsOnly) {
    const CapturedLog log;
    parse(R"(<area id="true" showYScale="no" useWideBands="double:x" rowOutlineStyle="true"/>)");
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(parser.m_areas.at(0).id + parser.m_areas.at(0).rowOutlineStyle, "");
    parse(R"(<area maxLabels="yes" visible="no" headerMode="true" sizeMode="true"/>)");
    EXPECT_EQ(log.count("can_get<bool>()"), 2);
    EXPECT_EQ(log.count("can_get<const char*>()"), 2);
    EXPECT_FALSE(parser.m_areas.at(0).maxLabels);
    EXPECT_TRUE(parser.m_areas.at(0).visible);
    EXPECT_EQ(parser.m_areas.at(0).headerMode, "");
}

TEST_F(Parsing, TakesAnyNumberForATolerantFlag) {
    parse(R"(<area int:showYScale="2" double:useWideBands="0"/>)");
    EXPECT_TRUE(parser.m_areas.at(0).showYScale);
    EXPECT_FALSE(parser.m_areas.at(0).useWideBands);
}

TEST_F(Parsing, ReportsWhatTheVocabularyDoesNotKnow) {
    const CapturedLog log;
    parse(R"(<description/><icon/><helpKeywordF1/><chart/>
             <ruler><rowSet/><layer/></ruler>
             <area><chart/><rowSet><chart/></rowSet><rowSet><layer/></rowSet></area>
             <ruler><layer/></ruler>)");
    EXPECT_EQ(messages(),
              "global: Timeline: Unknown top-level element <chart> found. "
              "Expected <area> or <ruler>.\n"
              "global: Multiple <ruler> found. Only the first <ruler> will be used.\n"
              "area -1: Unknown element <rowSet> found under <ruler>. Expected <layer>.\n"
              "area 1: Unknown element <chart> found. Expected <rowSet>\n"
              "area 1: repeating <rowSet> found under <area>."
              "Only the first <rowSet> will be used, the others are ignored.\n");
    EXPECT_EQ(log.lines(40000).size(), 3U) << "the repeats are no severe reports";
    EXPECT_TRUE(log.contains("Ruler: Unknown element <rowSet>"));
    EXPECT_TRUE(log.contains("Area #1 Unknown element <chart>"));
    EXPECT_EQ(parser.m_rulerLayers.size(), 1U);
    EXPECT_EQ(parser.m_areas.at(0).rowSets.size(), 1U);
}

TEST_F(Parsing, DoesNotCountARulerWithoutLayers) {
    parse("<ruler/><ruler><layer/><layer/></ruler><area/>");
    EXPECT_TRUE(parser.m_hasRuler);
    ASSERT_EQ(parser.m_rulerLayers.size(), 2U);
    EXPECT_EQ(parser.m_rulerLayers[1].id, 2);
    EXPECT_EQ(messages(), "");
    parse("<ruler><layer/></ruler><area/>");
    EXPECT_EQ(parser.m_rulerLayers.size(), 2U) << "the ruler of the first parse stays";
    EXPECT_EQ(parser.m_areas.size(), 1U);
    EXPECT_EQ(messages(), "global: Multiple <ruler> found. Only the first <ruler> will be used.\n");
}

TEST_F(Parsing, WantsAnAreaBeforeAnythingIsResolved) {
    parse(R"(<ruler><layer><drawBy query="busy"/></layer></ruler>)");
    EXPECT_TRUE(library->asked.empty());
    EXPECT_EQ(messages(),
              "global: Timeline: At least one <area> was expectedbut could not be found. "
              "Timeline will appear empty.\n");
}

TEST_F(Parsing, LeavesAllAsItWasWithoutALibrary) {
    parse("<area/>");
    const CapturedLog log;
    parser.parseViewpoint({}, nullptr, nullptr, result, logger);
    EXPECT_EQ(parser.m_areas.size(), 1U);
    EXPECT_EQ(log.count("library && result && logger"), 1);
}

TEST_F(Parsing, KeepsWhetherRowsComeFromAGridUntilToldOtherwise) {
    parse(R"(<area><rowSet>
        <rowBy useGridQuery="false" displayName="%one"/><rowBy/>
        <rowBy displayName="true"/></rowSet></area>)");
    ASSERT_EQ(rowSet().rowBys.size(), 3U);
    EXPECT_EQ(rowSet().rowBys[0].displayName, "[%one]");
    EXPECT_EQ(rowSet().rowBys[1].displayName, "[%Running_wait_state]");
    EXPECT_EQ(rowSet().rowBys[2].displayName, "[%Running_wait_state]");
    EXPECT_TRUE(rowSet().rowBys[0].valid);
    EXPECT_FALSE(rowSet().columnByFromLayers);
    parse(R"(<area><rowSet><rowBy useGridQuery="false"/><rowBy useGridQuery="perhaps"/><rowBy/>
             </rowSet></area>)");
    EXPECT_EQ(rowSet().rowBys.size(), 1U);
    EXPECT_TRUE(rowSet().columnByFromLayers);
}

TEST_F(Parsing, DerivesColumnsFromLayersUnlessTheyAreGiven) {
    parse("<area><rowSet/></area><area><rowSet><columnBy/></rowSet></area>");
    EXPECT_TRUE(rowSet().columnByFromLayers);
    EXPECT_FALSE(parser.m_areas.at(1).rowSets.at(0).columnByFromLayers);
}

// Each section goes to the creator of the grid, whose failure is told with its own words.
TEST_F(Parsing, TellsWhyAGridCouldNotBeCreated) {
    const CapturedLog log;
    parse("<area><rowSet><rowBy/><gridQuery/><requiredData/></rowSet></area>");
    EXPECT_EQ(rowSet().gridQuery.is_null(), logger->areaMessages[1].size() == 3);
    for (const std::string& message : logger->areaMessages[1]) {
        EXPECT_NE(message.find(" viewpoint parser: IsNot."), std::string::npos) << message;
        EXPECT_TRUE(log.contains("Area #1 " + message));
    }
}

}  // namespace
}  // namespace lanefeed_1
