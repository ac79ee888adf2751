// Formulas of derived queries: what the text means, and what is refused when the library loads.
#include "library_text.h"
#include "support/random_seed.h"

#include <dataface_1/input_data.h>
#include <slicekit_1_0/rpn_processor.h>

#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <random>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using dataface_1::IDerivedQuery;
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
    std::string text = "<derivedQuery id='" + id + "'><formula>" + formula + "</formula>";
    for (const std::string& member : members)
        text += "<queryRef>" + member + "</queryRef>";
    return text + "</derivedQuery>\n";
}

sptr_t<IRpnProgram> programOf(const LibraryText& loaded, const std::string& id) {
    class Input : public dataface_1::IInputData {};
    const auto processor = slicekit_1_0::createRpnProcessor();
    basekit2::error_code_t err;
    processor->init(err, basekit2::make_object<Input>());
    sptr_t<IRpnProgram> program;
    err = processor->getProgram(IDerivedQuery::cast(loaded.find(id)), program);
    EXPECT_TRUE(basekit2::is_success(err)) << err.as_string(1);
    return program;
}

std::vector<std::string> inputIds(const sptr_t<IRpnProgram>& program) {
    std::vector<std::string> ids;
    for (auto it = program->getInputs(); !it.at_end(); it.next())
        ids.push_back(it.current()->getId());
    return ids;
}

// The value of a formula that uses a, b and odd-id in that order, or as many of them.
double valueOf(const std::string& formula, const std::vector<double>& inputs) {
    const LibraryText loaded = loadLibrary({kMembers + derivedXml(formula)});
    EXPECT_THAT(loaded.errors, IsEmpty());
    return loaded.errors.empty() ? programOf(loaded, "x")->evaluate(inputs) : kNone;
}

TEST(Formulas, MeanWhatTheySay) {
    EXPECT_EQ(valueOf("a - b - 1", {10, 4}), 5);
    EXPECT_EQ(valueOf(" a*2+b / 4", {10, 4}), 21);
    EXPECT_EQ(valueOf("-(a + b) * -[odd-id]", {1, 2, 3}), 9);
    EXPECT_EQ(valueOf("percent(a, a + b)", {1, 3}), 25);
    EXPECT_EQ(valueOf("min(a, b, 2) + max(a,b)", {5, 7}), 9);
    EXPECT_EQ(valueOf("a * 1e-2 + .5", {50}), 1);
}

TEST(Formulas, WhatIsNoNumberIsNoValueUntilTheEnd) {
    for (const char* formula :
         {"a / b", "percent(a, b)", "1 / (a / b)", "min(a / b, 1)", "max(1, 0 * (a / b))",
          "(a - a) / (a - a)", "a / -b", "-(a / b)", "(a / b) * 0"})
        EXPECT_TRUE(std::isnan(valueOf(formula, {1, 0}))) << formula;
    EXPECT_TRUE(std::isnan(valueOf("1 / (a * a)", {1e200})));
    EXPECT_TRUE(std::isnan(valueOf("max(a, b)", {1, kNone})));
    EXPECT_EQ(valueOf("a / b", {0, 1}), 0);
}

// Texts with the value that they must have, built together.
class RandomFormula {
public:
    RandomFormula(std::mt19937& random, std::vector<double> inputs)
        : m_random(random), m_inputs(std::move(inputs)) {}

    std::string make(int depth, double& value) {
        static const char* const kNames[] = {"a", "b", "[odd-id]"};
        const int kind = depth == 0 ? pick(2) : pick(9);
        if (kind == 0) {
            value = pick(7);
            return std::to_string(static_cast<int>(value));
        }
        if (kind == 1) {
            const int input = pick(3);
            value = m_inputs[static_cast<std::size_t>(input)];
            return kNames[input];
        }
        double left = 0;
        const std::string x = make(depth - 1, left);
        if (kind == 2) {
            value = -left;
            return "-(" + x + ")";
        }
        double right = 0;
        const std::string y = make(depth - 1, right);
        const bool isNone = std::isnan(left) || std::isnan(right);
        switch (kind) {
        case 3: value = left + right; return "(" + x + " + " + y + ")";
        case 4: value = left - right; return "(" + x + "-" + y + ")";
        case 5: value = left * right; return "(" + x + ")*(" + y + ")";
        case 6: value = right == 0 ? kNone : left / right; return "(" + x + ")/(" + y + ")";
        case 7:
            value = isNone ? kNone : left < right ? left : right;
            return "min(" + x + "," + y + ")";
        default:
            value = right == 0 ? kNone : 100 * left / right;
            return "percent(" + x + ", " + y + ")";
        }
    }

private:
    int pick(int choices) { return std::uniform_int_distribution<>(0, choices - 1)(m_random); }

    std::mt19937& m_random;
    std::vector<double> m_inputs;
};

TEST(Formulas, AgreeWithADirectEvaluation) {
    std::mt19937 random(randomSeed());
    for (int i = 0; i < 300; ++i) {
        const std::vector<double> inputs{static_cast<double>(i % 4), 2.5, -1};
        double expected = 0;
        // The first part names all members in order, so that the inputs come in that order too.
        const std::string text =
            "0*(a+b+[odd-id]) + " + RandomFormula(random, inputs).make(i % 6, expected);
        const double value = valueOf(text, inputs);
        if (std::isfinite(expected))
            EXPECT_NEAR(value, expected, 1e-9 * std::max(1.0, std::fabs(expected))) << text;
        else
            EXPECT_TRUE(std::isnan(value)) << text << " is " << value;
    }
}

