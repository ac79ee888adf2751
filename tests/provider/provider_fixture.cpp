#include "provider_fixture.h"

#include "store/filter_registry.h"
#include "support/temp_directory.h"

#include <cmath>
#include <filesystem>

namespace lanefeed_test {

using lanefeed_1::DicerDataSource;
using lanefeed_1::TLViewpointParser;

ProviderTest::ProviderTest()
    : m_db(basekit2::make_object<FakeDatabase>()),
      m_input(basekit2::make_object<FakeInput>()),
      m_library(basekit2::make_object<FakeLibrary>()),
      m_registry(basekit2::make_object<FakeRegistry>()),
      m_progress(basekit2::make_object<CancelAtPoll>()),
      m_provider(basekit2::make_object<DbiProbe>()) {
    m_db->tables["dd_thread"];
    m_db->filters = basekit2::make_object<lanefeed_runtime::FilterRegistry>();
    m_input->offer<storelink1::IPerfDatabase>(basekit2::make_object<FakePerfDatabase>(m_db));
    m_input->offer<dataface_1::IQueryLibrary>(m_library);
    m_input->offer<dataface_1::IFilterRegistry>(m_registry);
    m_source.set("", "slice_data", "", "");
    m_source.m_dataType = DicerDataSource::dsTime;
    m_source.m_defaultQuery = timeQuery();
}

void ProviderTest::bind(TLViewpointParser::RowSet* rowSet) {
    m_provider->setResult(3, m_input, rowSet, "view", 0);
    m_provider->setProgress(m_progress.get());
}

void ProviderTest::bindRows(const std::vector<int>& ids) {
    std::string threads = "rowid dd_thread.name";
    for (const int id : ids)
        threads += "\n" + std::to_string(id) + " thread" + std::to_string(id);
    m_db->tables["dd_thread"] = tableOf(threads);
    TLViewpointParser::RowSet rowSet;
    rowSet.rowBys.push_back(rowBy(factsAt("slice_data::dd_thread.name")));
    m_rowBySource = rowSet.rowBys.front().ds;
    bind(&rowSet);
    basekit2::sptr_t<dataface_1::ITableTree> table;
    ASSERT_TRUE(m_provider->getRowSummary(table, -1, false, true));
}

lanefeed_1::QueryParam ProviderTest::request(basekit2::u64_t start,
                                             basekit2::u64_t end,
                                             basekit2::u32_t bins) const {
    lanefeed_1::QueryParam param;
    param.dds = &m_source;
    param.startTime = start;
    param.endTime = end;
    param.binCount = bins;
    return param;
}

basekit2::sptr_t<dataface_1::IQuery> ProviderTest::timeQuery(QueryFacts facts) {
    return basekit2::make_object<FakeDataQuery<dataface_1::ITimeQuery>>(std::move(facts));
}

TLViewpointParser::RowBy ProviderTest::rowBy(const QueryFacts& facts, bool joins) {
    TLViewpointParser::RowBy rowBy;
    rowBy.valid = true;
    rowBy.continuesGroup = joins;
    rowBy.ds.set(facts.path, facts.table, facts.attr, "");
    rowBy.ds.m_defaultQuery = infoQuery(facts);
    return rowBy;
}

TimelineAnswer ProviderTest::answerOf(
    const Strings& names,
    const std::vector<std::pair<std::vector<int>, std::vector<double>>>& records) {
    TimelineAnswer answer;
    for (const std::string& name : names)
        answer.metadata.push_back({name, {name}, {1}});
    for (const auto& [key, values] : records) {
        storelink1::OverTimeData& record = answer.data.emplace_back();
        record.key = key;
        for (const double value : values)
            record.series.push_back({{0, value}});
    }
    return answer;
}

std::string ProviderTest::dataText(const std::vector<lanefeed_1::OverTimeData>& data) {
    std::string text;
    for (const auto& record : data) {
        text += (text.empty() ? "" : " ") + std::to_string(record.row) + ":[";
        for (const auto& series : record.seriesSet) {
            text += (text.back() == '[' ? "" : " ") + series.name + " ";
            text += series.values.empty() ? "-" : std::to_string(std::lround(series.values[0]));
        }
        text += "]";
    }
    return text;
}

void ProviderTest::expectFailure(const std::string& text, const std::function<bool()>& call) {
    m_log.clear();
    EXPECT_FALSE(call()) << text;
    EXPECT_TRUE(m_log.contains(text)) << text;
}

void ProviderTest::expectQuietCancels(int polls, const std::function<bool()>& call) {
    m_log.clear();
    m_progress->cancelsAt = m_progress->asked = 0;
    EXPECT_TRUE(call());
    const int last = m_progress->asked;
    EXPECT_GE(last, polls);
    for (int poll = 1; poll <= last; ++poll) {
        m_progress->cancelsAt = poll;
        m_progress->asked = 0;
        EXPECT_FALSE(call()) << "cancelled at " << poll << " of " << last;
        EXPECT_TRUE(m_log.empty()) << m_log.lines().front();
    }
    m_progress->cancelsAt = 0;
}

Strings ProviderTest::dumpsOf(const std::function<void()>& call) {
    const TempDirectory folder;
    const auto back = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    {
        const EnvironmentGuard asks("LANEFEED_SAVE_DATA", "1");
        call();
    }
    std::filesystem::current_path(back);
    return folder.names();
}

}  // namespace lanefeed_test
