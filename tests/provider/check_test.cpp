#include "common/check.h"

#include "support/captured_log.h"
#include "support/environment_guard.h"

#include <platkit_2_18/debug.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace {

using lanefeed_test::CapturedLog;

constexpr int positiveLine = __LINE__ + 2;
bool positive(int number) {
    return LF_CHECK(number > 0);
}

TEST(Check, LogsTheConditionWithPlaceAndFunctionAndGoesOn) {
    const CapturedLog log;
    EXPECT_TRUE(positive(1));
    EXPECT_TRUE(log.empty());
    EXPECT_FALSE(positive(0));
    ASSERT_EQ(log.entries().size(), 1U);
    const CapturedLog::Entry entry = log.entries().front();
    EXPECT_EQ(entry.level, 40000);
    EXPECT_EQ(entry.text,
              "number > 0, at file: tests/provider/check_test.cpp:" + std::to_string(positiveLine));
    EXPECT_NE(entry.function.find("positive(int)"), std::string::npos) << entry.function;
}

TEST(Check, AlertsWithoutACondition) {
    const CapturedLog log;
    LF_ALERT("Master table skipped");
    EXPECT_EQ(log.lines(40000).size(), 1U);
    EXPECT_TRUE(log.contains("Master table skipped, at file: "));
}

// Asked once per process, hence in a process of its own.
TEST(CheckDeathTest, CallsTheAssertionHandlerWhenTheEnvironmentAsksForIt) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const lanefeed_test::EnvironmentGuard asks("lanefeed_ERROR_HANDLING", "break,assert");
    const auto failWithHandler = [] {
        platkit_2_18::debug::set_assertion_handler([](const char* text, const char*, int line) {
            std::fprintf(stderr, "%d %s", line, text);
            std::exit(7);
        });
        positive(0);
    };
    EXPECT_EXIT(failWithHandler(), testing::ExitedWithCode(7), "number > 0, at file: ");
}

}  // namespace
