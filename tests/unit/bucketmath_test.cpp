// Arithmetic on buckets: exact answers on small series, and what is kept on random ones.

#include "common/bucketmath.h"

#include "series_tables.h"
#include "support/captured_log.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace lanefeed_1 {
namespace {

using basekit2::u64_t;
using lanefeed_test::CapturedLog;
using lanefeed_test::recordOf;
using Values = std::vector<double>;

constexpr u64_t kLast = std::numeric_limits<u64_t>::max();

// What was read over 0..actualEnd, for a request of start..end.
Values rebucketed(const Values& values,
                  int count,
                  u64_t start,
                  u64_t end,
                  u64_t actualStart = 0,
                  u64_t actualEnd = 100) {
    OverTimeData data = recordOf({values});
    EXPECT_TRUE(bucketmath::rebucket(data, count, start, end, actualStart, actualEnd));
    return data.seriesSet[0].values;
}

Values folded(const Values& values, int count, aggregation_type_t type) {
    OverTimeData data = recordOf({values});
    bucketmath::rebucketToLowerWidth(data, count, 1000, 1120, type);
    return data.seriesSet[0].values;
}

TEST(Rebucket, SharesOutWhatAWideBucketHolds) {
    EXPECT_EQ(rebucketed({10, 20}, 4, 0, 100), (Values{5, 5, 10, 10}));
    // A bucket that straddles gets the mean of its two sources.
    const double ratio = (100.0 / 3) / 50.0;
    EXPECT_EQ(rebucketed({10, 20}, 3, 0, 100), (Values{10 * ratio, 15 * ratio, 20 * ratio}));
    const Values sparse = rebucketed({lanefeed_test::kNoData, 20}, 3, 0, 100);
    EXPECT_TRUE(std::isnan(sparse[0]) && std::isnan(sparse[1]) && !std::isnan(sparse[2]));
    // The first of these ends where the second source begins and does not straddle.
    EXPECT_EQ(rebucketed({10, 20}, 4, 40, 80), (Values{2, 4, 4, 4}));
    EXPECT_EQ(rebucketed({10, 20}, 2, 0, 50), (Values{10, 20})) << "of equal width";
    const double part = 18.0 / 50;
    EXPECT_EQ(rebucketed({10, 20, 30}, 5, 5005, 5095, 5000, 5150),
              (Values{10 * part, 10 * part, 15 * part, 20 * part, 20 * part}));
    EXPECT_EQ(rebucketed({}, 2, 0, 50), Values{});
    // Of 400 buckets over 100 ticks the one at tick 50 has its last whole tick before the boundary.
    const Values narrow = rebucketed({10, 20}, 400, 0, 100);
    EXPECT_EQ(narrow[199], 10 * 0.005);
    EXPECT_EQ(narrow[204], 20 * 0.005);
    // No double tells the last tick of such a span from its end.
    const u64_t end = u64_t{1} << 60U;
    EXPECT_EQ(rebucketed({10, 20}, 4, 0, end, 0, end), (Values{5, 7.5, 10, 10}));
}

TEST(Rebucket, RefusesSpansThatDoNotContainTheRequestAndStandsOddOnes) {
    const CapturedLog log;
    OverTimeData data = recordOf({{10, 20}});
    EXPECT_FALSE(bucketmath::rebucket(data, 4, 10, 101, 20, 100));
    EXPECT_EQ(log.count("actualEnd >= requestedEnd"), 1);
    EXPECT_FALSE(bucketmath::rebucket(data, 4, 10, 100, 11, 100));
    EXPECT_EQ(log.count("actualStart <= requestedStart"), 1);
    EXPECT_EQ(data.seriesSet[0].values, (Values{10, 20}));

    EXPECT_EQ(rebucketed({10, 20, 30}, 5, kLast, kLast, 0, kLast).size(), 5U);
    EXPECT_EQ(rebucketed({10, 20, 30}, 4000, 0, 1, 0, 1).size(), 4000U);
}

TEST(RebucketToLowerWidth, WeighsBucketsByTheShareOfTheTarget) {
    EXPECT_EQ(folded({10, 20, 30, 40}, 2, agAverage), (Values{15, 35}));
    // 120 ticks, 3 to 2: the middle source loses a tick on either side of the boundary.
    EXPECT_EQ(folded({10, 20, 30}, 2, agAverage),
              (Values{10 * 40 / 60.0 + 20 * 19 / 60.0, 20 * 19 / 60.0 + 30 * 40 / 60.0}));
    // In a sum and a maximum it counts in both targets.
    EXPECT_EQ(folded({10, 20, 30}, 2, agSum), (Values{30, 50}));
    EXPECT_EQ(folded({10, 20, 30}, 2, agMax), (Values{20, 30}));
    EXPECT_EQ(folded({10, 20}, 0, agSum), Values{});
    // More targets than sources: only first and last target of each are touched.
    EXPECT_EQ(folded({10, 20}, 6, agSum), (Values{10, 0, 10, 20, 0, 20}));
    EXPECT_EQ(folded({-1, -2}, 1, agMax), Values{0});
    const CapturedLog log;
    EXPECT_EQ(folded({7, 7}, 1, agCountNonZero), Values{0});
    EXPECT_TRUE(log.contains("Unsupported aggregation function"));
}

TEST(AggregateOvertimeData, DividesByAllRecordsAndCountsWhatIsNotZero) {
    std::vector<OverTimeData> records{recordOf({}), recordOf({{10, 0}}), recordOf({{20, 4}})};
    records[1].row = 7;
    records[1].dbIndexes = {3};
    records[1].rowFlag = false;
    OverTimeData data;
    EXPECT_TRUE(bucketmath::aggregateOvertimeData(data, records, agAverage));
    EXPECT_EQ(data.seriesSet[0].values, (Values{30 / 3.0, 4 / 3.0})) << "also by empty ones";
    EXPECT_EQ(data.row, 7);
    EXPECT_EQ(data.dbIndexes, std::vector<int>{3});
    EXPECT_FALSE(data.rowFlag);
    EXPECT_TRUE(bucketmath::aggregateOvertimeData(data, records, agSum));
    EXPECT_EQ(data.seriesSet[0].values, (Values{30, 4}));
    // A late series is kept as it stands.
    records = {recordOf({{10, 0, lanefeed_test::kNoData}, {}}), recordOf({{5, 0, 0}, {9, 0, 0}}),
               recordOf({{0, 2, 2, 2}, {1, 0, 1}})};
    EXPECT_TRUE(bucketmath::aggregateOvertimeData(data, records, agCountNonZero));
    EXPECT_EQ(data.seriesSet[0].values, (Values{2, 1, 2}));
    EXPECT_EQ(data.seriesSet[1].values, (Values{10, 0, 1}));
}

TEST(AggregateOvertimeData, FailsOnShapesThatDiffer) {
    const CapturedLog log;
    OverTimeData data;
    const auto fails = [&](const std::vector<OverTimeData>& records, aggregation_type_t type) {
        return !bucketmath::aggregateOvertimeData(data, records, type);
    };
    EXPECT_TRUE(fails({}, agAverage));
    EXPECT_EQ(log.count("!dataArray.empty()"), 1);
    EXPECT_TRUE(fails({recordOf({{1}}), recordOf({{1}, {2}})}, agAverage));
    EXPECT_EQ(log.count("data.seriesSet.size() == dataArray[i].seriesSet.size()"), 1);
    EXPECT_FALSE(fails({recordOf({{1}}), recordOf({})}, agMax));
    EXPECT_TRUE(fails({recordOf({{1}}), recordOf({{2}})}, agMax));
    EXPECT_EQ(log.count("Unsupported aggregation type"), 1);
}

}  // namespace
}  // namespace lanefeed_1
