#include "time_range.h"

#include "failure.h"

#include <gtest/gtest.h>

#include <string>

using lanefeed_tool::Failure;
using lanefeed_tool::parseTimeSpan;
using lanefeed_tool::TickSpan;
using lanefeed_tool::TimeScale;

namespace {

constexpr TimeScale kTenSeconds{1000000000, 10000000000};

}  // namespace

TEST(TimeSpan, ReadsEveryUnit) {
    const struct {
        const char* text;
        TickSpan span;
    } cases[] = {
        {"1.2s..3.4s", {1200000000, 3400000000}},
        {"10ms..20ms", {10000000, 20000000}},
        {"5us..1ms", {5000, 1000000}},
        {"1ns..2ns", {1, 2}},
        {"17ticks..99ticks", {17, 99}},
        {"25%..50%", {2500000000, 5000000000}},
        {"..1s", {0, 1000000000}},
        {"0..1s", {0, 1000000000}},
        {"9s..", {9000000000, 10000000000}},
        {"0%..100%", {0, 10000000000}},
        {"0.1234567891s..1s", {123456789, 1000000000}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const TickSpan span = parseTimeSpan(c.text, kTenSeconds);
        EXPECT_EQ(span.start, c.span.start);
        EXPECT_EQ(span.end, c.span.end);
    }
}

TEST(TimeSpan, UsesTheClockOfTheResult) {
    const TickSpan span = parseTimeSpan("1ms..2ms", {3000000, 900000000});
    EXPECT_EQ(span.start, 3000U);
    EXPECT_EQ(span.end, 6000U);
}

TEST(TimeSpan, RefusesWhatItCannotServeAndSaysWhy) {
    const struct {
        const char* text;
        const char* said;
    } cases[] = {
        {"1s", "write A..B"},         {"1..2", "is no time"},     {"as..2s", "is no time"},
        {"-1s..2s", "is no time"},    {"1 s..2s", "is no time"},  {"2s..1s", "is empty"},
        {"2s..2s", "is empty"},       {"1s..11s", "outside"},     {"0%..101%", "outside"},
        {"1e400s..2s", "is no time"}, {"nans..2s", "is no time"}, {"infs..", "is no time"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        try {
            parseTimeSpan(c.text, kTenSeconds);
            ADD_FAILURE() << "taken";
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.code(), lanefeed_tool::exitUsage);
            EXPECT_NE(std::string(failure.what()).find(c.said), std::string::npos)
                << failure.what();
        }
    }
}
