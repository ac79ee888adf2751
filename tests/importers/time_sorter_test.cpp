// The sort by time, in memory and through its file, against a stable sort of everything.
#include "common/time_sorter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace lanefeed_importers {
namespace {

struct Entry {
    TraceTime time;
    std::string record;
};

std::vector<Entry> shuffledEntries(std::size_t count) {
    std::mt19937_64 random(7);
    std::vector<Entry> entries;
    for (std::size_t i = 0; i < count; ++i) {
        // Nearly in order, with many equal times, and records of very different length.
        const auto ns = static_cast<std::int64_t>(i / 8 + random() % 50) - 100;
        std::string record = std::to_string(i);
        record.resize(record.size() + random() % (i % 97 == 0 ? 40000 : 30), '.');
        entries.push_back({{ns, random() % 2}, record});
    }
    return entries;
}

void expectSorted(std::vector<Entry> entries, std::size_t memory, bool spills) {
    TimeSorter sorter(testing::TempDir(), memory);
    for (const Entry& entry : entries)
        ASSERT_TRUE(sorter.add(entry.time, entry.record));
    ASSERT_TRUE(sorter.sort());
    EXPECT_EQ(sorter.runs() > 1, spills);
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry& a, const Entry& b) { return a.time < b.time; });
    TraceTime time;
    std::string_view record;
    for (const Entry& entry : entries) {
        ASSERT_TRUE(sorter.next(time, record));
        ASSERT_TRUE(time == entry.time);
        ASSERT_EQ(record, entry.record);
    }
    EXPECT_FALSE(sorter.next(time, record));
    EXPECT_FALSE(sorter.error().failed());
}

TEST(TimeSorter, isStableInMemoryAndThroughItsFile) {
    const std::vector<Entry> entries = shuffledEntries(20000);
    expectSorted(entries, std::size_t{64} << 20, false);
    expectSorted(entries, 100 * 1024, true);
    expectSorted({}, 1024, false);
}

TEST(TimeSorter, saysWhereItCannotWrite) {
    TimeSorter sorter("/nowhere/at/all", 1024);
    const std::string record(40000, 'x');
    bool added = true;
    for (int i = 0; i < 10 && added; ++i)
        added = sorter.add({i, 0}, record);
    EXPECT_FALSE(added);
    EXPECT_EQ(sorter.error().kind, ImportError::Kind::failed);
    EXPECT_NE(sorter.error().text.find("/nowhere/at/all"), std::string::npos);
}
}  // namespace
}  // namespace lanefeed_importers
