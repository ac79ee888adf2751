#include "provider_fixture.h"

namespace lanefeed_test {

using lanefeed_1::DicerDataSource;
using lanefeed_1::TLViewpointParser;

ProviderTest::ProviderTest()
    : m_db(basekit2::make_object<FakeDatabase>()),
      m_input(basekit2::make_object<FakeInput>()),
      m_library(basekit2::make_object<FakeLibrary>()),
      m_registry(basekit2::make_object<FakeRegistry>()),
      m_progress(basekit2::make_object<FakeProgress>()),
      m_provider(basekit2::make_object<DbiProbe>()) {
    m_db->tables["dd_thread"];
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
    FakeTable threads;
    for (int id : ids)
        threads.push_back({{"rowid", id}, {"dd_thread.name", "thread " + std::to_string(id)}});
    m_db->tables["dd_thread"] = threads;
    QueryFacts facts;
    facts.table = "slice_data";
    facts.path = "dd_thread";
    facts.attr = "name";
    TLViewpointParser::RowSet rowSet;
    rowSet.rowBys.push_back(rowBy(facts));
    m_rowBySource = rowSet.rowBys.front().ds;
    bind(&rowSet);
    basekit2::sptr_t<dataface_1::ITableTree> table;
    ASSERT_TRUE(m_provider->getRowSummary(table, -1, false, true));
}

lanefeed_1::QueryParam ProviderTest::request() {
    lanefeed_1::QueryParam param;
    param.dds = &m_source;
    param.endTime = 1000;
    param.binCount = 10;
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

storelink1::OverTimeData ProviderTest::record(const std::vector<int>& key,
                                              const std::vector<double>& values) {
    storelink1::OverTimeData record;
    record.key = key;
    for (double value : values) {
        record.series.emplace_back();
        record.series.back()[0] = value;
    }
    return record;
}

std::vector<storelink1::OverTimeDataSeriesMetadata> ProviderTest::series(
    const std::vector<std::string>& names) {
    std::vector<storelink1::OverTimeDataSeriesMetadata> metadata;
    for (const std::string& name : names)
        metadata.push_back({name, {name}, {1}});
    return metadata;
}

}  // namespace lanefeed_test
