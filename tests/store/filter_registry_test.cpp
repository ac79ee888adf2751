// Filters by name: one registry behind two views.
#include "store/filter_registry.h"

#include "store/filter_parts.h"

#include <gtest/gtest.h>

namespace lanefeed_runtime {
namespace {

class FilterRegistryTest : public testing::Test {
protected:
    basekit2::sptr_t<FilterRegistry> m_registry = basekit2::make_object<FilterRegistry>();
    basekit2::sptr_t<dataface_1::IFilterRegistry> m_client = m_registry;
    basekit2::sptr_t<storelink1::IFilterRegistry> m_store = m_registry;
};

TEST_F(FilterRegistryTest, KeepsBothPartsOfANameApart) {
    const auto query = m_client->createQueryFilterBuilder()->build();
    const auto time = m_client->createTimeFilterBuilder()->build();
    EXPECT_FALSE(m_store->hasFilter("a"));
    m_client->setQueryFilter("a", query);
    EXPECT_TRUE(m_store->hasFilter("a"));
    EXPECT_TRUE(m_client->hasFilter("a"));
    EXPECT_FALSE(m_store->hasFilter("b"));
    m_client->setTimeFilter("a", time);
    m_client->setQueryFilter("a", nullptr);
    EXPECT_TRUE(m_store->hasFilter("a"));
    m_client->setTimeFilter("a", nullptr);
    EXPECT_FALSE(m_store->hasFilter("a"));
    m_client->setTimeFilter("a", time);
    m_client->clearFilter("a");
    EXPECT_FALSE(m_store->hasFilter("a"));
    m_client->setTimeFilter("a", time);
    m_client->removeFilter("a");
    EXPECT_FALSE(m_store->hasFilter("a"));
    m_client->clearFilter("never set");
    m_client->removeFilter("never set");
}

TEST_F(FilterRegistryTest, CountsChangesOfAName) {
    EXPECT_EQ(m_registry->changesOf("global"), 0U);
    m_client->clearFilter("global");
    m_client->removeFilter("global");
    EXPECT_EQ(m_registry->changesOf("global"), 0U);
    m_client->setTimeFilter("global", m_client->createTimeFilterBuilder()->build());
    const unsigned once = m_registry->changesOf("global");
    m_client->setTimeFilter("other", m_client->createTimeFilterBuilder()->build());
    EXPECT_EQ(m_registry->changesOf("global"), once);
    m_client->clearFilter("global");
    EXPECT_NE(m_registry->changesOf("global"), once);
}

TEST_F(FilterRegistryTest, AppliesToNoTableAndSaysSo) {
    basekit2::sptr_t<storelink1::IFilterEvaluator> evaluator;
    const basekit2::generic_iterator_t<std::string> none;
    EXPECT_FALSE(m_store->createEvaluator(evaluator, "a", none, "slice_data").succeeded());
    m_client->setTimeFilter("a", m_client->createTimeFilterBuilder()->build());
    EXPECT_FALSE(m_store->isFilterApplicable("a", "slice_data"));
    EXPECT_EQ(m_store->createEvaluator(evaluator, "a", none, "slice_data").value(),
              basekit2::error_code_t::noResult);
    EXPECT_TRUE(evaluator.is_null());
}

TEST_F(FilterRegistryTest, AnswersBothLookups) {
    EXPECT_EQ(basekit2::interface_cast<dataface_1::IFilterRegistry>(m_client.get()), m_client);
    EXPECT_EQ(basekit2::interface_cast<storelink1::IFilterRegistry>(m_client.get()), m_store);
}

TEST_F(FilterRegistryTest, BuildsGroupsAsTheyWereNested) {
    const auto builder = m_client->createQueryFilterBuilder();
    const auto inner = m_client->createQueryFilterBuilder()->build();
    builder->setMode(dataface_1::IQueryFilterBuilder::modeValueList);
    builder->beginGroup(dataface_1::IQueryFilterBuilder::groupIncluded);
    builder->beginGroup(dataface_1::IQueryFilterBuilder::groupExcluded);
    builder->addFilter(inner);
    builder->endGroup();
    builder->endGroup();
    builder->endGroup();                                                 // one too many
    builder->beginGroup(dataface_1::IQueryFilterBuilder::groupNegated);  // never ended
    const auto filter = builder->build();
    const auto* made = dynamic_cast<QueryFilter*>(filter.get());
    ASSERT_NE(made, nullptr);
    ASSERT_EQ(made->root().groups.size(), 2U);
    EXPECT_EQ(made->root().groups[1].kind, dataface_1::IQueryFilterBuilder::groupNegated);
    const QueryFilter::Group& outer = made->root().groups[0];
    ASSERT_EQ(outer.groups.size(), 1U);
    EXPECT_EQ(outer.groups[0].kind, dataface_1::IQueryFilterBuilder::groupExcluded);
    EXPECT_EQ(outer.groups[0].filters.size(), 1U);
    EXPECT_TRUE(outer.groups[0].conditions.empty());
}

TEST_F(FilterRegistryTest, BuildsRangesInTheirOrder) {
    const auto builder = m_client->createTimeFilterBuilder();
    builder->addRange(5, 9, false);
    builder->addRange(1, 2, true);
    const auto filter = builder->build();
    const auto* made = dynamic_cast<TimeFilter*>(filter.get());
    ASSERT_NE(made, nullptr);
    ASSERT_EQ(made->ranges().size(), 2U);
    EXPECT_EQ(made->ranges()[0].ticks.end, 9U);
    EXPECT_TRUE(made->ranges()[1].excluded);
}

}  // namespace
}  // namespace lanefeed_runtime
