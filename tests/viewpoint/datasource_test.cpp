#include "dicerdatasource.h"
#include "support/captured_log.h"
#include "support/fake_queries.h"

#include <gtest/gtest.h>

namespace lanefeed_1 {
namespace {

using ExtraArgs = DicerDataSource::ExtraArgs;

TEST(DicerDataSource, TakesTheBandOfABandTableOnly) {
    DicerDataSource ds;
    ds.set("dd_thread.dd_process.name", "dd_band", "name", "value");
    EXPECT_EQ(ds.m_path, "dd_thread.dd_process.name");
    EXPECT_EQ(ds.m_table, "dd_band");
    EXPECT_EQ(ds.m_attr, "name");
    EXPECT_EQ(ds.m_value, "value");
    EXPECT_EQ(ds.m_band, "dd_thread");
    ds.set("dd_core", "slice_data", "", "");
    EXPECT_EQ(ds.m_band, "dd_thread");
    const lanefeed_test::CapturedLog log;
    ds.set("", "dd_band", "", "");
    EXPECT_EQ(ds.m_band, "dd_thread");
    EXPECT_EQ(log.count("!parts.empty()"), 1);
}

// Each entry is less than the next by an earlier field, while all later fields say the opposite.
TEST(ExtraArgs, OrdersByQueryThenTextsThenValues) {
    auto low = lanefeed_test::infoQuery({});
    auto high = lanefeed_test::infoQuery({});
    if (std::less<>()(high.get(), low.get())) std::swap(low, high);
    const std::vector<ExtraArgs> ascending = {
        {low, "b", "b", "b", {"b"}, "b"},       {high, "a", "b", "b", {"b"}, "b"},
        {high, "b", "a", "b", {"b"}, "b"},      {high, "b", "b", "a", {"b"}, "b"},
        {high, "b", "b", "b", {"b"}, "a"},      {high, "b", "b", "b", {}, "b"},
        {high, "b", "b", "b", {"a", "c"}, "b"}, {high, "b", "b", "b", {"b"}, "b"},
    };
    for (std::size_t i = 0; i < ascending.size(); ++i)
        for (std::size_t j = 0; j < ascending.size(); ++j)
            EXPECT_EQ(ascending[i] < ascending[j], i < j) << i << " " << j;
}

}  // namespace
}  // namespace lanefeed_1
