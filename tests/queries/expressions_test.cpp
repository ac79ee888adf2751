// Expressions for the ends of an axis, against a small result.
#include "queries/expressions.h"

#include "session/open_result.h"
#include "support/temp_directory.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::variant_t;

// Two threads, ticks 1 to 100 at 1000 a second, samples 5, 7.5 and -2.
class Expressions : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_directory = new TempDirectory;
        writeTraceText(s_directory->file("t.lft"),
                       "thread main 0..100 a\nthread worker 10..20 b\n"
                       "counter load 0=5 10=7.5 20=-2",
                       1000);
        lanefeed_runtime::OpenOutcome outcome;
        s_result = new sptr_t<dataface_1::IInputData>(
            lanefeed_runtime::openResult(s_directory->file("t.lft"), {}, outcome));
        ASSERT_TRUE(outcome.isOpened()) << outcome.text;
    }
    static void TearDownTestSuite() {
        delete s_result;
        delete s_directory;
    }

    // The value as text, "none" when there is none, the error when the text is no expression.
    static std::string value(const std::string& text,
                             const sptr_t<dataface_1::IInputData>& result = *s_result) {
        std::string error;
        const auto expression = lanefeed_runtime::parseExpression(text, error);
        if (expression.is_null()) return error;
        variant_t out("untouched");
        if (!expression->evaluate(out, result)) {
            EXPECT_EQ(out.get<std::string>(), "untouched");
            return "none";
        }
        EXPECT_EQ(out.get_type(), basekit2::vtDouble);
        variant_t printed;
        basekit2::print_variant(out, printed, false);
        return printed.get<std::string>();
    }

    static TempDirectory* s_directory;
    static sptr_t<dataface_1::IInputData>* s_result;
};

TempDirectory* Expressions::s_directory = nullptr;
sptr_t<dataface_1::IInputData>* Expressions::s_result = nullptr;

TEST_F(Expressions, ArithmeticBindsAsUsual) {
    EXPECT_EQ(value("100"), value(" 100 "));
    EXPECT_EQ(value("2 + 3 * 4 - 6 / 3"), value("12"));
    EXPECT_EQ(value("10 - 4 - 3"), value("3"));
    EXPECT_EQ(value("2 * -(1 + 0.5)"), value("0 - 3"));
    EXPECT_EQ(value("1 / 0"), "none");
}

TEST_F(Expressions, ValuesOfTheResult) {
    EXPECT_EQ(value("count(dd_thread)"), value("2"));
    EXPECT_EQ(value("count(counter_data) * 100"), value("300"));
    EXPECT_EQ(value("min(counter_data::value)"), value("-2"));
    EXPECT_EQ(value("max(counter_data::value)"), value("7.5"));
    EXPECT_EQ(value("duration"), value("100"));
    EXPECT_EQ(value("ticksPerSecond"), value("1000"));
}

TEST_F(Expressions, WhatTheResultDoesNotHaveGivesNoValue) {
    EXPECT_EQ(value("count(dd_core)"), "none");
    EXPECT_EQ(value("max(slice_data::value)"), "none");
    EXPECT_EQ(value("max(dd_thread::name)"), "none") << "texts are no numbers";
    EXPECT_EQ(value("duration", nullptr), "none");
    EXPECT_EQ(value("count(dd_thread)", nullptr), "none");
    EXPECT_EQ(value("7", nullptr), value("7"));
}

TEST_F(Expressions, WhatIsNoExpressionIsToldWithTheCharacter) {
    const std::string operand =
        "a number, \"(\" or one of count, min, max, duration, ticksPerSecond is expected";
    EXPECT_EQ(value(""), operand + " at character 1");
    EXPECT_EQ(value("2 + x"), operand + " at character 5");
    EXPECT_EQ(value("2 3"), "an operator or the end is expected at character 3");
    EXPECT_EQ(value("(2"), "\")\" is expected at character 3");
    EXPECT_EQ(value("count"), "\"(\" is expected at character 6");
    EXPECT_EQ(value("count(dd_thread::name)"), "a table is expected at character 7");
    EXPECT_EQ(value("max(counter_data)"), "TABLE::PATH is expected at character 5");
    EXPECT_EQ(value(std::string(5000, '(')), "too many levels at character 33");
}

}  // namespace
}  // namespace lanefeed_test
