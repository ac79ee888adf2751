// Rows in groups of alternatives: which of them a layer gets, and the columns that a grid gets from
// layers. What becomes of the groupings of a grid stands in golden/grids.txt.
#include "support/fake_grid.h"
#include "viewpoint_text.h"

namespace lanefeed_1 {
namespace {

using basekit2::sptr_t;
using dataface_1::IVectorQuery;
using lanefeed_test::infoQuery;
using lanefeed_test::QueryFacts;
using lanefeed_test::vectorOf;
using RowBy = TLViewpointParser::RowBy;
using RowSet = TLViewpointParser::RowSet;

// Picks a query for layers that draw `drawn`, on level 1.
class PickingGrid : public lanefeed_test::FakeGridParser {
public:
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
        for (const RowBy& row : m_parser.getAllLayerRowBy(layer, rowSet))
            text += row.displayName;
        return text + " " + m_parser.getLayerRowBy(layer, rowSet, level).displayName;
    }

    const sptr_t<basekit2::ref_counted_t<PickingGrid>> m_grid =
        basekit2::make_object<PickingGrid>();
    const sptr_t<dataface_1::IQuery> m_time =
        lanefeed_test::makeQuery<lanefeed_test::FakeDataQuery<dataface_1::ITimeQuery>>({});
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
    EXPECT_EQ(rowsFor(layer, rowSet, 1), "A ") << "one that it picks nothing for";
    layer.drawBy.ds.m_vectorQuery = lifetime.drawBy.ds.m_vectorQuery = m_grid->drawn;
    EXPECT_EQ(rowsFor(layer, rowSet, 1), "Ac c");
    EXPECT_EQ(rowsFor(layer, rowSet, 2), "Ac ");
    EXPECT_EQ(rowsFor(lifetime, rowSet, 1), "ABE A");
    m_grid->picked = infoQuery({});
    EXPECT_EQ(rowsFor(layer, rowSet, 1), "A ") << "a pick of another group";
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
    ASSERT_EQ(m_grid->columns->getCount(), 2);
    EXPECT_EQ(m_grid->columns->getDefaultQuery()->getId(), "value");
    ASSERT_EQ(m_library->created.size(), 1U);
    EXPECT_EQ(m_library->created[0].get_name(), "instanceCountQuery");
    EXPECT_EQ(printVariantBag(m_library->created[0], false),
              "<id> = value\n<displayName> = %value\ndbPath:\n<#text> = counter_data::value\n\n");

    m_library->refuses = true;
    m_parser.setColumnByFromLayers(rowSet);
    ASSERT_EQ(m_grid->columns->getCount(), 1);
    EXPECT_EQ(m_grid->columns->getDefaultQuery(), m_time);
}

}  // namespace
}  // namespace lanefeed_1
