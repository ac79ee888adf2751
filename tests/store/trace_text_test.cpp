// The text form that other tests write their traces in says what it seems to say.
#include "support/trace_text.h"

#include "store/result_facts.h"
#include "support/store_text.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace lanefeed_test {
namespace {

TEST(TraceText, BecomesRowsOfAResult) {
    TextResult result(R"(
        thread main  0..100 a  10..12 b*3@io{"k":1}
        marker main  5 gc
        process other
        thread main  20..20 c
        counter load  0=5  10=-7.6
        track upload 3..9 part
        flow main 5 main 9 wake
        pause 20..30
        pause 30..40   # touches
    )");
    EXPECT_EQ(rowsOf(result.database(), "slice_data",
                     {"start_tsc", "end_tsc", "attr.name", "count", "dd_category.name", "args.json",
                      "dd_band::dd_thread.label"}),
              "1 100 a 1 - - app / main\n"
              "11 12 b 3 io {\"k\":1} app / main\n"
              "21 21 c 1 - - other / main\n");
    EXPECT_EQ(rowsOf(result.database(), "counter_data",
                     {"start_tsc", "end_tsc", "value", "count", "dd_band::dd_counter.name"}),
              "1 10 5 5 load\n11 100 -7.6 -8 load\n");
    EXPECT_EQ(rowsOf(result.database(), "marker_data", {"start_tsc", "end_tsc", "attr.name"}),
              "6 6 gc\n");
    EXPECT_EQ(rowsOf(result.database(), "flow_data",
                     {"multi_band_start_tsc", "multi_band_index", "end_tsc", "attr.name"}),
              "6 2 10 wake\n");
    EXPECT_EQ(rowsOf(result.database(), "async_data", {"start_tsc", "end_tsc", "attr.name"}),
              "4 9 part\n");
    EXPECT_EQ(rowsOf(result.database(), "pauses", {"start_tsc", "end_tsc"}), "21 40\n");
    EXPECT_EQ(result.store().facts->origin, -1);
    EXPECT_EQ(result.store().facts->lastTick, 100U);
}

TEST(TraceText, GivesAThreadItsLifeTimes) {
    TextResult result(R"(
        alive main 10..20
        thread main 12..15 a
        alive main 30..
        thread main 35..36 b 90..100 c
    )");
    EXPECT_EQ(rowsOf(result.database(), "dd_band", {"dd_thread", "start_tsc", "end_tsc"}),
              "1 1 10\n1 21 90\n");
    EXPECT_EQ(rowsOf(result.database(), "slice_data", {"dd_band", "start_tsc"}),
              "1 3\n2 26\n2 81\n");
}

TEST(TraceText, NamesTheLineThatItDoesNotTake) {
    TempDirectory directory;
    try {
        writeTraceText(directory.file("x.lft"), "thread main 0..1 a\nthread main 5 b\n");
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("thread main 5 b"), std::string::npos);
    }
}

}  // namespace
}  // namespace lanefeed_test
