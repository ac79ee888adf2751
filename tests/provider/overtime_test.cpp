// Series by row out of what the store answers: which record goes to which row, over how many
// levels, and what each failure leaves; those of attributes of bands. Then the way of a request to
// the store and back: resolution, time scale, the filter that a layer waits for. At last series out
// of a master table.

#include "provider_fixture.h"
#include "reduciblemastertable.h"
#include "support/fake_grid.h"
#include "support/filter_words.h"
#include "support/slice_pane.h"
#include "support/table_text.h"

namespace lanefeed_test {
namespace {

using basekit2::error_code_t;
using lanefeed_1::DicerDataSource;
using lanefeed_1::IDicerProvider;
using lanefeed_1::OverTimeData;
using lanefeed_1::OverTimeDataSeries;
using lanefeed_1::QueryParam;
using storelink1::ITimelineQuery;
using Queries = std::vector<basekit2::sptr_t<dataface_1::IQuery>>;

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
    m_db->answers[0].data[0].series[0][10] = 9;  // of no bucket
    EXPECT_EQ(read(request()), "0:[all 3]");
    EXPECT_TRUE(m_log.empty());
    QueryParam param = request();
    param.dds = nullptr;
    EXPECT_EQ(read(param), "failed");

    // Times are percentages of whole bucket widths: 1999 / 10 is 199 ticks.
    m_source.m_dataType = DicerDataSource::dsTime;
    m_db->answers = {answerOf({"all"}, {{{}, {19900}}})};
    EXPECT_EQ(read(request(0, 1999)), "0:[all 10000]");
}

TEST_F(OverTime, RecordsGoToTheirRowsAndAllRowsHaveTheFullSeries) {
    bindRows({10, 20, 30});
    m_db->answers = {
        answerOf({"a", "b"}, {{{30}, {5, 1}}, {{99}, {9, 9}}, {{}, {8, 8}}, {{10}, {6, 2}}})};
    EXPECT_EQ(read(rowRequest()), "0:[a 6 b 2] 1:[a - b -] 2:[a 5 b 1]");
    EXPECT_EQ(m_db->calls.back()["rowBy"], "slice_data::dd_thread|name ");
    EXPECT_TRUE(m_log.empty());
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

// Series of a counter over rows 30 and 40, which are processes of bands: how bands become rows.
class Attributes : public ProviderTest {
protected:
    Attributes() {
        m_source.m_dataType = DicerDataSource::dsInfo;
        bindRows({30, 40});
        m_rowBySource = rowBy(factsAt("dd_band::dd_counter.dd_process.name")).ds;
        m_db->tables["dd_counter"] = tableOf("rowid dd_counter.dd_process\n1 40\n3 40\n4 30\n5 99");
        m_db->answers = {answerOf({"a"}, {{{1}, {10}}})};
    }
    std::string read(const DicerDataSource* rows, const std::set<int>& levels = {}) {
        lanefeed_1::QueryParam param = request();
        param.rowByDS = rows;
        param.applicableRowLevels = levels;
        std::vector<OverTimeData> data;
        m_db->calls.clear();
        return m_provider->getAttrOverTimeData(param, data) ? dataText(data) : "failed";
    }
    std::string read() { return read(&m_rowBySource); }
    void expectFailure(const std::string& text) {
        ProviderTest::expectFailure(text, [this] { return read() != "failed"; });
    }
};

TEST_F(Attributes, AreTheMeanOfTheBandsOfARow) {
    m_db->answers = {answerOf({"a"}, {{{1}, {10}}, {{3}, {20}}, {{}, {7}}})};
    EXPECT_EQ(read(), "0:[] 1:[a 15]");
    // The store groups by band, by a query without the dots.
    EXPECT_EQ(m_db->calls.at(0)["rowBy"], "dd_band::dd_counter| ");
    EXPECT_EQ(m_db->reads.back(), "dd_counter rowid dd_counter.dd_process");
    EXPECT_TRUE(m_log.empty());
    expectQuietCancels(5, [this] { return read() != "failed"; });
}

TEST_F(Attributes, TakeIndexesAsTheyAreWhereRowsAreBands) {
    m_db->answers = {answerOf({"a"}, {{{40}, {6}}})};
    const auto reads = m_db->reads.size();
    const auto bands = rowBy(factsAt("dd_band::dd_counter.name"));
    EXPECT_EQ(read(&bands.ds), "0:[] 1:[a 6]");
    EXPECT_EQ(m_db->reads.size(), reads);
    EXPECT_EQ(read(&bands.ds, {1}), "0:[] 1:[]") << "no level that is wanted";
    // Without rows it is a plain over-time request.
    bind();
    EXPECT_EQ(read(nullptr), "0:[a 6]");
}

TEST_F(Attributes, AreLeftOutOrFailWithAReason) {
    // Of an unknown row; of a band between the known ones, behind them, and of none.
    for (const int band : {5, 2, 6, -1}) {
        m_db->answers = {answerOf({"a"}, {{{1}, {10}}, {{band}, {20}}})};
        expectFailure("summaryRow");
    }
    m_db->answers = {answerOf({"a"}, {{{1}, {10}}})};
    // A level that the store doesn't expand is left out in silence.
    m_db->answers[0].refusesExpansions = true;
    m_source.addExtra(infoQuery({}), "dd_task", "slice_data", "name", "main", "");
    m_log.clear();
    EXPECT_EQ(read(), "0:[] 1:[]");
    EXPECT_TRUE(m_log.empty());
    m_source.m_extras.clear();
    m_db->brokenTables.insert("dd_counter");
    expectFailure("Failed to get band->row mapping. Error: disk on fire, SQL: SELECT");
    m_db->brokenTables.clear();
    m_db->tables["dd_counter"] = tableOf("rowid\n1");
    expectFailure("sl1::InvalidColIdx != attrId");
}

// On the real store: a filter that changes is that of the next request.
TEST(OverTimeFiltered, IsOfTheFilterInForce) {
    TracePane pane("thread main  0..10 a  50..60 b");
    pane.slices.set("", "slice_data", "", "");
    pane.slices.m_dataType = DicerDataSource::dsTime;
    pane.slices.m_defaultQuery = pane.query("busyTime");
    for (const auto& [words, cells] :
         {std::pair("@1..21", "0 100\n"), {"@51..61", "5 100\n"}, {"", "0 100\n5 100\n"}}) {
        ASSERT_TRUE(setFilter(*pane.filters, "global", words));
        pane.provider->filterChanged("global");
        Forest forest;
        ASSERT_TRUE(
            pane.provider->getOverTimeData(pane.request(0, 60, 6), IDicerProvider::otTime, forest));
        EXPECT_EQ(cellsText(forest.at(0)), cells) << words;
    }
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
        const std::string cells = cellsText(m_forest.at(0));
        EXPECT_EQ(cells.substr(0, 2), "0 ");
        return std::stod(cells.substr(2));
    }

    Forest m_forest;
};

TEST_F(OverTimeFlow, FinerThanTheLayersResolutionIsWidened) {
    // 1000 ticks per millisecond, cut to whole ticks.
    m_source.m_resolutionMs = 0.1509;
    ASSERT_TRUE(ask(request()));
    EXPECT_EQ(stored(), "0..1050/7");
    EXPECT_TRUE(ask(request(), IDicerProvider::otAttribute));
    EXPECT_EQ(stored(), "0..1000/10") << "attributes are read as asked for";
    // 8 in a bucket of 150 ticks, of which 20 are asked for.
    EXPECT_NEAR(asked(request(200, 400, 10)), 8 * (20 / 150.0), 1e-5);
    EXPECT_EQ(stored(), "150..450/2");
    m_source.m_resolutionMs = 0.1;  // as wide as the buckets: not finer
    ASSERT_TRUE(ask(request()));
    EXPECT_EQ(stored(), "0..1000/10");
    m_source.m_resolutionMs = 1e300;
    ASSERT_FALSE(ask(request()) && m_forest.empty());
    EXPECT_EQ(stored().substr(stored().find('/')), "/1");

    // To more buckets than asked for it is none.
    m_source.m_resolutionMs = 0.15;
    expectFailure("width >= newWidth", [&] { return ask(request(140, 160, 1)); });
    EXPECT_TRUE(m_log.contains("toWidth >= fromWidth") && m_log.contains("bRet"));
    EXPECT_EQ(stored(), "0..300/2");
}

TEST_F(OverTimeFlow, WithoutBucketsOrTheRequiredFilterTheStoreIsNotAsked) {
    EXPECT_FALSE(ask(request(0, 1000, 0)));
    m_source.m_resolutionMs = 0.15;
    EXPECT_FALSE(ask(request(300, 300, 10))) << "on a multiple no bucket is left";
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
    m_source.m_timeScaleMs = 0.201;
    EXPECT_DOUBLE_EQ(asked(request(0, 1005, 10)), 16);
    m_source.m_timeScaleMs = 0;
    m_source.m_resolutionMs = 0.15;
    const double unscaled = asked(request());
    m_source.m_timeScaleMs = 0.2;
    EXPECT_NEAR(asked(request()), 2 * unscaled, 1e-5);
}

TEST_F(OverTimeFlow, ShowsNothingWhereTheStoreHasNothingOrTheRequestIsCancelled) {
    expectQuietCancels(4, [this] { return ask(request()); });
    m_db->answers.clear();
    EXPECT_FALSE(ask(request()));
    m_db->answers = {answerOf({"all"}, {{{}, {}}})};
    EXPECT_FALSE(ask(request()));
    EXPECT_TRUE(m_forest.empty() && m_log.empty());
}

constexpr char kSkipped[] =
    "Master table skipped for overtime query. Cache config update may be required!";

// What one reduction answers.
struct Reduction {
    error_code_t err;
    std::vector<OverTimeData> data;
    Strings series;
};

class FakeMasterTable : public lanefeed_1::IReducibleMasterTable {
public:
    std::string getInstanceTable() override { return "slice_data"; }
    ITimelineQuery::QueryType getQueryType() override { return ITimelineQuery::qtCount; }
    ITimelineQuery::ObjectType getObjectType() override { return ITimelineQuery::otPoint; }
    basekit2::generic_iterator_t<std::string> getRowBys() override { return {}; }
    basekit2::generic_iterator_t<std::string> getExpansions() override { return {}; }
    QueryParam getParameters() override { return {}; }
    error_code_t reduce(std::vector<OverTimeData>& data,
                        std::vector<OverTimeDataSeries>& series,
                        const Queries& rowBys,
                        const QueryParam& /*param*/,
                        relay2::IProgress* /*progress*/) override {
        const Reduction& answer = reductions.at(depths.size());
        depths.push_back(rowBys.size());
        if (!basekit2::is_success(answer.err)) return answer.err;
        EXPECT_TRUE(data.empty()) << "records of an earlier path";
        data = answer.data;
        for (const std::string& name : answer.series) {
            series.emplace_back();
            series.back().name = name;
        }
        return answer.err;
    }

