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
        m_source.m_defaultQuery = layerQuery();
        m_param = request();
        m_param.rowByDS = &m_rowBySource;
    }
    static Query layerQuery(const std::string& attribute = "",
                            const basekit2::variant_t& value = {}) {
        QueryFacts facts;
        facts.attributes[attribute] = value;
        return timeQuery(facts);
    }
    // Lines of thread, first and last tick of the result, count and task.
    void put(const std::string& slices) {
        FakeTable& table = m_db->tables["slice_data"];
        table =
            tableOf("slice_data::dd_thread start_tsc end_tsc count slice_data::dd_task\n" + slices);
        for (auto& row : table)
            row["dd_band"] = 1;
    }
    // Each row of the pane, as its bins with the values of all columns.
    std::string ask(IDicerProvider::overtime_type_t type = IDicerProvider::otInstanceCount) {
        m_log.clear();
        Forest forest;
        IDicerProvider& provider = *m_provider;
        if (!provider.getOverTimeData(m_param, type, forest)) return "failed";
        std::string text;
        for (std::size_t row = 0; row < forest.size(); ++row) {
            text += text.empty() ? "" : " | ";
            text += forest[row].is_null() ? "-" : textOf(forest[row], static_cast<int>(row));
        }
        return text;
    }
    static std::string textOf(const basekit2::sptr_t<dataface_1::ITableTree>& tree, int id) {
        std::string text;
        basekit2::variant_t rowId;
        EXPECT_TRUE(allColumns(tree).front()->getContent(dataface_1::ccId, rowId));
        EXPECT_EQ(rowId.get<int>(), id);
        for (const auto& row : allRows(tree)) {
            basekit2::variant_t value;
            text += text.empty() ? "" : " ";
            for (const auto& column : allColumns(tree)) {
                const bool isBin = column == allColumns(tree).front();
                EXPECT_TRUE(row->getContent(column, dataface_1::ccValue, value));
                EXPECT_EQ(value.get_type(), isBin ? 6 : 8);
                text += std::to_string(value.get<int>()) + (isBin ? "=" : ",");
            }
            text.pop_back();
        }
        return text.empty() ? "no bin" : text;
    }
    void expectFailure(const std::string& text,
                       IDicerProvider::overtime_type_t type = IDicerProvider::otCount) {
        EXPECT_EQ(ask(type), "failed") << text;
        ASSERT_FALSE(m_log.empty()) << text;
        EXPECT_NE(m_log.lines().front().find(text), std::string::npos) << m_log.lines().front();
    }

    lanefeed_1::QueryParam m_param;
};

TEST_F(Counts, AreReadAsAskedOnceTheirFilterIsThere) {
    // Also of a thread that has no row, and of none.
    put("30 1200 1204 1 1\n99 1000 1999 1 1\n- 1000 1999 1 1");
    m_source.m_resolutionMs = 500;
    m_source.m_timeScaleMs = 3;
    m_source.m_defaultQuery = layerQuery("timelineRequiredFilter", "doi");
    m_db->reads.clear();
    EXPECT_EQ(ask(), "failed");
    EXPECT_TRUE(m_db->reads.empty() && m_log.empty());
    m_registry->names.insert("doi");
    EXPECT_EQ(ask(), "2=1 | - | -");
    EXPECT_EQ(ask(IDicerProvider::otCount), "2=1 | - | -");
    EXPECT_EQ(m_db->reads.back(),
              "slice_data filtered filter=global start_tsc end_tsc count slice_data::dd_thread");
    // The whole, then its columns by value; a slice without a value is left out.
    put("30 1200 1204 3 1\n40 1200 1204 1 -");
    m_source.addExtra(namedQuery("Task"), "dd_task", "slice_data", "name", "", "");
    EXPECT_EQ(ask(IDicerProvider::otCount), "2=3,3,0,0 | - | -");
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
    put("30 1090 1250 1 1");
    m_param.samplePoint = 2;
    EXPECT_EQ(ask(), "0=1 1=1 2=1 | - | -") << "of a span";
    m_source.m_dataType = lanefeed_1::DicerDataSource::dsInstanceCount;
    EXPECT_EQ(ask(), "2=1 | - | -") << "of points";
    m_param.samplePoint = 0;
    put("30 991 999 1 1\n30 2000 2009 1 1\n40 1000 1000 x 1\n50 1999 2009 1 1\n40 1150 1150 -7 1");
    EXPECT_EQ(ask(), "- | 0=1 1=1 | 9=1");
    EXPECT_EQ(ask(IDicerProvider::otCount), "- | no bin | 9=1") << "no whole number is nothing";
    put("30 1998 1998 1 1");
    m_param.endTime = 999;
    EXPECT_EQ(ask(), "no bin | - | -");
}

