#include "provider_fixture.h"

#include <cmath>

namespace lanefeed_test {
namespace {

using lanefeed_1::DicerDataSource;
using lanefeed_1::OverTimeData;
using lanefeed_1::QueryParam;
using storelink1::ITimelineQuery;

class TimelineQuery : public ProviderTest {
protected:
    // Runs a request without rows and gives what the store was asked.
    TimelineCall ask(const QueryParam& param) {
        std::vector<OverTimeData> data;
        EXPECT_TRUE(m_provider->read(param, data));
        return m_db->calls.empty() ? TimelineCall() : m_db->calls.back();
    }
    int objectTypeOf(const QueryParam& param) {
        ITimelineQuery::ObjectType type{};
        return m_provider->getObjectType(param, type) ? type : 0;
    }
};

QueryFacts withAttribute(const std::string& name, const basekit2::variant_t& value) {
    QueryFacts facts;
    facts.attributes[name] = value;
    return facts;
}

TEST_F(TimelineQuery, CarriesSourceGroupingAndFlags) {
    QueryFacts facts;
    facts.grouping = "by_band";
    m_source.m_defaultQuery = timeQuery(facts);
    m_source.m_path = "dd_task";
    m_source.m_attr = "name";
    bind();
    QueryParam param = request();
    param.startTime = 100;
    param.keepZeroValues = true;
    TimelineCall call = ask(param);
    EXPECT_EQ(call.source, "0|slice_data|dd_task.name|by_band");
    EXPECT_EQ(call.start, 1100U);
    EXPECT_EQ(call.end, 2000U);
    EXPECT_EQ(call.bins, 10);
    EXPECT_TRUE(call.fourthFlag);
    EXPECT_EQ(call.objectType, ITimelineQuery::otInterval);
    EXPECT_EQ(call.database, m_db->getTimelineDatabase().get());

    facts.globalGrouping = true;
    m_source.m_defaultQuery = timeQuery(facts);
    EXPECT_EQ(ask(param).source, "0|slice_data|dd_task.name|global_data_grouper");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(TimelineQuery, TakesTheKindFromTheDataButTheFlagFirst) {
    bind();
    const std::map<int, char> kinds{
        {DicerDataSource::dsNone, '0'},  {DicerDataSource::dsInfo, '3'},
        {DicerDataSource::dsData, '0'},  {DicerDataSource::dsTime, '0'},
        {DicerDataSource::dsCount, '1'}, {DicerDataSource::dsInstanceCount, '2'}};
    for (const auto& [dataType, kind] : kinds) {
        SCOPED_TRACE(dataType);
        m_source.m_dataType = dataType;
        EXPECT_EQ(ask(request()).source.front(), kind);
    }
    QueryParam param = request();
    param.countOverTime = true;
    EXPECT_EQ(ask(param).source.front(), '4');
}

TEST_F(TimelineQuery, AddsEachInfoExpansionWithItsOrder) {
    const auto extra = [&](QueryFacts facts, const char* path,
                           const std::vector<std::string>& values) {
        m_source.addExtra(infoQuery(std::move(facts)), path, "slice_data", "name", values, "");
    };
    extra({}, "dd_task", {});
    extra(withAttribute("hideZeroDataOnExpansion", true), "dd_thread", {"main", "!worker"});
    extra(withAttribute("hideZeroDataOnExpansion", "true"), "dd_core", {});
    QueryFacts sorted = withAttribute("sortName", "load");
    sorted.attributes["sortDescending"] = true;
    extra(sorted, "dd_process", {});
    m_source.addExtra(timeQuery(), "", "slice_data", "", "", "");
    bind();
    EXPECT_EQ(
        ask(request()).expansions,
        (std::vector<std::string>{
            "slice_data|dd_task|name||show||up", "slice_data|dd_thread|name|main,!worker,|hide||up",
            "slice_data|dd_core|name||show||up", "slice_data|dd_process|name||show|load|down"}));
}

TEST_F(TimelineQuery, ReportsARefusedExpansionOnlyWhenItNamedNoValues) {
    m_db->answers = {{{}, {}, true}};
    m_source.addExtra(infoQuery({}), "dd_task", "slice_data", "name", "main", "");
    bind();
    std::vector<OverTimeData> data;
    EXPECT_FALSE(m_provider->read(request(), data));
    EXPECT_TRUE(m_log.empty());
    m_source.m_extras.front().values.clear();
    EXPECT_FALSE(m_provider->read(request(), data));
    EXPECT_TRUE(m_log.contains("Failed to add expansion: "));
    EXPECT_TRUE(m_db->calls.empty());
}

TEST_F(TimelineQuery, AllowsToCollapseDataUnlessItsQueryForbids) {
    bind();
    const auto allows = [&] {
        basekit2::sptr_t<ITimelineQuery> query;
        bool isTimeData = false;
        bool allowCollapse = false;
        EXPECT_TRUE(
            m_provider->createOverTimeQuery(request(), {}, query, isTimeData, allowCollapse));
        EXPECT_TRUE(isTimeData);
        return allowCollapse;
    };
    EXPECT_TRUE(allows());
    m_source.m_defaultQuery = timeQuery(withAttribute("allowCollapse", false));
    EXPECT_FALSE(allows());
    m_source.m_defaultQuery = infoQuery({});  // no data query
    EXPECT_FALSE(allows());
}

TEST_F(TimelineQuery, AppliesTheRequiredFilterUnlessToldToIgnoreIt) {
    m_source.m_defaultQuery = timeQuery(withAttribute("timelineRequiredFilter", "busy"));
    bind();
    QueryParam param = request();
    EXPECT_EQ(ask(param).requiredFilter, "busy");
    param.ignoreRequiredFilter = true;
    EXPECT_EQ(ask(param).requiredFilter, "");
}

TEST_F(TimelineQuery, SamplesPointsAtOneEnd) {
    bind();
    QueryParam param = request();
    param.objectType = ITimelineQuery::otPoint;
    const std::map<int, int> expected{{0, 0}, {1, 1}, {2, 2}, {3, 0}};
    for (const auto& [asked, given] : expected) {
        param.samplePoint = asked;
        EXPECT_EQ(ask(param).samplePoint, given);
    }
    param.objectType = ITimelineQuery::otInterval;
    param.samplePoint = 1;
    EXPECT_EQ(ask(param).samplePoint, 0);
}

TEST_F(TimelineQuery, FindsTheObjectTypeFromTheMostSpecificText) {
    QueryParam param = request();
    EXPECT_EQ(objectTypeOf(param), 2);  // of times
    m_source.m_dataType = DicerDataSource::dsInfo;
    EXPECT_EQ(objectTypeOf(param), 2);
    m_source.m_dataType = DicerDataSource::dsCount;
    EXPECT_EQ(objectTypeOf(param), 1);

    m_source.m_defaultQuery = timeQuery(withAttribute("timelineObjectType", "Interval"));
    EXPECT_EQ(objectTypeOf(param), 2);
    std::vector<basekit2::sptr_t<dataface_1::IQuery>> members{m_source.m_defaultQuery};
    m_source.m_vectorQuery = basekit2::make_object<FakeVectorQuery>(
        members, withAttribute("timelineObjectType", "POINT"));
    EXPECT_EQ(objectTypeOf(param), 1);
    // No text in the vector query: the default query is asked.
    m_source.m_vectorQuery =
        basekit2::make_object<FakeVectorQuery>(members, withAttribute("timelineObjectType", 1));
    EXPECT_EQ(objectTypeOf(param), 2);
    m_source.m_derivedQuery =
        basekit2::make_object<FakeDerivedQuery>(withAttribute("timelineObjectType", "Point"));
    EXPECT_EQ(objectTypeOf(param), 1);
    m_source.m_derivedQuery.reset();
    param.objectType = 1;
    EXPECT_EQ(objectTypeOf(param), 1);
    EXPECT_TRUE(m_log.empty());

    param.objectType = 0;
    m_source.m_vectorQuery.reset();
    m_source.m_defaultQuery = timeQuery(withAttribute("timelineObjectType", 7));
    EXPECT_EQ(objectTypeOf(param), 1);  // a count
    EXPECT_TRUE(m_log.contains("can_get<const char*>()"));
    m_source.m_defaultQuery.reset();
    EXPECT_EQ(objectTypeOf(param), 0);
    EXPECT_TRUE(m_log.contains("param.dds->m_defaultQuery"));
}

TEST_F(TimelineQuery, CopiesSparseSeriesIntoDenseOnes) {
    storelink1::OverTimeData src;
    src.key = {4, 5};
    src.series.resize(2);
    src.series[0] = {{1, 2.0}, {-1, 9.0}, {10, 9.0}};
    const std::vector<storelink1::OverTimeDataSeriesMetadata> metadata{
        {"ignored", {"a", "b"}, {1, 2}}, {"x", {"c"}, {3}}};
    OverTimeData dst;
    m_provider->copyOvertimeData(request(), &m_source, 0.5, src, dst, metadata);
    EXPECT_EQ(dst.dbIndexes, src.key);
    EXPECT_EQ(dst.row, -1);
    ASSERT_EQ(dst.seriesSet.size(), 2U);
    EXPECT_EQ(dst.seriesSet[0].name, "a:b");
    EXPECT_EQ(dst.seriesSet[0].idParts, (std::vector<int>{1, 2}));
    EXPECT_EQ(dst.seriesSet[0].ds.m_table, "slice_data");
    ASSERT_EQ(dst.seriesSet[0].values.size(), 10U);
    EXPECT_EQ(dst.seriesSet[0].values[1], 1.0);
    EXPECT_TRUE(std::isnan(dst.seriesSet[0].values[0]));
    EXPECT_TRUE(std::isnan(dst.seriesSet[0].values[9]));
    // Nothing at all is not a row of buckets without data.
    EXPECT_TRUE(dst.seriesSet[1].values.empty());
}

}  // namespace
}  // namespace lanefeed_test
