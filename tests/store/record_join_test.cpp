// What instances refer to - looked up in memory or joined, it is the same - and walks that end too
// early.
#include "store/instance_reader.h"
#include "store/open_store.h"
#include "store/sqlite_handle.h"
#include "support/cancel_at_poll.h"
#include "support/captured_log.h"
#include "support/store_text.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

namespace lanefeed_runtime {
namespace {

using lanefeed_test::recordsText;

constexpr int kManySlices = 60000;

class RecordJoinTest : public testing::Test {
protected:
    // Writes a trace, changes it by statements and opens what came of it.
    void open(const std::string& text, const std::vector<std::string>& changes = {}) {
        lanefeed_test::writeTraceText(m_file, text);
        std::string error;
        const auto connection = Connection::open(m_file, Connection::Mode::write, error);
        for (const std::string& change : changes)
            ASSERT_TRUE(connection->run(change)) << change << ": " << connection->message();
        StoreError failure;
        m_store = openStore(m_file, failure);
    }

    void openMany() {
        open("thread t 0..1 n",
             {"with recursive n(i) as (select 2 union all select i + 1 from n where i <" +
              std::to_string(kManySlices) +
              ") insert into slice_data(start_tsc, end_tsc, attr, count, dd_band)"
              " select i, i, 1, 1, 1 from n"});
    }

    // The rest of the records.
    template <class Set>
    static int countOf(const Set& set) {
        int records = 0;
        for (; !set->atEnd(); set->next())
            ++records;
        return records;
    }

    // Of slices; the columns are parted by blanks.
    basekit2::sptr_t<storelink1::IQuery> query(const std::string& columns) {
        auto made = m_store.database->createQuery("slice_data", 0);
        std::istringstream words(columns);
        for (std::string column; words >> column;)
            EXPECT_NE(made->addColumn(column), storelink1::InvalidColIdx) << column;
        return made;
    }

