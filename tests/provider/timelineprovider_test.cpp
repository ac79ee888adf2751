// The provider of a timeline database: one forest out of those of several queries.

#include "provider_fixture.h"

#include <facekit_1_x/table_building.h>

namespace lanefeed_test {
namespace {

using lanefeed_1::IDicerProvider;

class TimelineProbe : public Probe<lanefeed_1::TimelineDbProviderImpl> {
public:
    using TimelineDbProviderImpl::mergeForest;
};

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
        EXPECT_TRUE(m_timeline->getOverTimeData(request(), IDicerProvider::otTime, forest));
        EXPECT_EQ(forest.size(), 1U);
        if (forest.at(0).is_null()) return -1;
        return basekit2::iterator_util::get_item_count(forest[0]->getColumns(nullptr));
    }

    const basekit2::sptr_t<TimelineProbe> m_timeline = basekit2::make_object<TimelineProbe>();
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

TEST_F(TimelineProvider, KeepsWhatOnlyOneOfTwoForestsHas) {
    const Forest trees{facekit_1_x::createTableTree(), facekit_1_x::createTableTree(),
                       facekit_1_x::createTableTree()};
    const Forest merged{trees[1], trees[0], nullptr, trees[2]};
    Forest target{nullptr, trees[0], nullptr};
    m_timeline->mergeForest(target, {trees[1], nullptr, nullptr, trees[2]});
    EXPECT_EQ(target, merged);
    m_timeline->mergeForest(target, {});
    m_timeline->mergeForest(target, {nullptr});
    EXPECT_EQ(target, merged);
    EXPECT_TRUE(m_log.empty());
}

}  // namespace
}  // namespace lanefeed_test
