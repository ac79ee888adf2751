// Tables of derived queries: which columns and rows they have, and what is in them.
#include "base/series_text.h"
#include "support/cancel_at_poll.h"
#include "support/fake_store.h"
#include "support/table_text.h"
#include "support/table_tree_contract.h"

#include <facekit_1_x/table_helpers.h>
#include <slicekit_1_0/rpn_processor.h>

#include <gtest/gtest.h>

namespace {

using namespace slicekit_1_0;  // the operations of formulas
using basekit2::error_code_t;
using basekit2::make_object;
using basekit2::sptr_t;
using dataface_1::ITableTree;
using dataface_1::IVectorQuery;
using facekit_1_x::IDerivedTableTreeHelper;
using lanefeed_test::CancelAtPoll;
using lanefeed_test::namedQuery;
using lanefeed_test::Query;
using lanefeed_test::seriesOf;
using lanefeed_test::tableText;

// "0 1 / " divides the first member by the second; "#3" is a number, "~" negates.
std::vector<rpn_step_t> stepsOf(const std::string& text) {
    static const std::map<std::string, rpn_operation_t> operations = {
        {"+", rpnAdd}, {"*", rpnMultiply}, {"/", rpnDivide}, {"%", rpnPercent}, {"~", rpnNegate}};
    std::vector<rpn_step_t> steps;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        rpn_step_t step;
        const auto found = operations.find(word);
        step.operation = found != operations.end() ? found->second
                         : word.front() == '#'     ? rpnNumber
                                                   : rpnMember;
        if (step.operation == rpnNumber) step.number = std::stod(word.substr(1));
        if (step.operation == rpnMember) step.member = std::stoi(word);
        steps.push_back(step);
    }
    return steps;
}

Query derivedOf(const lanefeed_test::QueryList& members, const std::string& formula) {
    lanefeed_test::QueryFacts facts;
    facts.id = facts.name = "derived";
    facts.members = members;
    facts.formula = stepsOf(formula);
    return make_object<lanefeed_test::FakeDerivedQuery>(facts);
}
// A percentage of the second member.
Query shareOf(const std::string& part, const std::string& whole) {
    return derivedOf({namedQuery(part), namedQuery(whole)}, "0 1 %");
}

sptr_t<IRpnProcessor> readyProcessor() {
    auto processor = createRpnProcessor();
    error_code_t err;
    processor->init(err, make_object<lanefeed_test::FakeInput>());
    EXPECT_TRUE(basekit2::is_success(err));
    return processor;
}

sptr_t<IDerivedTableTreeHelper> helperOf(const lanefeed_test::QueryList& queries) {
    auto helper = facekit_1_x::createDerivedTableTreeHelper();
    error_code_t err;
    helper->init(err, nullptr, lanefeed_test::vectorOf(queries), readyProcessor(),
                 IDerivedTableTreeHelper::modeSeries);
    EXPECT_TRUE(basekit2::is_success(err)) << err.as_string(1);
    return helper;
}

sptr_t<ITableTree> derive(const lanefeed_test::QueryList& queries, const std::string& source) {
    sptr_t<ITableTree> out;
    const error_code_t err = helperOf(queries)->derive(out, seriesOf(source), nullptr, 0);
    EXPECT_TRUE(basekit2::is_success(err)) << err.as_string(1);
    return out;
}

TEST(DerivedTable, HasAColumnPerQueryAndARowWhereThereIsAValue) {
    const char* const source =
        "timeBin  count  busy  other\n"
        "0        1      4     9\n"
        "2        1      -     9\n"
        "5        -      4     9\n"
        "6        0      0     9\n"
        "7        -      -     9\n";
    const Query perBusy = derivedOf({namedQuery("busy"), namedQuery("count")}, "1 0 /");
    const Query sum = derivedOf({namedQuery("count"), namedQuery("busy")}, "0 #3 * 1 ~ + #1 +");
    const auto tree = derive({perBusy, sum}, source);
    EXPECT_EQ(tableText(tree),
              "timeBin  derived  derived\n"
              "0        0.25     0\n"
              "2        -        4\n"
              "5        0        -3\n"
              "6        -        1\n");
    const auto columns = lanefeed_test::allColumns(tree);
    EXPECT_EQ(columns.at(0)->getType(), dataface_1::timeBinColumn);
    EXPECT_EQ(columns.at(1)->getType(), facekit_1_x::columnSeries);
    EXPECT_EQ(IVectorQuery::cast(columns.at(1)->getQuery())->getDefaultQuery(), perBusy);
    EXPECT_EQ(lanefeed_test::allRows(tree).at(0)->getQuery()->getId(), "row");
    const auto bins = seriesOf(source);
    dynamic_cast<facekit_1_x::IWriteableColumn&>(*lanefeed_test::allColumns(bins).at(0))
        .setProperty(dataface_1::ccId, 5);
    sptr_t<ITableTree> out;
    helperOf({sum})->derive(out, bins, nullptr, 0);
    basekit2::variant_t row;
    EXPECT_TRUE(lanefeed_test::allColumns(out).at(0)->getContent(dataface_1::ccId, row));
    EXPECT_EQ(row, 5);
    // An input without a column counts as zero.
    EXPECT_EQ(tableText(derive({shareOf("missing", "busy")}, "timeBin busy\n0 4\n")),
              "timeBin  derived\n0        0\n");
    EXPECT_EQ(tableText(derive({shareOf("busy", "missing")}, "timeBin busy\n0 4\n")),
              "timeBin  derived\n");
}

