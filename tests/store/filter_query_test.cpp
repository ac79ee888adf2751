// Filters at the ends of what they may be: many values, many levels, odd texts.
#include "store/filter_registry.h"
#include "support/fake_queries.h"
#include "support/store_text.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace lanefeed_runtime {
namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IQueryFilterBuilder;
using lanefeed_test::TextResult;

sptr_t<dataface_1::IQuery> attribute(const std::string& table,
                                     const std::string& path,
                                     const std::string& suffix = "") {
    lanefeed_test::QueryFacts facts;
    facts.table = table;
    facts.path = path;
    facts.attr = suffix;
    return basekit2::make_object<lanefeed_test::FakeInfoQuery>(facts);
}

class FilterQueryTest : public testing::Test {
protected:
    void set(const sptr_t<IQueryFilterBuilder>& builder) {
        const auto filter = builder->build();
        ASSERT_FALSE(filter.is_null());
        m_filters->setQueryFilter("f", filter);
    }

    // Rows that a query with the filter reads; -1 on failure.
    int rows(const std::string& table) {
        const auto query = m_result.database().createQuery(table, 0);
        query->addFilter("f");
        std::string error;
        std::string sql;
        const auto set = query->execute(nullptr, error, sql);
        EXPECT_FALSE(set.is_null()) << error;
        int count = set.is_null() ? -1 : 0;
        for (; count >= 0 && !set->atEnd(); set->next())
            ++count;
        return count;
    }

    TextResult m_result{
        "thread main 0..9 a 10..19 b\nthread worker 5..7 a\n"
        "marker main 1 gc\ncounter load 0=1 5=2\n"};
    sptr_t<dataface_1::IFilterRegistry> m_filters = m_result.store().filters;
};

TEST_F(FilterQueryTest, TakesAsManyLevelsAsItSays) {
    for (const std::vector<int>& kinds : {std::vector<int>{0}, {2, 1}, {0, 1, 2}}) {
        const auto builder = m_filters->createQueryFilterBuilder();
        for (std::size_t i = 0; i + 1 < QueryFilter::kMostLevels; ++i) {
            builder->beginGroup(kinds[i % kinds.size()]);
            builder->addCondition(attribute("dd_band", "dd_thread"), false, 3);
            builder->addCondition(attribute("slice_data", "count"), false, static_cast<int>(i));
            builder->addCondition(attribute("marker_data", "dd_marker"), false, 1);
        }
        set(builder);
        for (const char* table : {"slice_data", "marker_data", "dd_band", "dd_thread"})
            EXPECT_GE(rows(table), 0) << table;
        // One more level, by way of a filter in a filter.
        const auto outer = m_filters->createQueryFilterBuilder();
        outer->addFilter(builder->build());
        EXPECT_TRUE(outer->build().is_null());
        const auto deeper = m_filters->createQueryFilterBuilder();
        for (std::size_t i = 0; i < QueryFilter::kMostLevels; ++i)
            deeper->beginGroup(1);
        EXPECT_TRUE(deeper->build().is_null());
    }
}

TEST_F(FilterQueryTest, TakesAsManyValuesAsThereMayBe) {
    const auto builder = m_filters->createQueryFilterBuilder();
    builder->setMode(IQueryFilterBuilder::modeValueList);
    builder->beginGroup(IQueryFilterBuilder::groupIncluded);
    const auto name = attribute("slice_data", "dd_task", "name");
    for (int i = 0; i < 3000; ++i) {
        builder->addCondition(name, false, "n" + std::to_string(i));
        builder->addCondition(attribute("slice_data", "dd_band"), false, 100 + i);
        builder->beginGroup(IQueryFilterBuilder::groupNegated);
        builder->addCondition(attribute("slice_data", "count"), false, 1);
        builder->endGroup();
    }
    builder->addCondition(name, false, "b");
    builder->endGroup();
    set(builder);
    EXPECT_EQ(rows("slice_data"), 1);
}

TEST(FilterTexts, AreComparedAsTheyAre) {
    const std::string longName(100000, 'x');
    const std::vector<std::string> names = {
        "it's", "\"quoted\"",  "'; drop table dd_task; --", "<a&b>",  "%",
        "$1",   "back\\slash", "\xF0\x9F\x99\x82",          longName, "null",
        "1e400"};
    std::string trace = "thread main";
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::string word = names[i];
        std::replace(word.begin(), word.end(), ' ', '_');
        trace += " " + std::to_string(i) + ".." + std::to_string(i + 1) + " " + word;
    }
    TextResult result(trace + "\n");
    const sptr_t<dataface_1::IFilterRegistry> filters = result.store().filters;
    const auto name = attribute("slice_data", "dd_task", "name");
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::string word = names[i];
        std::replace(word.begin(), word.end(), ' ', '_');
        SCOPED_TRACE(word.substr(0, 20));
        for (const bool excluded : {false, true}) {
            const auto builder = filters->createQueryFilterBuilder();
            builder->addCondition(name, excluded, word);
            filters->setQueryFilter("f", builder->build());
            const auto query = result.database().createQuery("slice_data", 0);
            const auto id = query->addColumn("rowid");
            query->addFilter("f");
            std::vector<int> kept;
            for (const auto set = query->execute(); !set->atEnd(); set->next())
                kept.push_back((*set->current())[id].get<int>());
            EXPECT_EQ(kept.size(), excluded ? names.size() - 1 : 1);
            EXPECT_EQ(std::count(kept.begin(), kept.end(), static_cast<int>(i) + 1),
                      excluded ? 0 : 1);
        }
    }
    const auto builder = filters->createQueryFilterBuilder();
    builder->addCondition(name, false, "");
    filters->setQueryFilter("f", builder->build());
    EXPECT_EQ(lanefeed_test::rowsOf(result.database(), "slice_data", {"rowid"}).size() > 0, true);
    const auto query = result.database().createQuery("slice_data", 0);
    query->addFilter("f");
    EXPECT_TRUE(query->execute()->atEnd());
}

TEST_F(FilterQueryTest, TakesAFilterAsItStandsWhenItIsAdded) {
    const auto query = m_result.database().createQuery("slice_data", 0);
    query->addFilter("unknown");
    const auto builder = m_filters->createQueryFilterBuilder();
    builder->addCondition(attribute("slice_data", "dd_task", "name"), false, "a");
    set(builder);
    query->addFilter("f");
    m_filters->removeFilter("f");
    const auto id = query->addColumn("rowid");
    EXPECT_EQ(lanefeed_test::recordsText(query->execute(), 1), "1\n2\n");
    EXPECT_EQ(id, 0);
    // "global" is what useFilters takes.
    m_filters->setQueryFilter("global", builder->build());
    const auto global = m_result.database().createQuery("dd_thread", 0);
    global->addColumn("name");
    global->useFilters();
    EXPECT_EQ(lanefeed_test::recordsText(global->execute(), 1), "main\nworker\n");
    const auto only = m_filters->createQueryFilterBuilder();
    only->addCondition(attribute("slice_data", "dd_task", "name"), false, "b");
    m_filters->setQueryFilter("global", only->build());
    const auto fewer = m_result.database().createQuery("dd_thread", 0);
    fewer->addColumn("name");
    fewer->useFilters();
    EXPECT_EQ(lanefeed_test::recordsText(fewer->execute(), 1), "main\n");
}

}  // namespace
}  // namespace lanefeed_runtime
