// Where the content of a trace lies, against a slow look at all of it.
#include "common/activity.h"

#include "support/random_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

namespace lanefeed_importers {
namespace {

using Span = Activity::Span;

// The longest stretch between events that no slice covers.
std::int64_t slowLongestGap(const std::vector<std::int64_t>& times,
                            const std::vector<Span>& slices) {
    std::int64_t longest = 0;
    for (std::size_t i = 1; i < times.size(); ++i) {
        std::int64_t from = times[i - 1];
        for (const Span& slice : slices) {
            if (slice.begin <= times[i - 1]) from = std::max(from, std::min(slice.end, times[i]));
        }
        longest = std::max(longest, times[i] - from);
    }
    return longest;
}

TEST(Activity, findsTheLongestEmptyStretchOfRandomTraces) {
    std::mt19937_64 random(lanefeed_test::randomSeed());
    for (int round = 0; round < 300; ++round) {
        std::set<std::int64_t> unique;
        for (std::size_t count = 2 + random() % 30; unique.size() < count;)
            unique.insert(static_cast<std::int64_t>(random() % 1000));
        const std::vector<std::int64_t> times(unique.begin(), unique.end());
        Activity activity(times.size());
        std::vector<Span> slices;
        for (std::size_t i = 0; i < times.size(); ++i) {
            // Known at once, like X, or only now that it ends, like B and E.
            slices.push_back({times[i], times[i]});
            if (random() % 3 == 0) slices.back().end += static_cast<std::int64_t>(random() % 60);
            activity.event(times[i], slices.back().end);
            if (random() % 4 != 0) continue;
            slices.push_back({times[i - random() % (i + 1)], times[i]});
            activity.lastedFrom(slices.back().begin);
        }
        ASSERT_EQ(activity.longestGap().length(), slowLongestGap(times, slices)) << round;
    }
}

TEST(Activity, contentLeavesTheFarClockOutUnlessEventsAreFew) {
    Activity activity(1000);
    for (int i = 0; i < 1000; ++i)
        activity.event(i < 5 ? 10 + i : 1000000 + i, i < 5 ? 10 + i : 1000050 + i);
    EXPECT_EQ(activity.longestGap().begin, 14);
    EXPECT_EQ(activity.longestGap().end, 1000005);
    EXPECT_GE(activity.content().begin, 1000005);
    EXPECT_LE(activity.content().length(), 994 + 50);
    Activity few(3);
    for (const std::int64_t time : {5, 7, 90})
        few.event(time, time + 10);
    EXPECT_EQ(few.content().begin, 5);
    EXPECT_EQ(few.content().end, 100);
}

}  // namespace
}  // namespace lanefeed_importers
