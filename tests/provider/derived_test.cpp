// Derived series: what is read for them, how the inputs meet, and what comes out as tables.
#include "provider_fixture.h"
#include "queries/query_library.h"
#include "support/table_text.h"

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using lanefeed_1::DicerDataSource;
using lanefeed_1::IDicerProvider;
using lanefeed_1::OverTimeData;
using lanefeed_1::QueryParam;

const char* const kDefinitions = R"(<queryLibrary>
    <timeQuery id="busy"><dbPath>slice_data</dbPath>
      <displayAttributes timelineRequiredFilter="never"/></timeQuery>
    <countQuery id="count"><dbPath>slice_data</dbPath></countQuery>
    <instanceCountQuery id="instances"><dbPath>slice_data</dbPath></instanceCountQuery>
    <countQuery id="missing"><dbPath>missing_data</dbPath></countQuery>
    <derivedQuery id="mean"><queryRef>busy</queryRef><queryRef>count</queryRef>
      <formula>busy / count</formula></derivedQuery>
    <derivedQuery id="half" unit="percent"><queryRef>count</queryRef>
      <formula>count / 2</formula></derivedQuery>
    <derivedQuery id="mixed" unit="percent"><queryRef>count</queryRef><queryRef>busy</queryRef>
      <queryRef>instances</queryRef><formula>count + busy + instances</formula></derivedQuery>
    <derivedQuery id="three"><queryRef>instances</queryRef><queryRef>mean</queryRef>
      <formula>instances + mean</formula></derivedQuery>
    <derivedQuery id="partly"><queryRef>missing</queryRef><queryRef>count</queryRef>
      <formula>missing + count</formula></derivedQuery>
    <derivedQuery id="nothing"><queryRef>missing</queryRef>
      <formula>missing</formula></derivedQuery>
    </queryLibrary>)";

// Answers what the test says for each input in turn, and notes what it is asked.
class AnsweringProvider : public Probe<lanefeed_1::DbiProviderImpl> {
public:
    using lanefeed_1::BaseProviderImpl::getOverTimeData;

    std::vector<std::vector<OverTimeData>> answers;
    Strings asked;
    bool fails = false;

protected:
    bool getOverTimeData(const QueryParam& param, std::vector<OverTimeData>& data) override {
        const DicerDataSource& ds = *param.dds;
        asked.push_back(ds.m_defaultQuery->getId() + " " + std::to_string(ds.m_dataType) + " " +
                        ds.m_derivedQuery->getId() + " " + std::to_string(ds.m_rowByLevels.size()) +
                        (param.ignoreRequiredFilter ? " ignores " : " ") +
                        std::to_string(param.startTime) + ".." + std::to_string(param.endTime) +
                        "/" + std::to_string(param.binCount));
        data = answers.at(std::min(asked.size(), answers.size()) - 1);
        for (OverTimeData& record : data)
            for (auto& series : record.seriesSet)
                series.ds = ds;
        return !isCanceled() && !fails;
    }
};

class Derived : public ProviderTest {
protected:
    Derived() {
        Strings errors;
        m_queries = lanefeed_runtime::loadQueryLibrary({{"q.xml", kDefinitions}}, {}, errors);
        EXPECT_TRUE(errors.empty()) << errors.front();
        m_db->tables["slice_data"];
        m_answering->setResult(3, m_input, nullptr, "view", 0);
        m_answering->setProgress(m_progress.get());
        m_source.m_rowByLevels = {0, 1};
    }
    // One record per row, each of one series with a value per bucket.
    static std::vector<OverTimeData> rows(const std::vector<std::vector<double>>& values) {
        std::vector<OverTimeData> data(values.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            data[i].row = static_cast<int>(i);
            data[i].seriesSet.emplace_back();
            data[i].seriesSet[0].values = values[i];
        }
        return data;
    }
    // The values of each row of the query, or "no data".
    std::string ask(const std::string& id, int bins = 2) {
        m_source.m_defaultQuery = m_queries->findQuery(id, nullptr);
        m_source.m_derivedQuery = dataface_1::IDerivedQuery::cast(m_source.m_defaultQuery);
        m_source.m_dataType = DicerDataSource::dsDerived;
        return ask(bins);
    }
    std::string ask(int bins) {
        m_answering->asked.clear();
        QueryParam param = request();
        param.binCount = static_cast<basekit2::u32_t>(bins);
        Forest forest;
        if (!m_answering->getOverTimeData(param, IDicerProvider::otDerived, forest))
            return "no data";
        std::string text;
        for (const auto& tree : forest)
            text += tableText(tree);
        return text;
    }

