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

using lanefeed_test::CapturedLog;
using Values = std::vector<double>;

const double kNaN = std::numeric_limits<double>::quiet_NaN();

OverTimeData dataOf(const std::vector<Values>& series) {
    OverTimeData data;
    for (const Values& values : series) {
        data.seriesSet.emplace_back();
        data.seriesSet.back().values = values;
    }
    return data;
}

Values rebucketed(const Values& values, int count, basekit2::u64_t start, basekit2::u64_t end) {
    OverTimeData data = dataOf({values});
    EXPECT_TRUE(bucketmath::rebucket(data, count, start, end, 0, 100));
    return data.seriesSet[0].values;
}

Values folded(const Values& values, int count, aggregation_type_t type) {
    OverTimeData data = dataOf({values});
    bucketmath::rebucketToLowerWidth(data, count, 1000, 1120, type);
    return data.seriesSet[0].values;
}

double sum(const Values& values) {
    return std::accumulate(values.begin(), values.end(), 0.0);
}

Values randomValues(std::mt19937& random, std::size_t count) {
    Values values(count);
    std::uniform_real_distribution<double> value(0.0, 100.0);
    for (double& v : values)
        v = value(random);
    return values;
}

TEST(Rebucket, SharesOutWhatAWideBucketHolds) {
    EXPECT_EQ(rebucketed({10, 20}, 4, 0, 100), (Values{5, 5, 10, 10}));
}

TEST(Rebucket, AveragesTheTwoSourcesOfAStraddlingBucket) {
    const Values values = rebucketed({10, 20}, 3, 0, 100);
    const double ratio = (100.0 / 3) / 50.0;
    EXPECT_EQ(values, (Values{10 * ratio, 15 * ratio, 20 * ratio}));
}

TEST(Rebucket, CutsTheRequestedSpanOutOfAWiderOne) {
    // Buckets of 50 read, of 10 asked for, from 40 to 80: the first ends where the second source
    // begins and does not straddle.
    EXPECT_EQ(rebucketed({10, 20}, 4, 40, 80), (Values{2, 4, 4, 4}));
}

TEST(Rebucket, LeavesASeriesOfEqualWidthAsItIs) {
    EXPECT_EQ(rebucketed({10, 20}, 2, 0, 50), (Values{10, 20}));
    EXPECT_EQ(rebucketed({}, 2, 0, 50), Values{});
}

TEST(Rebucket, SpreadsNoDataOverWhatTouchesIt) {
    const Values values = rebucketed({kNaN, 20}, 3, 0, 100);
    EXPECT_TRUE(std::isnan(values[0]));
    EXPECT_TRUE(std::isnan(values[1]));
    EXPECT_FALSE(std::isnan(values[2]));
}

TEST(Rebucket, AveragesBackwardsInBucketsNarrowerThanATick) {
    // Of 400 buckets over 100 ticks the one at tick 50 has its last whole tick before the boundary.
    const Values values = rebucketed({10, 20}, 400, 0, 100);
    EXPECT_EQ(values[199], 10 * 0.005);
    EXPECT_EQ(values[200], 15 * 0.005);
    EXPECT_EQ(values[204], 20 * 0.005);
}

TEST(Rebucket, TakesTheLastSourceAloneWhereRoundingStepsBehindIt) {
    // No double tells the last tick of such a span from its end.
    const basekit2::u64_t end = basekit2::u64_t{1} << 60U;
    OverTimeData data = dataOf({{10, 20}});
    ASSERT_TRUE(bucketmath::rebucket(data, 4, 0, end, 0, end));
    EXPECT_EQ(data.seriesSet[0].values, (Values{5, 7.5, 10, 10}));
}

TEST(Rebucket, RefusesSpansThatDoNotContainTheRequest) {
    const CapturedLog log;
    OverTimeData data = dataOf({{10, 20}});
    EXPECT_FALSE(bucketmath::rebucket(data, 4, 10, 101, 20, 100));
    EXPECT_EQ(log.count("actualEnd >= requestedEnd"), 1);
    EXPECT_EQ(log.count("actualStart <= requestedStart"), 0);
    EXPECT_FALSE(bucketmath::rebucket(data, 4, 10, 100, 11, 100));
    EXPECT_EQ(log.count("actualStart <= requestedStart"), 1);
    EXPECT_EQ(data.seriesSet[0].values, (Values{10, 20}));
}

