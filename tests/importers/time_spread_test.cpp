// Where most times of a trace lie.
#include "common/time_spread.h"

#include "support/random_seed.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace lanefeed_importers {
namespace {

TEST(TimeSpreadTest, leavesOutFewTimesFarAway) {
    TimeSpread spread;
    spread.add(-(std::int64_t{1} << 52));
    for (std::int64_t i = 0; i < 500; ++i)
        spread.add(50'260'000'000'000 + i * 10'000'000);
    spread.add(0);
    EXPECT_EQ(spread.content().begin, 50'260'000'000'000);
    EXPECT_EQ(spread.content().end, 50'264'990'000'000);

    TimeSpread few;
    EXPECT_EQ(few.content().end, 0);
    few.add(7);
    few.add(3'000'000'000);
    EXPECT_EQ(few.content().begin, 7);
    EXPECT_EQ(few.content().end, 3'000'000'000);
}

// In any order, as the sorted times tell, up to the width of two cells.
TEST(TimeSpreadTest, findsTheShortestSpanOfMostTimes) {
    std::mt19937_64 random(lanefeed_test::randomSeed());
    for (int round = 0; round < 12; ++round) {
        const std::int64_t span = std::int64_t{100} << (4 * round);
        std::vector<std::int64_t> times(300 + random() % 2000);
        TimeSpread spread;
        for (std::int64_t& time : times) {
            time =
                static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(span)) - span / 3;
            if (round % 3 == 0) time = time / 5 + static_cast<std::int64_t>(random() % 3) * span;
        }
        if (round % 2 == 0) std::sort(times.rbegin(), times.rend());
        for (const std::int64_t time : times)
            spread.add(time);
        std::sort(times.begin(), times.end());
        const std::size_t wanted = times.size() - times.size() / 100;
        std::int64_t shortest = times.back() - times.front();
        for (std::size_t i = 0; i + wanted <= times.size(); ++i)
            shortest = std::min(shortest, times[i + wanted - 1] - times[i]);
        const TimeSpread::Span content = spread.content();
        const auto held = std::upper_bound(times.begin(), times.end(), content.end) -
                          std::lower_bound(times.begin(), times.end(), content.begin);
        EXPECT_GE(held, static_cast<std::ptrdiff_t>(wanted));
        const std::int64_t cell =
            (times.back() - times.front()) * 4 / std::int64_t{TimeSpread::kCells} + 1;
        EXPECT_LE(content.end - content.begin, shortest + 2 * cell) << "round " << round;
    }
}

}  // namespace
}  // namespace lanefeed_importers
