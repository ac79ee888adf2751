#include "provider_fixture.h"

#include <cmath>

namespace lanefeed_test {
namespace {

using lanefeed_1::DicerDataSource;
using lanefeed_1::OverTimeData;

// Series of a counter over rows 30 and 40, which are processes of bands.
class Attributes : public ProviderTest {
protected:
    Attributes() {
        m_source.m_dataType = DicerDataSource::dsInfo;
        bindRows({30, 40});
        m_rowBySource = bandRows("dd_counter.dd_process").ds;
        m_db->tables["dd_counter"] = {{{"rowid", 1}, {"dd_counter.dd_process", 40}},
                                      {{"rowid", 3}, {"dd_counter.dd_process", 40}},
                                      {{"rowid", 4}, {"dd_counter.dd_process", 30}},
                                      {{"rowid", 5}, {"dd_counter.dd_process", 99}}};
    }
    static lanefeed_1::TLViewpointParser::RowBy bandRows(const std::string& path) {
        QueryFacts facts;
        facts.id = "rows";
        facts.name = "Process";
        facts.table = "dd_band";
        facts.path = path;
        facts.attr = "name";
        return rowBy(facts);
    }
    void answer(const std::vector<storelink1::OverTimeData>& records) {
        m_db->answers = {{records, series({"a"}), false}};
    }
    // Values of bucket 0 by row: "0:- 1:15"; "-" is a row without series.
    std::string read(const DicerDataSource* rows, const std::set<int>& levels = {}) {
        lanefeed_1::QueryParam param = request();
        param.rowByDS = rows;
        param.applicableRowLevels = levels;
        std::vector<OverTimeData> data;
        m_db->calls.clear();
        m_log.clear();
        if (!m_provider->getAttrOverTimeData(param, data)) return "failed";
        std::string text;
        for (const OverTimeData& record : data) {
            text += (text.empty() ? "" : " ") + std::to_string(record.row) + ":";
            text += record.seriesSet.empty()
                        ? "-"
                        : std::to_string(std::lround(record.seriesSet[0].values.at(0)));
        }
        return text;
    }
    std::string read() { return read(&m_rowBySource); }
};

TEST_F(Attributes, AverageTheBandsOfARow) {
    answer({record({1}, {10}), record({3}, {20}), record({}, {7})});
    EXPECT_EQ(read(), "0:- 1:15");
    // The store groups by band, by a query without the dots.
    EXPECT_EQ(m_db->calls.at(0).rowBys, (std::vector<std::string>{"dd_band::dd_counter|"}));
    const auto* name = m_library->created.back().get<basekit2::variant_t>("displayName");
    EXPECT_EQ(name != nullptr ? name->get<std::string>() : "", "Process");
    EXPECT_EQ(m_db->reads.back(), "dd_counter rowid dd_counter.dd_process");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Attributes, TakeIndexesAsTheyAreWhereRowsAreBands) {
    answer({record({40}, {6})});
    const auto reads = m_db->reads.size();
    const auto bands = bandRows("dd_counter");
    EXPECT_EQ(read(&bands.ds), "0:- 1:6");
    EXPECT_EQ(m_db->reads.size(), reads);
    EXPECT_EQ(read(&bands.ds, {1}), "0:- 1:-") << "no level that is wanted";
    // Without rows it is a plain over-time request.
    bind();
    EXPECT_EQ(read(nullptr), "0:6");
}

TEST_F(Attributes, LeaveOutALevelThatCannotBeRead) {
    answer({record({1}, {10})});
    m_db->answers[0].refusesExpansions = true;
    m_source.addExtra(infoQuery({}), "dd_task", "slice_data", "name", "main", "");
    EXPECT_EQ(read(), "0:- 1:-");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Attributes, FailForARecordWithoutARow) {
    // Of an unknown row; of a band between the known ones, behind them, and of none.
    for (const int band : {5, 2, 6, -1}) {
        answer({record({1}, {10}), record({band}, {20})});
        EXPECT_EQ(read(), "failed") << band;
        EXPECT_TRUE(m_log.contains("summaryRow")) << band;
    }
}

TEST_F(Attributes, FailWhenBandsCannotBeTranslated) {
    answer({record({1}, {10})});
    m_db->brokenTables.insert("dd_counter");
    EXPECT_EQ(read(), "failed");
    EXPECT_TRUE(
        m_log.contains("Failed to get band->row mapping. Error: disk on fire, SQL: SELECT"));
    m_db->brokenTables.clear();
    m_db->tables["dd_counter"] = {{{"rowid", 1}}};
    EXPECT_EQ(read(), "failed");
    EXPECT_TRUE(m_log.contains("sl1::InvalidColIdx != attrId"));
    m_db->tables["dd_counter"].clear();
    EXPECT_EQ(read(), "failed");
    EXPECT_TRUE(m_log.contains("rs && !rs->atEnd()"));
    m_db->tables.erase("dd_counter");
    EXPECT_EQ(read(), "failed");
    m_rowBySource.m_defaultQuery = timeQuery();
    EXPECT_EQ(read(), "failed");
    EXPECT_TRUE(m_log.contains("infoQuery"));
    m_provider->m_rowSummaryTable.reset();
    EXPECT_EQ(read(), "failed");
    EXPECT_TRUE(m_log.contains("m_rowSummaryTable"));
}

TEST_F(Attributes, EndQuietlyWhenCancelled) {
    answer({record({1}, {10})});
    int cancelled = 0;
    for (m_progress->cancelsAt = 1;; ++m_progress->cancelsAt) {
        m_progress->asked = 0;
        if (read() != "failed") break;
        EXPECT_TRUE(m_log.empty());
        ++cancelled;
    }
    EXPECT_GT(cancelled, 5);
}

}  // namespace
}  // namespace lanefeed_test