TEST(DerivedTable, ExpandedColumnsBelongTogetherByTheirValues) {
    const char* const source =
        "timeBin  n   n.gc  n   n.io  n.io.disk  n  n.gc  total  c  c.io  c.io.disk  c  c.net\n"
        "0        10  10    30  30    30         -  -     40     3  3     3          -  -\n"
        "1        0   0     5   5     5          20 20    50     -  -     -          7  7\n"
        "2        0   0     0   0     0          0  0     50     0  0     0          0  0\n";
    // What is not expanded counts for each value, and makes none of its own.
    EXPECT_EQ(
        tableText(derive({shareOf("n", "total")}, source)),
        "timeBin  derived  derived.gc  derived  derived.io  derived.io.disk  derived  derived.gc\n"
        "0        25       25          75       75          75               -        -\n"
        "1        -        -           10       10          10               40       40\n");
    const auto both = derive({derivedOf({namedQuery("n"), namedQuery("c")}, "0 1 +")}, source);
    EXPECT_EQ(tableText(both, {false, false, {"disk", "net"}}),
              "derived.io.disk  derived.net\n33               -\n5                7\n");
    EXPECT_EQ(lanefeed_test::allColumns(both).size(), 10U) << "a value in both has one column";
    EXPECT_EQ(lanefeed_test::allColumns(derive({shareOf("missing", "n")}, source)).size(), 8U);
    EXPECT_TRUE(
        lanefeed_test::keepsTableContract([&] { return derive({shareOf("n", "total")}, source); }));
}

TEST(DerivedTable, EndsWhenItIsCancelled) {
    std::string text = "timeBin a b\n";
    for (int bin = 0; bin < 1000; ++bin)
        text += std::to_string(bin) + " 1 2\n";
    const auto source = seriesOf(text);
    const auto helper = helperOf({shareOf("a", "b")});
    const auto never = make_object<CancelAtPoll>(0);
    sptr_t<ITableTree> out;
    ASSERT_TRUE(helper->derive(out, source, never.get(), 0).succeeded());
    EXPECT_GT(never->polls(), 1);
    for (int poll = 1; poll <= never->polls(); ++poll) {
        out.reset();
        EXPECT_FALSE(
            helper->derive(out, source, make_object<CancelAtPoll>(poll).get(), 0).succeeded());
        EXPECT_TRUE(out.is_null());
    }
}

std::string initError(const sptr_t<IVectorQuery>& queries,
                      const sptr_t<IRpnProcessor>& processor,
                      int mode = IDerivedTableTreeHelper::modeSeries) {
    error_code_t err;
    const auto helper = facekit_1_x::createDerivedTableTreeHelper();
    helper->init(err, nullptr, queries, processor, mode);
    sptr_t<IVectorQuery> inputs;
    error_code_t inputsErr;
    helper->getInputColumnBy(inputsErr, inputs, 1);
    sptr_t<ITableTree> out;
    EXPECT_FALSE(inputsErr.succeeded());
    EXPECT_TRUE(inputs.is_null());
    EXPECT_FALSE(helper->derive(out, seriesOf("timeBin"), nullptr, 0).succeeded());
    return err.succeeded() ? "none" : err.expression();
}

TEST(DerivedTable, TellsWhatItCannotWorkWith) {
    const auto share = lanefeed_test::vectorOf({shareOf("a", "b")});
    EXPECT_EQ(initError(share, readyProcessor(), 1), "mode == 3");
    EXPECT_EQ(initError(share, nullptr), "processor");
    EXPECT_EQ(initError(share, createRpnProcessor()), "processor initialised with a result");
    EXPECT_EQ(initError(nullptr, readyProcessor()), "queries");
    for (const Query& query : {Query(), namedQuery("plain")})
        EXPECT_EQ(initError(lanefeed_test::vectorOf({query}), readyProcessor()), "derived query");
    for (const auto& [formula, error] :
         std::map<std::string, std::string>{{"", "has no formula"},
                                            {"0 +", "has a formula that lacks a value"},
                                            {"~", "has a formula that lacks a value"},
                                            {"0 0", "has a formula that leaves no single value"},
                                            {"1", "has a formula with an unknown member"},
                                            {"-1", "has a formula with an unknown member"}})
        EXPECT_EQ(initError(lanefeed_test::vectorOf({derivedOf({namedQuery("a")}, formula)}),
                            readyProcessor()),
                  "derived query \"derived\" " + error);

    error_code_t err;
    createRpnProcessor()->init(err, nullptr);
    EXPECT_EQ(err.expression(), "input");
    const auto helper = helperOf({shareOf("a", "b")});
    sptr_t<ITableTree> out;
    EXPECT_EQ(helper->derive(out, nullptr, nullptr, 0).expression(), "source");
    EXPECT_EQ(helper->derive(out, facekit_1_x::createTableTree(), nullptr, 0).expression(),
              "time-bin column of the source");
    sptr_t<IVectorQuery> inputs;
    helper->getInputColumnBy(err, inputs, 100);
    EXPECT_TRUE(err.succeeded());
    EXPECT_EQ(inputs->getCount(), 2);
}

}  // namespace
