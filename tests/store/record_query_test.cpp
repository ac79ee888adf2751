// Conditions, order and keys of the relational face.
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
using QueryPtr = basekit2::sptr_t<storelink1::IQuery>;

constexpr const char* kTrace = R"(
    thread main    0..100 a  10..12 b*4  10..15 c  60..70 b
    thread worker  5..50 c   10..11 a@io
)";

class RecordQueryTest : public testing::Test {
protected:
    QueryPtr query(const std::vector<std::string>& columns) {
        auto made = m_result.database().createQuery("slice_data", 0);
        for (const std::string& column : columns)
            EXPECT_NE(made->addColumn(column), storelink1::InvalidColIdx) << column;
        return made;
    }

    // Records parted by commas. Orders: "+COLUMN" for up, "-COLUMN" for down.
    std::string read(const std::vector<std::string>& columns,
                     const std::vector<std::string>& orders,
                     const std::string& key = "") {
        const QueryPtr made = query(columns);
        for (const std::string& order : orders)
            EXPECT_TRUE(made->addOrderBy(order.substr(1), order.front() == '-'));
        EXPECT_TRUE(key.empty() || made->addKeyColumn(key));
        std::string text = recordsText(made->execute(), columns.size());
        std::replace(text.begin(), text.end(), '\n', ',');
        return text;
    }

    TextResult m_result{kTrace};
};

TEST_F(RecordQueryTest, TakesOneOfTheValuesOfAColumnAndAllOfTheColumns) {
    const QueryPtr made = query({"start_tsc", "attr.name"});
    EXPECT_EQ(made->addCondition("attr.name", 1, "a"), 0);
    EXPECT_EQ(made->addCondition("dd_task.name", 1, "b"), 1);
    EXPECT_EQ(made->addCondition("dd_band::dd_thread.name", 1, "main"), 2);
    EXPECT_EQ(made->addCondition("attr", 2, 1), storelink1::InvalidCondIdx);
    EXPECT_EQ(recordsText(made->execute(), 2), "1 a\n11 b\n61 b\n");
    const QueryPtr many = query({"rowid"});
    for (int i = 3; i < 60000; ++i)
        many->addCondition("rowid", 1, i);
    EXPECT_EQ(recordsText(many->execute(), 1), "3\n4\n5\n6\n");
    EXPECT_EQ(many->addCondition("rowid", 1, L"wide"), storelink1::InvalidCondIdx);
}

TEST_F(RecordQueryTest, ComparesByValueWhateverTheType) {
    const auto rows = [this](const std::string& column, const variant_t& value) {
        const QueryPtr made = query({"rowid"});
        made->addCondition(column, 1, value);
        return recordsText(made->execute(), 1);
    };
    EXPECT_EQ(rows("start_tsc", 11.0), "3\n4\n5\n");
    EXPECT_EQ(rows("dd_category", variant_t()), "1\n2\n3\n4\n6\n");
    EXPECT_EQ(rows("start_tsc", 11.5), "");
    EXPECT_EQ(rows("start_tsc", std::numeric_limits<basekit2::u64_t>::max()), "");
    EXPECT_EQ(rows("attr.name", "a' or '1' = '1"), "");
}

TEST_F(RecordQueryTest, OrdersByColumnThenAsInTheFileAndGivesOneRecordPerKey) {
    EXPECT_EQ(read({"attr.name", "start_tsc"}, {"-attr.name"}), "c 6,c 11,b 11,b 61,a 1,a 11,");
    EXPECT_EQ(read({"start_tsc", "end_tsc"}, {"+start_tsc", "-end_tsc"}),
              "1 100,6 50,11 15,11 12,11 11,61 70,");
    EXPECT_EQ(read({"dd_category"}, {"+dd_category"}), "-,-,-,-,-,1,");
    EXPECT_EQ(read({"start_tsc"}, {"-start_tsc"}), "61,11,11,11,6,1,");
    EXPECT_EQ(read({"attr.name", "start_tsc"}, {}, "attr"), "a 1,c 6,b 11,");
    EXPECT_EQ(read({"attr.name"}, {"+attr"}, "attr"), "a,b,c,");
}

TEST_F(RecordQueryTest, GivesSetsThatWalkBesideEachOtherAndOutliveTheResult) {
    const auto first = query({"attr.name"})->execute();
    const auto second = query({"attr.name"})->execute();
    second->next();
    m_result.store() = {};
    EXPECT_EQ(recordsText(first, 1), "a\nc\nc\nb\na\nb\n");
    first->next();
    EXPECT_EQ(first->current(), nullptr);
    EXPECT_EQ(recordsText(second, 1), "c\nc\nb\na\nb\n");
}

}  // namespace
}  // namespace lanefeed_runtime