TEST_F(Counts, MergeWhereTheQueriesSay) {
    const auto merges = [this](const Query& query, const basekit2::variant_t& ofLayer) {
        m_source.m_defaultQuery = query;
        m_source.m_vectorQuery.reset();
        if (!ofLayer.is_null())
            m_source.m_vectorQuery = vectorOf({query}, {{"timelineMergeDataMode", ofLayer}});
        return ask();
    };
    const std::string two = "0=2 | - | -";
    const std::string one = "0=1 | - | -";
    put("30 1000 1004 1 1\n30 1005 1009 1 1");
    const Query merging = layerQuery("timelineMergeDataMode", true);
    EXPECT_EQ(merges(layerQuery(), {}), one);
    EXPECT_EQ(merges(merging, {}), two);
    EXPECT_EQ(merges(merging, 0), one);
    EXPECT_EQ(merges(merging, "no flag"), two);
    EXPECT_EQ(merges(layerQuery("timelineMergeDataMode", "yes"), {}), one);
    EXPECT_TRUE(m_log.contains("can_get<bool>()"));
}

TEST_F(Counts, LeaveOutLevelsThatCannotBeRead) {
    put("30 1000 1004 1 1");
    const auto below = [this](const Query& query) {
        QueryFacts rows = factsAt("slice_data::dd_thread");
        rows.next = query;
        m_rowBySource.m_defaultQuery = infoQuery(rows);
        return ask();
    };
    EXPECT_EQ(below(infoQuery(factsAt("::dd_moon"))), "0=1 | - | -");
    EXPECT_TRUE(m_log.contains("sl1::InvalidFieldId != rowById"));
    EXPECT_EQ(below(infoQuery(factsAt("slice_data::dd_thread"))), "0=1 | - | -") << "no rows there";
    EXPECT_EQ(below(timeQuery()), "0=1 | - | -");
    m_param.applicableRowLevels = {1};
    EXPECT_EQ(ask(), "failed") << "no row has a table";
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Counts, FailWithAReason) {
    expectFailure("query");
    m_db->tables["slice_data"];
    expectFailure("Failed to query sorted intervals. Error: ");
    m_db->brokenTables.insert("slice_data");
    expectFailure("Error: disk on fire, SQL: SELECT");
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
    EXPECT_EQ(ask(), "0=1 | - | -") << "bins of the request are wide enough";
    m_provider->m_rowCount = 0;
    expectFailure("row < (size_t)m_rowCount");
    m_param.rowByDS = nullptr;
    expectFailure("row < activeCounts.size()");
    m_param.rowByDS = &m_rowBySource;
    m_provider->m_rowSummaryTable.reset();
    expectFailure("m_rowSummaryTable");
    m_source.m_defaultQuery = nullptr;
    expectFailure("param.dds->m_defaultQuery");
    EXPECT_TRUE(m_log.contains("bRet"));
    m_param.objectType = 1;
    expectFailure("param.dds->m_defaultQuery");
    EXPECT_EQ(m_log.lines().size(), 1U) << "nothing is read";
    m_param.dds = nullptr;
    expectFailure("dds");
}

TEST_F(Counts, EndQuietlyWhenCancelled) {
    put("30 1000 1004 1 1\n30 1100 1104 1 1\n40 1000 1004 1 1");
    QueryFacts rows = factsAt("slice_data::dd_thread");
    rows.next = infoQuery(rows);
    m_rowBySource.m_defaultQuery = infoQuery(rows);
    const auto isServed = [this] { return ask() != "failed"; };
    expectQuietCancels(8, isServed);
    EXPECT_EQ(ask(), "0=1 1=1 | 0=1 | -");
    // An area of one row.
    bind();
    m_param.rowByDS = nullptr;
    expectQuietCancels(8, isServed);
    EXPECT_EQ(ask(), "0=2 1=1");
}

}  // namespace
}  // namespace lanefeed_test
