// Begins and ends of threads, joined by name.
#include "common/open_slices.h"

#include <gtest/gtest.h>

namespace lanefeed_importers {
namespace {

constexpr std::uint32_t kMain = 1;
constexpr std::uint32_t kInner = 2;
constexpr std::uint32_t kLost = 3;

TEST(OpenSlices, anEndClosesTheNearestBeginOfItsName) {
    OpenSlices slices;
    OpenSlice closed;
    slices.begin(0, {{10, 0}, kMain, 0, ""});
    slices.begin(0, {{20, 0}, kInner, 0, ""});
    slices.begin(0, {{30, 0}, kLost, 0, ""});
    slices.begin(1, {{35, 0}, kInner, 0, ""});
    ASSERT_TRUE(slices.end(0, kInner, false, closed));
    EXPECT_EQ(closed.begin.ns, 20);
    EXPECT_EQ(slices.abandoned(), 1U);
    // Its begin is gone, and the other thread's is not its own.
    EXPECT_FALSE(slices.end(0, kInner, false, closed));
    ASSERT_TRUE(slices.end(0, kMain, false, closed));
    EXPECT_EQ(closed.begin.ns, 10);
    EXPECT_EQ(slices.openCount(), 1U);
}

TEST(OpenSlices, anAnonymousEndClosesTheTopAndALostOneHarmsNothing) {
    OpenSlices slices;
    OpenSlice closed;
    EXPECT_FALSE(slices.end(7, kMain, true, closed));
    slices.begin(7, {{10, 0}, kMain, 0, ""});
    EXPECT_FALSE(slices.end(7, kLost, false, closed));
    EXPECT_EQ(slices.openCount(), 1U);
    EXPECT_EQ(slices.abandoned(), 0U);
    ASSERT_TRUE(slices.end(7, kLost, true, closed));
    EXPECT_EQ(closed.name, kMain);
}

TEST(OpenSlices, endsWithoutBeginDoNotSearchADeepStack) {
    OpenSlices slices;
    OpenSlice closed;
    constexpr int kDepth = 100000;
    for (int i = 0; i < kDepth; ++i)
        slices.begin(0, {{i, 0}, kMain, 0, ""});
    // Each would walk the whole stack otherwise: minutes instead of milliseconds.
    for (int i = 0; i < kDepth; ++i)
        ASSERT_FALSE(slices.end(0, kLost, false, closed));
    EXPECT_EQ(slices.openCount(), static_cast<std::uint64_t>(kDepth));
}

}  // namespace
}  // namespace lanefeed_importers
