#include "provider_fixture.h"

#include <facekit_1_x/table_building.h>

#include <cmath>

namespace lanefeed_test {
namespace {

using lanefeed_1::DicerDataSource;
using lanefeed_1::OverTimeData;
using lanefeed_1::QueryParam;

// Rows and values of an answer: "0:[a 1 b -] 1:[]"; "-" is a series without data.
std::string dataText(const std::vector<OverTimeData>& data) {
    std::string text;
    for (const OverTimeData& record : data) {
        text += (text.empty() ? "" : " ") + std::to_string(record.row) + ":[";
        for (const auto& series : record.seriesSet) {
            text += (text.back() == '[' ? "" : " ") + series.name + " ";
            text += series.values.empty() ? "-" : std::to_string(std::lround(series.values[0]));
        }
        text += "]";
    }
    return text;
}

class OverTime : public ProviderTest {
protected:
    OverTime() { m_source.m_dataType = DicerDataSource::dsCount; }
    std::string read(const QueryParam& param) {
        std::vector<OverTimeData> data;
        return m_provider->read(param, data) ? dataText(data) : "failed";
    }
    QueryParam rowRequest() {
        QueryParam param = request();
        param.rowByDS = &m_rowBySource;
        return param;
    }
    // A table of rows in two levels: 7 with the children 1 and 2, and 8.
    void putNestedRows(const basekit2::sptr_t<dataface_1::IQuery>& grouping = infoQuery({})) {
        const auto grid = facekit_1_x::createTableTree();
        const auto vectorQuery = dataface_1::IVectorQuery::pushBack(nullptr, grouping);
        const auto add = [&](int id, const basekit2::sptr_t<dataface_1::ITableRow>& parent) {
            auto row = facekit_1_x::createVectorRow(vectorQuery, grid);
            row->setContent(nullptr, dataface_1::ccId, id);
            grid->addRow(row, parent);
            return row;
        };
        const auto seven = add(7, nullptr);
        add(1, seven);
        add(2, seven);
        add(8, nullptr);
        m_provider->m_rowSummaryTable = basekit2::make_object<lanefeed_1::RowSummaryTableTree>();
        ASSERT_TRUE(m_provider->m_rowSummaryTable->init(m_input, grid, vectorQuery,
                                                        m_provider.get(), nullptr));
        m_provider->m_rowCount = m_provider->m_rowSummaryTable->getFlatRowCount();
        QueryFacts outer;
        outer.table = "slice_data";
        outer.path = "dd_process";
        QueryFacts inner;
        inner.table = "slice_data";
        inner.path = "dd_thread";
        inner.attr = "name";
        outer.next = infoQuery(inner);
        m_rowBySource = rowBy(outer).ds;
    }
};

TEST_F(OverTime, ServesAnAreaWithoutRowsWithOneRecord) {
    bind();
    m_db->answers = {{{record({}, {3})}, series({"all"}), false}};
    EXPECT_EQ(read(request()), "0:[all 3]");
    // More than one record is not what such an area should give: they stay unnumbered.
    m_db->answers = {{{record({}, {3}), record({}, {4})}, series({"all"}), false}};
    EXPECT_EQ(read(request()), "-1:[all 3] -1:[all 4]");
    EXPECT_TRUE(m_log.empty());
    QueryParam param = request();
    param.dds = nullptr;
    EXPECT_EQ(read(param), "failed");
}

TEST_F(OverTime, PutsRecordsOnTheirRowsAndNumbersAll) {
    bindRows({10, 20, 30});
    m_db->answers = {
        {{record({30}, {5, 1}), record({99}, {9, 9}), record({}, {8, 8}), record({10}, {6, 2})},
         series({"a", "b"}),
         false}};
    EXPECT_EQ(read(rowRequest()), "0:[a 6 b 2] 1:[a - b -] 2:[a 5 b 1]");
    EXPECT_EQ(m_db->calls.back().rowBys, (std::vector<std::string>{"slice_data::dd_thread|name"}));
    EXPECT_TRUE(m_log.empty());
}

TEST_F(OverTime, GivesRowsWithoutDataTheFullSeries) {
    bindRows({10});
    m_db->answers = {{{}, {{"a:b", {"a", "b"}, {3, 4}}}, false}};
    std::vector<OverTimeData> data;
    ASSERT_TRUE(m_provider->read(rowRequest(), data));
    ASSERT_EQ(data.at(0).seriesSet.size(), 1U);
    const auto& series = data[0].seriesSet[0];
    EXPECT_EQ(series.name, "a:b");
    EXPECT_EQ(series.nameParts, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(series.idParts, (std::vector<int>{3, 4}));
    EXPECT_EQ(series.ds.m_defaultQuery, m_source.m_defaultQuery);
}

TEST_F(OverTime, SumsParentsOfAFlatGroupingFromTheirChildren) {
    bind();
    QueryFacts flat;
    flat.flatGrouping = "flat";
    putNestedRows(infoQuery(flat));
    m_rowBySource = rowBy({}).ds;
    m_db->answers = {
        {{record({1}, {3}), record({2}, {4}), record({8}, {5})}, series({"a"}), false}};
    EXPECT_EQ(read(rowRequest()), "0:[a 7] 1:[a 3] 2:[a 4] 3:[a 5]");
}

TEST_F(OverTime, MakesTimesPercentagesOfWholeBucketWidths) {
    bind();
    m_source.m_dataType = DicerDataSource::dsTime;
    m_db->answers = {{{record({}, {19900})}, series({"all"}), false}};
    QueryParam param = request();
    param.endTime = 1999;
    // 1999 / 10 is 199 ticks.
    EXPECT_EQ(read(param), "0:[all 10000]");
    param.endTime = 1000;
    EXPECT_EQ(read(param), "0:[all 19900]");
}

TEST_F(OverTime, ReadsEveryApplicableLevelAndFillsRowsFromTheFirst) {
    bind();
    putNestedRows();
    m_db->answers = {{{record({8}, {80})}, series({"first"}), false},
                     {{record({7, 2}, {72})}, series({"second"}), false}};
    QueryParam param = rowRequest();
    EXPECT_EQ(read(param), "0:[first -] 1:[first -] 2:[second 72] 3:[first 80]");
    ASSERT_EQ(m_db->calls.size(), 2U);
    EXPECT_EQ(m_db->calls[1].rowBys,
              (std::vector<std::string>{"slice_data::dd_process|", "slice_data::dd_thread|name"}));

    m_db->calls.clear();
    m_db->answers.erase(m_db->answers.begin());
    param.applicableRowLevels = {1};
    EXPECT_EQ(read(param), "0:[second -] 1:[second -] 2:[second 72] 3:[second -]");
    EXPECT_EQ(m_db->calls.size(), 1U);
}

TEST_F(OverTime, EndsQuietlyWhenCancelledBetweenLevelsOrInARead) {
    bind();
    putNestedRows();
    for (int cancelsAt = 1; cancelsAt <= 5; ++cancelsAt) {
        SCOPED_TRACE(cancelsAt);
        m_progress->cancelsAt = cancelsAt;
        m_progress->asked = 0;
        EXPECT_EQ(read(rowRequest()), "failed");
    }
    m_progress->cancelsAt = 0;
    EXPECT_NE(read(rowRequest()), "failed");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(OverTime, FailsWithoutARowTableOrWithARowBeyondTheArea) {
    bind();
    m_rowBySource = rowBy({}).ds;
    EXPECT_EQ(read(rowRequest()), "failed");
    EXPECT_TRUE(m_log.contains("m_rowSummaryTable"));
    EXPECT_TRUE(m_db->calls.empty());

    putNestedRows();
    m_provider->m_rowCount = 2;
    m_db->answers = {{{record({8}, {1})}, series({"a"}), false}};
    EXPECT_EQ(read(rowRequest()), "failed");
    EXPECT_TRUE(m_log.contains("summaryId >= 0 && summaryId < m_rowCount"));
}
}  // namespace
}  // namespace lanefeed_test
