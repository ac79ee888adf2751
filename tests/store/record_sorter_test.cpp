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

std::vector<Record> readAll(RecordSorter& sorter) {
    std::vector<Record> out;
    EXPECT_TRUE(sorter.startReading());
    while (const std::int64_t* record = sorter.next())
        out.push_back({record[0], record[1], record[2]});
    EXPECT_FALSE(sorter.failed());
    EXPECT_EQ(sorter.next(), nullptr);
    return out;
}

class RecordSorterRuns : public testing::TestWithParam<int> {};

TEST_P(RecordSorterRuns, GivesWhatAStableSortGives) {
    const lanefeed_test::TempDirectory directory;
    std::mt19937 random(lanefeed_test::randomSeed());
    RecordSorter sorter(3, 1, directory.path());
    std::vector<Record> expected;
    const int runs = GetParam();
    for (int run = 0; run <= runs; ++run) {
        const int size = static_cast<int>(random() % 500);
        for (int i = 0; i < size; ++i) {
            // Few different cells, so that many are equal; the last tells the order of adding.
            const Record record = {static_cast<std::int64_t>(random() % 50) - 25,
                                   static_cast<std::int64_t>(random() % 4),
                                   static_cast<std::int64_t>(expected.size())};
            expected.push_back(record);
            sorter.add(record.data());
        }
        if (run < runs) {
            ASSERT_TRUE(sorter.spill());
            EXPECT_EQ(sorter.bytesInMemory(), 0U);
        }
    }
    EXPECT_EQ(sorter.size(), expected.size());
    std::stable_sort(expected.begin(), expected.end(), [](const Record& a, const Record& b) {
        return a[0] != b[0] ? a[0] < b[0] : a[1] > b[1];
    });
    EXPECT_EQ(readAll(sorter), expected);
}

INSTANTIATE_TEST_SUITE_P(Runs, RecordSorterRuns, testing::Values(0, 1, 2, 7, 40));

TEST(RecordSorter, NeedsNoDiskForRecordsInOrder) {
    RecordSorter sorter(1, 0, "/no/such/folder");
    for (std::int64_t i = 0; i < 1000; ++i)
        sorter.add(&i);
    ASSERT_TRUE(sorter.startReading());
    for (std::int64_t i = 0; i < 1000; ++i)
        ASSERT_EQ(*sorter.next(), i);
}

TEST(RecordSorter, TellsThatItCannotSpill) {
    RecordSorter sorter(1, 0, "/no/such/folder");
    const std::int64_t record = 1;
    sorter.add(&record);
    EXPECT_FALSE(sorter.spill());
}

TEST(RecordSorter, LeavesNoFileBehind) {
    const lanefeed_test::TempDirectory directory;
    RecordSorter sorter(1, 0, directory.path());
    const std::int64_t record = 1;
    sorter.add(&record);
    ASSERT_TRUE(sorter.spill());
    EXPECT_TRUE(directory.names().empty());
}

}  // namespace
}  // namespace lanefeed_runtime
