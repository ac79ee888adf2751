// Rows of an area: read, counted, sorted, replaced, and those that a filter leaves.

#include "messages/message_catalogs.h"
#include "provider_fixture.h"
#include "support/table_text.h"

#include <settingstore2/message_catalogs.h>

namespace lanefeed_test {
namespace {

using lanefeed_1::IDicerProvider;
using Ids = std::vector<int>;

class Rows : public ProviderTest {
protected:
    Ids order() {
        Ids rows;
        m_provider->getSortOrder(rows);
        return rows;
    }
    bool getSummary() {
        basekit2::sptr_t<dataface_1::ITableTree> table;
        return m_provider->getRowSummary(table, -1, true, true);
    }
};

TEST_F(Rows, AreCountedAndKeepTheirPlacesWhenSorted) {
    IDicerProvider::SortInfo info;
    Ids rows;
    EXPECT_FALSE(m_provider->getSortOrder(rows));
    EXPECT_FALSE(m_provider->getCurrentSorting(info) || m_provider->getDefaultSortOrder(info) ||
                 m_provider->setSorting(info));
    bindRows({10, 30, 20});
    EXPECT_EQ(m_provider->getRowCount(), 3);
    EXPECT_EQ(m_provider->getRowDbIndexByUniqueId(3), -1);
    EXPECT_EQ(m_provider->getRowLevel(2), 0);
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
    IDicerProvider::SortInfo current;
    ASSERT_TRUE(m_provider->getCurrentSorting(current));
    EXPECT_FALSE(current.ascending);
    EXPECT_EQ(current.column, info.column);
}

TEST_F(Rows, AreReadUnderTheRestrictionAndDumpedUnderTheNumberOfTheArea) {
    QueryFacts facts = factsAt("::dd_thread.name");
    facts.values = {"thread 30", "thread 10"};
    m_provider->setRowByRestriction(dataface_1::IInfoQuery::cast(infoQuery(facts)));
    EXPECT_EQ(dumpsOf([this] { bindRows({10, 20, 30}); }, ""), Strings());
    const std::string& read = m_db->reads.back();
    EXPECT_NE(read.find(" dd_thread.name=thread 30 dd_thread.name=thread 10"), std::string::npos)
        << read;
    EXPECT_EQ(dumpsOf([this] {
                  bindRows({10});
                  DbiProbe::dumpTableTreeToFile(nullptr, "nothing");
              }),
              Strings{"timeline_row_summary3.xml"});
}

TEST_F(Rows, HaveNamesThatMayBeKeysOfTexts) {
    Strings errors;
    const auto before = settingstore2::getMessageCatalogSource();
    settingstore2::setMessageCatalogSource(lanefeed_runtime::readCatalogs(
        {"<messageCatalog name='viewpoint'><message key='%Idle'>idle thread</message>"
         "</messageCatalog>"},
        errors));
    bindRows({10});
    m_db->tables["dd_thread"] = tableOf("rowid dd_thread.name\n1 %Idle\n2 %Unknown\n3 100%");
    ASSERT_TRUE(getSummary());
    EXPECT_EQ(tableText(m_provider->m_rowSummaryTable, {false, false, {"name"}}),
              "name\nidle thread\n%Unknown\n100%\n");
    settingstore2::setMessageCatalogSource(before);
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
    IDicerProvider::SortInfo current;
    EXPECT_TRUE(m_provider->getCurrentSorting(current));
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

}  // namespace
}  // namespace lanefeed_test
