// Times of a whole trace: their order, and where most of them lie.
#include "common/activity.h"
#include "common/time_sorter.h"
#include "common/time_spread.h"
#include "support/random_seed.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace lanefeed_importers {
namespace {

TEST(Activity, contentLeavesTheFarClockOutUnlessEventsAreFew) {
    Activity activity(1000);
    for (int i = 0; i < 1000; ++i)
        activity.event(i < 5 ? 10 + i : 1000000 + i, i < 5 ? 10 + i : 1000050 + i);
    EXPECT_EQ(activity.longestGap().length(), 1000005 - 14);
    EXPECT_GE(activity.content().begin, 1000005);
    EXPECT_LE(activity.content().length(), 994 + 50);
    // A slice that ends later than those behind it, and one whose length is known at its end.
    Activity few(5);
    for (const std::int64_t time : {5, 7, 40, 90, 99})
        few.event(time, time == 5 ? 30 : time + 3);
    EXPECT_EQ(few.longestGap().length(), 90 - 43);
    few.lastedFrom(40);
    EXPECT_EQ(few.longestGap().length(), 40 - 30);
    EXPECT_TRUE(few.content().begin == 5 && few.content().end == 102);
}

// Of times in any order.
TEST(TimeSpread, findsTheShortestSpanOfMostTimes) {
    EXPECT_EQ(TimeSpread().content().end, 0);
    for (const std::int64_t width : {std::int64_t{1}, std::int64_t{1} << 40}) {
        for (const bool falls : {false, true}) {
            TimeSpread spread;
            // 1 % lie far away, half of that on each side.
            for (std::int64_t i = 0; i < 10'000; ++i) {
                const std::int64_t step = falls ? 9'999 - i : i;
                const std::int64_t away = step < 50 ? -90'000 : step > 9'949 ? 90'000 : 0;
                spread.add((step + away) * width);
            }
            const TimeSpread::Span content = spread.content();
            // Up to the width of two cells.
            const std::int64_t cell = 200'000 * width * 4 / std::int64_t{TimeSpread::kCells} + 1;
            EXPECT_TRUE(content.begin <= 50 * width && content.begin > 50 * width - cell);
            EXPECT_TRUE(content.end >= 9'949 * width && content.end < 9'949 * width + cell);
        }
    }
}

TEST(TimeSorter, isStableInMemoryAndThroughItsFile) {
    std::mt19937_64 random(lanefeed_test::randomSeed());
    const lanefeed_test::TempDirectory folder;
    for (const std::size_t memory : {std::size_t{64} << 20, std::size_t{100} << 10}) {
        TimeSorter sorter(folder.path(), memory);
        std::multimap<TraceTime, std::string> entries;
        for (std::size_t i = 0; i < 20000; ++i) {
            // Nearly in order, with many equal times, and records of very different length.
            const TraceTime time{static_cast<std::int64_t>(i / 8 + random() % 50), random() % 2};
            const std::string record(random() % (i % 97 == 0 ? 40000 : 30), '.');
            ASSERT_TRUE(
                sorter.add(time, entries.emplace(time, std::to_string(i) + record)->second));
        }
        EXPECT_TRUE(sorter.sort() && (sorter.runs() > 1) == (memory < std::size_t{1} << 20));
        TraceTime time;
        std::string_view record;
        for (const auto& entry : entries)
            ASSERT_TRUE(sorter.next(time, record) && record == entry.second) << entry.second;
        EXPECT_FALSE(sorter.next(time, record) || sorter.error().failed());
    }
}

}  // namespace
}  // namespace lanefeed_importers
