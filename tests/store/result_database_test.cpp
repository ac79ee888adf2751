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
    EXPECT_TRUE(m_database.getTimeRange(start, end, 0) && start == 1 && end == 100);
    EXPECT_EQ(m_database.getTicksPerSecond(), 2400000000U);
    std::string pauses;
    for (auto it = m_database.getPausedIntervals(); !it.at_end(); it.next())
        pauses +=
            std::to_string(it.current().start) + ".." + std::to_string(it.current().end) + " ";
    EXPECT_EQ(pauses, "21..31 51..61 ");
    EXPECT_EQ(m_result.store().perfDatabase->getDatabase(nullptr).get(), &m_database);
    EXPECT_FALSE(basekit2::interface_cast<storelink1::IPerfDatabase>(&m_database).is_null());
}

TEST_F(ResultDatabaseTest, KnowsBandsAndTables) {
    int kind = -1;
    // Each kind of band has its own number; instance tables share one, there or not.
    std::set<int> kinds;
    for (const char* band : {"dd_band", "dd_thread", "dd_process", "dd_track", "dd_counter"})
        EXPECT_TRUE(m_database.getBandKind(band, kind) && kinds.insert(kind).second) << band;
    for (const char* table : {"slice_data", "flow_data"})
        EXPECT_TRUE(m_database.getBandKind(table, kind) && kind == 1) << table;
    for (const char* other : {"", "dd_task", "nothing"})
        EXPECT_FALSE(m_database.getBandKind(other, kind)) << other;
    EXPECT_TRUE(m_database.isTableExist("slice_data") && !m_database.isTableExist("flow_data"));
}

TEST_F(ResultDatabaseTest, KeepsOneTimelineDatabasePerStateOfTheGlobalFilter) {
    const auto plain = m_database.getTimelineDatabase();
    for (const char* name : {"selection", "global"}) {
        lanefeed_test::setFilter(*m_result.store().filters, name, "@1..5");
        const auto filtered = m_database.getFilteredTimelineDatabase();
        EXPECT_EQ(filtered == plain, name == std::string("selection"));
        EXPECT_EQ(m_database.getFilteredTimelineDatabase(), filtered);
    }
}

TEST_F(ResultDatabaseTest, ServesThreadsInTurnAndTheHolderOfTheLockAgain) {
    const auto names = m_database.createAttributeRetriever("dd_task.name", false);
    std::vector<std::thread> threads;
    std::vector<std::string> seen(4);
    for (std::string& text : seen) {
        threads.emplace_back([&] {
            basekit2::variant_t name;
            for (int i = 0; i < 50 && names->getValue(1, name); ++i) {
                const storelink1::QueryMutexHolder outer(&m_database);
                text = name.get<std::string>() + " " +
                       lanefeed_test::rowsOf(m_database, "slice_data", {"dd_band::dd_thread.name"});
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(seen, std::vector<std::string>(4, "a main\n"));
}

}  // namespace
}  // namespace lanefeed_runtime
