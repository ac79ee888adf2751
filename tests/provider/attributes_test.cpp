// Series of a counter over rows 30 and 40, which are processes of bands: how bands become rows.

#include "provider_fixture.h"

namespace lanefeed_test {
namespace {

using lanefeed_1::DicerDataSource;
using lanefeed_1::OverTimeData;

class Attributes : public ProviderTest {
protected:
    Attributes() {
        m_source.m_dataType = DicerDataSource::dsInfo;
        bindRows({30, 40});
        QueryFacts facts = factsAt("dd_band::dd_counter.dd_process.name");
        facts.name = "Process";
        m_rowBySource = rowBy(facts).ds;
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
    const auto* name = m_library->created.back().get<basekit2::variant_t>("displayName");
    EXPECT_EQ(name != nullptr ? name->get<std::string>() : "", "Process");
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
    m_db->answers[0].refusesExpansions = false;
    m_db->brokenTables.insert("dd_counter");
    expectFailure("Failed to get band->row mapping. Error: disk on fire, SQL: SELECT");
    m_db->brokenTables.clear();
    m_db->tables["dd_counter"] = tableOf("rowid\n1");
    expectFailure("sl1::InvalidColIdx != attrId");
    m_db->tables["dd_counter"].clear();
    expectFailure("rs && !rs->atEnd()");
    m_db->tables.erase("dd_counter");
    expectFailure("");
    m_rowBySource.m_defaultQuery = timeQuery();
    expectFailure("infoQuery");
    m_provider->m_rowSummaryTable.reset();
    expectFailure("m_rowSummaryTable");
}

}  // namespace
}  // namespace lanefeed_test
