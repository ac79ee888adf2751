// Cells that are not asked for in order, and bins at the ends of what ticks can tell.
#include "common/intervalcells.h"

#include <gtest/gtest.h>

#include <limits>

namespace lanefeed_1 {
namespace {

TEST(IntervalCells, FindTheirCellInAnyOrder) {
    IntervalCells cells;
    for (const int bin : {5, 9, 2, 7, 2, 9, 5, 0, 7})
        ++cells.at(1, 2, 3, bin).further;
    for (const int bin : {5, 9, 2, 7})
        EXPECT_EQ(cells.at(1, 2, 3, bin).further, 2) << bin;
    EXPECT_EQ(cells.at(1, 2, 3, 0).further, 1);
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
