// Rows of an area: read, counted, sorted, replaced, and those that a filter leaves; rows of a table
// of the store, then rows of a grid.

#include "provider_fixture.h"
#include "support/fake_grid.h"
#include "support/table_text.h"

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using dataface_1::ITableTree;
using lanefeed_1::IDicerProvider;
using Ids = std::vector<int>;

class AnyRows : public ProviderTest {
protected:
    Ids order() {
        Ids rows;
        m_provider->getSortOrder(rows);
        return rows;
    }
};

class Rows : public AnyRows {
protected:
    bool getSummary() {
        basekit2::sptr_t<dataface_1::ITableTree> table;
        return m_provider->getRowSummary(table, -1, true, true);
    }
};

TEST_F(Rows, AreCountedAndKeepTheirPlacesWhenSorted) {
    IDicerProvider::SortInfo info;
    Ids rows;
    EXPECT_FALSE(m_provider->getSortOrder(rows) || m_provider->getCurrentSorting(info) ||
                 m_provider->getDefaultSortOrder(info) || m_provider->setSorting(info));
    bindRows({10, 30, 20});
    EXPECT_EQ(m_provider->getRowCount(), 3);
    EXPECT_EQ(m_provider->getRowDbIndexByUniqueId(3), -1);
    EXPECT_TRUE(m_provider->getSortOrder(rows));
    EXPECT_EQ(rows, (Ids{0, 1, 2}));
    EXPECT_FALSE(m_provider->getCurrentSorting(info)) << "nothing has been sorted by";
    EXPECT_TRUE(m_log.empty());
    expectFailure("summaryRow", [this] { return m_provider->getRowLevel(3) != -1; });

    ASSERT_TRUE(m_provider->getDefaultSortOrder(info));
    EXPECT_TRUE(info.ascending);
    ASSERT_TRUE(m_provider->setSorting(info));
    const Ids rising = order();
    info.ascending = false;
    ASSERT_TRUE(m_provider->setSorting(info));
    EXPECT_EQ(order(), Ids(rising.rbegin(), rising.rend()));
    EXPECT_EQ(m_provider->getRowDbIndexByUniqueId(1), 30);
    ASSERT_TRUE(m_provider->getCurrentSorting(info));
    EXPECT_FALSE(info.ascending);
}

TEST_F(Rows, AreReadUnderTheRestrictionAndDumpedUnderTheNumberOfTheArea) {
    QueryFacts facts = factsAt("::dd_thread.name");
    facts.values = {"thread 30", "thread 10"};
    m_provider->setRowByRestriction(dataface_1::IInfoQuery::cast(infoQuery(facts)));
    EXPECT_EQ(dumpsOf([this] { bindRows({10}); }), Strings{"timeline_row_summary3.xml"});
    const std::string& read = m_db->reads.back();
    EXPECT_NE(read.find("dd_thread.name=thread 30 dd_thread.name=thread 10"), std::string::npos);
}

TEST_F(Rows, AreReplacedByTheNextSummaryButNotByAFailedOrCancelledOne) {
    bindRows({10, 20});
    const auto summary = m_provider->m_rowSummaryTable;
    m_db->tables["dd_thread"].clear();
    expectFailure("bRet && summaryImpl", [this] { return getSummary(); });
    m_log.clear();
    m_progress->cancelsAt = 1;  // also when the read is cut off before its first row
    EXPECT_FALSE(getSummary());
    m_db->tables["dd_thread"] = tableOf("rowid dd_thread.name\n5 five");
    EXPECT_FALSE(getSummary());
    EXPECT_TRUE(m_log.empty());
    EXPECT_EQ(m_provider->m_rowSummaryTable, summary);
    m_progress->cancelsAt = 0;
    ASSERT_TRUE(getSummary());
    EXPECT_EQ(m_provider->getRowCount(), 1);
}

