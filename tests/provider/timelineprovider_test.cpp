#include "provider_fixture.h"

#include <facekit_1_x/table_building.h>

namespace lanefeed_test {
namespace {

using lanefeed_1::DicerDataSource;
using lanefeed_1::IDicerProvider;

class TimelineProbe : public Probe<lanefeed_1::TimelineDbProviderImpl> {
public:
    using TimelineDbProviderImpl::mergeForest;
};

class TimelineProvider : public ProviderTest {
protected:
    TimelineProvider() : m_timeline(basekit2::make_object<TimelineProbe>()) {
        m_timeline->setResult(0, m_input, nullptr, "view", 0);
        m_source.m_dataType = DicerDataSource::dsCount;
        m_db->answers = {{{record({}, {3})}, series({"first"}), false},
                         {{record({}, {4})}, series({"second"}), false}};
    }
    void putQueries(std::vector<basekit2::sptr_t<dataface_1::IQuery>> queries) {
        m_source.m_vectorQuery =
            basekit2::make_object<FakeVectorQuery>(std::move(queries), QueryFacts());
    }
    static QueryFacts named(const std::string& name) {
        QueryFacts facts;
        facts.id = facts.name = name;
        return facts;
    }
    int columnCount() const {
        return basekit2::iterator_util::get_item_count(m_forest.at(0)->getColumns(nullptr));
    }

    basekit2::sptr_t<TimelineProbe> m_timeline;
    std::vector<basekit2::sptr_t<dataface_1::ITableTree>> m_forest;
};

TEST_F(TimelineProvider, MergesTheForestsOfSeveralQueries) {
    putQueries({timeQuery(named("one"))});
    ASSERT_TRUE(m_timeline->getOverTimeData(request(), IDicerProvider::otTime, m_forest));
    EXPECT_EQ(m_db->calls.size(), 1U);
    EXPECT_EQ(columnCount(), 2);

    m_forest.clear();
    m_db->calls.clear();
    putQueries({timeQuery(named("one")), timeQuery(named("two"))});
    ASSERT_TRUE(m_timeline->getOverTimeData(request(), IDicerProvider::otTime, m_forest));
    EXPECT_EQ(m_db->calls.size(), 2U);
    ASSERT_EQ(m_forest.size(), 1U);
    EXPECT_EQ(columnCount(), 3);
    EXPECT_TRUE(m_log.empty());

    m_forest.clear();
    m_input->offered.erase(basekit2::type_id_t<dataface_1::IFilterRegistry>::id());
    ASSERT_TRUE(m_timeline->getOverTimeData(request(), IDicerProvider::otTime, m_forest));
    EXPECT_TRUE(m_forest.at(0).is_null());
    EXPECT_TRUE(m_log.contains("filterRegistry"));
}

TEST_F(TimelineProvider, PutsEachQueryInPlaceOfThoseOfTheSource) {
    QueryFacts stale = named("stale");
    stale.attributes["timelineObjectType"] = "interval";
    m_source.m_defaultQuery = timeQuery(stale);
    m_source.m_derivedQuery = basekit2::make_object<FakeDerivedQuery>(stale);
    putQueries({timeQuery(named("one")), basekit2::make_object<FakeDerivedQuery>(stale)});
    ASSERT_TRUE(m_timeline->getOverTimeData(request(), IDicerProvider::otTime, m_forest));
    ASSERT_EQ(m_db->calls.size(), 2U);
    EXPECT_EQ(m_db->calls[0].objectType, storelink1::ITimelineQuery::otPoint);
    EXPECT_EQ(m_db->calls[1].objectType, storelink1::ITimelineQuery::otInterval);
}

TEST_F(TimelineProvider, KeepsWhatOnlyOneOfTwoForestsHas) {
    using Forest = std::vector<basekit2::sptr_t<dataface_1::ITableTree>>;
    const Forest trees{facekit_1_x::createTableTree(), facekit_1_x::createTableTree(),
                       facekit_1_x::createTableTree()};
    Forest target{nullptr, trees[0], nullptr};
    m_timeline->mergeForest(target, {trees[1], nullptr, nullptr, trees[2]});
    EXPECT_EQ(target, (Forest{trees[1], trees[0], nullptr, trees[2]}));
    m_timeline->mergeForest(target, {});
    EXPECT_EQ(target.size(), 4U);
    m_timeline->mergeForest(target, {nullptr});
    EXPECT_EQ(target, (Forest{trees[1], trees[0], nullptr, trees[2]}));
    EXPECT_TRUE(m_log.empty());
}

}  // namespace
}  // namespace lanefeed_test
