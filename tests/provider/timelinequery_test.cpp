// What the store is asked for a request: source, flags, expansions, type of object; then the
// requests of the provider of a timeline database.

#include "provider_fixture.h"

namespace lanefeed_test {
namespace {

using lanefeed_1::DicerDataSource;
using lanefeed_1::OverTimeData;
using lanefeed_1::QueryParam;
using storelink1::ITimelineQuery;

QueryFacts with(const std::string& name, const basekit2::variant_t& value) {
    QueryFacts facts;
    facts.attributes[name] = value;
    return facts;
}

class TimelineQuery : public ProviderTest {
protected:
    TimelineQuery() { bind(); }
    bool read(const QueryParam& param) {
        std::vector<OverTimeData> data;
        return m_provider->read(param, data);
    }
    TimelineCall ask(const QueryParam& param) {
        EXPECT_TRUE(read(param));
        return m_db->calls.empty() ? TimelineCall() : m_db->calls.back();
    }
};

TEST_F(TimelineQuery, CarriesSourceGroupingAndFlags) {
    QueryFacts facts = with("timelineRequiredFilter", "busy");
    facts.grouping = "by_band";
    m_source.m_defaultQuery = timeQuery(facts);
    m_source.m_path = "dd_task";
    m_source.m_attr = "name";
    QueryParam param = request(100);
    param.keepZeroValues = true;
    EXPECT_EQ(ask(param), (TimelineCall{{"source", "0|slice_data|dd_task.name|by_band"},
                                        {"span", "100..1000/10"},
                                        {"fourthFlag", "set"},
                                        {"objectType", "2"},
                                        {"filter", "busy"}}));
    facts.globalGrouping = true;
    m_source.m_defaultQuery = timeQuery(facts);
    param.ignoreRequiredFilter = true;
    param.samplePoint = 1;
    EXPECT_EQ(ask(param)["source"], "0|slice_data|dd_task.name|global_data_grouper");
    EXPECT_EQ(m_db->calls.back().count("filter"), 0U);
    EXPECT_EQ(m_db->calls.back().count("samplePoint"), 0U) << "of an interval";
    param.objectType = ITimelineQuery::otPoint;
    std::string points;
    for (param.samplePoint = 0; param.samplePoint < 4; ++param.samplePoint)
        points += ask(param)["samplePoint"];
    EXPECT_EQ(points, "12");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(TimelineQuery, TakesKindAndObjectTypeFromTheDataButTheFlagFirst) {
    std::string kinds;
    for (const auto type :
         {DicerDataSource::dsNone, DicerDataSource::dsInfo, DicerDataSource::dsData,
          DicerDataSource::dsTime, DicerDataSource::dsCount, DicerDataSource::dsInstanceCount}) {
        m_source.m_dataType = type;
        TimelineCall call = ask(request());
        kinds += call["source"].substr(0, 1) + call["objectType"] + " ";
    }
    EXPECT_EQ(kinds, "02 32 02 02 11 21 ");
    QueryParam param = request();
    param.countOverTime = true;
    EXPECT_EQ(ask(param)["source"].front(), '4');
}

TEST_F(TimelineQuery, ExpandsByEachAttributeInItsOrder) {
    const auto extra = [&](QueryFacts facts, const char* path, const Strings& values) {
        m_source.addExtra(infoQuery(std::move(facts)), path, "slice_data", "name", values, "");
    };
    extra({}, "dd_task", {});
    extra(with("hideZeroDataOnExpansion", true), "dd_thread", {"main", "!worker"});
    extra(with("hideZeroDataOnExpansion", "true"), "dd_core", {});
    QueryFacts sorted = with("sortName", "load");
    sorted.attributes["sortDescending"] = true;
    extra(sorted, "dd_process", {});
    m_source.addExtra(timeQuery(), "", "slice_data", "", "", "");
    EXPECT_EQ(ask(request())["expansion"],
              "slice_data|dd_task|name||show||up slice_data|dd_thread|name|main,!worker,|hide||up "
              "slice_data|dd_core|name||show||up slice_data|dd_process|name||show|load|down ");

    // A refusal is told only where no values were named.
    m_db->calls.clear();
    m_db->answers = {{{}, {}, true}};
    m_source.m_extras.erase(m_source.m_extras.begin());
    EXPECT_FALSE(read(request()));
    EXPECT_TRUE(m_log.empty());
    m_source.m_extras.front().values.clear();
    expectFailure("Failed to add expansion: ", [this] { return read(request()); });
    EXPECT_TRUE(m_db->calls.empty());
}

TEST_F(TimelineQuery, FindsTheObjectTypeFromTheMostSpecificText) {
    QueryParam param = request();
    const auto type = [&] {
        ITimelineQuery::ObjectType found{};
        return m_provider->getObjectType(param, found) ? found : 0;
    };
    // Of the query, of the vector that it is in, of what is derived from it, of the request.
    const char* const key = "timelineObjectType";
    m_source.m_defaultQuery = timeQuery(with(key, "Interval"));
    EXPECT_EQ(type(), 2);
    m_source.m_vectorQuery = vectorOf({m_source.m_defaultQuery}, {{key, "POINT"}});
    EXPECT_EQ(type(), 1);
    m_source.m_derivedQuery = basekit2::make_object<FakeDerivedQuery>(with(key, "Point"));
    EXPECT_EQ(type(), 1);
    m_source.m_derivedQuery.reset();
    param.objectType = 1;
    EXPECT_EQ(type(), 1);
    EXPECT_TRUE(m_log.empty());

    param.objectType = 0;
    m_source.m_vectorQuery.reset();
    m_source.m_defaultQuery = timeQuery(with(key, 7));
    EXPECT_EQ(type(), 2);
    EXPECT_TRUE(m_log.contains("can_get<const char*>()"));
}

// The provider of a timeline database: one forest out of those of several queries.
class TimelineProvider : public ProviderTest {
protected:
    TimelineProvider() {
        m_timeline->setResult(0, m_input, nullptr, "view", 0);
        m_source.m_dataType = lanefeed_1::DicerDataSource::dsCount;
        m_db->answers = {answerOf({"first"}, {{{}, {3}}}), answerOf({"second"}, {{{}, {4}}})};
    }
    // Columns of the first table for a layer of these queries, -1 for no table.
    int columns(const QueryList& queries) {
        m_db->calls.clear();
        m_source.m_vectorQuery = vectorOf(queries);
        Forest forest;
        EXPECT_TRUE(
            m_timeline->getOverTimeData(request(), lanefeed_1::IDicerProvider::otTime, forest));
        EXPECT_EQ(forest.size(), 1U);
        if (forest.at(0).is_null()) return -1;
        return basekit2::iterator_util::get_item_count(forest[0]->getColumns(nullptr));
    }

    const basekit2::sptr_t<lanefeed_1::TimelineDbProviderImpl> m_timeline =
        basekit2::make_object<lanefeed_1::TimelineDbProviderImpl>();
};

TEST_F(TimelineProvider, AsksForEachQueryInPlaceOfThoseOfTheSource) {
    QueryFacts stale;
    stale.id = stale.name = "stale";
    stale.attributes["timelineObjectType"] = "interval";
    m_source.m_defaultQuery = timeQuery(stale);
    m_source.m_derivedQuery = basekit2::make_object<FakeDerivedQuery>(stale);
    const Query one = timeQuery();
    EXPECT_EQ(columns({one}), 2);
    EXPECT_EQ(m_db->calls.size(), 1U);
    EXPECT_EQ(columns({one, basekit2::make_object<FakeDerivedQuery>(stale)}), 3);
    ASSERT_EQ(m_db->calls.size(), 2U);
    EXPECT_EQ(m_db->calls[0]["objectType"], "1");
    EXPECT_EQ(m_db->calls[1]["objectType"], "2");
    EXPECT_TRUE(m_log.empty());
    m_input->withdraw<dataface_1::IFilterRegistry>();
    EXPECT_EQ(columns({one, one}), -1);
    EXPECT_TRUE(m_log.contains("filterRegistry"));
}

}  // namespace
}  // namespace lanefeed_test