TEST_F(Rows, AreVisibleAsFarAsTheGlobalFilterLeavesThem) {
    Ids rows;
    const auto isVisible = [&] {
        rows.clear();
        return m_provider->getVisibleRows(rows, -1);
    };
    bind();
    EXPECT_TRUE(isVisible());
    EXPECT_EQ(rows, Ids{0}) << "an area without rows";
    bindRows({10, 30, 20});
    const auto reads = m_db->reads.size();
    EXPECT_TRUE(isVisible());
    EXPECT_EQ(rows, (Ids{0, 1, 2}));
    EXPECT_EQ(m_db->reads.size(), reads);

    m_registry->names = {"global"};
    m_db->tables["dd_thread"].erase(m_db->tables["dd_thread"].begin());
    EXPECT_TRUE(isVisible());
    EXPECT_EQ(rows, (Ids{1, 2}));
    EXPECT_EQ(m_provider->getRowCount(), 3);
    m_progress->cancelsAt = 1;
    EXPECT_FALSE(isVisible());
    EXPECT_TRUE(m_log.empty());
    m_progress->cancelsAt = 0;
    m_db->tables["dd_thread"].clear();
    expectFailure("bRet && summaryImpl", isVisible);
    m_input->withdraw<dataface_1::IFilterRegistry>();
    expectFailure("filterRegistry", isVisible);
    EXPECT_TRUE(rows.empty());
}

// Rows of a grid: what is asked of the grid and of the registry, in order, and what each refusal
// leaves.
const Strings kUnfiltered = {"rows create", "rows clear", "rows execute 5"};
const Strings kFiltered = {"rows create", "rows clear", "rows filter global", "rows execute 5"};

class GridSummary : public AnyRows {
protected:
    GridSummary() {
        for (const std::string type : {"dd_core", "dd_process"}) {
            const std::string band = "dd_band::" + type;
            QueryFacts facts = factsAt(band);
            facts.bandColumn = band;
            m_grid->groupings.insert(m_grid->groupings.begin(), vectorOf({infoQuery(facts)}));
            m_db->tables[band] = tableOf(band + " start_tsc end_tsc\n1 1000 1500");
        }
        const auto& byProcess = m_grid->groupings[0];
        m_required->groupings = {byProcess};
        m_grid->table = gridTable(
            {{1, "a", 3, {{11, "a1", 3, {}}}}, {2, "b", 9, {}}, {3, "c", 6, {}}}, byProcess);
        m_requiredTable = basekit2::make_object<FakeGrid>(
            gridTable({{1, "a", {}, {}}, {2, "b", {}, {}}}, byProcess));
        m_required->table = m_requiredTable;
        m_rowSet.rowBys.push_back(rowBy(factsAt("dd_band::dd_thread")));
        m_rowSet.gridQuery = m_grid;
    }
    void bindWithRequiredData() {
        m_rowSet.requiredData = m_required;
        bind(&m_rowSet);
    }
    bool summary(int grouping = -1, bool resort = false, bool useGlobalFilter = true) {
        m_calls.clear();
        m_log.clear();
        return m_provider->getRowSummary(m_table, grouping, resort, useGlobalFilter);
    }
    // The summary fails with this text, and stays the one before.
    void expectFailedSummary(const std::string& text, int grouping = -1) {
        const auto before = m_provider->m_rowSummaryTable;
        expectFailure(text, [&] { return summary(grouping); });
        EXPECT_TRUE(m_log.contains("bRet && summaryImpl")) << text;
        EXPECT_EQ(m_provider->m_rowSummaryTable, before);
    }

    // Of the registry and of both grids.
    Strings& m_calls = m_registry->calls;
    const sptr_t<basekit2::ref_counted_t<FakeGridParser>> m_grid =
        basekit2::make_object<FakeGridParser>("rows", &m_calls);
    const sptr_t<basekit2::ref_counted_t<FakeGridParser>> m_required =
        basekit2::make_object<FakeGridParser>("required", &m_calls);
    sptr_t<FakeGrid> m_requiredTable;
    lanefeed_1::TLViewpointParser::RowSet m_rowSet;
    sptr_t<ITableTree> m_table;
};