    sptr_t<dataface_1::IQueryLibrary> m_queries;
    const sptr_t<AnsweringProvider> m_answering = basekit2::make_object<AnsweringProvider>();
};

TEST_F(Derived, ReadsEachInputOnceAndGivesATablePerRow) {
    m_answering->answers = {rows({{10, 30}, {7, 0}}), rows({{2, 0}, {7, 0}})};
    EXPECT_EQ(ask("mean"), "timeBin  mean\n0        5\ntimeBin  mean\n0        1\n");
    EXPECT_EQ(m_answering->asked,
              (Strings{"busy 3 mean 2 ignores 0..1000/2", "count 4 mean 2 ignores 0..1000/2"}));
    expectQuietCancels(8, [this] { return ask("mean") != "no data"; });
    EXPECT_EQ(dumpsOf([this] { ask("mean"); }),
              (Strings{"timeline_derived_input.xml", "timeline_derived_output.xml"}));
    // Formulas of members are taken in, and shared inputs are read once.
    m_answering->answers = {rows({{1, 1}}), rows({{10, 30}}), rows({{2, 6}})};
    EXPECT_EQ(ask("three"), "timeBin  three\n0        6\n1        6\n");
    EXPECT_EQ(m_answering->asked.size(), 3U);
    EXPECT_EQ(m_answering->asked[0], "instances 5 three 2 ignores 0..1000/2");
    // Inputs of a percentage are hundredfold unless one is a time.
    m_answering->answers = {rows({{2, 4}})};
    EXPECT_EQ(ask("half"), "timeBin  half\n0        100\n1        200\n");
    EXPECT_EQ(ask("mixed"), "timeBin  mixed\n0        6\n1        12\n");
    m_source.m_resolutionMs = 0.2;  // of 1000 ticks
    m_answering->answers = {rows({{2, 4, 6, 8, 10}})};
    EXPECT_EQ(ask("half", 10).find("timeBin  half\n0        50\n1        50\n2        100\n"), 0U);
    EXPECT_EQ(m_answering->asked.at(0), "count 4 half 2 ignores 0..1000/5");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Derived, LeavesOutInputsThatTheResultDoesNotHold) {
    m_answering->answers = {rows({{2, 0}})};
    EXPECT_EQ(ask("partly"), "timeBin  partly\n0        2\n");
    EXPECT_EQ(m_answering->asked.size(), 1U);
    EXPECT_TRUE(m_log.empty());
    EXPECT_EQ(ask("nothing"), "no data");
    EXPECT_EQ(m_log.count("ret && !dataSources.empty()"), 1);
}

TEST_F(Derived, ReportsInputsWhoseRowsDoNotFit) {
    m_answering->answers = {rows({{10, 30}, {8, 8}}), rows({{2, 0}})};
    // The row without a second input divides by nothing.
    EXPECT_EQ(ask("mean"), "timeBin  mean\n0        5\ntimeBin  mean\n");
    EXPECT_EQ(m_log.count("curDataArray.size() == otDataArray.size()"), 1);
    EXPECT_EQ(m_log.count("otDataArray[r].row == curDataArray[r].row"), 0);
    m_answering->answers[1] = rows({{2, 0}, {4, 4}});
    m_answering->answers[1][1].row = 5;
    EXPECT_EQ(ask("mean"), "timeBin  mean\n0        5\ntimeBin  mean\n0        2\n1        2\n");
    EXPECT_EQ(m_log.count("otDataArray[r].row == curDataArray[r].row"), 1);
}

TEST_F(Derived, FailuresAreReportedOnce) {
    m_answering->answers = {rows({{1, 1}})};
    m_answering->fails = true;
    EXPECT_EQ(ask("mean"), "no data");
    EXPECT_EQ(m_log.count("at file"), 1);
    EXPECT_EQ(m_log.count("ret, at file"), 1);
    m_source.m_derivedQuery.reset();
    EXPECT_EQ(ask(2), "no data");
    EXPECT_EQ(m_log.count("err.succeeded()"), 1);
    QueryParam param = request();
    param.dds = nullptr;
    Forest forest;
    EXPECT_FALSE(m_answering->getOverTimeData(param, IDicerProvider::otDerived, forest));
    EXPECT_EQ(m_log.count("at file"), 2);
}

}  // namespace
}  // namespace lanefeed_test
