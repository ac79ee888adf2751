// Facts and faces of an open result.
#include "support/filter_words.h"
#include "support/store_text.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>

namespace lanefeed_runtime {
namespace {

class ResultDatabaseTest : public testing::Test {
protected:
    lanefeed_test::TextResult m_result{R"(
        thread main    1000..1100 a
        counter load   1000=5
        pause 1020..1030
        pause 1050..1060
    )",
                                       2400000000};
    storelink1::IDatabase& m_database = m_result.database();
};

TEST_F(ResultDatabaseTest, TellsItsTimeAndIsFoundByItsFaces) {
    basekit2::u64_t start = 0;
    basekit2::u64_t end = 0;
    EXPECT_TRUE(m_database.getTimeRange(start, end, 0));
    EXPECT_EQ(start, 1U);
    EXPECT_EQ(end, 100U);
    EXPECT_EQ(m_database.getTicksPerSecond(), 2400000000U);
    std::string pauses;
    for (auto it = m_database.getPausedIntervals(); !it.at_end(); it.next())
        pauses +=
            std::to_string(it.current().start) + ".." + std::to_string(it.current().end) + " ";
    EXPECT_EQ(pauses, "21..31 51..61 ");
    const auto perf = m_result.store().perfDatabase;
    EXPECT_EQ(perf->getDatabase(nullptr).get(), &m_database);
    EXPECT_FALSE(basekit2::interface_cast<storelink1::IPerfDatabase>(&m_database).is_null());
    EXPECT_FALSE(basekit2::interface_cast<storelink1::IDatabase>(perf.get()).is_null());
    EXPECT_TRUE(basekit2::interface_cast<storelink1::IQuery>(&m_database).is_null());
}

TEST_F(ResultDatabaseTest, KnowsBandsAndTables) {
    int kind = -1;
    // Each kind of band has its own number; instance tables share one, there or not.
    std::set<int> kinds;
    for (const char* band : {"dd_band", "dd_thread", "dd_process", "dd_track", "dd_counter"})
        EXPECT_TRUE(m_database.getBandKind(band, kind) && kinds.insert(kind).second) << band;
    for (const char* table : {"slice_data", "counter_data", "flow_data"})
        EXPECT_TRUE(m_database.getBandKind(table, kind) && kind == 1) << table;
    for (const char* other : {"", "dd_task", "nothing", "result", "start_tsc"})
        EXPECT_FALSE(m_database.getBandKind(other, kind)) << other;
    for (const char* table : {"slice_data", "counter_data", "dd_thread", "dd_band", "pauses"})
        EXPECT_TRUE(m_database.isTableExist(table)) << table;
    for (const char* table : {"", "marker_data", "dd_track", "nothing", "dd_band::dd_thread"})
        EXPECT_FALSE(m_database.isTableExist(table)) << "no rows in " << table;
}

TEST_F(ResultDatabaseTest, KeepsOneTimelineDatabasePerStateOfTheGlobalFilter) {
    const auto plain = m_database.getTimelineDatabase();
    ASSERT_FALSE(plain.is_null());
    EXPECT_EQ(m_database.getTimelineDatabase(), plain);
    const auto under = [&](const char* name, const char* words) {
        lanefeed_test::setFilter(*m_result.store().filters, name, words);
        const auto filtered = m_database.getFilteredTimelineDatabase();
        EXPECT_EQ(m_database.getFilteredTimelineDatabase(), filtered);
        return filtered;
    };
    EXPECT_EQ(under("selection", "@1..5"), plain);
    const auto first = under("global", "@1..5");
    EXPECT_NE(first, plain);
    EXPECT_NE(under("global", "@1..5"), first);
    EXPECT_EQ(under("global", ""), plain);
    EXPECT_FALSE(m_database.createTimelineQuery().is_null());
}

TEST_F(ResultDatabaseTest, ServesThreadsInTurnAndTheHolderOfTheLockAgain) {
    std::vector<std::thread> threads;
    std::vector<std::string> seen(4);
    for (std::string& text : seen) {
        threads.emplace_back([this, &text] {
            for (int i = 0; i < 50; ++i) {
                const storelink1::QueryMutexHolder outer(&m_database);
                text = lanefeed_test::rowsOf(m_database, "slice_data",
                                             {"attr.name", "dd_band::dd_thread.name"});
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(seen, std::vector<std::string>(4, "a main\n"));
}

}  // namespace
}  // namespace lanefeed_runtime
