// Instances cut by their depth, against the covering instances of every single tick.

#include "timeline/nesting.h"

#include "timeline/random_instances.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <tuple>
#include <vector>

namespace {

using basekit2::u64_t;
using lanefeed_runtime::combine;
using lanefeed_runtime::GroupedInstances;
using lanefeed_runtime::InnermostSweep;
using lanefeed_runtime::splitByLevel;
using lanefeed_runtime::SplitPieces;
using lanefeed_test::Instance;

constexpr int kSpan = 60;

GroupedInstances byBand(const std::vector<Instance>& instances) {
    std::vector<u64_t> start;
    std::vector<u64_t> end;
    std::vector<int> bands;
    for (const Instance& instance : instances) {
        start.push_back(instance.start);
        end.push_back(instance.end);
        bands.push_back(instance.band);
    }
    return {start, end, combine({&bands}, bands.size())};
}

TEST(Nesting, LevelsAreTheDepthAtEveryTick) {
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto instances =
            lanefeed_test::randomInstances(random, lanefeed_test::pick(random, 1, 25), 2, 3, kSpan);
        SplitPieces pieces;
        ASSERT_TRUE(splitByLevel(byBand(instances), 10000, pieces));

        // By band, tick and level: who is there.
        std::map<std::tuple<int, u64_t, int>, int> found;
        std::set<std::tuple<u64_t, unsigned, int>> begins;
        for (std::size_t i = 0; i < pieces.start.size(); ++i) {
            const int position = static_cast<int>(pieces.position[i]);
            const int band = instances[pieces.position[i]].band;
            ASSERT_LE(pieces.start[i == 0 ? 0 : i - 1], pieces.start[i]);
            for (u64_t tick = pieces.start[i]; tick <= pieces.end[i]; ++tick)
                ASSERT_TRUE(
                    found.emplace(std::make_tuple(band, tick, pieces.level[i]), position).second);
            begins.emplace(pieces.start[i], pieces.position[i], pieces.level[i]);
        }
        for (std::size_t i = 0; i < pieces.start.size(); ++i)
            EXPECT_EQ(begins.count({pieces.end[i] + 1, pieces.position[i], pieces.level[i]}), 0U)
                << "cut where the level stays";

        std::map<std::tuple<int, u64_t, int>, int> expected;
        for (int band = 1; band <= 2; ++band)
            for (u64_t tick = 1; tick <= kSpan; ++tick) {
                const std::vector<int> open = lanefeed_test::covering(instances, band, tick);
                for (std::size_t i = 0; i < open.size(); ++i)
                    expected[{band, tick, static_cast<int>(open.size() - 1 - i)}] = open[i];
            }
        EXPECT_EQ(found, expected);
    }
}

TEST(Nesting, SweepOwnsEveryCoveredTickOnceAlsoInAWindow) {
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto instances =
            lanefeed_test::randomInstances(random, lanefeed_test::pick(random, 1, 25), 1, 3, kSpan);
        const GroupedInstances grouped = byBand(instances);
        const auto from = static_cast<u64_t>(lanefeed_test::pick(random, 1, kSpan));
        const u64_t to = from + static_cast<u64_t>(lanefeed_test::pick(random, 1, kSpan));
        std::map<u64_t, int> owners;
        const auto own = [&](std::size_t i, u64_t first, u64_t last) {
            for (u64_t tick = first; tick <= last; ++tick)
                EXPECT_TRUE(owners.emplace(tick, static_cast<int>(grouped.position(i))).second);
        };
        InnermostSweep sweep(from, to);
        grouped.overlapping(grouped.segments().front(), from, to, [&](std::size_t i) {
            sweep.open(i, grouped.start(i), grouped.end(i), own);
        });
        sweep.finish(own);
        std::map<u64_t, int> expected;
        for (u64_t tick = from; tick < to; ++tick) {
            const std::vector<int> open = lanefeed_test::covering(instances, 1, tick);
            if (!open.empty()) expected[tick] = open.back();
        }
        EXPECT_EQ(owners, expected);
    }
}

TEST(Nesting, RefusesMorePiecesThanAllowed) {
    std::vector<Instance> instances;
    for (u64_t i = 1; i <= 50; ++i)
        instances.push_back({i, 200 - i, 1, 1, 1});
    SplitPieces pieces;
    EXPECT_FALSE(splitByLevel(byBand(instances), 1000, pieces));
}

TEST(GroupedInstances, LongInstancesReachIntoLateWindows) {
    // Hundreds of short ones between a long instance and the window.
    std::vector<Instance> instances;
    instances.push_back({1, 5000, 1, 1, 1});
    for (u64_t i = 2; i <= 1000; ++i)
        instances.push_back({i, i, 1, 1, 1});
    instances.push_back({1500, 1500, 1, 1, 1});
    const GroupedInstances grouped = byBand(instances);
    std::vector<u64_t> starts;
    grouped.overlapping(grouped.segments().front(), 1400, 1600,
                        [&](std::size_t i) { starts.push_back(grouped.start(i)); });
    EXPECT_EQ(starts, (std::vector<u64_t>{1, 1500}));
}

}  // namespace
