// Expressions for the ends of an axis, against a small result.
#include "queries/expressions.h"

#include "session/open_result.h"
#include "support/trace_text.h"

#include <gtest/gtest.h>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::variant_t;

// The value as text, "none" when there is none, the error when the text is no expression.
std::string valueOf(const std::string& text, const sptr_t<dataface_1::IInputData>& result) {
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

TEST(Expressions, AreValuesOfTheResultOrToldWithTheCharacter) {
    const TextResult text(
        "thread main 0..100 a\nthread worker 10..20 b\ncounter load 0=5 10=7.5 20=-2", 1000);
    lanefeed_runtime::OpenOutcome outcome;
    const auto result = lanefeed_runtime::openResult(text.file(), {}, outcome);
    ASSERT_TRUE(outcome.isOpened()) << outcome.text;
    const std::string operand =
        "a number, \"(\" or one of count, min, max, duration, ticksPerSecond is expected";
    const std::pair<std::string, std::string> cases[] = {
        {" 100 ", "100"},
        {"2 + 3 * 4 - 6 / 3", "12"},
        {"10 - 4 - 3", "3"},
        {"2 * -(1 + 0.5)", "-3"},
        {"1 / 0", "none"},
        {"count(dd_thread)", "2"},
        {"count(counter_data) * 100", "300"},
        {"min(counter_data::value)", "-2"},
        {"max(counter_data::value)", "7.5"},
        {"duration", "100"},
        {"ticksPerSecond", "1000"},
        // What the result does not have gives no value; texts are no numbers.
        {"count(dd_core)", "none"},
        {"max(slice_data::value)", "none"},
        {"max(dd_thread::name)", "none"},
        {"", operand + " at character 1"},
        {"2 + x", operand + " at character 5"},
        {"2 3", "an operator or the end is expected at character 3"},
        {"(2", "\")\" is expected at character 3"},
        {"count", "\"(\" is expected at character 6"},
        {"count(dd_thread::name)", "a table is expected at character 7"},
        {"max(counter_data)", "TABLE::PATH is expected at character 5"},
        {std::string(5000, '('), "too many levels at character 33"}};
    for (const auto& [expression, value] : cases)
        EXPECT_EQ(valueOf(expression, result), value) << expression;
    EXPECT_EQ(valueOf("duration", nullptr) + valueOf("count(dd_thread)", nullptr), "nonenone");
    EXPECT_EQ(valueOf("7", nullptr), "7");
}

}  // namespace
}  // namespace lanefeed_test
