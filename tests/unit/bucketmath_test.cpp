// Arithmetic on buckets: exact answers on small series, and what is kept on random ones.

#include "common/bucketmath.h"

#include "support/captured_log.h"
#include "support/random_seed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <random>

namespace lanefeed_1 {
namespace {

using basekit2::u64_t;
using lanefeed_test::CapturedLog;
using Values = std::vector<double>;

const double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr u64_t kLast = std::numeric_limits<u64_t>::max();

OverTimeData dataOf(const std::vector<Values>& series) {
    OverTimeData data;
    for (const Values& values : series) {
        data.seriesSet.emplace_back();
        data.seriesSet.back().values = values;
    }
    return data;
}

// What was read over 0..actualEnd, for a request of start..end.
Values rebucketed(const Values& values,
                  int count,
                  u64_t start,
                  u64_t end,
                  u64_t actualStart = 0,
                  u64_t actualEnd = 100) {
    OverTimeData data = dataOf({values});
    EXPECT_TRUE(bucketmath::rebucket(data, count, start, end, actualStart, actualEnd));
    return data.seriesSet[0].values;
}

Values folded(const Values& values, int count, aggregation_type_t type) {
    OverTimeData data = dataOf({values});
    bucketmath::rebucketToLowerWidth(data, count, 1000, 1120, type);
    return data.seriesSet[0].values;
}

TEST(Rebucket, SharesOutWhatAWideBucketHolds) {
    EXPECT_EQ(rebucketed({10, 20}, 4, 0, 100), (Values{5, 5, 10, 10}));
    // A bucket that straddles gets the mean of its two sources.
    const double ratio = (100.0 / 3) / 50.0;
    EXPECT_EQ(rebucketed({10, 20}, 3, 0, 100), (Values{10 * ratio, 15 * ratio, 20 * ratio}));
    const Values sparse = rebucketed({kNaN, 20}, 3, 0, 100);
    EXPECT_TRUE(std::isnan(sparse[0]) && std::isnan(sparse[1]) && !std::isnan(sparse[2]));
    // The first of these ends where the second source begins and does not straddle.
    EXPECT_EQ(rebucketed({10, 20}, 4, 40, 80), (Values{2, 4, 4, 4}));
    EXPECT_EQ(rebucketed({10, 20}, 2, 0, 50), (Values{10, 20})) << "of equal width";
    EXPECT_EQ(rebucketed({}, 2, 0, 50), Values{});
    // Of 400 buckets over 100 ticks the one at tick 50 has its last whole tick before the boundary.
    const Values narrow = rebucketed({10, 20}, 400, 0, 100);
    EXPECT_EQ(narrow[199], 10 * 0.005);
    EXPECT_EQ(narrow[200], 15 * 0.005);
    EXPECT_EQ(narrow[204], 20 * 0.005);
    // No double tells the last tick of such a span from its end.
    const u64_t end = u64_t{1} << 60U;
    EXPECT_EQ(rebucketed({10, 20}, 4, 0, end, 0, end), (Values{5, 7.5, 10, 10}));
}

TEST(Rebucket, RefusesSpansThatDoNotContainTheRequestAndStandsOddOnes) {
    const CapturedLog log;
    OverTimeData data = dataOf({{10, 20}});
    EXPECT_FALSE(bucketmath::rebucket(data, 4, 10, 101, 20, 100));
    EXPECT_EQ(log.count("actualEnd >= requestedEnd"), 1);
    EXPECT_EQ(log.count("actualStart <= requestedStart"), 0);
    EXPECT_FALSE(bucketmath::rebucket(data, 4, 10, 100, 11, 100));
    EXPECT_EQ(log.count("actualStart <= requestedStart"), 1);
    EXPECT_EQ(data.seriesSet[0].values, (Values{10, 20}));

    EXPECT_EQ(rebucketed({10, 20, 30}, 5, 7, 7, 7, 7).size(), 5U);
    EXPECT_EQ(rebucketed({10, 20, 30}, 5, kLast - 1, kLast, 0, kLast).size(), 5U);
    EXPECT_EQ(rebucketed({10, 20, 30}, 5, kLast, kLast, 0, kLast).size(), 5U);
    EXPECT_EQ(rebucketed({10, 20, 30}, 4000, 0, 1, 0, 1).size(), 4000U);
}

// Where boundaries lie on whole ticks, a target that straddles gets half of each source in place of
// its true share: that is the most by which the total can be off.
TEST(Rebucket, KeepsTheTotalUpToWhatStraddles) {
    std::mt19937 random(lanefeed_test::randomSeed());
    const auto pick = [&](int from, int to) {
        return std::uniform_int_distribution<int>(from, to)(random);
    };
    const auto sum = [](const Values& values) {
        return std::accumulate(values.begin(), values.end(), 0.0);
    };
    for (int round = 0; round < 300; ++round) {
        const int fromCount = pick(1, 40);
        const int toCount = pick(fromCount, 200);
        const auto range = static_cast<u64_t>(fromCount) * static_cast<u64_t>(toCount) *
                           static_cast<u64_t>(pick(1, 50));
        Values source(static_cast<std::size_t>(fromCount));
        for (double& value : source)
            value = std::uniform_real_distribution<double>(0.0, 100.0)(random);
        const double ratio = static_cast<double>(fromCount) / toCount;
        double bound = 1e-6;
        for (std::size_t i = 1; i < source.size() && toCount % fromCount != 0; ++i)
            bound += 0.5 * std::abs(source[i] - source[i - 1]) * ratio;
        ASSERT_NEAR(sum(rebucketed(source, toCount, 5000, 5000 + range, 5000, 5000 + range)),
                    sum(source), bound)
            << fromCount << " to " << toCount << " over " << range;
    }
}

TEST(RebucketToLowerWidth, WeighsBucketsByTheShareOfTheTarget) {
    EXPECT_EQ(folded({10, 20, 30, 40}, 2, agAverage), (Values{15, 35}));
    // 120 ticks, 3 to 2: the middle source loses a tick on either side of the boundary.
    EXPECT_EQ(folded({10, 20, 30}, 2, agAverage),
              (Values{10 * 40 / 60.0 + 20 * 19 / 60.0, 20 * 19 / 60.0 + 30 * 40 / 60.0}));
    // In a sum and a maximum it counts in both targets.
    EXPECT_EQ(folded({10, 20, 30}, 2, agSum), (Values{30, 50}));
    EXPECT_EQ(folded({10, 20, 30}, 2, agMax), (Values{20, 30}));
    EXPECT_EQ(folded({10, 20}, 2, agSum), (Values{10, 20}));
    EXPECT_EQ(folded({10, 20}, 0, agSum), Values{});
    // More targets than sources: only first and last target of each are touched.
    EXPECT_EQ(folded({10, 20}, 6, agSum), (Values{10, 0, 10, 20, 0, 20}));
}

TEST(AggregateValue, FollowsItsType) {
    double value = 3;
    bucketmath::aggregateValue(value, 4, 0.5, agAverage);
    EXPECT_EQ(value, 5);
    bucketmath::aggregateValue(value, 4, 0.5, agSum);
    EXPECT_EQ(value, 9);
    value = 0;
    bucketmath::aggregateValue(value, -1, 1, agMax);
    EXPECT_EQ(value, 0);
    const CapturedLog log;
    bucketmath::aggregateValue(value, 7, 1, agCountNonZero);
    EXPECT_EQ(value, 0);
    EXPECT_TRUE(log.contains("Unsupported aggregation function"));
}

TEST(AggregateOvertimeData, DividesByAllRecordsAndCountsWhatIsNotZero) {
    std::vector<OverTimeData> records{dataOf({}), dataOf({{10, 0}}), dataOf({{20, 4}})};
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
    records = {dataOf({{10, 0, kNaN}, {}}), dataOf({{5, 0, 0}, {9, 0, 0}}),
               dataOf({{0, 2, 2, 2}, {1, 0, 1}})};
    EXPECT_TRUE(bucketmath::aggregateOvertimeData(data, records, agCountNonZero));
    EXPECT_EQ(data.seriesSet[0].values, (Values{2, 1, 2}));
    EXPECT_EQ(data.seriesSet[1].values, (Values{10, 0, 1}));
}

TEST(AggregateOvertimeData, FailsOnShapesThatDiffer) {
    const CapturedLog log;
    OverTimeData data;
    EXPECT_FALSE(bucketmath::aggregateOvertimeData(data, {}, agAverage));
    EXPECT_EQ(log.count("!dataArray.empty()"), 1);
    EXPECT_FALSE(
        bucketmath::aggregateOvertimeData(data, {dataOf({{1}}), dataOf({{1}, {2}})}, agAverage));
    EXPECT_EQ(log.count("data.seriesSet.size() == dataArray[i].seriesSet.size()"), 1);
    EXPECT_TRUE(bucketmath::aggregateOvertimeData(data, {dataOf({{1}}), dataOf({})}, agMax));
    EXPECT_FALSE(bucketmath::aggregateOvertimeData(data, {dataOf({{1}}), dataOf({{2}})}, agMax));
    EXPECT_EQ(log.count("Unsupported aggregation type"), 1);
}

TEST(WholeBinWidth, CutsToWholeTicks) {
    EXPECT_EQ(bucketmath::wholeBinWidth(5, 15, 3), 3U);
    EXPECT_EQ(bucketmath::wholeBinWidth(5, 15, 0), 0U);
    EXPECT_EQ(bucketmath::wholeBinWidth(0, 10, 20), 0U);
    EXPECT_EQ(bucketmath::wholeBinWidth(0, kLast, 1), kLast);
}

}  // namespace
}  // namespace lanefeed_1
