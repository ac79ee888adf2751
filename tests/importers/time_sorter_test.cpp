// The sort by time, in memory and through its file, against a stable sort of everything.
#include "common/time_sorter.h"

#include "support/random_seed.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace lanefeed_importers {
namespace {

TEST(TimeSorter, isStableInMemoryAndThroughItsFile) {
    std::mt19937_64 random(lanefeed_test::randomSeed());
    const lanefeed_test::TempDirectory folder;
    TimeSorter inMemory(folder.path(), std::size_t{64} << 20);
    TimeSorter throughFile(folder.path(), std::size_t{100} << 10);
    std::vector<std::pair<TraceTime, std::string>> entries;
    for (std::size_t i = 0; i < 20000; ++i) {
        // Nearly in order, with many equal times, and records of very different length.
        const auto ns = static_cast<std::int64_t>(i / 8 + random() % 50) - 100;
        const std::size_t length = random() % (i % 97 == 0 ? 40000 : 30);
        entries.emplace_back(TraceTime{ns, random() % 2},
                             std::to_string(i) + std::string(length, '.'));
        ASSERT_TRUE(inMemory.add(entries.back().first, entries.back().second));
        ASSERT_TRUE(throughFile.add(entries.back().first, entries.back().second));
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    TraceTime time;
    std::string_view record;
    for (TimeSorter* const sorter : {&inMemory, &throughFile}) {
        ASSERT_TRUE(sorter->sort());
        EXPECT_EQ(sorter->runs() > 1, sorter == &throughFile);
        for (const auto& entry : entries) {
            ASSERT_TRUE(sorter->next(time, record));
            ASSERT_TRUE(time == entry.first && record == entry.second) << entry.second;
        }
        EXPECT_FALSE(sorter->next(time, record) || sorter->error().failed());
    }
}

}  // namespace
}  // namespace lanefeed_importers
