#include "provider_fixture.h"
#include "support/fake_grid.h"

namespace lanefeed_test {
namespace {

using lanefeed_1::DicerDataSource;
using lanefeed_1::IDicerProvider;
using lanefeed_1::QueryParam;
using lanefeed_1::TLViewpointParser;
using Binding = ProviderTest;

QueryFacts rowFacts(const std::string& path, const std::string& attr = "name") {
    QueryFacts facts;
    facts.table = "slice_data";
    facts.path = path;
    facts.attr = attr;
    return facts;
}

// A grid that knows one row-by.
class PickingGrid : public FakeGridParser {
public:
    PickingGrid() : FakeGridParser("", nullptr) {}
    Query getRowByQuery(const Query& query, int level) override {
        return query == asked && level == 1 ? rowBy : nullptr;
    }

    Query asked;
    Query rowBy;
};

TEST_F(Binding, KnowsNothingBeforeAResult) {
    EXPECT_EQ(m_provider->getRowCount(), 0);
    EXPECT_EQ(m_provider->getDuration(), 0U);
    EXPECT_FALSE(m_provider->hasRowBy());
    EXPECT_EQ(m_provider->getRowDbIndexByUniqueId(5), 0);
    EXPECT_TRUE(m_provider->getResult().is_null());
    ASSERT_EQ(m_provider->m_hatches.size(), 2U);
    EXPECT_EQ(m_provider->m_hatches[1].kind, 2);
    EXPECT_EQ(m_provider->m_hatches[1].color, (dataface_1::color_t{128, 128, 255, 255}));
    EXPECT_EQ(m_provider->m_mode, 2);
    EXPECT_TRUE(m_log.empty());
    EXPECT_EQ(m_provider->getRowLevel(0), -1);
    EXPECT_TRUE(m_log.contains("summaryRow"));
}

TEST_F(Binding, SortsRowBysIntoChoicesAndJoins) {
    m_db->tables["dd_core"];
    TLViewpointParser::RowSet rowSet;
    rowSet.rowBys = {rowBy(rowFacts("dd_thread", "tid")), rowBy(rowFacts("x.dd_thread"), true),
                     rowBy(rowFacts("dd_core", "number"))};
    bind(&rowSet);
    EXPECT_TRUE(m_log.empty());
    ASSERT_EQ(basekit2::iterator_util::get_item_count(m_provider->getRowByChoices()), 2);
    const auto joins = m_provider->getRowByJoins(0);
    EXPECT_EQ(joins.current().m_path, "x.dd_thread");
    EXPECT_EQ(basekit2::iterator_util::get_item_count(joins), 1);
    EXPECT_TRUE(m_provider->getRowByJoins(1).at_end());
    // The table is that of the last choice, the attribute that of the principal one.
    EXPECT_EQ(m_provider->m_rowByAttrTable, "dd_core");
    EXPECT_EQ(m_provider->getAttrPath(nullptr), "dd_core.tid");
    EXPECT_TRUE(m_provider->hasRowBy());
    // Rows are counted with the first summary.
    EXPECT_EQ(m_provider->getRowCount(), 0);

    EXPECT_TRUE(m_provider->getRowByJoins(2).at_end());
    EXPECT_TRUE(m_log.contains(
        "principalRowByIndex >= 0 && principalRowByIndex < (int)m_rowByJoins.size()"));
}

TEST_F(Binding, RefusesAJoinOfAnotherTable) {
    m_db->tables["dd_core"];
    TLViewpointParser::RowSet rowSet;
    rowSet.rowBys = {rowBy(rowFacts("dd_thread")), rowBy(rowFacts("dd_core"), true)};
    bind(&rowSet);
    EXPECT_TRUE(
        m_log.contains("Incorrect leaf table for rowBy attr table: dd_core. Expected: "
                       "dd_thread. All rowBy's must have the same leaf table."));
    EXPECT_EQ(m_provider->m_rowByAttrTable, "dd_thread");
    EXPECT_FALSE(m_provider->addRowByDS(&rowSet.rowBys[1].ds));
    EXPECT_TRUE(m_provider->addRowByDS(&rowSet.rowBys[0].ds));
    EXPECT_EQ(basekit2::iterator_util::get_item_count(m_provider->getRowByJoins(0)), 1);
}

TEST_F(Binding, ShowsOneRowWithoutAPrincipalRowBy) {
    TLViewpointParser::RowSet rowSet;
    rowSet.rowBys = {rowBy(rowFacts("dd_thread"))};
    rowSet.rowBys.front().valid = false;
    bind(&rowSet);
    EXPECT_EQ(m_provider->getRowCount(), 1);
    EXPECT_FALSE(m_provider->getRowByChoices().at_end());

    const auto other = basekit2::make_object<DbiProbe>();
    rowSet.rowBys.front().valid = true;
    other->setResult(0, m_input, &rowSet, "view", 4);
    EXPECT_EQ(other->getRowCount(), 1);
    EXPECT_TRUE(other->hasRowBy());
}

TEST_F(Binding, PicksTheRowByThatTheGridNamesAmongAChoiceAndItsJoins) {
    m_db->tables["dd_core"];
    const auto grid = basekit2::make_object<PickingGrid>();
    TLViewpointParser::RowSet rowSet;
    rowSet.gridQuery = grid;
    rowSet.rowBys = {rowBy(rowFacts("dd_core")), rowBy(rowFacts("dd_thread")),
                     rowBy(rowFacts("x.dd_thread"), true)};
    bind(&rowSet);
    grid->asked = infoQuery({});
    const auto picked = [&](int choice) {
        return m_provider->getRowByUsingQuery(choice, grid->asked).m_path;
    };
    EXPECT_EQ(picked(1), "");  // the grid has none
    grid->rowBy = rowSet.rowBys[2].ds.m_defaultQuery;
    EXPECT_EQ(picked(1), "x.dd_thread");
    grid->rowBy = rowSet.rowBys[1].ds.m_defaultQuery;
    EXPECT_EQ(picked(1), "dd_thread");
    EXPECT_EQ(picked(0), "");
    grid->rowBy = rowSet.rowBys[0].ds.m_defaultQuery;  // of another choice
    EXPECT_EQ(picked(1), "");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Binding, CannotOpenAFile) {
    EXPECT_FALSE(m_provider->openDataFile("x.lft"));
    EXPECT_TRUE(m_log.contains("DbiProviderImpl::openDataFile not implemented"));
}

TEST_F(Binding, MakesTheProviderThatTheEnvironmentAsksFor) {
    const auto isTimeline = [&] {
        const auto provider = IDicerProvider::create(m_input);
        EXPECT_FALSE(provider.is_null());
        return dynamic_cast<lanefeed_1::TimelineDbProviderImpl*>(provider.get()) != nullptr;
    };
    const EnvironmentGuard unset("LANEFEED_SQLITE");
    EXPECT_TRUE(isTimeline());
    {
        const EnvironmentGuard empty("LANEFEED_SQLITE", "");
        EXPECT_TRUE(isTimeline());
    }
    {
        const EnvironmentGuard zero("LANEFEED_SQLITE", "0");
        EXPECT_FALSE(isTimeline());
    }
    EXPECT_GE(m_input->asked, 3);
    EXPECT_FALSE(IDicerProvider::create(nullptr).is_null());
    EXPECT_TRUE(m_log.empty());
}

}  // namespace
}  // namespace lanefeed_test
