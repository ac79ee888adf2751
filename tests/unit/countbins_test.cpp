// Bins of count requests, on windows where each rule shows by itself. Against a plain count on a
// store: tests/agreement/counts_test.cpp.

#include "common/countbins.h"

#include <gtest/gtest.h>

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

TEST(CountBins, AreFineWhereTheWindowAllowsIt) {
    EXPECT_EQ(CountGrid(1000, 2000, 10, 10).binWidth(), 10U);
    EXPECT_EQ(CountGrid(1000, 1099, 10, 10).binWidth(), 9U) << "bins of the request";
    for (const CountGrid& grid : {CountGrid(1000, 1005, 10, 10), CountGrid(1000, 1000, 1, 1),
                                  CountGrid(1000, 900, 1, 1), CountGrid(0, 100, 0, 10)})
        EXPECT_EQ(grid.binWidth(), 0U);
}

TEST(CountBins, ShowThePeakOfFineOnesButTheSumOfPlainOnes) {
    const CountGrid fine(1000, 1200, 2, 10);
    const std::vector<Instance> instances = {
        {1000, 1099}, {1030, 1039}, {1032, 1035}, {1150, 1160}};
    EXPECT_EQ(count(fine, instances), (Counts{3, 1}));
    EXPECT_EQ(count(CountGrid(1000, 1099, 2, 10), instances), (Counts{3, 1})) << "too fine";
    EXPECT_EQ(count(CountGrid(1000, 1200, 2, 1), {{900, 1100, -4}, {1000, 1050, 7}}, true),
              (Counts{3, -4}));
}

TEST(CountBins, CountOneAfterTheOtherOnce) {
    const CountGrid grid(1000, 1020, 2, 1);
    const std::vector<Instance> touching = {{1000, 1004}, {1005, 1015}, {1015, 1016}};
    EXPECT_EQ(count(grid, touching), (Counts{1, 2})) << "equal ticks are two at a time";
    EXPECT_EQ(count(grid, touching, true), (Counts{2, 2}));
    EXPECT_EQ(count(grid, {{1000, 1001}, {1003, 1004}, {1012, 1013}}), (Counts{1, 1}));
    // The tick 0 counts as none before.
    EXPECT_EQ(count(CountGrid(0, 20, 2, 1), {{0, 0}, {1, 2}}), (Counts{2, 0}));
}

TEST(CountBins, EndWithTheWindow) {
    const CountGrid grid(1000, 1024, 2, 1);
    EXPECT_TRUE(grid.touches(900, 1000) && grid.touches(1024, 1030));
    EXPECT_FALSE(grid.touches(900, 999) || grid.touches(1025, 1030));
    EXPECT_EQ(count(grid, {{1020, 1024}}), (Counts{0, 1}));
    EXPECT_EQ(count(CountGrid(1000, 1025, 2, 1), {{1024, 1024}}), (Counts{0, 0}))
        << "begins behind the last whole bin";
}

}  // namespace
}  // namespace lanefeed_1
