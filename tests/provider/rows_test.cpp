#include "provider_fixture.h"
#include "support/temp_directory.h"

#include <filesystem>

namespace lanefeed_test {
namespace {

using lanefeed_1::IDicerProvider;
using Rows = ProviderTest;

TEST_F(Rows, AreCountedAndOrderedByTheSummary) {
    IDicerProvider::SortInfo info;
    std::vector<int> order;
    EXPECT_FALSE(m_provider->getSortOrder(order));
    EXPECT_FALSE(m_provider->getCurrentSorting(info));
    EXPECT_FALSE(m_provider->getDefaultSortOrder(info));
    EXPECT_FALSE(m_provider->setSorting(info));
    EXPECT_EQ(m_provider->getRowDbIndexByUniqueId(1), 0);

    bindRows({10, 30, 20});
    EXPECT_EQ(m_provider->getRowCount(), 3);
    EXPECT_EQ(m_provider->getRowDbIndexByUniqueId(1), 30);
    EXPECT_EQ(m_provider->getRowDbIndexByUniqueId(3), -1);
    EXPECT_EQ(m_provider->getRowLevel(2), 0);
    ASSERT_TRUE(m_provider->getSortOrder(order));
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2}));
    // Nothing has been sorted by.
    EXPECT_FALSE(m_provider->getCurrentSorting(info));
    EXPECT_TRUE(m_log.empty());
    EXPECT_EQ(m_provider->getRowLevel(3), -1);
    EXPECT_TRUE(m_log.contains("summaryRow"));
}

TEST_F(Rows, AreReadUnderTheRestriction) {
    QueryFacts facts;
    facts.path = "dd_thread";
    facts.attr = "name";
    facts.values = {"thread 30", "thread 10"};
    m_provider->setRowByRestriction(
        dataface_1::IInfoQuery::cast(basekit2::make_object<FakeInfoQuery>(facts)));
    bindRows({10, 20, 30});
    ASSERT_FALSE(m_db->reads.empty());
    const std::string& read = m_db->reads.back();
    EXPECT_NE(read.find(" dd_thread.name=thread 30 dd_thread.name=thread 10"), std::string::npos)
        << read;
}

TEST_F(Rows, AreDumpedUnderTheNumberOfTheArea) {
    const TempDirectory folder;
    const auto back = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    for (const char* value : {"", "1"}) {
        EXPECT_TRUE(folder.names().empty());
        const EnvironmentGuard asks("LANEFEED_SAVE_DATA", value);
        bindRows({10});
    }
    const EnvironmentGuard on("LANEFEED_SAVE_DATA", "1");
    DbiProbe::dumpTableTreeToFile(nullptr, "nothing");
    std::filesystem::current_path(back);
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"timeline_row_summary3.xml"}));
}

TEST_F(Rows, KeepTheirPlacesWhenSorted) {
    bindRows({10, 30, 20});
    IDicerProvider::SortInfo info;
    ASSERT_TRUE(m_provider->getDefaultSortOrder(info));
    EXPECT_TRUE(info.ascending);
    ASSERT_TRUE(m_provider->setSorting(info));
    std::vector<int> order;
    m_provider->getSortOrder(order);
    EXPECT_EQ(m_provider->getRowDbIndexByUniqueId(1), 30);

    info.ascending = false;
    ASSERT_TRUE(m_provider->setSorting(info));
    std::vector<int> reversed;
    m_provider->getSortOrder(reversed);
    EXPECT_EQ(reversed, std::vector<int>(order.rbegin(), order.rend()));
    IDicerProvider::SortInfo current;
    ASSERT_TRUE(m_provider->getCurrentSorting(current));
    EXPECT_FALSE(current.ascending);
    EXPECT_EQ(current.column, info.column);
}

TEST_F(Rows, AreReplacedByTheNextSummaryButNotByAFailedOrCancelledOne) {
    bindRows({10, 20});
    const auto summary = m_provider->m_rowSummaryTable;
    m_db->tables["dd_thread"].clear();
    basekit2::sptr_t<dataface_1::ITableTree> table;
    EXPECT_FALSE(m_provider->getRowSummary(table, -1, true, true));
    EXPECT_TRUE(m_log.contains("bRet && summaryImpl"));
    EXPECT_TRUE(table.is_null());

    m_log.clear();
    m_progress->cancelsAt = 1;  // also when the read is cut off before its first row
    EXPECT_FALSE(m_provider->getRowSummary(table, -1, true, true));
    m_db->tables["dd_thread"] = {{{"rowid", 5}, {"dd_thread.name", "five"}}};
    EXPECT_FALSE(m_provider->getRowSummary(table, -1, true, true));
    EXPECT_TRUE(m_log.empty());
    EXPECT_EQ(m_provider->m_rowSummaryTable, summary);
    EXPECT_EQ(m_provider->getRowCount(), 2);

    m_progress->cancelsAt = 0;
    ASSERT_TRUE(m_provider->getRowSummary(table, -1, true, true));
    EXPECT_EQ(m_provider->getRowCount(), 1);
    IDicerProvider::SortInfo current;
    EXPECT_TRUE(m_provider->getCurrentSorting(current));
}

TEST_F(Rows, AreVisibleAsFarAsTheGlobalFilterLeavesThem) {
    const auto visible = [&] {
        std::vector<int> rows;
        EXPECT_TRUE(m_provider->getVisibleRows(rows, -1));
        return rows;
    };
    bind();
    EXPECT_EQ(visible(), (std::vector<int>{0}));  // an area without rows
    bindRows({10, 30, 20});
    const auto reads = m_db->reads.size();
    EXPECT_EQ(visible(), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(m_db->reads.size(), reads);

    m_registry->names = {"global"};
    m_db->tables["dd_thread"].erase(m_db->tables["dd_thread"].begin());
    EXPECT_EQ(visible(), (std::vector<int>{1, 2}));
    EXPECT_EQ(m_provider->getRowCount(), 3);
    EXPECT_TRUE(m_log.empty());
    std::vector<int> rows;
    m_progress->cancelsAt = 1;
    EXPECT_FALSE(m_provider->getVisibleRows(rows, -1));
    EXPECT_TRUE(m_log.empty());
    m_progress->cancelsAt = 0;
    m_db->tables["dd_thread"].clear();
    EXPECT_FALSE(m_provider->getVisibleRows(rows, -1));
    EXPECT_TRUE(m_log.contains("bRet && summaryImpl"));
    m_input->offered.erase(basekit2::type_id_t<dataface_1::IFilterRegistry>::id());
    EXPECT_FALSE(m_provider->getVisibleRows(rows, -1));
    EXPECT_TRUE(m_log.contains("filterRegistry"));
    EXPECT_TRUE(rows.empty());
}

}  // namespace
}  // namespace lanefeed_test
