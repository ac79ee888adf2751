// Formulas of derived queries: what the text means, and what is refused when the library loads.
#include "library_text.h"
#include "support/random_seed.h"

#include <dataface_1/input_data.h>
#include <slicekit_1_0/rpn_processor.h>

#include <gmock/gmock.h>

#include <cmath>
#include <fmt/format.h>
#include <functional>
#include <random>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using dataface_1::IQuery;
using slicekit_1_0::IRpnProgram;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

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
    err = processor->getProgram(dataface_1::IDerivedQuery::cast(loaded.find(id)), program);
    EXPECT_TRUE(basekit2::is_success(err)) << err.as_string(1);
    return program;
}

std::vector<std::string> inputIds(const sptr_t<IRpnProgram>& program) {
    std::vector<std::string> ids;
    for (auto it = program->getInputs(); !it.at_end(); it.next())
        ids.push_back(it.current()->getId());
    return ids;
}

// The inputs are those of a, b and odd-id in the order in which the formula names them.
void expectValue(const std::string& formula, const std::vector<double>& inputs, double expected) {
    const LibraryText loaded = loadLibrary({kMembers + derivedXml(formula)});
    ASSERT_THAT(loaded.errors, IsEmpty());
    const double value = programOf(loaded, "x")->evaluate(inputs);
    if (std::isfinite(expected))
        EXPECT_NEAR(value, expected, 1e-9 * std::max(1.0, std::fabs(expected))) << formula;
    else
        EXPECT_TRUE(std::isnan(value)) << formula << " is " << value;
}

TEST(Formulas, MeanWhatTheySay) {
    expectValue("a - b - 1", {10, 4}, 5);
    expectValue(" a*2+b / 4", {10, 4}, 21);
    expectValue("-(a + b) * -[odd-id]", {1, 2, 3}, 9);
    expectValue("percent(a, a + b)", {1, 3}, 25);
    expectValue("min(a, b, 2) + max(a,b)", {5, 7}, 9);
    expectValue("a * 1e-2 + .5", {50}, 1);
    expectValue("a / b", {0, 1}, 0);
    // What is no number is no value until the end.
    for (const char* formula :
         {"a / b", "percent(a, b)", "1 / (a / b)", "min(a / b, 1)", "max(1, 0 * (a / b))",
          "(a - a) / (a - a)", "a / -b", "-(a / b)", "(a / b) * 0"})
        expectValue(formula, {1, 0}, kNone);
    expectValue("1 / (a * a)", {1e200}, kNone);
    expectValue("max(a, b)", {1, kNone}, kNone);
}

// A text with the value that it must have.
struct Term {
    std::string text;
    double value;
};

Term randomTerm(std::mt19937& random, const std::vector<double>& inputs, int depth) {
    static const std::pair<const char*, std::function<double(double, double)>> kOperations[] = {
        {"({} + {})", std::plus<>()},
        {"({}-{})", std::minus<>()},
        {"({})*({})", std::multiplies<>()},
        {"({})/({})", [](double x, double y) { return y == 0 ? kNone : x / y; }},
        {"min({},{})",
         [](double x, double y) { return std::isnan(x + y) ? kNone : std::min(x, y); }},
        {"percent({}, {})", [](double x, double y) { return y == 0 ? kNone : 100 * x / y; }}};
    static const char* const kNames[] = {"a", "b", "[odd-id]"};
    const auto pick = [&](int choices) {
        return std::uniform_int_distribution<std::size_t>(
            0, static_cast<std::size_t>(choices) - 1)(random);
    };
    const std::size_t kind = depth == 0 ? pick(2) : pick(9);
    if (kind == 0) {
        const std::size_t number = pick(7);
        return {std::to_string(number), static_cast<double>(number)};
    }
    if (kind == 1) {
        const std::size_t input = pick(3);
        return {kNames[input], inputs[input]};
    }
    const Term x = randomTerm(random, inputs, depth - 1);
    if (kind == 2) return {"-(" + x.text + ")", -x.value};
    const Term y = randomTerm(random, inputs, depth - 1);
    const auto& [text, operation] = kOperations[kind - 3];
    return {fmt::format(text, x.text, y.text), operation(x.value, y.value)};
}

TEST(Formulas, AgreeWithADirectEvaluation) {
    std::mt19937 random(randomSeed());
    for (int i = 0; i < 300; ++i) {
        const std::vector<double> inputs{static_cast<double>(i % 4), 2.5, -1};
        const Term term = randomTerm(random, inputs, i % 6);
        // The first part names all members in order, so that the inputs come in that order too.
        expectValue("0*(a+b+[odd-id]) + " + term.text, inputs, term.value);
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
    EXPECT_THAT(inputIds(programOf(loaded, "x")), ElementsAre("b", "a"));
    EXPECT_EQ(programOf(loaded, "x")->evaluate({3, 1}), 79);
    EXPECT_THAT(inputIds(programOf(loaded, "sum")), ElementsAre("a", "b"));

    const LibraryText fits = loadLibrary({kMembers + doubling(32)});
    ASSERT_THAT(fits.errors, IsEmpty());
    EXPECT_EQ(programOf(fits, "d1")->evaluate({1}), std::pow(2.0, 32));
    EXPECT_THAT(loadLibrary({kMembers + doubling(33)}).errors,
                ElementsAre("a.xml:2: derivedQuery \"d1\": its members have members in more than "
                            "32 levels; take some out"));
    EXPECT_THAT(
        loadLibrary({kMembers + derivedXml("y", {"y"}) + derivedXml("x", {"x"}, "y")}).errors,
        ElementsAre("a.xml:3: derivedQuery \"y\": meets itself: x -> y -> x; break this "
                    "circle",
                    "a.xml:2: derivedQuery \"x\": refers to \"y\", which is no query that "
                    "can be used"));
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
        {"a + * b", expected + " at character 5"},
        {"a b", ": an operator or the end is expected at character 3"},
        {"(a", ": \")\" is expected at character 3"},
        {"[a", ": \"]\" is expected at character 2"},
        {"2 * c", ": \"c\" is no member; its members are a, b, odd-id at character 5"},
        {"odd-id", ": \"odd\" is no member; its members are a, b, odd-id at character 1"},
        {"1.2.3 * a", ": \"1.2.3\" is no member; its members are a, b, odd-id at character 1"},
        {"a + sum(b)", ": \"sum\" is no function; write min, max or percent at character 5"},
        {"min(a)", ": \",\" and another value are expected at character 6"},
        {"percent(a, b, 1)", ": \")\" is expected at character 13"},
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
        "<derivedQuery id='x'><formula>a</formula><queryRef>a</queryRef>"
        "<expand><queryRef>info</queryRef></expand></derivedQuery>",
        "a derivedQuery is expanded as its members are; write <expand> into those");
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

TEST(Formulas, EqualWhateverTheirSpelling) {
    const LibraryText loaded = loadLibrary({kMembers});
    const auto make = [&](const std::string& formula) {
        sptr_t<IQuery> query;
        EXPECT_TRUE(loaded.library->createQuery(element(derivedXml(formula, {"a", "b"}, "")), query,
                                                nullptr));
        return query;
    };
    EXPECT_TRUE(IQuery::areEqual(make("a + b*2"), make("(a+(b * 2.0))"), true, true));
    EXPECT_FALSE(IQuery::areEqual(make("a + b*2"), make("a * b+2"), true, true));
    EXPECT_FALSE(IQuery::areEqual(make("a / b"), make("b / a"), true, true));
}

}  // namespace
}  // namespace lanefeed_test
