#include "viewpoint_text.h"

namespace lanefeed_1 {
namespace {

using basekit2::error_code_t;
using dataface_1::IVectorQuery;
using fakes::sptr_t;
using LayerInfo = TLViewpointParser::LayerInfo;
using RowBy = TLViewpointParser::RowBy;
using RowSet = TLViewpointParser::RowSet;

// Picks one query for every layer, and offers groupings.
class FakeGrid : public slicekit_1_0::IGridViewpointParser {
public:
    basekit2::generic_iterator_t<sptr_t<IVectorQuery>> getGroupings() override {
        return basekit2::make_iterator(groupings);
    }
    sptr_t<IVectorQuery> getDefaultVectorQuery() override { return {}; }
    error_code_t getGrouping(int, sptr_t<IVectorQuery>&) override { return {}; }
    error_code_t createQuery(const sptr_t<IVectorQuery>&,
                             sptr_t<slicekit_1_0::IGridQuery>&) override {
        return {};
    }
    int getQueryFlags() override { return 0; }
    void setColumnBy(const sptr_t<IVectorQuery>&) override { ++columnsSet; }
    sptr_t<dataface_1::IQuery> getRowByForLevel(const sptr_t<dataface_1::IQuery>&,
                                                int level) override {
        return level == 1 ? picked : sptr_t<dataface_1::IQuery>();
    }
    sptr_t<dataface_1::IQuery> getRowByQuery(const sptr_t<dataface_1::IQuery>&, int) override {
        return {};
    }

    std::vector<sptr_t<IVectorQuery>> groupings;
    sptr_t<dataface_1::IQuery> picked;
    int columnsSet = 0;
};

// A row set of rows named by letters; a small letter continues the group before it.
RowSet rowsOf(const std::string& letters) {
    RowSet rowSet;
    for (const char letter : letters) {
        RowBy row;
        row.displayName = letter;
        row.continuesGroup = letter >= 'a';
        row.ds.m_defaultQuery = fakes::info({});
        rowSet.rowBys.push_back(row);
    }
    return rowSet;
}

std::string names(const std::vector<RowBy>& rows) {
    std::string text;
    for (const RowBy& row : rows)
        text += row.displayName;
    return text;
}

class RowGroups : public fakes::ViewpointTest {
protected:
    const sptr_t<basekit2::ref_counted_t<FakeGrid>> m_grid = basekit2::make_object<FakeGrid>();
};

TEST_F(RowGroups, BeginWithARowThatDoesNotContinueOne) {
    std::string text;
    for (const auto& group : m_parser.getAllRowbys(rowsOf("abCdeF")))
        text += names(group) + ".";
    EXPECT_EQ(text, "ab.Cde.F.");
}

TEST_F(RowGroups, GiveALayerTheFirstOfEachWithoutAGrid) {
    EXPECT_EQ(names(m_parser.getAllLayerRowBy({}, rowsOf("AbCD"))), "ACD");
    LayerInfo lifetime;
    lifetime.drawBy.isLifetime = true;
    const std::tuple<LayerInfo, const char*, int, const char*> cases[] = {
        {{}, "", 0, ""},    {{}, "A", 99, "A"}, {{}, "A", -1, "A"},        {{}, "ABc", 0, "A"},
        {{}, "ABc", 1, ""}, {{}, "AB", 2, ""},  {lifetime, "AbC", 7, "A"}, {{}, "AB", 1, "B"}};
    for (const auto& [layer, letters, level, expected] : cases)
        EXPECT_EQ(m_parser.getLayerRowBy(layer, rowsOf(letters), level).displayName, expected)
            << letters << level;
}

TEST_F(RowGroups, GiveALayerTheRowThatAGridPicks) {
    RowSet rowSet = rowsOf("ABcdEf");
    rowSet.gridQuery = m_grid;
    m_grid->picked = rowSet.rowBys[2].ds.m_defaultQuery;
    EXPECT_EQ(names(m_parser.getAllLayerRowBy({}, rowSet)), "Ac");
    EXPECT_EQ(m_parser.getLayerRowBy({}, rowSet, 1).displayName, "c");
    EXPECT_EQ(m_parser.getLayerRowBy({}, rowSet, 2).displayName, "");
    m_grid->picked = fakes::info({});
    EXPECT_EQ(names(m_parser.getAllLayerRowBy({}, rowSet)), "A");
}

TEST_F(RowGroups, AreAskedOfAGridOnlyWithoutRowsOfTheirOwn) {
    parse("<area><rowSet/></area><area><rowSet/></area><area><rowSet><columnBy/></rowSet></area>");
    for (TLViewpointParser::Area& area : m_parser.m_areas)
        area.rowSets[0].gridQuery = m_grid;
    m_parser.m_areas[0].rowSets[0].rowBys.resize(1);
    m_parser.resolveQueries();
    EXPECT_EQ(messages(),
              "area 1: Both rowBy and gridQuery sections are present in the same rowSet. "
              "Grid query won't be used\n");
    EXPECT_EQ(m_grid->columnsSet, 1);
    m_grid->groupings = {fakes::vectorOf({})};
    m_parser.resolveQueries();
    EXPECT_EQ(m_logger->areaMessages[2].at(0).rfind("Failed to get groupings for gridQuery: ", 0),
              0U);
}

}  // namespace
}  // namespace lanefeed_1
