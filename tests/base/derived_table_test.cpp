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
using lanefeed_test::namedQuery;
using lanefeed_test::Query;
using lanefeed_test::seriesOf;
using lanefeed_test::tableText;

const rpn_step_t kFirst{rpnMember, 0, 0};
const rpn_step_t kSecond{rpnMember, 0, 1};
const rpn_step_t kSum{rpnAdd, 0, 0};

Query derivedOf(const lanefeed_test::QueryList& members, const std::vector<rpn_step_t>& formula) {
    lanefeed_test::QueryFacts facts;
    facts.id = facts.name = "derived";
    facts.members = members;
    facts.formula = formula;
    return make_object<lanefeed_test::FakeDerivedQuery>(facts);
}
// A percentage of the second member.
Query shareOf(const std::string& part, const std::string& whole) {
    return derivedOf({namedQuery(part), namedQuery(whole)}, {kFirst, kSecond, {rpnPercent, 0, 0}});
}

sptr_t<IRpnProcessor> readyProcessor() {
    auto processor = createRpnProcessor();
    error_code_t err;
    processor->init(err, make_object<lanefeed_test::FakeInput>());
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
    EXPECT_TRUE(is_success(helperOf(queries)->derive(out, seriesOf(source), nullptr, 0)));
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
    const Query perBusy =
        derivedOf({namedQuery("busy"), namedQuery("count")}, {kSecond, kFirst, {rpnDivide, 0, 0}});
    const Query sum = derivedOf({namedQuery("count"), namedQuery("busy")}, {kFirst, kSecond, kSum});
    const auto tree = derive({perBusy, sum}, source);
    EXPECT_EQ(tableText(tree),
              "timeBin  derived  derived\n"
              "0        0.25     5\n"
              "2        -        1\n"
              "5        0        4\n"
              "6        -        0\n");
    const auto columns = lanefeed_test::allColumns(tree);
    EXPECT_EQ(IVectorQuery::cast(columns.at(1)->getQuery())->getDefaultQuery(), perBusy);
    // The row that the bins stand for is that of the source.
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
    const Query sum = derivedOf({namedQuery("n"), namedQuery("c")}, {kFirst, kSecond, kSum});
    const auto both = derive({sum}, source);
    EXPECT_EQ(tableText(both, {false, false, {"disk", "net"}}),
              "derived.io.disk  derived.net\n33               -\n5                7\n");
    EXPECT_EQ(lanefeed_test::allColumns(both).size(), 10U) << "a value in both has one column";
    EXPECT_TRUE(
        lanefeed_test::keepsTableContract([&] { return derive({shareOf("n", "total")}, source); }));
}

TEST(DerivedTable, EndsWhenItIsCancelled) {
    std::string text = "timeBin a b\n";
    for (int bin = 0; bin < 1000; ++bin)
        text += std::to_string(bin) + " 1 2\n";
    const auto helper = helperOf({shareOf("a", "b")});
    for (const int poll : {1, 2, 4}) {
        const auto progress = make_object<lanefeed_test::CancelAtPoll>(poll);
        sptr_t<ITableTree> out;
        EXPECT_FALSE(helper->derive(out, seriesOf(text), progress.get(), 0).succeeded());
        EXPECT_TRUE(out.is_null());
    }
}

std::string initError(const Query& query, const sptr_t<IRpnProcessor>& processor, int mode = 3) {
    error_code_t err;
    const auto helper = facekit_1_x::createDerivedTableTreeHelper();
    helper->init(err, nullptr, lanefeed_test::vectorOf({query}), processor, mode);
    sptr_t<ITableTree> out;
    EXPECT_FALSE(helper->derive(out, seriesOf("timeBin"), nullptr, 0).succeeded());
    return err.succeeded() ? "none" : err.expression();
}

TEST(DerivedTable, TellsWhatItCannotWorkWith) {
    const Query share = shareOf("a", "b");
    EXPECT_EQ(initError(share, readyProcessor(), 1), "mode == 3");
    EXPECT_EQ(initError(share, createRpnProcessor()), "processor initialised with a result");
    for (const Query& query : {Query(), namedQuery("plain")})
        EXPECT_EQ(initError(query, readyProcessor()), "derived query");
    for (const auto& [error, formula] : std::map<std::string, std::vector<rpn_step_t>>{
             {"has no formula", {}},
             {"has a formula that lacks a value", {kFirst, kSum}},
             {"has a formula that leaves no single value", {kFirst, kFirst}},
             {"has a formula with an unknown member", {kSecond}}})
        EXPECT_EQ(initError(derivedOf({namedQuery("a")}, formula), readyProcessor()),
                  "derived query \"derived\" " + error);
    const auto helper = helperOf({share});
    sptr_t<ITableTree> out;
    EXPECT_EQ(helper->derive(out, nullptr, nullptr, 0).expression(), "source");
    EXPECT_EQ(helper->derive(out, facekit_1_x::createTableTree(), nullptr, 0).expression(),
              "time-bin column of the source");
    error_code_t err;
    sptr_t<IVectorQuery> inputs;
    helper->getInputColumnBy(err, inputs, 100);
    EXPECT_EQ(inputs->getCount(), 2);
}

}  // namespace
