#include "provider_fixture.h"
#include "support/table_text.h"

#include <gmock/gmock.h>

namespace lanefeed_test {
namespace {

using lanefeed_1::IDicerProvider;
using testing::HasSubstr;
using Forest = std::vector<basekit2::sptr_t<dataface_1::ITableTree>>;
using Cells = std::map<std::string, basekit2::variant_t>;

// Slices of threads 30, 40 and 50, asked for in ten bins of 100 ticks.
class Counts : public ProviderTest {
protected:
    Counts() {
        m_db->tables["dd_task"] = {{{"dd_task", 1}, {"dd_task.name", "a"}},
                                   {{"dd_task", 2}, {"dd_task.name", "b"}}};
        bindRows({30, 40, 50});
        m_source.m_defaultQuery = layerQuery();
        m_param = request();
        m_param.rowByDS = &m_rowBySource;
    }
    static Query layerQuery(const std::string& attribute = "",
                            const basekit2::variant_t& value = {}) {
        QueryFacts facts;
        facts.name = "Slices";
        facts.attributes[attribute] = value;
        return timeQuery(facts);
    }
    // Ticks of the pane, both inclusive.
    static Cells slice(
        basekit2::variant_t thread, int first, int last, int count = 1, int task = 1) {
        return {{"start_tsc", 1000 + first},
                {"end_tsc", 1000 + last},
                {"count", count},
                {"slice_data::dd_thread", thread},
                {"dd_band", 1},
                {"slice_data::dd_task", task}};
    }
    FakeTable& slices() { return m_db->tables["slice_data"]; }
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
        basekit2::variant_t row;
        EXPECT_TRUE(allColumns(tree).front()->getContent(dataface_1::ccId, row));
        EXPECT_EQ(row.get<int>(), id);
        for (const auto& tableRow : allRows(tree)) {
            basekit2::variant_t value;
            text += text.empty() ? "" : " ";
            for (const auto& column : allColumns(tree)) {
                const bool isBin = column == allColumns(tree).front();
                EXPECT_TRUE(tableRow->getContent(column, dataface_1::ccValue, value));
                EXPECT_EQ(value.get_type(), isBin ? 6 : 8);
                text += std::to_string(value.get<int>()) + (isBin ? "=" : ",");
            }
            text.pop_back();
        }
        return text.empty() ? "no bin" : text;
    }

