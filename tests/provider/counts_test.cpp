// Counts: what is asked of the store, what is left out, and why a request fails. Numbers against a
// plain count on a store: tests/agreement/counts_test.cpp.

#include "provider_fixture.h"
#include "support/table_text.h"

namespace lanefeed_test {
namespace {

using lanefeed_1::IDicerProvider;

// Slices of threads 30, 40 and 50, asked for in ten bins of 100 ticks.
class Counts : public ProviderTest {
protected:
    Counts() {
        m_db->tables["dd_task"] = tableOf("dd_task dd_task.name\n1 a\n2 b");
        bindRows({30, 40, 50});
        m_param = request();
        m_param.rowByDS = &m_rowBySource;
    }
    // Lines of thread, first and last tick of the result, count and task.
    void put(const std::string& slices) {
        m_db->tables["slice_data"] = tableOf(
            "slice_data::dd_thread start_tsc end_tsc count slice_data::dd_task dd_band\n" + slices);
    }
    // Each row of the pane, as lines of a bin and the values of all columns.
    std::string ask(IDicerProvider::overtime_type_t type = IDicerProvider::otInstanceCount) {
        m_log.clear();
        Forest forest;
        IDicerProvider& provider = *m_provider;
        if (!provider.getOverTimeData(m_param, type, forest)) return "failed";
        std::string text;
        for (const auto& tree : forest) {
            text += &tree == &forest[0] ? "" : "|";
            text += tree.is_null() ? "-" : cellsText(tree);
        }
        return text;
    }
    void expectFailure(const std::string& text,
                       IDicerProvider::overtime_type_t type = IDicerProvider::otCount) {
        ProviderTest::expectFailure(text, [&] { return ask(type) != "failed"; });
    }

    lanefeed_1::QueryParam m_param;
};

TEST_F(Counts, AreReadAsAskedOnceTheirFilterIsThere) {
    // Also of a thread that has no row, and of none.
    put("30 1200 1204 1 1\n99 1000 1999 1 1\n- 1000 1999 1 1");
    m_source.m_resolutionMs = 500;
    m_source.m_timeScaleMs = 3;
    QueryFacts waits;
    waits.attributes["timelineRequiredFilter"] = "doi";
    m_source.m_defaultQuery = timeQuery(waits);
    m_db->reads.clear();
    EXPECT_EQ(ask(), "failed");
    EXPECT_TRUE(m_db->reads.empty() && m_log.empty());
    m_registry->names.insert("doi");
    EXPECT_EQ(ask(), "2 1\n|-|-");
    EXPECT_EQ(ask(IDicerProvider::otCount), "2 1\n|-|-");
    EXPECT_EQ(m_db->reads.back(),
              "slice_data filtered filter=global start_tsc end_tsc count slice_data::dd_thread");
    // The whole, then its columns by value; a slice without a value is left out.
    put("30 1200 1204 3 1\n40 1200 1204 1 -");
    m_source.addExtra(namedQuery("Task"), "dd_task", "slice_data", "name", "", "");
    EXPECT_EQ(ask(IDicerProvider::otCount), "2 3 3 0 0\n|-|-");
    EXPECT_TRUE(m_log.contains("sl1::Index::NoValue != expansionId"));
    // Nothing in the window of an area of one row is an answer; no bins or no window are none.
    bind();
    m_source.m_extras.clear();
    m_param.rowByDS = nullptr;
    m_param.startTime = 500;
    EXPECT_EQ(ask(), "-");
    m_param.endTime = m_param.startTime = 0;
    EXPECT_EQ(ask(), "failed");
    m_param.endTime = 1000;
    m_param.binCount = 0;
    EXPECT_EQ(ask(), "failed");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Counts, EndWithTheResultAndWithTheLastWholeBin) {
    put("30 991 999 1 1\n30 2000 2009 1 1\n40 1000 1000 x 1\n50 1999 2009 1 1\n40 1150 1150 -7 1");
    EXPECT_EQ(ask(), "-|0 1\n1 1\n|9 1\n");
    EXPECT_EQ(ask(IDicerProvider::otCount), "-||9 1\n") << "no whole number is nothing";
    put("30 1998 1998 1 1");
    m_param.endTime = 999;
    EXPECT_EQ(ask(), "|-|-");
}

TEST_F(Counts, LeaveOutLevelsThatCannotBeRead) {
    put("30 1000 1004 1 1");
    const auto below = [this](const Query& query) {
        QueryFacts rows = factsAt("slice_data::dd_thread");
        rows.next = query;
        m_rowBySource.m_defaultQuery = infoQuery(rows);
        return ask();
    };
    EXPECT_EQ(below(infoQuery(factsAt("::dd_moon"))), "0 1\n|-|-");
    EXPECT_TRUE(m_log.contains("sl1::InvalidFieldId != rowById"));
    EXPECT_EQ(below(timeQuery()), "0 1\n|-|-");
    m_param.applicableRowLevels = {1};
    EXPECT_EQ(ask(), "failed") << "no row has a table";
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Counts, FailWithAReason) {
    expectFailure("query");
    m_db->tables["slice_data"];
    m_db->brokenTables.insert("slice_data");
    expectFailure("Failed to query sorted intervals. Error: disk on fire, SQL: SELECT");
    m_db->brokenTables.clear();
    for (const char* column : {"start_tsc", "end_tsc", "count", "slice_data::dd_thread"}) {
        put("30 1000 1004 1 1");
        m_db->tables["slice_data"][0].erase(column);
        expectFailure("sl1::InvalidFieldId != ");
    }
    put("30 1000 1004 1 1");
    m_param.endTime = 5;
    expectFailure("timeBinWidth > 0", IDicerProvider::otInstanceCount);
    m_param.endTime = 50;
    EXPECT_EQ(ask(), "0 1\n|-|-") << "bins of the request are wide enough";
    m_provider->m_rowSummaryTable.reset();
    expectFailure("m_rowSummaryTable");
}

TEST_F(Counts, EndQuietlyWhenCancelled) {
    put("30 1000 1004 1 1\n30 1100 1104 1 1\n40 1000 1004 1 1");
    QueryFacts rows = factsAt("slice_data::dd_thread");
    rows.next = infoQuery(rows);
    m_rowBySource.m_defaultQuery = infoQuery(rows);
    const auto isServed = [this] { return ask() != "failed"; };
    expectQuietCancels(8, isServed);
    EXPECT_EQ(ask(), "0 1\n1 1\n|0 1\n|-");
    // An area of one row.
    bind();
    m_param.rowByDS = nullptr;
    expectQuietCancels(8, isServed);
    EXPECT_EQ(ask(), "0 2\n1 1\n");
}

}  // namespace
}  // namespace lanefeed_test
