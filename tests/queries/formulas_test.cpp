// Formulas of derived queries: what the text means, and what is refused when the library loads; and
// expressions for the ends of an axis, against a small result.
#include "library_text.h"
#include "queries/expressions.h"
#include "session/open_result.h"
#include "support/trace_text.h"

#include <dataface_1/input_data.h>
#include <slicekit_1_0/rpn_processor.h>

#include <gmock/gmock.h>

#include <cmath>
#include <fmt/format.h>
#include <limits>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IQuery;
using slicekit_1_0::IRpnProgram;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::NanSensitiveDoubleEq;

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

const std::string kMembers =
    "<timeQuery id='a'><dbPath>slice_data</dbPath></timeQuery>"
    "<countQuery id='b'><dbPath>slice_data</dbPath></countQuery>"
    "<instanceCountQuery id='odd-id'><dbPath>slice_data</dbPath></instanceCountQuery>"
    "<timeQuery id='byName'><dbPath>slice_data</dbPath><expand><infoQuery id='name'>"
    "<dbPath>slice_data::dd_task</dbPath></infoQuery></expand></timeQuery>"
    "<timeQuery id='byTrack'><dbPath>async_data</dbPath><expand><infoQuery id='track'>"
    "<dbPath>async_data::dd_track</dbPath></infoQuery></expand></timeQuery>"
    "<infoQuery id='info'/>\n";

std::string derivedXml(const std::string& formula,
                       const std::vector<std::string>& members = {"a", "b", "odd-id"},
                       const std::string& id = "x") {
    return fmt::format(
        "<derivedQuery id='{}'><formula>{}</formula><queryRef>{}</queryRef></derivedQuery>\n", id,
        formula, fmt::join(members, "</queryRef><queryRef>"));
}

sptr_t<IRpnProgram> programOf(const LibraryText& loaded, const std::string& id) {
    class Input : public dataface_1::IInputData {};
    const auto processor = slicekit_1_0::createRpnProcessor();
    basekit2::error_code_t err;
    processor->init(err, basekit2::make_object<Input>());
    sptr_t<IRpnProgram> program;
    processor->getProgram(dataface_1::IDerivedQuery::cast(loaded.find(id)), program);
    return program;
}

TEST(Formulas, MeanWhatTheySay) {
    // The inputs are those of a, b and odd-id in the order in which the formula names them.
    const std::tuple<const char*, std::vector<double>, double> formulas[] = {
        {"a - b - 1", {10, 4}, 5},
        {" a*2+b / 4", {10, 4}, 21},
        {"a / b * 2 - b", {3, 2}, 1},
        {"-(a + b) * -[odd-id]", {1, 2, 3}, 9},
        {"percent(a, a + b)", {1, 3}, 25},
        {"min(a, b, 2) + max(a,b) - min(b,(a-1))", {5, 7}, 5},
        {"a * 1e-2 + .5", {50}, 1},
        {"a / b", {0, 1}, 0},
        // What is no number is no value until the end.
        {"a / b", {1, 0}, kNone},
        {"percent(a, b)", {1, 0}, kNone},
        {"min(a / b, 1)", {1, 0}, kNone},
        {"max(1, 0 * (a / b))", {1, 0}, kNone},
        {"-(a / b)", {1, 0}, kNone},
        {"1 / (a * a)", {1e200}, kNone},
        {"max(a, b)", {1, kNone}, kNone}};
    for (const auto& [formula, inputs, expected] : formulas) {
        const LibraryText loaded = loadLibrary({kMembers + derivedXml(formula)});
        ASSERT_THAT(loaded.errors, IsEmpty());
        EXPECT_THAT(programOf(loaded, "x")->evaluate(inputs), NanSensitiveDoubleEq(expected))
            << formula;
    }
}

// d1 is the sum of d2 and d2, and so on; the last one is that of a and a.
std::string doubling(int levels) {
    std::string text;
    for (int i = 1; i <= levels; ++i) {
        const std::string next = i < levels ? "d" + std::to_string(i + 1) : "a";
        text += derivedXml(next + " + " + next, {next}, "d" + std::to_string(i));
    }
    return text;
}

