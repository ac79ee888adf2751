// The sort by time, in memory and through its file, against a stable sort of everything.
#include "common/time_sorter.h"

#include "support/random_seed.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace lanefeed_importers {
namespace {

using Entry = std::pair<TraceTime, std::string>;

TEST(TimeSorter, isStableInMemoryAndThroughItsFile) {
    std::mt19937_64 random(lanefeed_test::randomSeed());
    std::vector<Entry> entries;
    for (std::size_t i = 0; i < 20000; ++i) {
        // Nearly in order, with many equal times, and records of very different length.
        const auto ns = static_cast<std::int64_t>(i / 8 + random() % 50) - 100;
        std::string record = std::to_string(i);
        record.resize(record.size() + random() % (i % 97 == 0 ? 40000 : 30), '.');
        entries.emplace_back(TraceTime{ns, random() % 2}, record);
    }
    std::vector<Entry> sorted = entries;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const Entry& a, const Entry& b) { return a.first < b.first; });
    const lanefeed_test::TempDirectory folder;
    for (const std::size_t memory : {std::size_t{64} << 20, std::size_t{100} << 10}) {
        TimeSorter sorter(folder.path(), memory);
        for (const auto& [time, record] : entries)
            ASSERT_TRUE(sorter.add(time, record));
        ASSERT_TRUE(sorter.sort());
        EXPECT_EQ(sorter.runs() > 1, memory < std::size_t{1} << 20);
        TraceTime time;
        std::string_view record;
        for (const Entry& entry : sorted) {
            ASSERT_TRUE(sorter.next(time, record));
            ASSERT_TRUE(time == entry.first);
            ASSERT_EQ(record, entry.second);
        }
        EXPECT_FALSE(sorter.next(time, record));
        EXPECT_FALSE(sorter.error().failed());
    }
}

TEST(TimeSorter, saysWhereItCannotWrite) {
    TimeSorter sorter("/nowhere/at/all", 1024);
    bool added = true;
    for (int i = 0; i < 10 && added; ++i)
        added = sorter.add({i, 0}, std::string(40000, 'x'));
    EXPECT_FALSE(added);
    EXPECT_EQ(sorter.error().kind, ImportError::Kind::failed);
    EXPECT_NE(sorter.error().text.find("/nowhere/at/all"), std::string::npos);
}

}  // namespace
}  // namespace lanefeed_importers
