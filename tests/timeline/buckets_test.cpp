// Where buckets lie, and which time counts.

#include "timeline/buckets.h"

#include "timeline/kept_time.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

namespace {

using basekit2::u64_t;
using lanefeed_runtime::BucketCursor;
using lanefeed_runtime::Buckets;
using lanefeed_runtime::KeptTime;
using storelink1::time_interval_t;

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

TEST(Buckets, CursorAgreesWithTheFormulaInAnyOrder) {
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        const u64_t span = 1 + random() % 300;
        const Buckets buckets(50, 50 + span, 1 + static_cast<int>(random() % span));
        BucketCursor cursor(buckets);
        for (int step = 0; step < 50; ++step) {
            const u64_t first = 50 + random() % span;
            const u64_t last = first + random() % (50 + span - first);
            std::map<int, u64_t> shared;
            cursor.share(first, last, [&](int bucket, u64_t ticks) { shared[bucket] += ticks; });
            std::map<int, u64_t> expected;
            for (u64_t tick = first; tick <= last; ++tick)
                ++expected[buckets.at(tick)];
            ASSERT_EQ(shared, expected) << first << ".." << last;
            for (const auto& cell : expected)
                ASSERT_LE(cell.second, buckets.behind(cell.first) - buckets.first(cell.first));
        }
    }
}

TEST(KeptTime, JoinsOverlapsAndCountsTickByTick) {
    std::mt19937 random(11);
    for (int round = 0; round < 200; ++round) {
        std::vector<bool> excluded(120, false);
        std::vector<time_interval_t> spans;
        for (int i = static_cast<int>(random() % 5); i > 0; --i) {
            time_interval_t span;
            span.start = random() % 100;
            span.end = span.start + random() % 15;
            for (u64_t tick = span.start; tick < span.end; ++tick)
                excluded[tick] = true;
            spans.push_back(span);
        }
        const KeptTime kept(spans);
        const u64_t first = random() % 100;
        const u64_t last = first + random() % 20;
        std::vector<u64_t> ticks;
        kept.each(first, last, [&](u64_t from, u64_t to) {
            ASSERT_LE(from, to);
            for (u64_t tick = from; tick <= to; ++tick)
                ticks.push_back(tick);
        });
        std::vector<u64_t> expected;
        for (u64_t tick = first; tick <= last; ++tick) {
            EXPECT_EQ(kept.keeps(tick), !excluded[tick]);
            if (!excluded[tick]) expected.push_back(tick);
        }
        EXPECT_EQ(ticks, expected);
        EXPECT_EQ(kept.count(first, last), expected.size());
        EXPECT_EQ(kept.touches(first, last), !expected.empty());
    }
}

}  // namespace
