// Where the content of a trace lies.
#include "common/activity.h"
#include "common/time_spread.h"

#include <gtest/gtest.h>

namespace lanefeed_importers {
namespace {

TEST(Activity, contentLeavesTheFarClockOutUnlessEventsAreFew) {
    Activity activity(1000);
    for (int i = 0; i < 1000; ++i)
        activity.event(i < 5 ? 10 + i : 1000000 + i, i < 5 ? 10 + i : 1000050 + i);
    EXPECT_EQ(activity.longestGap().begin, 14);
    EXPECT_EQ(activity.longestGap().end, 1000005);
    EXPECT_GE(activity.content().begin, 1000005);
    EXPECT_LE(activity.content().length(), 994 + 50);
    // A slice that ends later than those behind it, and one whose length is known at its end.
    Activity few(5);
    for (const std::int64_t time : {5, 7, 40, 90, 99})
        few.event(time, time == 5 ? 30 : time + 3);
    EXPECT_EQ(few.longestGap().length(), 90 - 43);
    few.lastedFrom(40);
    EXPECT_EQ(few.longestGap().length(), 40 - 30);
    EXPECT_EQ(few.content().begin, 5);
    EXPECT_EQ(few.content().end, 102);
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
                spread.add((step < 50      ? step - 90'000
                            : step > 9'949 ? step + 90'000
                                           : step) *
                           width);
            }
            const TimeSpread::Span content = spread.content();
            // Up to the width of two cells.
            const std::int64_t cell = 200'000 * width * 4 / std::int64_t{TimeSpread::kCells} + 1;
            EXPECT_TRUE(content.begin <= 50 * width && content.begin > 50 * width - cell);
            EXPECT_TRUE(content.end >= 9'949 * width && content.end < 9'949 * width + cell);
        }
    }
}

}  // namespace
}  // namespace lanefeed_importers