TEST(Rebucket, StaysInsideItsArraysOnOddSpans) {
    const basekit2::u64_t last = std::numeric_limits<basekit2::u64_t>::max();
    struct {
        int count;
        basekit2::u64_t start, end, actualStart, actualEnd;
    } const cases[] = {{5, 7, 7, 7, 7},
                       {5, last - 1, last, 0, last},
                       {5, last, last, 0, last},
                       {4000, 0, 1, 0, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.end - c.start);
        OverTimeData data = dataOf({{10, 20, 30}});
        EXPECT_TRUE(
            bucketmath::rebucket(data, c.count, c.start, c.end, c.actualStart, c.actualEnd));
        EXPECT_EQ(data.seriesSet[0].values.size(), static_cast<std::size_t>(c.count));
    }
}

// Where boundaries lie on whole ticks, a target that straddles gets half of each source in place of
// its true share: that is the most by which the total can be off.
TEST(Rebucket, KeepsTheTotalUpToWhatStraddles) {
    std::mt19937 random(lanefeed_test::randomSeed());
    for (int round = 0; round < 300; ++round) {
        const int fromCount = std::uniform_int_distribution<int>(1, 40)(random);
        const int toCount = std::uniform_int_distribution<int>(fromCount, 200)(random);
        const auto range = static_cast<basekit2::u64_t>(fromCount) *
                           static_cast<basekit2::u64_t>(toCount) *
                           std::uniform_int_distribution<basekit2::u64_t>(1, 50)(random);
        const Values source = randomValues(random, static_cast<std::size_t>(fromCount));
        OverTimeData data = dataOf({source});
        ASSERT_TRUE(bucketmath::rebucket(data, toCount, 5000, 5000 + range, 5000, 5000 + range));
        const double ratio = static_cast<double>(fromCount) / toCount;
        double bound = 1e-6;
        for (std::size_t i = 1; i < source.size(); ++i)
            bound += 0.5 * std::abs(source[i] - source[i - 1]) * ratio;
        if (toCount % fromCount == 0) bound = 1e-6;
        ASSERT_NEAR(sum(data.seriesSet[0].values), sum(source), bound)
            << fromCount << " to " << toCount << " over " << range;
    }
}

TEST(RebucketToLowerWidth, WeighsBucketsByTheShareOfTheTarget) {
    EXPECT_EQ(folded({10, 20, 30, 40}, 2, agAverage), (Values{15, 35}));
    // 120 ticks, 3 to 2: the middle source loses a tick on either side of the boundary.
    EXPECT_EQ(folded({10, 20, 30}, 2, agAverage),
              (Values{10 * 40 / 60.0 + 20 * 19 / 60.0, 20 * 19 / 60.0 + 30 * 40 / 60.0}));
}

TEST(RebucketToLowerWidth, CountsAStraddlingBucketInBothTargetsOfASum) {
    EXPECT_EQ(folded({10, 20, 30}, 2, agSum), (Values{30, 50}));
    EXPECT_EQ(folded({10, 20, 30}, 2, agMax), (Values{20, 30}));
}

TEST(RebucketToLowerWidth, LeavesEqualWidthAndDropsWhatHasNoTarget) {
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

TEST(AggregateOvertimeData, DividesByAllRecordsAlsoEmptyOnes) {
    std::vector<OverTimeData> records{dataOf({}), dataOf({{10, 0}}), dataOf({{20, 4}})};
    records[1].row = 7;
    records[1].dbIndexes = {3};
    records[1].rowFlag = false;
    OverTimeData data;
    EXPECT_TRUE(bucketmath::aggregateOvertimeData(data, records, agAverage));
    EXPECT_EQ(data.seriesSet[0].values, (Values{30 / 3.0, 4 / 3.0}));
    EXPECT_EQ(data.row, 7);
    EXPECT_EQ(data.dbIndexes, std::vector<int>{3});
    EXPECT_FALSE(data.rowFlag);
    EXPECT_TRUE(bucketmath::aggregateOvertimeData(data, records, agSum));
    EXPECT_EQ(data.seriesSet[0].values, (Values{30, 4}));
}

TEST(AggregateOvertimeData, CountsWhatIsNotZeroButKeepsALateSeriesAsItStands) {
    OverTimeData data;
    const std::vector<OverTimeData> records{dataOf({{10, 0, kNaN}, {}}),
                                            dataOf({{5, 0, 0}, {9, 0, 0}}),
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
    const basekit2::u64_t last = std::numeric_limits<basekit2::u64_t>::max();
    EXPECT_EQ(bucketmath::wholeBinWidth(0, last, 1), last);
}

}  // namespace
}  // namespace lanefeed_1
