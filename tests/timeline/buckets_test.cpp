// Where buckets lie; how they are walked and which time counts is seen in bucket_query_test.cpp.

#include "timeline/buckets.h"

#include <gtest/gtest.h>

namespace {

using basekit2::u64_t;
using lanefeed_runtime::Buckets;

TEST(Buckets, LastOneTakesWhatTheDivisionLeaves) {
    const Buckets buckets(100, 1099, 10);  // 999 ticks
    EXPECT_EQ(buckets.width(), 99U);
    EXPECT_EQ(buckets.first(9), 991U);
    EXPECT_EQ(buckets.behind(8), 991U);
    EXPECT_EQ(buckets.behind(9), 1099U);
    EXPECT_EQ(buckets.at(990), 8);
    EXPECT_EQ(buckets.at(1098), 9);
}

TEST(Buckets, RefusesWhatHasNoWidth) {
    EXPECT_FALSE(Buckets(10, 10, 1).valid());
    EXPECT_FALSE(Buckets(11, 10, 1).valid());
    EXPECT_FALSE(Buckets(10, 20, 0).valid());
    EXPECT_FALSE(Buckets(10, 20, -1).valid());
    EXPECT_FALSE(Buckets(10, 20, 11).valid());
    EXPECT_TRUE(Buckets(10, 20, 10).valid());
    EXPECT_TRUE(Buckets(0, ~u64_t{0}, 3).valid());
}

}  // namespace
