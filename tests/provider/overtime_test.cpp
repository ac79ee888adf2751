// Series by row out of what the store answers: which record goes to which row, over how many
// levels, and what each failure leaves. Then the way of a request to the store and back:
// resolution, time scale, the filter that a layer waits for.

#include "provider_fixture.h"
#include "support/fake_grid.h"
#include "support/table_text.h"

namespace lanefeed_test {
namespace {

using lanefeed_1::DicerDataSource;
using lanefeed_1::IDicerProvider;
using lanefeed_1::OverTimeData;
using lanefeed_1::QueryParam;

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
    void putNestedRows(const Query& grouping = infoQuery({})) {
        bind();
        const auto vectorQuery = vectorOf({grouping});
        m_provider->m_rowSummaryTable = basekit2::make_object<lanefeed_1::RowSummaryTableTree>();
        ASSERT_TRUE(m_provider->m_rowSummaryTable->init(
            m_input,
            gridTable({{7, "", {}, {{1, "", {}, {}}, {2, "", {}, {}}}}, {8, "", {}, {}}},
                      vectorQuery),
            vectorQuery, m_provider.get(), nullptr));
        m_provider->m_rowCount = m_provider->m_rowSummaryTable->getFlatRowCount();
        QueryFacts outer = factsAt("slice_data::dd_process");
        outer.next = infoQuery(factsAt("slice_data::dd_thread.name"));
        m_rowBySource = rowBy(outer).ds;
    }
};

TEST_F(OverTime, OfAnAreaWithoutRowsAreOneRecord) {
    bind();
    m_db->answers = {answerOf({"all"}, {{{}, {3}}})};
    EXPECT_EQ(read(request()), "0:[all 3]");
    // More than one record is not what such an area should give: they stay unnumbered.
    m_db->answers = {answerOf({"all"}, {{{}, {3}}, {{}, {4}}})};
    EXPECT_EQ(read(request()), "-1:[all 3] -1:[all 4]");
    EXPECT_TRUE(m_log.empty());
    QueryParam param = request();
    param.dds = nullptr;
    EXPECT_EQ(read(param), "failed");

    // Times are percentages of whole bucket widths: 1999 / 10 is 199 ticks.
    m_source.m_dataType = DicerDataSource::dsTime;
    m_db->answers = {answerOf({"all"}, {{{}, {19900}}})};
    param = request();
    param.endTime = 1999;
    EXPECT_EQ(read(param), "0:[all 10000]");
}

TEST_F(OverTime, RecordsGoToTheirRowsAndAllRowsHaveTheFullSeries) {
    bindRows({10, 20, 30});
    m_db->answers = {
        answerOf({"a", "b"}, {{{30}, {5, 1}}, {{99}, {9, 9}}, {{}, {8, 8}}, {{10}, {6, 2}}})};
    EXPECT_EQ(read(rowRequest()), "0:[a 6 b 2] 1:[a - b -] 2:[a 5 b 1]");
    EXPECT_EQ(m_db->calls.back()["rowBy"], "slice_data::dd_thread|name ");
    EXPECT_TRUE(m_log.empty());

    m_db->answers = {{{}, {{"a:b", {"a", "b"}, {3, 4}}}, false}};
    std::vector<OverTimeData> data;
    ASSERT_TRUE(m_provider->read(rowRequest(), data));
    const auto& series = data.at(0).seriesSet.at(0);
    EXPECT_EQ(series.name, "a:b");
    EXPECT_EQ(series.nameParts, (Strings{"a", "b"}));
    EXPECT_EQ(series.idParts, (std::vector<int>{3, 4}));
    EXPECT_EQ(series.ds.m_defaultQuery, m_source.m_defaultQuery);
}

TEST_F(OverTime, ParentsOfAFlatGroupingAreSumsOfTheirChildren) {
    QueryFacts flat;
    flat.flatGrouping = "flat";
    putNestedRows(infoQuery(flat));
    m_rowBySource = rowBy({}).ds;
    m_db->answers = {answerOf({"a"}, {{{1}, {3}}, {{2}, {4}}, {{8}, {5}}})};
    EXPECT_EQ(read(rowRequest()), "0:[a 7] 1:[a 3] 2:[a 4] 3:[a 5]");
}

TEST_F(OverTime, EveryApplicableLevelIsReadAndRowsAreFilledFromTheFirst) {
    putNestedRows();
    m_db->answers = {answerOf({"first"}, {{{8}, {80}}}), answerOf({"second"}, {{{7, 2}, {72}}})};
    QueryParam param = rowRequest();
    EXPECT_EQ(read(param), "0:[first -] 1:[first -] 2:[second 72] 3:[first 80]");
    ASSERT_EQ(m_db->calls.size(), 2U);
    EXPECT_EQ(m_db->calls[1]["rowBy"], "slice_data::dd_process| slice_data::dd_thread|name ");
    expectQuietCancels(5, [&] { return read(param) != "failed"; });

    m_db->calls.clear();
    m_db->answers.erase(m_db->answers.begin());
    param.applicableRowLevels = {1};
    EXPECT_EQ(read(param), "0:[second -] 1:[second -] 2:[second 72] 3:[second -]");
    EXPECT_EQ(m_db->calls.size(), 1U);
}

TEST_F(OverTime, FailWithoutARowTableOrWithARowBeyondTheArea) {
    bind();
    m_rowBySource = rowBy({}).ds;
    const auto isRead = [this] { return read(rowRequest()) != "failed"; };
    expectFailure("m_rowSummaryTable", isRead);
    EXPECT_TRUE(m_db->calls.empty());
    putNestedRows();
    m_provider->m_rowCount = 2;
    m_db->answers = {answerOf({"a"}, {{{8}, {1}}})};
    expectFailure("summaryId >= 0 && summaryId < m_rowCount", isRead);
}

class OverTimeFlow : public ProviderTest {
protected:
    OverTimeFlow() {
        m_source.m_dataType = DicerDataSource::dsCount;
        m_db->answers = {answerOf({"all"}, {{{}, {8}}})};
        bind();
    }
    bool ask(const QueryParam& param,
             IDicerProvider::overtime_type_t type = IDicerProvider::otTime) {
        m_forest.clear();
        return m_provider->getOverTimeData(param, type, m_forest);
    }
    // Span and bins of the last request to the store, in pane ticks.
    std::string stored() { return m_db->calls.empty() ? "none" : m_db->calls.back()["span"]; }
    // The value of the first bucket.
    double asked(const QueryParam& param) {
        EXPECT_TRUE(ask(param));
        basekit2::variant_t cell;
        const auto row = allRows(m_forest.at(0)).at(0);
        EXPECT_TRUE(row->getContent(allColumns(m_forest[0]).at(0), dataface_1::ccValue, cell));
        EXPECT_EQ(cell.get<int>(), 0);
        EXPECT_TRUE(row->getContent(allColumns(m_forest[0]).at(1), dataface_1::ccValue, cell));
        return cell.get<double>();
    }