    std::vector<Reduction> reductions;
    std::vector<std::size_t> depths;  // length of the path at each call
};

class FakeMasterTableMgr : public lanefeed_1::IMasterTableMgr {
public:
    void add(const basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::IQuery>>& /*rowBys*/,
             const basekit2::sptr_t<dataface_1::IDataQuery>& /*dataQuery*/,
             const std::string& /*objectType*/) override {}
    void finalize() override {}
    error_code_t getMasterTable(const QueryParam& /*param*/,
                                basekit2::sptr_t<lanefeed_1::IMasterTable>& out,
                                relay2::IProgress* /*progress*/) override {
        out = table;
        return err;
    }
    void filterChanged() override {}
    void clear() override {}

    basekit2::sptr_t<lanefeed_1::IMasterTable> table;
    error_code_t err;
};

OverTimeData reduced(const std::vector<int>& dbIndexes, double value) {
    OverTimeData data;
    data.dbIndexes = dbIndexes;
    data.seriesSet.resize(1);
    data.seriesSet[0].name = "own";
    data.seriesSet[0].values = {value};
    return data;
}

// Series out of a master table that is given by hand: when it serves, when the store does, and what
// is told on the way.
class MasterTableRoad : public ProviderTest {
protected:
    MasterTableRoad() {
        m_mgr->table = m_table;
        m_provider->setMasterTableMgr(m_mgr);
        m_source.m_dataType = lanefeed_1::DicerDataSource::dsCount;
        m_db->answers = {answerOf({"stored"}, {{{20}, {7}}})};
    }
    std::string read() {
        m_table->depths.clear();
        QueryParam param = request();
        param.rowByDS = m_rowBySource.m_defaultQuery.is_null() ? nullptr : &m_rowBySource;
        std::vector<OverTimeData> data;
        return m_provider->read(param, data) ? dataText(data) : "failed";
    }
    // Rows 10 and 20 in two levels.
    void bindLevels() {
        bindRows({10, 20});
        QueryFacts outer;
        outer.path = "dd_thread";
        outer.next = infoQuery({});
        m_rowBySource = rowBy(outer).ds;
    }

