// Filters by name: one registry behind two views.
#include "store/filter_registry.h"

#include "store/filter_parts.h"
#include "support/captured_log.h"
#include "support/fake_filters.h"
#include "support/fake_queries.h"

#include <gtest/gtest.h>

#include <functional>

namespace lanefeed_runtime {
namespace {

using basekit2::make_object;
using basekit2::sptr_t;

class FilterRegistryTest : public testing::Test {
protected:
    sptr_t<FilterRegistry> m_registry = make_object<FilterRegistry>();
    sptr_t<dataface_1::IFilterRegistry> m_client = m_registry;
    sptr_t<storelink1::IFilterRegistry> m_store = m_registry;
    sptr_t<dataface_1::ITimeFilter> m_time = m_client->createTimeFilterBuilder()->build();
};

TEST_F(FilterRegistryTest, KeepsBothPartsOfANameApart) {
    m_client->setQueryFilter("a", m_client->createQueryFilterBuilder()->build());
    EXPECT_TRUE(m_store->hasFilter("a"));
    EXPECT_TRUE(m_client->hasFilter("a"));
    EXPECT_FALSE(m_store->hasFilter("b"));
    m_client->setTimeFilter("a", m_time);
    m_client->setQueryFilter("a", nullptr);
    EXPECT_TRUE(m_store->hasFilter("a"));
    m_client->setTimeFilter("a", nullptr);
    EXPECT_FALSE(m_store->hasFilter("a"));
    m_client->setTimeFilter("a", m_time);
    m_client->clearFilter("a");
    EXPECT_FALSE(m_store->hasFilter("a"));
    m_client->setTimeFilter("a", m_time);
    m_client->removeFilter("a");
    EXPECT_FALSE(m_store->hasFilter("a"));
    EXPECT_EQ(basekit2::interface_cast<dataface_1::IFilterRegistry>(m_client.get()), m_client);
    EXPECT_EQ(basekit2::interface_cast<storelink1::IFilterRegistry>(m_client.get()), m_store);
}

TEST_F(FilterRegistryTest, CountsChangesOfAName) {
    m_client->clearFilter("global");
    m_client->removeFilter("global");
    EXPECT_EQ(m_registry->changesOf("global"), 0U);
    m_client->setTimeFilter("global", m_time);
    const unsigned once = m_registry->changesOf("global");
    m_client->setTimeFilter("other", m_time);
    EXPECT_EQ(m_registry->changesOf("global"), once);
    m_client->clearFilter("global");
    EXPECT_NE(m_registry->changesOf("global"), once);
}

TEST_F(FilterRegistryTest, AppliesToNoTableWithoutAResult) {
    sptr_t<storelink1::IFilterEvaluator> evaluator;
    const basekit2::generic_iterator_t<std::string> none;
    EXPECT_FALSE(m_store->createEvaluator(evaluator, "a", none, "slice_data").succeeded());
    m_client->setTimeFilter("a", m_time);
    EXPECT_FALSE(m_store->isFilterApplicable("a", "slice_data"));
    EXPECT_EQ(m_store->createEvaluator(evaluator, "a", none, "slice_data").value(),
              basekit2::error_code_t::noResult);
    EXPECT_TRUE(evaluator.is_null());
}

TEST_F(FilterRegistryTest, RefusesWhatItDoesNotKnow) {
    const lanefeed_test::CapturedLog log;
    m_client->setQueryFilter("a", make_object<lanefeed_test::FakeQueryFilter>("of another"));
    EXPECT_FALSE(m_store->hasFilter("a"));
    EXPECT_TRUE(log.contains("filter \"a\": made by another registry, so it is not taken"));
    using Builder = dataface_1::IQueryFilterBuilder;
    const lanefeed_test::Query name = lanefeed_test::namedQuery("a");
    const auto builds = [&](const std::function<void(Builder&)>& say) {
        const auto builder = m_client->createQueryFilterBuilder();
        say(*builder);
        return !builder->build().is_null();
    };
    const auto list = dataface_1::IVectorQuery::pushBack(nullptr, name);
    EXPECT_TRUE(builds([&](Builder& made) { made.addCondition(name, false, 1); }));
    EXPECT_TRUE(builds([&](Builder& made) { made.addCondition(list, false, 1); }));
    for (const auto& wrong : std::vector<std::function<void(Builder&)>>{
             [](Builder& made) { made.addCondition(nullptr, false, 1); },
             [](Builder& made) { made.addFilter(nullptr); },
             [](Builder& made) { made.beginGroup(Builder::groupNegated + 1); },
             [](Builder& made) { made.beginGroup(-1); }})
        EXPECT_FALSE(builds(wrong));
}

TEST_F(FilterRegistryTest, BuildsGroupsAsTheyWereNested) {
    const auto builder = m_client->createQueryFilterBuilder();
    builder->setMode(dataface_1::IQueryFilterBuilder::modeValueList);
    builder->beginGroup(dataface_1::IQueryFilterBuilder::groupIncluded);
    builder->beginGroup(dataface_1::IQueryFilterBuilder::groupExcluded);
    builder->addFilter(m_client->createQueryFilterBuilder()->build());
    builder->endGroup();
    builder->endGroup();
    builder->endGroup();                                                 // one too many
    builder->beginGroup(dataface_1::IQueryFilterBuilder::groupNegated);  // never ended
    const auto filter = builder->build();
    QueryFilter::Group inner;
    inner.kind = dataface_1::IQueryFilterBuilder::groupExcluded;
    inner.filters = {make_object<QueryFilter>(QueryFilter::Group())};
    QueryFilter::Group root;
    root.groups.resize(2);
    root.groups[0].groups = {inner};
    root.groups[1].kind = dataface_1::IQueryFilterBuilder::groupNegated;
    EXPECT_TRUE(dynamic_cast<QueryFilter&>(*filter).root() == root);
}

}  // namespace
}  // namespace lanefeed_runtime
