#include "provider_fixture.h"

namespace lanefeed_test {
namespace {

using lanefeed_1::DicerDataSource;
using Bands = ProviderTest;

TEST_F(Bands, TranslatesKindsOfTheStore) {
    m_db->bandKinds = {{"k0", 0}, {"k1", 1}, {"k2", 2}, {"k3", 3},
                       {"k4", 4}, {"k5", 5}, {"k6", 6}, {"k7", 7}};
    bind();
    std::string types;
    for (int kind = 0; kind <= 8; ++kind)
        types += std::to_string(m_provider->getBandType("k" + std::to_string(kind)));
    EXPECT_EQ(types, "253514505");
    EXPECT_TRUE(m_provider->isBandTypeSupported("k3"));
    EXPECT_FALSE(m_provider->isBandTypeSupported("k8"));
}

TEST_F(Bands, FindsABandTableOnlyWhereThereAreBandsOfIt) {
    m_db->tables["dd_band"] = {{{"rowid", 1}, {"dd_band", 1}, {"dd_band::dd_thread", 4}}};
    bind();
    EXPECT_TRUE(m_provider->isBandTableExist("dd_thread"));
    EXPECT_TRUE(m_log.empty());
    EXPECT_FALSE(m_provider->isBandTableExist("dd_core"));
    EXPECT_TRUE(m_log.contains("sl1::InvalidColIdx != idx"));
    m_log.clear();
    EXPECT_FALSE(m_provider->isBandTableExist(""));  // no band, and not the band itself
    EXPECT_TRUE(m_log.contains("sl1::InvalidColIdx != idx"));
    m_db->tables["dd_band"].clear();
    m_log.clear();
    EXPECT_FALSE(m_provider->isBandTableExist("dd_thread"));
    EXPECT_TRUE(m_log.empty());
    m_db->tables.erase("dd_band");
    EXPECT_FALSE(m_provider->isBandTableExist("dd_thread"));
    EXPECT_TRUE(m_log.contains("query, at file: "));
}

TEST_F(Bands, KnowsAGroupingByBandByItsTablePathAndDepth) {
    DicerDataSource source;
    source.set("dd_thread", "dd_band", "", "");
    EXPECT_TRUE(m_provider->isGroupingByBand(&source));
    QueryFacts leaf;
    source.m_defaultQuery = infoQuery(leaf);
    EXPECT_TRUE(m_provider->isGroupingByBand(&source));
    QueryFacts expanded;
    expanded.next = infoQuery(leaf);
    source.m_defaultQuery = infoQuery(expanded);
    EXPECT_FALSE(m_provider->isGroupingByBand(&source));
    source.m_defaultQuery.reset();
    source.m_path = "dd_thread.name";
    EXPECT_FALSE(m_provider->isGroupingByBand(&source));
    source.m_path = "";
    EXPECT_FALSE(m_provider->isGroupingByBand(&source));
    source.set("dd_thread", "slice_data", "", "");
    EXPECT_FALSE(m_provider->isGroupingByBand(&source));
    EXPECT_FALSE(m_provider->isGroupingByBand(nullptr));
}

TEST_F(Bands, TellsClockAndRangeOfTheResult) {
    m_db->ticksPerSecond = 2400000999;
    bind();
    EXPECT_EQ(m_provider->ticksInMs(), 2400000U);
    basekit2::u64_t start = 0;
    basekit2::u64_t end = 0;
    basekit2::u64_t ticksPerSecond = 0;
    ASSERT_TRUE(m_provider->getResultTscRange(start, end, ticksPerSecond));
    EXPECT_EQ(start, 1000U);
    EXPECT_EQ(end, 1999U);
    EXPECT_EQ(ticksPerSecond, 2400000999U);
}

TEST_F(Bands, AnswersNeutrallyWithoutADatabase) {
    m_input->offered.erase(basekit2::type_id_t<storelink1::IPerfDatabase>::id());
    bind();
    EXPECT_EQ(m_provider->getBandType("dd_thread"), 5);
    EXPECT_FALSE(m_provider->isTableExist("dd_thread"));
    EXPECT_FALSE(m_provider->isBandTableExist("dd_thread"));
    m_log.clear();
    EXPECT_EQ(m_provider->ticksInMs(), 0U);
    EXPECT_TRUE(m_log.contains("db, at file: "));
    m_provider->clearCaches();
    EXPECT_TRUE(m_log.contains("ret && perfDb"));
}

TEST_F(Bands, MakesAFilteredDatabaseWhenTheGlobalFilterChanges) {
    bind();
    m_provider->filterChanged("selection");
    EXPECT_EQ(m_db->filteredDatabases, 0);
    m_provider->filterChanged("global");
    EXPECT_EQ(m_db->filteredDatabases, 1);
    const auto made = m_provider->m_filteredDb;
    ASSERT_FALSE(made.is_null());
    // The next request under the filter finds it ready.
    m_db->filters = {"global"};
    m_db->filteredTables = {"slice_data"};
    EXPECT_EQ(m_provider->getTimelineDb("slice_data"), made);
    EXPECT_EQ(m_db->filteredDatabases, 1);
    m_provider->filterChanged("global");
    EXPECT_NE(m_provider->getTimelineDb("slice_data"), made);
}

TEST_F(Bands, ClearsTheCachesOfTheDatabaseAlone) {
    m_provider->clearCaches();
    EXPECT_TRUE(m_log.empty());
    bind();
    m_provider->filterChanged("global");
    const auto made = m_provider->m_filteredDb;
    m_provider->clearCaches();
    EXPECT_EQ(m_db->cachesCleared, 1);
    EXPECT_EQ(m_provider->m_filteredDb, made);
}

}  // namespace
}  // namespace lanefeed_test