    Forest m_forest;
};

TEST_F(OverTimeFlow, FinerThanTheLayersResolutionIsWidened) {
    // 1000 ticks per millisecond, cut to whole ticks.
    m_source.m_resolutionMs = 0.1509;
    QueryParam param = request();
    ASSERT_TRUE(ask(param));
    EXPECT_EQ(stored(), "0..1050/7");
    EXPECT_TRUE(ask(param, IDicerProvider::otAttribute));
    EXPECT_EQ(stored(), "0..1000/10") << "attributes are read as asked for";
    // 8 in a bucket of 150 ticks, of which 20 are asked for.
    param.startTime = 200;
    param.endTime = 400;
    EXPECT_DOUBLE_EQ(asked(param), 8 * (20 / 150.0));
    EXPECT_EQ(stored(), "150..450/2");
    m_source.m_resolutionMs = 0.1;  // as wide as the buckets: not finer
    ASSERT_TRUE(ask(request()));
    EXPECT_EQ(stored(), "0..1000/10");
    m_source.m_resolutionMs = 1e300;
    ASSERT_FALSE(ask(request()) && m_forest.empty());
    EXPECT_EQ(stored().substr(stored().find('/')), "/1");

    // To more buckets than asked for it is none.
    m_source.m_resolutionMs = 0.15;
    param.startTime = 140;
    param.endTime = 160;
    param.binCount = 1;
    expectFailure("width >= newWidth", [&] { return ask(param); });
    EXPECT_TRUE(m_log.contains("toWidth >= fromWidth") && m_log.contains("bRet"));
    EXPECT_EQ(stored(), "0..300/2");
}

TEST_F(OverTimeFlow, WithoutBucketsOrTheRequiredFilterTheStoreIsNotAsked) {
    QueryParam param = request();
    param.binCount = 0;
    EXPECT_FALSE(ask(param));
    m_source.m_resolutionMs = 0.15;
    param = request();
    param.startTime = param.endTime = 300;  // on a multiple: no bucket is left
    EXPECT_FALSE(ask(param));
    m_source.m_resolutionMs = 0;

    QueryFacts facts;
    facts.attributes["timelineRequiredFilter"] = "busy";
    m_source.m_defaultQuery = timeQuery(facts);
    EXPECT_FALSE(ask(request()));
    EXPECT_EQ(stored(), "none");
    EXPECT_TRUE(m_log.empty());
    m_registry->names = {"busy"};
    EXPECT_TRUE(ask(request()));
    m_input->withdraw<dataface_1::IFilterRegistry>();
    expectFailure("filterRegistry", [&] { return ask(request()); });
}

TEST_F(OverTimeFlow, IsNormalisedToTheTimeScale) {
    m_source.m_timeScaleMs = 1.0;  // ten buckets of 100 ticks each
    EXPECT_DOUBLE_EQ(asked(request()), 80);
    // A bucket is the scale already: no table is put on top, so that rows can be reduced.
    m_source.m_timeScaleMs = 0.1;
    EXPECT_EQ(asked(request()), 8);
    EXPECT_FALSE(
        basekit2::interface_cast<dataface_1::IReducibleTableTree>(m_forest[0].get()).is_null());
    // Widths are those of the client's buckets, parts of a tick included.
    QueryParam param = request();
    param.endTime = 1005;
    m_source.m_timeScaleMs = 0.201;
    EXPECT_DOUBLE_EQ(asked(param), 16);
    m_source.m_timeScaleMs = 0;
    m_source.m_resolutionMs = 0.15;
    const double unscaled = asked(request());
    m_source.m_timeScaleMs = 0.2;
    EXPECT_DOUBLE_EQ(asked(request()), 2 * unscaled);
}

TEST_F(OverTimeFlow, ShowsNothingWhereTheStoreHasNothingOrTheRequestIsCancelled) {
    expectQuietCancels(4, [this] { return ask(request()); });
    m_db->answers.clear();
    const int lookups = m_input->asked;
    EXPECT_FALSE(ask(request()));
    EXPECT_EQ(m_input->asked, lookups) << "no registry where no filter is required";
    m_db->answers = {answerOf({"all"}, {{{}, {}}})};
    EXPECT_FALSE(ask(request()));
    EXPECT_TRUE(m_forest.empty() && m_log.empty());
}

}  // namespace
}  // namespace lanefeed_test
