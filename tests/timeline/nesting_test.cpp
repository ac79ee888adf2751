// Instances cut by their depth. Random ones are compared with every single tick in
// timeline_database_test.cpp and bucket_query_test.cpp.

#include "timeline/nesting.h"

#include "support/answer_rows.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using basekit2::u64_t;
using lanefeed_runtime::combine;
using lanefeed_runtime::GroupedInstances;
using lanefeed_runtime::splitByLevel;
using lanefeed_runtime::SplitPieces;

// All on one band.
GroupedInstances onBand(const std::vector<u64_t>& start, const std::vector<u64_t>& end) {
    const std::vector<int> bands(start.size(), 1);
    return {start, end, combine({&bands}, bands.size())};
}

// "1..9 2..5" as its pieces "LEVEL PLACE:FIRST..LAST", parted by commas.
std::string pieces(const std::string& question) {
    std::vector<u64_t> start;
    std::vector<u64_t> end;
    std::istringstream words(question);
    for (std::string word; words >> word;) {
        start.push_back(std::stoull(word));
        end.push_back(std::stoull(word.substr(word.find("..") + 2)));
    }
    SplitPieces made;
    EXPECT_TRUE(splitByLevel(onBand(start, end), 10000, made));
    std::ostringstream text;
    for (std::size_t i = 0; i < made.start.size(); ++i)
        text << (i > 0 ? ", " : "") << static_cast<int>(made.level[i]) << " " << made.position[i]
             << ":" << made.start[i] << ".." << made.end[i];
    return text.str();
}

TEST(Nesting, CutsWhereTheLevelChangesAndNowhereElse) {
    lanefeed_test::expectAnswers(R"(
        1..9 | 0 0:1..9
        1..9 3..5 | 0 0:1..2, 1 0:3..5, 0 1:3..5, 0 0:6..9
        1..9 1..9 | 1 0:1..9, 0 1:1..9
        1..5 3..9 | 0 0:1..2, 1 0:3..5, 0 1:3..9
        1..9 3..4 5..6 | 0 0:1..2, 1 0:3..6, 0 1:3..4, 0 2:5..6, 0 0:7..9)",
                                 pieces);
}

TEST(Nesting, RefusesMorePiecesThanAllowed) {
    std::vector<u64_t> start;
    std::vector<u64_t> end;
    for (u64_t i = 1; i <= 50; ++i) {
        start.push_back(i);
        end.push_back(200 - i);
    }
    SplitPieces made;
    EXPECT_FALSE(splitByLevel(onBand(start, end), 1000, made));
}

TEST(GroupedInstances, LongInstancesReachIntoLateWindows) {
    // A thousand short ones between a long instance and the window.
    std::vector<u64_t> start = {1};
    std::vector<u64_t> end = {5000};
    for (u64_t i = 2; i <= 1000; ++i) {
        start.push_back(i);
        end.push_back(i);
    }
    start.push_back(1500);
    end.push_back(1500);
    const GroupedInstances grouped = onBand(start, end);
    std::vector<u64_t> starts;
    grouped.overlapping(grouped.segments().front(), 1400, 1600,
                        [&](std::size_t i) { starts.push_back(grouped.start(i)); });
    EXPECT_EQ(starts, (std::vector<u64_t>{1, 1500}));
}

}  // namespace
