// Begins and ends of threads, joined by name.
#include "common/open_slices.h"

#include <gtest/gtest.h>

namespace lanefeed_importers {
namespace {

constexpr std::uint32_t kMain = 1;
constexpr std::uint32_t kInner = 2;
constexpr std::uint32_t kLost = 3;

TEST(OpenSlices, anEndClosesTheNearestBeginOfItsNameAndALostOneHarmsNothing) {
    OpenSlices slices;
    const auto end = [&](std::uint32_t thread, std::uint32_t name, bool anonymous = false) {
        OpenSlice closed;
        return slices.end(thread, name, anonymous, closed) ? closed.begin.ns : -1;
    };
    EXPECT_EQ(end(0, kMain, true), -1);
    slices.begin(0, {{10, 0}, kMain, 0, ""});
    slices.begin(0, {{20, 0}, kInner, 0, ""});
    slices.begin(0, {{30, 0}, kLost, 0, ""});
    slices.begin(1, {{35, 0}, kInner, 0, ""});
    EXPECT_EQ(end(0, kInner), 20);
    EXPECT_EQ(slices.abandoned(), 1U);
    EXPECT_EQ(end(0, kInner), -1) << "its begin is gone, and the other thread's is not its own";
    EXPECT_EQ(slices.openCount(), 2U);
    EXPECT_EQ(end(0, kMain), 10);
    EXPECT_EQ(end(1, kLost, true), 35);
    EXPECT_EQ(slices.abandoned(), 1U);
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