TEST_F(GridSummary, IsReadUnderTheFilterAndNestsAsTheGridDoes) {
    bind(&m_rowSet);
    ASSERT_TRUE(summary());
    EXPECT_EQ(m_calls, kUnfiltered) << "no such filter";
    m_registry->names = {"global"};
    ASSERT_TRUE(summary(-1, false, false));
    EXPECT_EQ(m_calls, kUnfiltered) << "none asked for";
    ASSERT_TRUE(summary(-1, true));
    EXPECT_EQ(m_calls, kFiltered);
    EXPECT_EQ(m_provider->getRowCount(), 4);
    EXPECT_EQ(m_provider->getRowLevel(1), 1);
    EXPECT_EQ(m_grid->lastGrouping, m_grid->groupings[0]);
    // By the first value, largest first; rows stay where they are.
    EXPECT_EQ(order(), (std::vector<int>{1, 2, 0}));
    EXPECT_EQ(m_provider->getRowDbIndexByUniqueId(0), 1);
    ASSERT_TRUE(summary(1));
    EXPECT_EQ(m_grid->lastGrouping, m_grid->groupings[1]);
    // By the column of the first grouping, whatever grouping the rows are of.
    m_grid->groupings[0] = vectorOf({namedQuery("name")});
    ASSERT_TRUE(summary(1, true));
    EXPECT_EQ(order(), (std::vector<int>{2, 1, 0}));
    // Fewer rows are visible under the filter; the table stays.
    const auto table = m_provider->m_rowSummaryTable;
    m_grid->table =
        gridTable({{1, "a", 3, {{11, "a1", 3, {}}}}, {3, "c", 6, {}}}, m_grid->groupings[0]);
    m_calls.clear();
    std::vector<int> rows;
    ASSERT_TRUE(m_provider->getVisibleRows(rows, 1));
    EXPECT_EQ(rows, (std::vector<int>{0, 1, 3}));
    EXPECT_EQ(m_calls, kFiltered);
    EXPECT_EQ(m_grid->lastGrouping, m_grid->groupings[1]);
    EXPECT_EQ(m_provider->m_rowSummaryTable, table);
    EXPECT_TRUE(m_log.empty());
}

TEST_F(GridSummary, IsRestrictedToRequiredDataThatAreReadOnce) {
    bindWithRequiredData();
    const auto* provider = static_cast<lanefeed_1::DbiProviderImpl*>(m_provider.get());
    const std::string name =
        "required_data_filter_" + std::to_string(reinterpret_cast<std::uintptr_t>(provider));
    EXPECT_EQ(dumpsOf([this] { EXPECT_TRUE(summary()); }),
              (Strings{"timeline_required_data.xml", "timeline_row_summary3.xml",
                       "timeline_row_summary_input3.xml"}));
    EXPECT_EQ(m_calls,
              (Strings{"rows create", "rows clear", "required create", "required execute 5",
                       "remove " + name, "query " + name + " rows 1 2", "rows filter " + name,
                       "rows execute 5"}));
    m_provider->clearCaches();
    ASSERT_TRUE(summary());
    EXPECT_EQ(m_calls,
              (Strings{"rows create", "rows clear", "remove " + name, "query " + name + " rows 1 2",
                       "rows filter " + name, "rows execute 5"}));
    EXPECT_TRUE(m_log.empty());
}

TEST_F(GridSummary, TellsWhatItCouldNotGetAndKeepsNoHalfReadData) {
    bindWithRequiredData();
    m_required->groupings.clear();
    expectFailedSummary("grouping,");
    m_required->groupings = {m_grid->groupings[0]};
    m_required->table.reset();
    expectFailedSummary("err.succeeded() && m_requiredDataTable");
    m_required->table = m_requiredTable;
    m_progress->cancelsAt = 1;
    EXPECT_FALSE(summary());
    EXPECT_EQ(m_calls.back(), "required execute 5");
    EXPECT_TRUE(m_log.empty());
    m_progress->cancelsAt = m_progress->asked + 2;  // after the read of the rows
    EXPECT_FALSE(summary());
    EXPECT_EQ(m_calls.back(), "rows execute 5");
    EXPECT_TRUE(m_log.empty());
    m_progress->cancelsAt = 0;
    const auto rows = m_grid->table;
    m_grid->table.reset();
    expectFailedSummary("err.succeeded() && tree");
    m_grid->table = rows;
    EXPECT_TRUE(summary());
    EXPECT_EQ(m_calls.size(), 6U) << "the required data were kept";

    m_provider = basekit2::make_object<DbiProbe>();
    bindWithRequiredData();
    m_requiredTable->refuses = true;
    expectFailedSummary("err.succeeded() && filter");
    expectFailedSummary("grouping", 7);
}

}  // namespace
}  // namespace lanefeed_test
