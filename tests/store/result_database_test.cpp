// What threads and filters share of an open result.
#include "support/filter_words.h"
#include "support/store_text.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <thread>

namespace lanefeed_runtime {
namespace {

class ResultDatabaseTest : public testing::Test {
protected:
    lanefeed_test::TextResult m_result{"thread main 1000..1100 a"};
    storelink1::IDatabase& m_database = m_result.database();
};

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
