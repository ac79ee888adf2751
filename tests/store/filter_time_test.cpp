// What time parts keep, compared with a look at each tick.
#include "store/filter_time.h"

#include "support/random_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace lanefeed_runtime {
namespace {

using Ranges = std::vector<TimeFilter::Range>;

bool holds(const TickSpans& spans, basekit2::u64_t tick) {
    return std::any_of(spans.begin(), spans.end(), [&](const storelink1::time_interval_t& span) {
        return tick >= span.start && tick < span.end;
    });
}

bool keeps(const Ranges& ranges, basekit2::u64_t tick) {
    bool isIncluded = std::all_of(ranges.begin(), ranges.end(),
                                  [](const TimeFilter::Range& range) { return range.excluded; });
    for (const TimeFilter::Range& range : ranges) {
        if (tick < range.ticks.start || tick >= range.ticks.end) continue;
        if (range.excluded) return false;
        isIncluded = true;
    }
    return isIncluded;
}

TEST(FilterTime, KeepsTheTicksThatItsRangesKeep) {
    std::mt19937 random(lanefeed_test::randomSeed());
    const auto pick = [&](unsigned most) {
        return basekit2::u64_t{std::uniform_int_distribution<unsigned>(0, most)(random)};
    };
    const auto ranges = [&] {
        Ranges out;
        for (basekit2::u64_t i = pick(4); i > 0; --i)
            out.push_back({{pick(30), pick(30)}, pick(2) == 0});  // some of them are no span
        return out;
    };
    for (int round = 0; round < 500; ++round) {
        const Ranges first = ranges();
        const Ranges second = ranges();
        const TickSpans a = keptTime(basekit2::make_object<TimeFilter>(first));
        const TickSpans both = commonTime(a, keptTime(basekit2::make_object<TimeFilter>(second)));
        const TickSpans rest = timeBetween(a, {5, 25});
        for (basekit2::u64_t tick = 0; tick <= 31; ++tick) {
            ASSERT_EQ(holds(a, tick), keeps(first, tick)) << tick;
            ASSERT_EQ(holds(both, tick), keeps(first, tick) && keeps(second, tick)) << tick;
            ASSERT_EQ(holds(rest, tick), tick >= 5 && tick < 25 && !keeps(first, tick)) << tick;
        }
        for (std::size_t i = 1; i < a.size(); ++i)
            ASSERT_LT(a[i - 1].end, a[i].start);
    }
    EXPECT_TRUE(isAllTime(keptTime(nullptr)));
    EXPECT_FALSE(isAllTime(keptTime(basekit2::make_object<TimeFilter>(Ranges(1)))));
}

}  // namespace
}  // namespace lanefeed_runtime