TEST(Formulas, DerivedMembersStandForTheirOwnFormulas) {
    const LibraryText loaded = loadLibrary({kMembers + derivedXml("a + b", {"a", "b"}, "sum") +
                                            derivedXml("percent(b, sum) + sum", {"sum", "b"})});
    ASSERT_THAT(loaded.errors, IsEmpty());
    const auto program = programOf(loaded, "x");
    EXPECT_THAT(inputIds(program), ElementsAre("b", "a"));
    EXPECT_EQ(program->evaluate({3, 1}), 79);
    EXPECT_THAT(inputIds(programOf(loaded, "sum")), ElementsAre("a", "b"));
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
    const std::string expected =
        "a number, \"(\", a member or one of min, max, percent is expected";
    const std::vector<std::pair<std::string, std::string>> slips = {
        {"a +", expected + " at character 4"},
        {"a + * b", expected + " at character 5"},
        {"a b", "an operator or the end is expected at character 3"},
        {"(a", "\")\" is expected at character 3"},
        {"[a", "\"]\" is expected at character 2"},
        {"2 * c", "\"c\" is no member; its members are a, b, odd-id at character 5"},
        {"odd-id", "\"odd\" is no member; its members are a, b, odd-id at character 1"},
        {"1.2.3 * a", "\"1.2.3\" is no member; its members are a, b, odd-id at character 1"},
        {"a + sum(b)", "\"sum\" is no function; write min, max or percent at character 5"},
        {"min(a)", "\",\" and another value are expected at character 6"},
        {"percent(a, b, 1)", "\")\" is expected at character 13"},
        {"3 * 4", "names no member, so that there is nothing to compute"},
        {std::string(40, '(') + "a", "too many levels at character 33"}};
    for (const auto& [formula, error] : slips) {
        const LibraryText loaded = loadLibrary({kMembers + derivedXml(formula)});
        const std::string gap = formula == "3 * 4" ? " " : ": ";
        EXPECT_THAT(loaded.errors,
                    ElementsAre("a.xml:2: derivedQuery \"x\": <formula> " + formula + gap + error));
        EXPECT_EQ(loaded.find("x"), nullptr);
    }
}

TEST(Formulas, MembersMustGoTogether) {
    const auto errorOf = [](const std::string& definition) {
        const LibraryText loaded = loadLibrary({kMembers + definition});
        const std::string place = "a.xml:2: derivedQuery \"x\": ";
        if (loaded.errors.size() != 1 || loaded.errors[0].find(place) != 0)
            return testing::PrintToString(loaded.errors);
        return loaded.errors[0].substr(place.size());
    };
    EXPECT_EQ(errorOf(derivedXml("a + info", {"a", "info"})),
              "\"info\" is no time, count or derived query, which alone can be computed with");
    EXPECT_EQ(errorOf(derivedXml("byName / byTrack", {"byName", "byTrack"})),
              "\"byName\" and \"byTrack\" are expanded by different attributes; expand them "
              "alike, or only one");
    EXPECT_EQ(errorOf("<derivedQuery id='x'><formula>a</formula><queryRef>a</queryRef>"
                      "<expand><queryRef>info</queryRef></expand></derivedQuery>"),
              "a derivedQuery is expanded as its members are; write <expand> into those");
    EXPECT_EQ(errorOf("<derivedQuery id='x'><formula>inner + d</formula><derivedQuery id='d'>"
                      "<formula>a</formula><countQuery id='a'><dbPath>t</dbPath></countQuery>"
                      "</derivedQuery><derivedQuery id='inner'><formula>a</formula>"
                      "<queryRef>a</queryRef></derivedQuery></derivedQuery>"),
              "two queries that it is computed from are called \"a\"; give them ids of their own");
    // One that is expanded and one that is not; and a member that no formula names.
    EXPECT_EQ(errorOf(derivedXml("percent(byName, a)", {"a", "byName", "info"})), "{}");
}

TEST(Formulas, EqualWhateverTheirSpelling) {
    const LibraryText loaded = loadLibrary({kMembers});
    const auto make = [&](const std::string& formula) {
        sptr_t<IQuery> query;
        const std::string members = "<queryRef>a</queryRef><queryRef>b</queryRef>";
        EXPECT_TRUE(loaded.library->createQuery(element("<derivedQuery><formula>" + formula +
                                                        "</formula>" + members + "</derivedQuery>"),
                                                query, nullptr));
        return query;
    };
    EXPECT_TRUE(IQuery::areEqual(make("a + b*2"), make("(a+(b * 2.0))"), true, true));
    EXPECT_FALSE(IQuery::areEqual(make("a + b*2"), make("a * b+2"), true, true));
    EXPECT_FALSE(IQuery::areEqual(make("a / b"), make("b / a"), true, true));
}

}  // namespace
}  // namespace lanefeed_test
