// What a filter keeps of each table, by queries and by evaluators of series. Filters over whole
// answers stand beside results that were cut by hand in tests/agreement.
#include "store/filter_registry.h"
#include "support/answer_rows.h"
#include "support/captured_log.h"
#include "support/fake_filters.h"
#include "support/filter_words.h"
#include "support/store_text.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace lanefeed_runtime {
namespace {

using basekit2::sptr_t;
using lanefeed_test::expectAnswers;
using lanefeed_test::recordsText;

// Row ids: threads main 1, worker 2, main of "other" 3, idle 4; slices by start a 1, b 2, a 3, c 4,
// c 5, it's 6; the bands of the threads are 1, 2, 5 and 6, that of the track is 3, of the
// counter 4.
constexpr const char* kTrace = R"(
    process viewer
    thread main    0..20 a  2..8 b@io  10..12 c*2
    thread worker  5..15 a@net  40..50 it's
    track upload   30..60 part@io
    counter load   0=5  10=7.5  20=0
    marker main    5 gc@io
    flow worker 5 main 9 wake@net
    process other
    thread main    40..60 c
    thread idle    0..1 start
    marker main    50 gc
    alive idle     0..7
)";

// Ids of the rows of a table that a filter leaves.
std::string rowsUnder(const std::string& filter,
                      storelink1::IDatabase& database,
                      const std::string& table) {
    const auto query = database.createQuery(table, 0);
    query->addColumn("rowid");
    if (!filter.empty()) query->addFilter(filter);
    std::string text = recordsText(query->execute(), 1);
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

class FilterSqlTest : public testing::Test {
protected:
    void set(const std::string& words) {
        ASSERT_TRUE(lanefeed_test::setFilter(*m_filters, "f", words)) << words;
    }
    std::string rows(const std::string& table, const std::string& filter = "f") {
        return rowsUnder(filter, m_result.database(), table);
    }

    // Tables that lose rows, each with what is left of it, and "told" where an evaluator of series
    // tells the same.
    std::string answer(const std::string& words) {
        set(words);
        std::string text;
        for (const char* table : {"slice_data", "async_data", "marker_data", "counter_data",
                                  "flow_data", "dd_band", "dd_thread", "dd_process", "dd_task"}) {
            const std::string kept = rows(table);
            if (kept == rows(table, "")) continue;
            EXPECT_TRUE(m_store->isFilterApplicable("f", table)) << table;
            const std::string name = table;
            text += name.substr(name[0] == 'd' ? 3 : 0, name.find("_data")) + " " + kept;
        }
        text += evaluated();
        while (!text.empty() && text.back() == ' ')
            text.pop_back();
        return text.empty() ? "all" : text;
    }

    std::string evaluated() {
        const std::vector<std::string> columns = {"attr", "dd_band::dd_thread",
                                                  "dd_band::dd_track"};
        sptr_t<storelink1::IFilterEvaluator> evaluator;
        EXPECT_TRUE(
            m_store->createEvaluator(evaluator, "f", basekit2::make_iterator(columns), "slice_data")
                .succeeded());
        if (evaluator.is_null()) return "";
        const auto query = m_result.database().createQuery("slice_data", 0);
        for (const std::string& column : columns)
            query->addColumn(column);
        query->addColumn("rowid");
        std::string kept;
        for (const auto set = query->execute(); !set->atEnd(); set->next()) {
            std::vector<basekit2::variant_t> ids;
            for (basekit2::u16_t i = 0; i < columns.size(); ++i)
                ids.push_back((*set->current())[i].is_null() ? -1 : (*set->current())[i]);
            if (evaluator->evaluate(basekit2::make_iterator(ids)))
                kept += std::to_string((*set->current())[3].get<int>()) + " ";
        }
        EXPECT_EQ(kept, rows("slice_data"));
        return "told";
    }

    lanefeed_test::TextResult m_result{kTrace};
    sptr_t<dataface_1::IFilterRegistry> m_filters = m_result.store().filters;
    sptr_t<storelink1::IFilterRegistry> m_store = m_result.database().getFilterRegistry();
};

TEST_F(FilterSqlTest, ConditionsHoldOfTheirTableAndOfWhatItLeadsTo) {
    expectAnswers(R"(
        dd_band::dd_thread!=1 dd_band::dd_thread.dd_process/name='viewer' |
            slice 4 7 async marker counter flow band 2 thread 2 process 1 told
        dd_band::dd_thread=-1 | slice marker flow band 3 4 thread process 1 told
        dd_band::dd_thread.dd_process/pid='2' |
            slice 2 6 async marker 2 counter flow band 5 6 7 thread 3 4 process 2 told
        dd_band::dd_thread.dd_process=null | slice marker flow band 3 4 thread process told
        dd_band::dd_counter=1 | slice async marker flow band 4 thread process 1
        dd_band::=2 | slice 4 7 async marker counter flow band 2 thread 2 process 1
        dd_thread::dd_process=2 |
            slice 2 6 async marker 2 counter flow band 5 6 7 thread 3 4 process 2 told
        dd_process::name='other' | slice async marker counter flow band thread 3 4 process 2
        dd_task::name='c' | slice 5 6 async band 1 4 5 thread 1 3 task 3
        slice_data::dd_task='it's' | slice 7 async band 2 4 thread 2 process 1 task 4
        slice_data::=3 | slice 3 band 1 3 4 thread 1 process 1
        slice_data::count!=2 | slice 1 2 3 4 6 7 band 1 2 3 4 5 6
        slice_data::count=2.5 | slice band 3 4 thread process 1 told
        counter_data::value='7.5' | counter 2
        marker_data::attr!='gc' | marker band 3 4 thread process 1
        async_data::dd_category!=-1 | slice 3 4 marker 1 band 1 2 3 4 thread 1 2 process 1
        flow_data::multi_band_index.dd_thread=1 | flow band 3 4 thread 1 process 1
        slice_data::nothing=1 | all;  none( slice_data::nothing=1 ) | all;  nothing::x=1 | all)",
                  [this](const std::string& words) { return answer(words); });
}

