// What a parse does apart from the records that it makes: its order, its messages, what becomes of
// a library that gives odd answers and of a caller that does; and the small parts that it is made
// of; and rows in groups of alternatives: which of them a layer gets, and the columns that a grid
// gets from layers. What becomes of the groupings of a grid stands in golden/grids.txt.
#include "support/captured_log.h"
#include "support/fake_grid.h"
#include "viewpoint_text.h"

#include <boost/lexical_cast.hpp>

namespace lanefeed_1 {
namespace {

using basekit2::sptr_t;
using dataface_1::IVectorQuery;
using lanefeed_test::CapturedLog;
using lanefeed_test::FakeDerivedQuery;
using lanefeed_test::infoQuery;
using lanefeed_test::makeQuery;
using lanefeed_test::QueryFacts;
using lanefeed_test::vectorOf;
using RowSet = TLViewpointParser::RowSet;

using Parser = fakes::ViewpointTest;

TEST_F(Parser, AsksForRulerRowsAndLayersInAFixedOrder) {
    parse(R"(<area><rowSet>
               <layer><highlightBy query="2"/><tooltipBy query="1"/><diveBy query="0"/>
                      <drawBy query="draw"/></layer>
               <layer><diveBy query="never"/><colorBy query="color"/></layer>
               <rowBy useGridQuery="false" query="row"/></rowSet></area>
             <area/>
             <ruler><layer><tooltipBy query="ruler"/></layer></ruler>)");
    EXPECT_EQ(m_library->resolved,
              (std::vector<std::string>{"colorBy color", "tooltipBy ruler", "rowBy row",
                                        "drawBy draw", "diveBy 0", "tooltipBy 1", "highlightBy 2"}))
        << "colours while they are read, all else afterwards";
    EXPECT_EQ(m_library->messengers, std::set<relay2::IMessenger*>{m_messenger.get()});
}

TEST_F(Parser, TellsOfQueriesThatTheLibraryGivesWithHoles) {
    m_library->vectors["holes"] = vectorOf({infoQuery({}), nullptr, infoQuery({})});
    const auto& layer = parseOneLayer("", R"(<tooltipBy query="holes"/><drawBy query="holes"/>
                             <diveBy query="holes"/>)");
    for (const char* message :
         {"layer 0/1: <diveBy> <query> = holes\n is invalid or doesn't resolve to an info query. "
          "Query ID is: NULL\n",
          "layer 1/1: <tooltipBy> <query> = holes\n is empty or doesn't resolve to an info query.  "
          "Query ID: NULL\n"})
        EXPECT_NE(messages().find(message), std::string::npos) << message;
    EXPECT_EQ(layer.tooltipBy.ds.m_extras.size(), 2U);
}

TEST_F(Parser, AsksTheDefaultQueryForADisplayAttributeThatDoesNotFit) {
    QueryFacts facts;
    facts.attributes = {{"timelineFormat", "inner"}, {"timelinePenWidth", 5}, {"markerSize", 5}};
    m_library->vectors["it"] = vectorOf({makeQuery<FakeDerivedQuery>(facts)},
                                        {{"timelineFormat", 3}, {"markerSize", "7"}});
    auto& drawBy = parseOneLayer("", R"(<drawBy query="it"/>)").drawBy;
    EXPECT_EQ(drawBy.format, "inner");
    EXPECT_EQ(drawBy.lineWidth, 2) << "a number is no text";
    m_parser.getMarkerSize(drawBy);
    EXPECT_EQ(drawBy.markerSize, 5);
}

TEST_F(Parser, TakesOneRulerAndReadsAreasAnew) {
    parse("<ruler><layer/></ruler><area/>");
    parse("<ruler><layer/></ruler><area/><area/>");
    EXPECT_EQ(m_parser.m_rulerLayers.size(), 1U);
    EXPECT_EQ(m_parser.m_areas.size(), 2U);
    EXPECT_EQ(messages(), "Multiple <ruler> found. Only the first <ruler> will be used.\n");
    const CapturedLog log;
    m_parser.parseViewpoint({}, nullptr, nullptr, m_result, m_logger);
    m_parser.parseViewpoint({}, m_library, nullptr, nullptr, m_logger);
    m_parser.parseViewpoint({}, m_library, nullptr, m_result, nullptr);
    EXPECT_EQ(m_parser.m_areas.size(), 2U) << "all is as it was";
    EXPECT_EQ(log.count("library && result && logger"), 3);
}

TEST_F(Parser, WantsAnAreaBeforeAnythingIsResolved) {
    parse(R"(<ruler><layer><drawBy query="busy"/></layer></ruler>)");
    EXPECT_TRUE(m_library->resolved.empty());
    EXPECT_EQ(messages(),
              "Timeline: At least one <area> was expectedbut could not be found. "
              "Timeline will appear empty.\n");
}

// A host may read a layer again into the record that it has; only the type stays.
TEST_F(Parser, ForgetsWhatALayerHeldBefore) {
    TLViewpointParser::LayerInfo layer;
    layer.typeGiven = layer.showText = layer.showTextGiven = true;
    layer.tooltipBy.valid = layer.highlightBy.valid = layer.hatchBy.valid = true;
    TLViewpointParser::DrawBy& draw = layer.drawBy;
    draw.valid = draw.hasDive = draw.required = draw.isLifetime = draw.hierarchical = true;
    draw.hasDisplayColor = draw.hasFilterColor = draw.hasDecimationColor = true;
    draw.binMult = 0.5;
    draw.ds.m_dataType = DicerDataSource::dsDerived;
    draw.ds.m_derivedQuery = basekit2::make_object<FakeDerivedQuery>(QueryFacts());
    TLViewpointParser::LayerInfo fresh;
    const auto textOf = [this](TLViewpointParser::LayerInfo& read) {
        m_parser.parseLayer(1, 1, read, fakes::element("<layer><drawBy/></layer>"), 0);
        m_parser.m_rulerLayers = {read};
        return fakes::recordText(m_parser);
    };
    EXPECT_EQ(textOf(layer), textOf(fresh));
    m_parser.parseLayer(1, 1, layer, fakes::element("<layer/>"), 0);
    EXPECT_FALSE(layer.hasDrawBy);
}

TEST_F(Parser, ThrowsANumberThatCannotBeRead) {
    for (const char* attribute : {"visibleSeriesCount='9999999999'", "rowByLevels='1,,2'"}) {
        EXPECT_THROW(parseOneLayer(attribute, ""), boost::bad_lexical_cast) << attribute;
    }
}

// Picks a query for layers that draw `drawn`, on level 1.
struct PickingGrid : lanefeed_test::FakeGridParser {
    PickingGrid() : FakeGridParser("", nullptr) {}
    void setColumnBy(const sptr_t<IVectorQuery>& query) override { columns = query; }
    sptr_t<dataface_1::IQuery> getRowByForLevel(const sptr_t<dataface_1::IQuery>& layer,
                                                int level) override {
        return level == 1 && layer == drawn ? picked : sptr_t<dataface_1::IQuery>();
    }

