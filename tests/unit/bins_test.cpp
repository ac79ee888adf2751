// Bins of count requests, on windows where each rule shows by itself; cells of interval requests
// that are not asked for in order, and bins at the ends of what ticks can tell. Against a plain
// reckoning on a store: tests/agreement/counts_test.cpp and intervals_test.cpp.

#include "common/countbins.h"
#include "common/intervalcells.h"

#include <gtest/gtest.h>

#include <limits>

namespace lanefeed_1 {
namespace {

using Counts = std::vector<basekit2::s64_t>;

struct Instance {
    basekit2::u64_t first;
    basekit2::u64_t last;
    basekit2::s64_t value = 1;
};

Counts count(const CountGrid& grid, const std::vector<Instance>& instances, bool merge = false) {
    CountSeries series;
    EXPECT_TRUE(series.counts(grid).empty());
    for (const Instance& instance : instances)
        series.add(grid, instance.first, instance.last, instance.value, merge);
    return series.counts(grid);
}

TEST(CountBins, AreFineWhereTheWindowAllowsItAndShowTheirPeak) {
    EXPECT_EQ(CountGrid(1000, 2000, 10, 10).binWidth(), 10U);
    EXPECT_EQ(CountGrid(1000, 1099, 10, 10).binWidth(), 9U) << "bins of the request";
    EXPECT_EQ(CountGrid(1000, 900, 1, 1).binWidth(), 0U);
    EXPECT_EQ(count(CountGrid(1000, 1200, 2, 10),
                    {{1000, 1099}, {1030, 1039}, {1032, 1035}, {1150, 1160}}),
              (Counts{3, 1}));
    EXPECT_EQ(count(CountGrid(1000, 1200, 2, 1), {{900, 1100, -4}, {1000, 1050, 7}}, true),
              (Counts{3, -4}));
}

TEST(CountBins, CountOneAfterTheOtherOnceAndEndWithTheWindow) {
    const CountGrid grid(1000, 1024, 2, 1);
    const std::vector<Instance> touching = {{1000, 1004}, {1005, 1017}, {1017, 1018}};
    EXPECT_EQ(count(grid, touching), (Counts{1, 2})) << "equal ticks are two at a time";
    EXPECT_EQ(count(grid, touching, true), (Counts{2, 2}));
    // The tick 0 counts as none before.
    EXPECT_EQ(count(CountGrid(0, 20, 2, 1), {{0, 0}, {1, 2}}), (Counts{2, 0}));
    EXPECT_TRUE(grid.touches(900, 1000) && grid.touches(1024, 1030));
    EXPECT_FALSE(grid.touches(900, 999) || grid.touches(1025, 1030));
    EXPECT_EQ(count(grid, {{1020, 1024}}), (Counts{0, 1}));
    EXPECT_EQ(count(CountGrid(1000, 1025, 2, 1), {{1024, 1024}}), (Counts{0, 0}))
        << "begins behind the last whole bin";
}

TEST(IntervalCells, FindTheirCellInAnyOrder) {
    IntervalCells cells;
    for (const int bin : {5, 9, 2, 7, 2, 9, 5, 0, 7})
        ++cells.at(1, 2, 3, bin).further;
    for (const int bin : {5, 9, 2, 7})
        EXPECT_EQ(cells.at(1, 2, 3, bin).further, 2) << bin;
    EXPECT_EQ(cells.at(1, 2, 3, 8).further, 0);
    EXPECT_EQ(cells.at(1, 2, 2, 5).further, 0);
    EXPECT_EQ(cells.at(1, 1, 3, 5).further, 0);
    EXPECT_EQ(cells.at(0, 2, 3, 5).further, 0);
}

TEST(IntervalBins, StandTicksOfAnySize) {
    constexpr basekit2::u64_t last = std::numeric_limits<basekit2::u64_t>::max();
    const IntervalBins all(1, last, 10);
    EXPECT_EQ(all.binOf(last, last), 9);
    EXPECT_EQ(all.binOf(last / 2 - 10, last / 2 - 10), 4);
    EXPECT_EQ(all.binOf(0, 0), -1);
    // So far before the window that the bare quotients would meet in the last bin.
    EXPECT_EQ(IntervalBins(100, 130, 10).binOf(0, 130), -1);
    EXPECT_EQ(IntervalBins(100, 130, 10).binOf(129, last), 9);
    EXPECT_TRUE(IntervalBins(0, last, 10).isEmpty()) << "one tick more than can be told";
}

}  // namespace
}  // namespace lanefeed_1
