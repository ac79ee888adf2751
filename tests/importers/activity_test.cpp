// Where the content of a trace lies, against a slow look at all of it.
#include "common/activity.h"

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
    std::mt19937 random(3);
    for (int round = 0; round < 300; ++round) {
        std::set<std::int64_t> unique;
        const std::size_t count = 2 + random() % 30;
        while (unique.size() < count)
            unique.insert(static_cast<std::int64_t>(random() % 1000));
        const std::vector<std::int64_t> times(unique.begin(), unique.end());
        Activity activity(times.size());
        std::vector<Span> slices;
        for (std::size_t i = 0; i < times.size(); ++i) {
            // Known at once, like X, or only now that it ends, like B and E.
            const std::int64_t end = random() % 3 == 0 ? times[i] + random() % 60 : times[i];
            activity.event(times[i], end);
            slices.push_back({times[i], end});
            if (random() % 4 != 0) continue;
            const std::int64_t begin = times[i - random() % (i + 1)];
            activity.lastedFrom(begin);
            slices.push_back({begin, times[i]});
        }
        ASSERT_EQ(activity.longestGap().length(), slowLongestGap(times, slices)) << round;
    }
}

TEST(Activity, contentLeavesTheFarClockOut) {
    Activity activity(1000);
    for (int i = 0; i < 5; ++i)
        activity.event(10 + i, 10 + i);
    for (int i = 0; i < 995; ++i)
        activity.event(1000000 + i, 1000000 + i + 50);
    EXPECT_EQ(activity.longestGap().begin, 14);
    EXPECT_EQ(activity.longestGap().end, 1000000);
    EXPECT_GE(activity.content().begin, 1000000);
    EXPECT_LE(activity.content().length(), 994 + 50);
}

TEST(Activity, contentOfFewEventsIsAllOfThem) {
    Activity activity(3);
    for (const std::int64_t time : {5, 7, 90})
        activity.event(time, time + 10);
    EXPECT_EQ(activity.content().begin, 5);
    EXPECT_EQ(activity.content().end, 100);
}

}  // namespace
}  // namespace lanefeed_importers