TEST(Formulas, UseEachOtherInUpTo32Levels) {
    const LibraryText loaded = loadLibrary({kMembers + derivedXml("a + b", {"a", "b"}, "sum") +
                                            derivedXml("percent(b, sum) + sum", {"sum", "b"})});
    ASSERT_THAT(loaded.errors, IsEmpty());
    const auto inputs = programOf(loaded, "x")->getInputs();
    EXPECT_EQ(inputs.current()->getId(), "b");
    EXPECT_EQ(programOf(loaded, "x")->evaluate({3, 1}), 79);

    const LibraryText fits = loadLibrary({kMembers + doubling(32)});
    ASSERT_THAT(fits.errors, IsEmpty());
    EXPECT_EQ(programOf(fits, "d1")->evaluate({1}), std::pow(2.0, 32));
    EXPECT_THAT(loadLibrary({kMembers + doubling(33)}).errors,
                ElementsAre("a.xml:2: derivedQuery \"d1\": its members have members in more than "
                            "32 levels; take some out"));
}

TEST(Formulas, SlipsAreToldWithTheirPlace) {
    const auto expectError = [](const std::string& definition, const std::string& error) {
        const LibraryText loaded = loadLibrary({kMembers + definition});
        EXPECT_THAT(loaded.errors, ElementsAre("a.xml:2: derivedQuery \"x\": " + error));
        EXPECT_EQ(loaded.find("x"), nullptr);
    };
    const std::string expected =
        ": a number, \"(\", a member or one of min, max, percent is expected";
    const std::pair<std::string, std::string> slips[] = {
        {"a +", expected + " at character 4"},
        {"a b", ": an operator or the end is expected at character 3"},
        {"2 * c", ": \"c\" is no member; its members are a, b, odd-id at character 5"},
        {"a + sum(b)", ": \"sum\" is no function; write min, max or percent at character 5"},
        {"min(a)", ": \",\" and another value are expected at character 6"},
        {"3 * 4", " names no member, so that there is nothing to compute"},
        {std::string(40, '(') + "a", ": too many levels at character 33"}};
    for (const auto& [formula, error] : slips)
        expectError(derivedXml(formula), "<formula> " + formula + error);
    // Members must go together.
    expectError(derivedXml("a + info", {"a", "info"}),
                "\"info\" is no time, count or derived query, which alone can be computed with");
    expectError(derivedXml("byName / byTrack", {"byName", "byTrack"}),
                "\"byName\" and \"byTrack\" are expanded by different attributes; expand them "
                "alike, or only one");
    expectError(
        "<derivedQuery id='x'><formula>inner + d</formula><derivedQuery id='d'>"
        "<formula>a</formula><countQuery id='a'><dbPath>t</dbPath></countQuery>"
        "</derivedQuery>" +
            derivedXml("a", {"a"}, "inner") + "</derivedQuery>",
        "two queries that it is computed from are called \"a\"; give them ids of their own");
    // One that is expanded and one that is not; and a member that no formula names.
    EXPECT_THAT(
        loadLibrary({kMembers + derivedXml("percent(byName, a)", {"a", "byName", "info"})}).errors,
        IsEmpty());
}

// The value as text, "none" when there is none, the error when the text is no expression.
std::string valueOf(const std::string& text, const sptr_t<dataface_1::IInputData>& result) {
    std::string error;
    const auto expression = lanefeed_runtime::parseExpression(text, error);
    if (expression.is_null()) return error;
    variant_t out;
    if (!expression->evaluate(out, result)) return "none";
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
        {"2 + 3 * 4 - 6 / 3", "12"},
        {"10 - 4 - 3", "3"},
        {" 2 * -(1 + 0.5) ", "-3"},
        {"1 / 0", "none"},
        {"count(counter_data) * 100", "300"},
        {"max(counter_data::value) + min(counter_data::value)", "5.5"},
        {"duration / ticksPerSecond", "0.1"},
        // What the result does not have gives no value; texts are no numbers.
        {"count(dd_core)", "none"},
        {"max(dd_thread::name)", "none"},
        {"", operand + " at character 1"},
        {"(2", "\")\" is expected at character 3"},
        {"count", "\"(\" is expected at character 6"},
        {"count(dd_thread::name)", "a table is expected at character 7"},
        {"max(counter_data)", "TABLE::PATH is expected at character 5"},
        {std::string(5000, '('), "too many levels at character 33"}};
    for (const auto& [expression, value] : cases)
        EXPECT_EQ(valueOf(expression, result), value) << expression;
    EXPECT_EQ(valueOf("duration", nullptr) + valueOf("count(dd_thread)", nullptr), "nonenone");
}

}  // namespace
}  // namespace lanefeed_test
