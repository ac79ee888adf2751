// Conditions, order, keys and types of the relational face.
#include "support/cancel_at_poll.h"
#include "support/store_text.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace lanefeed_runtime {
namespace {

using basekit2::variant_t;
using lanefeed_test::recordsText;
using lanefeed_test::TextResult;

constexpr const char* kTrace = R"(
    thread main    0..100 a  10..12 b*4  10..15 c  60..70 b
    thread worker  5..50 c   10..11 a@io
    counter load   0=5  10=7.5  20=-1
)";

class RecordQueryTest : public testing::Test {
protected:
    basekit2::sptr_t<storelink1::IQuery> query(const std::vector<std::string>& columns,
                                               const std::string& table = "slice_data") {
        auto made = m_result.database().createQuery(table, 0);
        for (const std::string& column : columns)
            EXPECT_NE(made->addColumn(column), storelink1::InvalidColIdx) << column;
        return made;
    }

    TextResult m_result{kTrace};
};

TEST_F(RecordQueryTest, GivesColumnsTheirNumbersAndTypes) {
    const auto made = m_result.database().createQuery("slice_data", 2);
    EXPECT_EQ(made->addColumn("start_tsc"), 0);
    EXPECT_EQ(made->addColumn("nothing"), storelink1::InvalidColIdx);
    EXPECT_EQ(made->addColumn("attr"), 1);
    EXPECT_EQ(made->addColumn("count"), 2);
    EXPECT_EQ(made->addColumn("attr.name"), 3);
    // The same column again is one more number.
    EXPECT_EQ(made->addColumn("slice_data::start_tsc"), 4);
    EXPECT_EQ(made->addColumn("rowid"), 5);
    EXPECT_EQ(made->addColumn("dd_category"), 6);
    const auto set = made->execute();
    const storelink1::IConstRecord& record = *set->current();
    EXPECT_EQ(record[0].get_type(), basekit2::vtU64);
    EXPECT_EQ(record[1].get_type(), basekit2::vtS32);
    EXPECT_EQ(record[2].get_type(), basekit2::vtS64);
    EXPECT_EQ(record[3].get_type(), basekit2::vtString);
    EXPECT_EQ(record[4], record[0]);
    EXPECT_EQ(record[5].get_type(), basekit2::vtS32);
    EXPECT_TRUE(record[6].is_null());
    EXPECT_TRUE(record[7].is_null());
    EXPECT_TRUE(record[storelink1::InvalidColIdx].is_null());
    const auto counters = query({"value"}, "counter_data")->execute();
    EXPECT_EQ(counters->current()->getField(0).get_type(), basekit2::vtDouble);
}

TEST_F(RecordQueryTest, TakesOneOfTheValuesOfAColumnAndAllOfTheColumns) {
    const auto made = query({"start_tsc", "attr.name"});
    EXPECT_EQ(made->addCondition("attr.name", 1, "a"), 0);
    EXPECT_EQ(made->addCondition("dd_task.name", 1, "b"), 1);
    EXPECT_EQ(made->addCondition("dd_band::dd_thread.name", 1, "main"), 2);
    EXPECT_EQ(made->addCondition("attr", 2, 1), storelink1::InvalidCondIdx);
    EXPECT_EQ(recordsText(made->execute(), 2), "1 a\n11 b\n61 b\n");
}

TEST_F(RecordQueryTest, ComparesByValueWhateverTheType) {
    const auto count = [this](const std::string& column, const variant_t& value) {
        const auto made = query({"rowid"});
        EXPECT_NE(made->addCondition(column, 1, value), storelink1::InvalidCondIdx);
        const std::string text = recordsText(made->execute(), 1);
        return std::count(text.begin(), text.end(), '\n');
    };
    EXPECT_EQ(count("start_tsc", basekit2::u64_t{11}), 3);
    EXPECT_EQ(count("start_tsc", basekit2::s32_t{11}), 3);
    EXPECT_EQ(count("start_tsc", 11.0), 3);
    EXPECT_EQ(count("start_tsc", 11.5), 0);
    EXPECT_EQ(count("start_tsc", std::numeric_limits<basekit2::u64_t>::max()), 0);
    EXPECT_EQ(count("rowid", -1), 0);
    EXPECT_EQ(count("dd_category", variant_t()), 5);
    EXPECT_EQ(count("attr.name", "a' or '1' = '1"), 0);
    EXPECT_EQ(count("attr.name", ""), 0);
    const auto made = query({"rowid"});
    EXPECT_EQ(made->addCondition("rowid", 1, L"wide"), storelink1::InvalidCondIdx);
}