    const basekit2::sptr_t<FakeMasterTable> m_table = basekit2::make_object<FakeMasterTable>();
    const basekit2::sptr_t<FakeMasterTableMgr> m_mgr = basekit2::make_object<FakeMasterTableMgr>();
};

TEST_F(MasterTableRoad, ServesRowsWithoutAskingTheStore) {
    bindRows({10, 20, 30});
    m_table->reductions = {{{}, {reduced({20}, 5), reduced({77}, 6)}, {"empty"}}};
    EXPECT_EQ(read(), "0:[empty -] 1:[own 5] 2:[empty -]");
    EXPECT_EQ(m_table->depths, (std::vector<std::size_t>{1}));
    // Of several levels rows are filled from the last one.
    bindLevels();
    m_table->reductions = {{{}, {reduced({20}, 5)}, {"first"}}, {{}, {}, {"last"}}};
    EXPECT_EQ(read(), "0:[last -] 1:[own 5]");
    EXPECT_EQ(m_table->depths, (std::vector<std::size_t>{1, 2}));
    // An empty table leaves its rows without series, and that is an answer.
    m_table->reductions = {{error_code_t::noResult, {}, {}}, {error_code_t::noResult, {}, {}}};
    EXPECT_EQ(read(), "0:[] 1:[]");
    EXPECT_TRUE(m_db->calls.empty() && m_log.empty());
}

TEST_F(MasterTableRoad, LeadsToTheStoreWithAnAlertWithoutATable) {
    bindRows({10, 20});
    m_mgr->err = error_code_t::noResult;
    EXPECT_EQ(read(), "0:[stored -] 1:[stored 7]");
    EXPECT_EQ(m_log.count(kSkipped), 1);
    // Nothing found is nothing missed.
    m_log.clear();
    m_db->answers = {};
    EXPECT_EQ(read(), "0:[] 1:[]");
    EXPECT_FALSE(m_log.contains(kSkipped));
}

TEST_F(MasterTableRoad, StartsAfreshAfterAFailedReductionButNotAfterACancel) {
    bindLevels();
    m_table->reductions = {{{}, {reduced({20}, 5)}, {"first"}}, {error_code_t::failure, {}, {}}};
    m_progress->cancelsAt = m_progress->asked + 1;
    EXPECT_EQ(read(), "failed");
    EXPECT_TRUE(m_log.empty() && m_db->calls.empty());
    m_progress->cancelsAt = 0;
    m_db->answers = {answerOf({"stored"}, {})};
    EXPECT_EQ(read(), "0:[stored -] 1:[stored -]");
    EXPECT_TRUE(m_log.contains("err.succeeded()"));
}

TEST_F(MasterTableRoad, ServesAnAreaWithoutRowsWithOneRecordOnly) {
    bind();
    m_table->reductions = {{{}, {reduced({}, 5)}, {"empty"}}};
    EXPECT_EQ(read(), "0:[own 5]");
    m_table->reductions = {{{}, {reduced({}, 5), reduced({}, 6)}, {"empty"}}};
    EXPECT_EQ(read(), "0:[stored 7]");
    EXPECT_TRUE(m_log.contains("m_rowCount == 1 && currentArray.size() == 1"));
    EXPECT_FALSE(m_log.contains(kSkipped));
}

}  // namespace
}  // namespace lanefeed_test
