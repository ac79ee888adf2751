// Filters out of rows of the row table, and tables on grids that are not what they should be.

#include "row_tables.h"

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using lanefeed_1::RowSummaryTableTree;

class RowSummaryFilter : public RowTableTest {
protected:
    RowSummaryFilter() { m_bound.input->offer<dataface_1::IFilterRegistry>(m_registry); }
    static std::string filterOf(const Table& table, const std::vector<int>& rows) {
        const auto filter = table->createRowFilter(rows);
        const auto* fake = dynamic_cast<const FakeQueryFilter*>(filter.get());
        return fake != nullptr ? fake->text : "null";
    }

    const sptr_t<FakeRegistry> m_registry = basekit2::make_object<FakeRegistry>();
    CapturedLog m_log;
};

const char* const kUnknownRow =
    "selectedUniqueIDs[i] >= 0 && selectedUniqueIDs[i] < (int)m_flatRows.size()";

TEST_F(RowSummaryFilter, OfTheStoreNamesEachRowByEachChoice) {
    addThread(7, "main");
    addThread(3, "worker");
    m_bound.database->tables["dd_core"] = {};
    const Table table = build({rowBy(bandFacts("dd_thread")), rowBy(bandFacts("dd_core"))});
    ASSERT_FALSE(table.is_null());
    EXPECT_EQ(filterOf(table, {1, 0}),
              "{1 {1 dd_band::dd_thread.name=3 dd_band::dd_core.name=3} "
              "{1 dd_band::dd_thread.name=7 dd_band::dd_core.name=7}}");
    EXPECT_EQ(filterOf(table, {}), "{2}");
    EXPECT_TRUE(m_registry->calls.empty());  // a name for it is the caller's
    m_log.clear();

    EXPECT_EQ(filterOf(table, {0, -1}), "null");
    EXPECT_EQ(filterOf(table, {2}), "null");
    EXPECT_EQ(m_log.count(kUnknownRow), 2);
    m_registry->refused = {FakeRegistry::queryFilter};
    EXPECT_EQ(filterOf(table, {0}), "null");
    EXPECT_TRUE(m_log.contains("err.succeeded() && qf"));
    m_registry->refused = {FakeRegistry::queryBuilder};
    EXPECT_EQ(filterOf(table, {}), "null");
    EXPECT_TRUE(m_log.contains("qfBuilder"));
    m_bound.input->offered.erase(basekit2::type_id_t<dataface_1::IFilterRegistry>::id());
    EXPECT_EQ(filterOf(table, {}), "null");
    EXPECT_TRUE(m_log.contains("filterRegistry"));
}

TEST_F(RowSummaryFilter, OfTheStoreNeedsChoicesThatAreAttributes) {
    addThread(7, "main");
    lanefeed_1::DicerDataSource derived = rowBy(bandFacts("dd_thread"));
    derived.m_defaultQuery = makeQuery<FakeDerivedQuery>({});
    const Table table = build({derived});
    ASSERT_FALSE(table.is_null());
    EXPECT_EQ(filterOf(table, {0}), "null");
    EXPECT_TRUE(m_log.contains("infoQuery"));
}

TEST_F(RowSummaryFilter, OfAGridIsMadeByTheGridOfItsOwnRows) {
    const auto grouping = vectorOf({infoQuery(bandFacts("dd_process"))});
    const auto grid = basekit2::make_object<FakeGrid>(
        gridTable({{1, "a", 1, {{11, "a1", 1, {}}}}, {2, "b", 2, {}}}, grouping));
    const Table table = buildOn(grid, grouping);
    ASSERT_FALSE(table.is_null());
    m_log.clear();
    EXPECT_EQ(filterOf(table, {1, 2}), "rows 11 2");
    EXPECT_EQ(filterOf(table, {}), "{2}");
    EXPECT_TRUE(m_log.empty());
    EXPECT_EQ(filterOf(table, {3}), "null");
    EXPECT_TRUE(m_log.contains(kUnknownRow));
    grid->refuses = true;
    EXPECT_EQ(filterOf(table, {1}), "null");
    EXPECT_TRUE(m_log.contains("err.succeeded() && qf"));
    grid->makesFilters = false;
    EXPECT_EQ(filterOf(table, {1}), "null");
    EXPECT_TRUE(m_log.contains("status && filterTableTree"));
}

TEST_F(RowSummaryFilter, OfAGridWithHolesDoesNotComeToBe) {
    const auto grouping = vectorOf({infoQuery(bandFacts("dd_process"))});
    const auto grid = basekit2::make_object<FakeGrid>(gridTable({{1, "a", 1, {}}}, grouping));
    grid->nullRow = true;
    EXPECT_TRUE(buildOn(grid, grouping).is_null());
    EXPECT_TRUE(m_log.contains("row"));
    grid->nullRow = false;
    grid->nullColumn = true;
    EXPECT_TRUE(buildOn(grid, grouping).is_null());
    EXPECT_TRUE(m_log.contains("column"));
}

}  // namespace
}  // namespace lanefeed_test