TEST_F(FilterSqlTest, GroupsCombineAndTimeNarrows) {
    expectAnswers(R"(
        any( ) | slice async marker counter flow band thread process task told
        none( ) | all;  not( ) | all;  filter( ) | all
        any( dd_band::dd_thread=3 dd_band::dd_thread=1 ) |
            slice 1 3 5 6 async counter band 1 5 thread 1 3 told
        any( slice_data::dd_task/name='b' marker_data::dd_marker=1 ) | band 1 2 3 4 5 6
        none( slice_data::dd_task/name='b' dd_band::dd_thread!=3 ) |
            slice 1 2 4 5 7 marker 1 band 1 2 3 4 6 thread 1 2 4 task 1 3 4 5 6
        not( slice_data::dd_task/name='b' dd_band::dd_thread!=3 ) |
            slice 6 async marker 2 counter flow band 5 thread 3 process 2 task 1 3 4 5 6
        any( dd_band::dd_thread=1 not( dd_band::dd_thread=1 ) ) | told
        any( filter( dd_band::dd_thread=1 dd_task::name='a' ) filter( dd_band::dd_thread=3 ) ) |
            slice 1 6 async counter band 1 5 thread 1 3
        none( filter( dd_band::dd_thread=1 slice_data::dd_task/name='a' ) ) |
            slice 2 3 4 5 6 7 band 1 2 3 4 5 6
        @5..5 | slice async marker counter flow band thread process
        @1..6 @40..42 @-3..41 | slice 1 2 6 7 marker counter 1 3 flow
        @-1..100 | slice async marker counter flow band thread process
        @10..11 dd_band::dd_thread=1 | slice 1 async marker counter band 1 thread 1 process 1)",
                  [this](const std::string& words) { return answer(words); });
}

