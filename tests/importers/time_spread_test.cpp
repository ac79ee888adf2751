// Where most times of a trace lie.
#include "common/time_spread.h"

#include "support/random_seed.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace lanefeed_importers {
namespace {

// In any order, as the sorted times tell, up to the width of two cells.
TEST(TimeSpreadTest, findsTheShortestSpanOfMostTimes) {
    EXPECT_EQ(TimeSpread().content().end, 0);
    std::mt19937_64 random(lanefeed_test::randomSeed());
    for (int round = 0; round < 12; ++round) {
        const std::int64_t span = std::int64_t{100} << (4 * round);
        const auto below = [&](std::int64_t limit) {
            return static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(limit));
        };
        std::vector<std::int64_t> times(300 + random() % 2000);
        for (std::int64_t& time : times)
            time = round % 3 == 0 ? below(span) / 5 + below(3) * span : below(span) - span / 3;
        if (round % 2 == 0) std::sort(times.rbegin(), times.rend());
        TimeSpread spread;
        for (const std::int64_t time : times)
            spread.add(time);
        std::sort(times.begin(), times.end());
        const std::size_t wanted = times.size() - times.size() / 100;
        std::int64_t shortest = times.back() - times.front();
        const std::int64_t cell = shortest * 4 / std::int64_t{TimeSpread::kCells} + 1;
        for (std::size_t i = 0; i + wanted <= times.size(); ++i)
            shortest = std::min(shortest, times[i + wanted - 1] - times[i]);
        const TimeSpread::Span content = spread.content();
        const auto held = std::upper_bound(times.begin(), times.end(), content.end) -
                          std::lower_bound(times.begin(), times.end(), content.begin);
        EXPECT_GE(held, static_cast<std::ptrdiff_t>(wanted));
        EXPECT_LE(content.end - content.begin, shortest + 2 * cell) << "round " << round;
    }
}

}  // namespace
}  // namespace lanefeed_importers