TEST_F(RecordQueryTest, OrdersByColumnThenAsInTheFile) {
    const auto byName = query({"attr.name", "start_tsc"});
    EXPECT_TRUE(byName->addOrderBy("attr.name", true));
    EXPECT_EQ(recordsText(byName->execute(), 2), "c 6\nc 11\nb 11\nb 61\na 1\na 11\n");
    const auto twice = query({"start_tsc", "end_tsc"});
    EXPECT_TRUE(twice->addOrderBy("start_tsc", false));
    EXPECT_TRUE(twice->addOrderBy("end_tsc", true));
    EXPECT_EQ(recordsText(twice->execute(), 2), "1 100\n6 50\n11 15\n11 12\n11 11\n61 70\n");
    const auto nulls = query({"dd_category"});
    EXPECT_TRUE(nulls->addOrderBy("dd_category", false));
    EXPECT_EQ(recordsText(nulls->execute(), 1), "-\n-\n-\n-\n-\n1\n");
    const auto backward = query({"start_tsc"});
    EXPECT_TRUE(backward->addOrderBy("start_tsc", true));
    EXPECT_EQ(recordsText(backward->execute(), 1), "61\n11\n11\n11\n6\n1\n");
}

TEST_F(RecordQueryTest, GivesOneRecordPerKey) {
    const auto ordered = query({"attr.name", "start_tsc"});
    EXPECT_TRUE(ordered->addOrderBy("attr", false));
    EXPECT_TRUE(ordered->addKeyColumn("attr"));
    const std::string names = recordsText(ordered->execute(), 1);
    EXPECT_EQ(std::count(names.begin(), names.end(), '\n'), 3);
    const auto unordered = query({"attr.name", "start_tsc"});
    EXPECT_TRUE(unordered->addKeyColumn("attr"));
    EXPECT_EQ(recordsText(unordered->execute(), 2), "a 1\nc 6\nb 11\n");
}

TEST_F(RecordQueryTest, TakesVeryManyValues) {
    const auto made = query({"rowid"});
    for (int i = 3; i < 60000; ++i)
        ASSERT_NE(made->addCondition("rowid", 1, i), storelink1::InvalidCondIdx);
    EXPECT_EQ(recordsText(made->execute(), 1), "3\n4\n5\n6\n");
}

TEST_F(RecordQueryTest, IgnoresFiltersOfAnyName) {
    const auto made = query({"rowid"});
    made->useFilters();
    made->addFilter("global");
    made->addFilter("no such filter");
    EXPECT_EQ(recordsText(made->execute(), 1), "1\n2\n3\n4\n5\n6\n");
}

TEST_F(RecordQueryTest, OutlivesItsMakers) {
    basekit2::sptr_t<storelink1::IGenericRecordset<storelink1::IConstRecord>> set;
    {
        TextResult result(kTrace);
        const auto made = result.database().createQuery("slice_data", 0);
        made->addColumn("attr.name");
        made->addCondition("attr.name", 1, "b");
        set = made->execute();
    }
    EXPECT_EQ(recordsText(set, 1), "b\nb\n");
    EXPECT_TRUE(set->atEnd());
    set->next();
    EXPECT_EQ(set->current(), nullptr);
}

TEST_F(RecordQueryTest, WalksSeveralSetsAtOnce) {
    const auto first = query({"rowid"})->execute();
    const auto second = query({"rowid"})->execute();
    first->next();
    second->next();
    first->next();
    EXPECT_EQ(first->current()->getField(0).get<int>(), 3);
    EXPECT_EQ(second->current()->getField(0).get<int>(), 2);
}

TEST(RecordQueryCancel, EndsAStatementThatSorts) {
    std::string text = "thread t";
    for (int i = 0; i < 40000; ++i)
        text += " " + std::to_string(i) + ".." + std::to_string(i + 1) + " n";
    TextResult result(text);
    const auto made = result.database().createQuery("slice_data", 0);
    made->addColumn("rowid");
    made->addOrderBy("end_tsc", true);
    const auto progress = basekit2::make_object<lanefeed_test::CancelAtPoll>(1);
    std::string error;
    std::string sql;
    const auto set = made->execute(progress.get(), error, sql);
    ASSERT_FALSE(set.is_null());
    EXPECT_TRUE(set->atEnd());
    EXPECT_EQ(error, "");
    EXPECT_GT(progress->polls(), 0);
    // The connection works on.
    EXPECT_FALSE(made->execute()->atEnd());
}

}  // namespace
}  // namespace lanefeed_runtime