    lanefeed_test::TempDirectory m_directory;
    std::string m_file = m_directory.file("r.lft");
    OpenStore m_store;
};

TEST_F(RecordJoinTest, FindsTheSameInMemoryAsByAJoin) {
    open(R"(
        process viewer
        thread main  0..9 a@io  1..2 b  2..3 c  3..4 d  4..5 e  5..6 f  6..7 g
        thread other 7..8 b
    )",
         {"update slice_data set attr = null where rowid = 2",
          "update slice_data set dd_band = null where rowid = 3",
          "update slice_data set dd_band = 99, attr = 5000000000 where rowid = 4",
          "update slice_data set dd_band = -1, attr = 0 where rowid = 5",
          "update slice_data set dd_category = -7 where rowid = 6",
          "update slice_data set dd_band = 'x', attr = 'y' where rowid = 6",
          // More names than are held in memory, with one of the last in use.
          "with recursive n(i) as (select 100 union all select i + 1 from n where i < 40000)"
          " insert into dd_task(rowid, name) select i, 'n' || i from n",
          "update slice_data set attr = 39999 where rowid = 7"});
    const char* const columns =
        "rowid dd_band::dd_thread dd_band::dd_thread.name dd_band::dd_thread.dd_process.name "
        "attr.name dd_category.name start_tsc dd_band::dd_thread";
    EXPECT_EQ(recordsText(query("dd_category attr")->execute(), 2),
              "1 1\n- -\n- 3\n- -\n- 0\n- -\n- 39999\n- 2\n");
    const std::string whole = recordsText(query(columns)->execute(), 8);
    EXPECT_EQ(whole,
              "1 1 main viewer a io 1 1\n"
              "2 1 main viewer - - 2 1\n"
              "3 - - - c - 3 -\n"
              "4 - - - - - 4 -\n"
              "5 - - - - - 5 -\n"
              "6 - - - - - 6 -\n"
              "7 1 main viewer n39999 - 7 1\n"
              "8 2 other viewer b - 8 2\n");
    const auto joined = query(columns);
    for (int row = 1; row <= 8; ++row)
        joined->addCondition("rowid", 1, row);
    EXPECT_EQ(recordsText(joined->execute(), 8), whole);
    // Where nothing is found, the statement tells why.
    joined->addCondition("attr.name", 1, "it's");
    std::string error;
    std::string sql;
    EXPECT_TRUE(joined->execute(nullptr, error, sql)->atEnd() && error.empty());
    EXPECT_NE(sql.find("\"name\" in ('it''s')"), std::string::npos) << sql;
}

// A text that nobody asks for is not read; it must not be that of another record either.
TEST_F(RecordJoinTest, ReadsTextsOfTheRecordAtHand) {
    open("thread main 0..9 a{\"n\":1} 1..2 b{\"n\":2} 2..3 c 3..4 d{\"n\":4}\n");
    const auto set = query("args.json")->execute();
    EXPECT_STREQ(set->current()->getField(0).get<const char*>(), "{\"n\":1}");
    set->next();
    set->next();
    EXPECT_TRUE(set->current()->getField(0).is_null());
    set->next();
    for (int again = 0; again < 2; ++again)
        EXPECT_STREQ(set->current()->getField(0).get<const char*>(), "{\"n\":4}");
}

TEST_F(RecordJoinTest, TellsWhyBulkReadsGiveNothing) {
    open("thread main 0..9 a");
    for (const auto& [request, outcome] :
         {std::pair(InstanceRequest{"flow_data", {}, "", false}, InstanceReader::Outcome::noTable),
          {{"dd_task", {}, "", false}, InstanceReader::Outcome::noTable},
          {{"slice_data", {}, "gone", false}, InstanceReader::Outcome::unknownPath},
          {{"slice_data", {"attr", "gone"}, "", false}, InstanceReader::Outcome::unknownPath}}) {
        InstanceColumns columns;
        std::string error;
        EXPECT_EQ(m_store.instances->read(request, columns, nullptr, error), outcome);
        EXPECT_TRUE(request.ids.empty() || error.find("gone") != std::string::npos) << error;
    }
}

TEST_F(RecordJoinTest, TellsOfInstancesThatCannotBe) {
    for (const std::string change : {"end_tsc = 1", "start_tsc = -5", "end_tsc = null",
                                     "start_tsc = 'x'", "start_tsc = 1, end_tsc = 9"}) {
        open("thread main 0..9 a  1..2 b  3..4 c",
             {"update slice_data set " + change + " where rowid = 3"});
        const lanefeed_test::CapturedLog log;
        EXPECT_EQ(countOf(query("end_tsc attr start_tsc")->execute()), 2) << change;
        InstanceColumns columns;
        std::string error;
        EXPECT_EQ(m_store.instances->read({"slice_data", {}, "", false}, columns, nullptr, error),
                  InstanceReader::Outcome::failed);
        EXPECT_NE(error.find("an instance of slice_data"), std::string::npos) << error;
        EXPECT_EQ(m_store.brokenReads->count(), 2U) << change;
    }
}

TEST_F(RecordJoinTest, TellsOfAFileThatBecomesUnreadable) {
    openMany();
    const auto late = query("end_tsc");
    late->addCondition("end_tsc", 1, 2.5);
    const auto set = query("start_tsc")->execute();
    lanefeed_test::CapturedLog log;
    std::filesystem::resize_file(m_file, 3 * 4096);
    const int records = countOf(set);
    EXPECT_TRUE(records > 0 && records < kManySlices) << records;
    EXPECT_EQ(log.count(m_file + ": a read broke off"), 1);
    EXPECT_EQ(m_store.brokenReads->count(), 1U);
    // From then on nothing can be read, and every query says so with its values.
    std::string error;
    std::string sql;
    EXPECT_TRUE(late->execute(nullptr, error, sql).is_null());
    EXPECT_EQ(error.find(m_file + ": "), 0U) << error;
    EXPECT_NE(sql.find("\"end_tsc\" in (2.5)"), std::string::npos) << sql;
}

TEST_F(RecordJoinTest, EndsWalksAndSortsThatAreCancelledWithoutAWord) {
    openMany();
    const lanefeed_test::CapturedLog log;
    std::string error;
    std::string sql;
    const auto cancelled = [&](storelink1::IQuery& query) {
        const auto progress = basekit2::make_object<lanefeed_test::CancelAtPoll>(1);
        return countOf(query.execute(progress.get(), error, sql));
    };
    // In the order of start nothing is sorted, so that records come before the end.
    const auto walk = query("dd_band::dd_thread attr.name start_tsc");
    walk->addOrderBy("start_tsc", false);
    const int records = cancelled(*walk);
    EXPECT_TRUE(records > 0 && records < kManySlices) << records;
    walk->addOrderBy("end_tsc", true);
    EXPECT_EQ(cancelled(*walk), 0);
    EXPECT_TRUE(error.empty() && log.empty() && m_store.brokenReads->count() == 0);
    EXPECT_FALSE(walk->execute()->atEnd()) << "the connection works on";
}

}  // namespace
}  // namespace lanefeed_runtime