TEST_F(FilterSqlTest, TakesAsManyLevelsAndValuesAsThereMayBe) {
    const std::string conditions =
        "dd_band::dd_thread=3 slice_data::count=1 marker_data::dd_marker=1 ";
    const std::vector<std::string> kinds = {"none( ", "any( ", "not( "};
    std::string levels;
    for (std::size_t i = 0; i + 1 < QueryFilter::kMostLevels; ++i)
        levels += kinds[i % kinds.size()] + conditions;
    set(levels);
    for (const char* table : {"slice_data", "marker_data", "dd_band", "dd_thread"})
        EXPECT_NE(rows(table), "failed") << table;
    for (const std::string& more : {"filter( " + levels, "any( " + levels})
        EXPECT_FALSE(lanefeed_test::setFilter(*m_filters, "f", more)) << "one level more";
    std::string words = "any( slice_data::dd_task/name='it's' ";
    for (int i = 0; i < 3000; ++i) {
        const std::string n = std::to_string(i - 195);  // row 3 starts at 3: the last of a bundle
        words += "slice_data::dd_task/name='n" + n + "' ";
        words += "filter( slice_data::dd_band=1 slice_data::start_tsc=" + n + " ) ";
    }
    set(words);
    EXPECT_EQ(rows("slice_data"), "1 3 5 7 ");
}

TEST(FilterTexts, AreComparedAsTheyAre) {
    const std::vector<std::string> names = {"it's", "\"quoted\"", "');drop_table_dd_task;--",
                                            "_",    "$1",         "\xF0\x9F\x99\x82",
                                            "null", "1e400",      std::string(100000, 'x')};
    std::string trace = "thread main";
    for (std::size_t i = 0; i < names.size(); ++i)
        trace += " " + std::to_string(i) + ".." + std::to_string(i + 1) + " " + names[i];
    lanefeed_test::TextResult result(trace + "\n");
    for (const bool isExcluded : {false, true})
        for (std::size_t i = 0; i < names.size(); ++i) {
            std::string expected;
            for (std::size_t j = 0; j < names.size(); ++j)
                if ((i == j) != isExcluded) expected += std::to_string(j + 1) + " ";
            lanefeed_test::setFilter(*result.store().filters, "f",
                                     "slice_data::dd_task/name" +
                                         std::string(isExcluded ? "!='" : "='") + names[i] + "'");
            EXPECT_EQ(rowsUnder("f", result.database(), "slice_data"), expected) << names[i];
        }
}

TEST_F(FilterSqlTest, ANameStandsAsLongAsOneOfItsPartsIsSet) {
    for (const bool isRemoved : {false, true}) {
        set("@1..6 dd_band::dd_thread=1");
        m_filters->setQueryFilter("f", nullptr);
        EXPECT_TRUE(m_store->hasFilter("f") && m_filters->hasFilter("f"));
        isRemoved ? m_filters->removeFilter("f") : m_filters->clearFilter("f");
        EXPECT_FALSE(m_store->hasFilter("f"));
    }
    const lanefeed_test::CapturedLog log;
    m_filters->setQueryFilter("f",
                              basekit2::make_object<lanefeed_test::FakeQueryFilter>("of another"));
    EXPECT_FALSE(m_store->hasFilter("f"));
    EXPECT_TRUE(log.contains("filter \"f\": made by another registry, so it is not taken"));
}

TEST_F(FilterSqlTest, QueriesTakeAFilterAsItStandsWhenItIsAdded) {
    const auto query = m_result.database().createQuery("slice_data", 0);
    query->addFilter("unknown");
    set("slice_data::dd_task/name='a'");
    query->addFilter("f");
    m_filters->removeFilter("f");
    query->addColumn("rowid");
    EXPECT_EQ(recordsText(query->execute(), 1), "1\n4\n");
    // A filter of another state under the same name comes on top; "global" is what useFilters
    // takes.
    set("dd_band::dd_thread=1");
    query->addFilter("f");
    EXPECT_EQ(recordsText(query->execute(), 1), "1\n");
    lanefeed_test::setFilter(*m_filters, "global", "slice_data::dd_task/name='b'");
    const auto threads = m_result.database().createQuery("dd_thread", 0);
    threads->addColumn("rowid");
    threads->useFilters();
    EXPECT_EQ(recordsText(threads->execute(), 1), "1\n");
    EXPECT_FALSE(m_store->isFilterApplicable("global", "counter_data"));
}

}  // namespace
}  // namespace lanefeed_runtime