    lanefeed_1::QueryParam m_param;
};

TEST_F(Counts, AreOfRowsAndSeries) {
    slices() = {slice(30, 0, 4),        slice(30, 5, 250), slice(30, 120, 130, 4, 2),
                slice(40, 990, 999, 7), slice(99, 0, 999), slice({}, 0, 999)};
    EXPECT_EQ(ask(), "0=1 1=2 2=1 | 9=1 | -");
    EXPECT_EQ(ask(IDicerProvider::otCount), "0=1 1=5 2=1 | 9=7 | -");
    EXPECT_EQ(m_db->reads.back(),
              "slice_data filtered filter=global start_tsc end_tsc count slice_data::dd_thread");
    EXPECT_TRUE(m_log.empty());

    QueryFacts task;
    task.name = "Task";
    m_source.addExtra(infoQuery(task), "dd_task", "slice_data", "name", "", "");
    // The whole, then its columns by value: both levels of a series say the same.
    EXPECT_EQ(ask(), "0=1,1,0,0 1=1,1,1,1 2=1,1,0,0 | 9=1,1,0,0 | -");
    // A slice without a value is left out, whatever its row.
    slices().front()["slice_data::dd_task"] = basekit2::variant_t();
    EXPECT_EQ(ask(IDicerProvider::otCount), "0=1,1,0,0 1=1,1,4,4 2=1,1,0,0 | 9=7,7,0,0 | -");
    EXPECT_TRUE(m_log.contains("sl1::Index::NoValue != expansionId"));
}

TEST_F(Counts, TakeTheEndOfAPointThatIsAskedFor) {
    slices() = {slice(30, 90, 250)};
    m_param.samplePoint = 2;
    EXPECT_EQ(ask(), "0=1 1=1 2=1 | - | -") << "of a span";
    m_source.m_dataType = lanefeed_1::DicerDataSource::dsInstanceCount;
    EXPECT_EQ(ask(), "2=1 | - | -");
    m_param.samplePoint = 1;
    EXPECT_EQ(ask(), "0=1 | - | -");
    // Nothing that the result does not reach; a value that is no whole number counts for nothing.
    m_param.samplePoint = 0;
    slices() = {slice(30, -9, -1), slice(30, 1000, 1009), slice(40, 0, 0), slice(50, 999, 1009),
                slice(40, 150, 150, -7)};
    slices()[2]["count"] = 2.5;
    EXPECT_EQ(ask(), "- | 0=1 1=1 | 9=1");
    EXPECT_EQ(ask(IDicerProvider::otCount), "- | no bin | 9=1");
    // Behind the last whole bin of the window: a table, but nothing in it.
    slices() = {slice(30, 998, 998)};
    m_param.endTime = 999;
    EXPECT_EQ(ask(), "no bin | - | -");
}

TEST_F(Counts, MergeWhereTheQueriesSay) {
    slices() = {slice(30, 0, 4), slice(30, 5, 9)};
    EXPECT_EQ(ask(), "0=1 | - | -");
    m_source.m_defaultQuery = layerQuery("timelineMergeDataMode", true);
    EXPECT_EQ(ask(), "0=2 | - | -");
    const auto layer = [this](const basekit2::variant_t& merges) {
        m_source.m_vectorQuery =
            vectorOf({m_source.m_defaultQuery}, {{"timelineMergeDataMode", merges}});
    };
    layer(0);
    EXPECT_EQ(ask(), "0=1 | - | -");
    layer("no flag");
    EXPECT_EQ(ask(), "0=2 | - | -");
    m_source.m_defaultQuery = layerQuery("timelineMergeDataMode", "yes");
    EXPECT_EQ(ask(), "0=1 | - | -");
    EXPECT_TRUE(m_log.contains("can_get<bool>()"));
}

TEST_F(Counts, AreReadAsAskedOnceTheirFilterIsThere) {
    slices() = {slice(30, 200, 204)};
    m_source.m_resolutionMs = 500;
    m_source.m_timeScaleMs = 3;
    EXPECT_EQ(ask(), "2=1 | - | -");
    EXPECT_EQ(ask(IDicerProvider::otCount), "2=1 | - | -");
    m_source.m_defaultQuery = layerQuery("timelineRequiredFilter", "doi");
    m_db->reads.clear();
    EXPECT_EQ(ask(), "failed");
    EXPECT_TRUE(m_db->reads.empty() && m_log.empty());
    m_registry->names.insert("doi");
    EXPECT_EQ(ask(), "2=1 | - | -");
    // Nothing in the window of an area of one row is an answer; no bins or no window are none.
    bind();
    m_param.rowByDS = nullptr;
    m_param.startTime = 500;
    EXPECT_EQ(ask(), "-");
    m_param.endTime = m_param.startTime = 0;
    EXPECT_EQ(ask(), "failed");
    EXPECT_TRUE(m_log.empty());
    m_param.endTime = 1000;
    m_param.binCount = 0;
    EXPECT_EQ(ask(), "failed");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Counts, LeaveOutLevelsThatCannotBeRead) {
    slices() = {slice(30, 0, 4)};
    const auto below = [this](const Query& query) {
        QueryFacts rows;
        rows.table = "slice_data";
        rows.path = "dd_thread";
        rows.next = query;
        m_rowBySource.m_defaultQuery = infoQuery(rows);
    };
    QueryFacts moon;
    moon.path = "moon";
    below(infoQuery(moon));
    EXPECT_EQ(ask(), "0=1 | - | -");
    EXPECT_TRUE(m_log.contains("sl1::InvalidFieldId != rowById"));
    QueryFacts rowless;
    rowless.table = "slice_data";
    rowless.path = "dd_thread";
    below(infoQuery(rowless));
    EXPECT_EQ(ask(), "0=1 | - | -") << "no rows down there";
    below(timeQuery());
    EXPECT_EQ(ask(), "0=1 | - | -");
    EXPECT_TRUE(m_log.empty());
    m_param.applicableRowLevels = {1};
    EXPECT_EQ(ask(), "failed") << "no row has a table";
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Counts, FailWithAReason) {
    const auto reason = [this](IDicerProvider::overtime_type_t type = IDicerProvider::otCount) {
        return ask(type) != "failed"     ? "served"
               : m_log.entries().empty() ? ""
                                         : m_log.entries().front().text;
    };
    EXPECT_THAT(reason(), HasSubstr("query")) << "no such table";
    slices();
    EXPECT_THAT(reason(), HasSubstr("Failed to query sorted intervals. Error: "));
    m_db->brokenTables.insert("slice_data");
    EXPECT_THAT(reason(), HasSubstr("Error: disk on fire, SQL: SELECT"));
    m_db->brokenTables.clear();
    for (const char* column : {"start_tsc", "end_tsc", "count", "slice_data::dd_thread"}) {
        slices() = {slice(30, 0, 4)};
        slices()[0].erase(column);
        EXPECT_THAT(reason(), HasSubstr("sl1::InvalidFieldId != ")) << column;
    }
    slices() = {slice(30, 0, 4)};
    m_param.endTime = 5;
    EXPECT_THAT(reason(IDicerProvider::otInstanceCount), HasSubstr("timeBinWidth > 0"));
    m_param.endTime = 50;
    EXPECT_EQ(ask(), "0=1 | - | -") << "bins of the request are wide enough";
    m_provider->m_rowCount = 0;
    EXPECT_THAT(reason(), HasSubstr("row < (size_t)m_rowCount"));
    m_param.rowByDS = nullptr;
    EXPECT_THAT(reason(), HasSubstr("row < activeCounts.size()"));
    m_param.rowByDS = &m_rowBySource;
    m_provider->m_rowSummaryTable.reset();
    EXPECT_THAT(reason(), HasSubstr("m_rowSummaryTable"));
    m_source.m_defaultQuery = nullptr;
    EXPECT_THAT(reason(), HasSubstr("param.dds->m_defaultQuery"));
    EXPECT_TRUE(m_log.contains("bRet"));
    m_param.objectType = 1;
    EXPECT_THAT(reason(), HasSubstr("param.dds->m_defaultQuery"));
    EXPECT_EQ(m_log.lines().size(), 1U) << "nothing is read";
    m_param.dds = nullptr;
    EXPECT_THAT(reason(), HasSubstr("dds"));
}

TEST_F(Counts, EndQuietlyWhenCancelled) {
    slices() = {slice(30, 0, 4), slice(30, 100, 104), slice(40, 0, 4)};
    QueryFacts rows;
    rows.table = "slice_data";
    rows.path = "dd_thread";
    rows.next = infoQuery(rows);
    m_rowBySource.m_defaultQuery = infoQuery(rows);
    const auto cancelEverywhere = [this](const std::string& answer) {
        m_progress->cancelsAt = m_progress->asked = 0;
        EXPECT_EQ(ask(), answer);
        const int polls = m_progress->asked;
        for (int at = 1; at <= polls; ++at) {
            m_progress->cancelsAt = at;
            m_progress->asked = 0;
            EXPECT_EQ(ask(), "failed") << "at " << at << " of " << polls;
            EXPECT_TRUE(m_log.empty()) << m_log.lines().front();
        }
        m_progress->cancelsAt = 0;
        return polls;
    };
    EXPECT_GT(cancelEverywhere("0=1 1=1 | 0=1 | -"), 8);
    // An area of one row.
    bind();
    m_param.rowByDS = nullptr;
    EXPECT_GT(cancelEverywhere("0=2 1=1"), 8);
}

}  // namespace
}  // namespace lanefeed_test
