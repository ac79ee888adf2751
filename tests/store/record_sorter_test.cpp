// Sorting against std::stable_sort, in memory and over runs on disk.
#include "store/record_sorter.h"

#include "support/random_seed.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

namespace lanefeed_runtime {
namespace {

using Record = std::array<std::int64_t, 3>;

TEST(RecordSorter, GivesWhatAStableSortGivesAndLeavesNoFile) {
    std::mt19937 random(lanefeed_test::randomSeed());
    const auto below = [&](unsigned end) { return static_cast<std::int64_t>(random() % end); };
    for (const int spills : {0, 1, 2, 100}) {
        const lanefeed_test::TempDirectory directory;
        RecordSorter sorter(3, 1, spills > 0 ? directory.path() : "/no/such/folder");
        std::vector<Record> expected;
        for (int part = 0; part <= spills; ++part) {
            // Blocks of the memory are merged too. Many of the first cells are equal, and at first
            // they ascend; the last ones tell the order of adding and have differences of all
            // lengths. With many parts a buffer holds less than the first.
            for (auto left = part == 0 ? 20000 + below(20000) : below(500); left > 0; --left) {
                const std::uint64_t number = expected.size();
                const std::int64_t first =
                    number < 10000 ? static_cast<std::int64_t>(number / 100) : below(50) - 25;
                expected.push_back(
                    {first, below(4), static_cast<std::int64_t>(number << below(64))});
                sorter.add(expected.back().data());
            }
            ASSERT_TRUE(part == spills || (sorter.spill() && sorter.bytesInMemory() == 0));
        }
        EXPECT_EQ(sorter.size(), expected.size());
        std::stable_sort(expected.begin(), expected.end(), [](const Record& a, const Record& b) {
            return a[0] != b[0] ? a[0] < b[0] : a[1] > b[1];
        });
        ASSERT_TRUE(sorter.startReading());
        for (const Record& record : expected) {
            const std::int64_t* const next = sorter.next();
            ASSERT_TRUE(next && std::equal(record.begin(), record.end(), next)) << spills;
        }
        EXPECT_TRUE(sorter.next() == nullptr && !sorter.failed() && directory.names().empty());
    }
    RecordSorter sorter(3, 1, "/no/such/folder");
    sorter.add(Record{}.data());
    EXPECT_FALSE(sorter.spill());
}

}  // namespace
}  // namespace lanefeed_runtime