    sptr_t<dataface_1::IQuery> picked;
    sptr_t<IVectorQuery> drawn;
    sptr_t<IVectorQuery> columns;
};

class RowGroups : public fakes::ViewpointTest {
protected:
    // A row set of rows named by letters; a small letter continues the group before it.
    static RowSet rowsOf(const std::string& letters) {
        RowSet rowSet;
        for (const char letter : letters) {
            rowSet.rowBys.emplace_back();
            rowSet.rowBys.back().displayName = letter;
            rowSet.rowBys.back().continuesGroup = letter >= 'a';
            rowSet.rowBys.back().ds.m_defaultQuery = infoQuery({});
        }
        return rowSet;
    }
    // Rows of all levels, and of one that is asked for alone.
    std::string rowsFor(const TLViewpointParser::LayerInfo& layer,
                        const RowSet& rowSet,
                        int level) {
        std::string text;
        for (const TLViewpointParser::RowBy& row : m_parser.getAllLayerRowBy(layer, rowSet))
            text += row.displayName;
        return text + " " + m_parser.getLayerRowBy(layer, rowSet, level).displayName;
    }

    const sptr_t<basekit2::ref_counted_t<PickingGrid>> m_grid =
        basekit2::make_object<PickingGrid>();
    const sptr_t<dataface_1::IQuery> m_time =
        makeQuery<lanefeed_test::FakeDataQuery<dataface_1::ITimeQuery>>({});
};

TEST_F(RowGroups, GiveALayerTheFirstOfEachOrTheOneThatAGridPicks) {
    TLViewpointParser::LayerInfo lifetime;
    lifetime.drawBy.isLifetime = true;
    const std::tuple<TLViewpointParser::LayerInfo, const char*, int, const char*> cases[] = {
        {{}, "", 0, " "},       {{}, "A", 99, "A A"},  {{}, "A", -1, "A A"},
        {{}, "ABc", 0, "AB A"}, {{}, "ABc", 1, "AB "}, {{}, "AB", 2, "AB "},
        {{}, "AB", 1, "AB B"},  {{}, "abC", 0, "aC "}, {lifetime, "AbC", 7, "AC A"}};
    for (const auto& [layer, letters, level, expected] : cases)
        EXPECT_EQ(rowsFor(layer, rowsOf(letters), level), expected) << letters << level;

    RowSet rowSet = rowsOf("ABcdEf");
    rowSet.gridQuery = m_grid;
    m_grid->picked = rowSet.rowBys[2].ds.m_defaultQuery;
    m_grid->drawn = vectorOf({infoQuery({})});
    TLViewpointParser::LayerInfo layer;
    layer.drawBy.ds.m_vectorQuery = lifetime.drawBy.ds.m_vectorQuery = m_grid->drawn;
    EXPECT_EQ(rowsFor(layer, rowSet, 1), "Ac c");
    EXPECT_EQ(rowsFor(layer, rowSet, 2), "Ac ");
    EXPECT_EQ(rowsFor(lifetime, rowSet, 1), "ABE A");
}

TEST_F(RowGroups, GetTheirColumnsFromTheLayers) {
    QueryFacts facts;
    facts.id = "value";
    facts.name = "%value";
    facts.table = "counter_data";
    facts.path = "value";
    m_library->vectors = {{"time", vectorOf({m_time})}, {"value", vectorOf({infoQuery(facts)})}};
    parse(
        "<area><rowSet><layer><drawBy query='value'/></layer><layer><drawBy query='none'/></layer>"
        "<layer><drawBy query='time'/></layer><layer><drawBy query='time'/></layer></rowSet>"
        "</area>");
    RowSet& rowSet = firstRowSet();
    rowSet.gridQuery = m_grid;
    rowSet.columnByFromLayers = true;
    rowSet.layers[3].drawBy.isLifetime = true;
    m_parser.resolveQueries();
    EXPECT_EQ(m_grid->columns->getCount(), 2);
    EXPECT_EQ(m_grid->columns->getDefaultQuery()->getId(), "value");
    ASSERT_EQ(m_library->created.size(), 1U);
    EXPECT_EQ(printVariantBag(m_library->created[0], false),
              "<id> = value\n<displayName> = %value\ndbPath:\n<#text> = counter_data::value\n\n");
}

}  // namespace
}  // namespace lanefeed_1
