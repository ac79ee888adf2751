// Derived series: what is read for them, how the inputs meet, and what comes out as tables.
#include "provider_fixture.h"
#include "queries/query_library.h"
#include "support/table_text.h"

namespace lanefeed_test {
namespace {

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

// Over rows 1 and 2.
class Derived : public ProviderTest {
protected:
    Derived() {
        Strings errors;
        m_queries = lanefeed_runtime::loadQueryLibrary({{"q.xml", kDefinitions}}, {}, errors);
        EXPECT_TRUE(errors.empty()) << errors.front();
        m_db->tables["slice_data"];
        bindRows({1, 2});
        m_source.m_dataType = lanefeed_1::DicerDataSource::dsDerived;
    }
    // The store answers each input in turn by the values of both rows.
    void answer(const std::vector<std::pair<double, double>>& inputs) {
        m_db->answers.clear();
        for (const auto& [first, second] : inputs)
            m_db->answers.push_back(answerOf({"in"}, {{{1}, {first}}, {{2}, {second}}}));
    }
    // The first value of each row of the query, or "no data".
    std::string ask(const std::string& id) {
        m_source.m_defaultQuery = m_queries->findQuery(id, nullptr);
        m_source.m_derivedQuery = dataface_1::IDerivedQuery::cast(m_source.m_defaultQuery);
        m_db->calls.clear();
        lanefeed_1::QueryParam param = request();
        param.rowByDS = &m_rowBySource;
        lanefeed_1::IDicerProvider& provider = *m_provider;
        Forest forest;
        if (!provider.getOverTimeData(param, lanefeed_1::IDicerProvider::otDerived, forest))
            return "no data";
        std::string text;
        for (const auto& tree : forest)
            text += cellsText(tree) + "|";
        return text;
    }
    // Sources of the inputs that were read.
    std::string asked() const {
        std::string text;
        for (TimelineCall call : m_db->calls)
            text += call["source"] + call["filter"] + " ";
        return text;
    }

    basekit2::sptr_t<dataface_1::IQueryLibrary> m_queries;
};

TEST_F(Derived, ReadsEachInputOnceAndGivesATablePerRow) {
    answer({{10, 7}, {2, 7}});
    EXPECT_EQ(ask("mean"), "0 5\n|0 1\n|");
    EXPECT_EQ(asked(), "0|slice_data|| 1|slice_data|| ") << "whatever filter an input waits for";
    expectQuietCancels(8, [this] { return ask("mean") != "no data"; });
    EXPECT_EQ(dumpsOf([this] { ask("mean"); }),
              (Strings{"timeline_derived_input.xml", "timeline_derived_output.xml"}));
    // Formulas of members are taken in, and shared inputs are read once.
    answer({{1, 1}, {10, 30}, {2, 6}});
    EXPECT_EQ(ask("three"), "0 6\n|0 6\n|");
    EXPECT_EQ(asked(), "2|slice_data|| 0|slice_data|| 1|slice_data|| ");
    // Inputs of a percentage are hundredfold unless one is a time.
    answer({{2, 4}});
    EXPECT_EQ(ask("half"), "0 100\n|0 200\n|");
    EXPECT_EQ(ask("mixed"), "0 6\n|0 12\n|");
    m_source.m_resolutionMs = 0.2;  // of 1000 ticks
    EXPECT_NE(ask("half"), "no data");
    EXPECT_EQ(m_db->calls.at(0)["span"], "0..1000/5");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(Derived, LeavesOutInputsThatTheResultDoesNotHold) {
    answer({{2, 0}});
    EXPECT_EQ(ask("partly"), "0 2\n||");
    EXPECT_EQ(asked(), "1|slice_data|| ");
    EXPECT_TRUE(m_log.empty());
    EXPECT_EQ(ask("nothing"), "no data");
    EXPECT_EQ(m_log.count("ret && !dataSources.empty()"), 1);
}

}  // namespace
}  // namespace lanefeed_test
