// Tables of derived queries: which columns and rows they have, and what is in them.
#include "support/cancel_at_poll.h"
#include "support/fake_queries.h"
#include "support/fake_store.h"
#include "support/random_seed.h"
#include "support/table_text.h"
#include "support/table_tree_contract.h"

#include <facekit_1_x/table_building.h>
#include <facekit_1_x/table_helpers.h>
#include <slicekit_1_0/rpn_formula.h>
#include <slicekit_1_0/rpn_processor.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace {

using namespace slicekit_1_0;  // the operations of formulas
using basekit2::error_code_t;
using basekit2::make_object;
using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IQuery;
using dataface_1::ITableTree;
using dataface_1::IVectorQuery;
using facekit_1_x::IDerivedTableTreeHelper;
using lanefeed_test::FakeDerivedQuery;
using lanefeed_test::namedQuery;
using lanefeed_test::tableText;

using Steps = std::vector<rpn_step_t>;

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

rpn_step_t step(rpn_operation_t operation, double number = 0, int member = 0) {
    rpn_step_t made;
    made.operation = operation;
    made.number = number;
    made.member = member;
    return made;
}
rpn_step_t member(int place) {
    return step(rpnMember, 0, place);
}

sptr_t<IQuery> derivedOf(const std::vector<std::string>& names, Steps steps) {
    lanefeed_test::QueryFacts facts;
    facts.id = facts.name = "derived";
    facts.formula = std::move(steps);
    for (const std::string& name : names)
        facts.members.push_back(namedQuery(name));
    return make_object<FakeDerivedQuery>(facts);
}
// A percentage of the second member.
sptr_t<IQuery> shareOf(const std::string& part, const std::string& whole) {
    return derivedOf({part, whole}, {member(0), member(1), step(rpnPercent)});
}

// A table of series: a column for each name, "busy.gc" one nested in one of "busy"; each row is a
// bucket and its cells, NaN for none.
sptr_t<ITableTree> seriesTable(const std::vector<std::string>& names,
                               const std::vector<std::vector<double>>& rows) {
    const auto tree = facekit_1_x::createTableTree();
    const auto bins =
        facekit_1_x::createColumn(facekit_1_x::columnTimeBin, namedQuery("timeBin"), tree);
    bins->setProperty(dataface_1::ccId, 5);
    tree->addColumn(bins, nullptr, 0);
    std::vector<std::vector<sptr_t<facekit_1_x::IWriteableColumn>>> columns;
    for (const std::string& name : names) {
        columns.emplace_back();
        for (std::size_t start = 0, dot = 0; dot != std::string::npos; start = dot + 1) {
            dot = name.find('.', start);
            const auto query = namedQuery(name.substr(start, dot - start));
            const auto parent =
                columns.back().empty() ? sptr_t<dataface_1::IColumnInfo>() : columns.back().back();
            columns.back().push_back(facekit_1_x::createColumn(
                facekit_1_x::columnSeries, IVectorQuery::pushBack({}, query), tree));
            tree->addColumn(columns.back().back(), parent, 0);
        }
    }
    for (const std::vector<double>& cells : rows) {
        const auto row = facekit_1_x::createSparseRow(namedQuery("row"), tree);
        row->setContent(bins, dataface_1::ccValue, static_cast<int>(cells[0]));
        for (std::size_t i = 0; i < columns.size(); ++i)
            for (const auto& column : columns[i])
                if (!std::isnan(cells[i + 1]))
                    row->setContent(column, dataface_1::ccValue, cells[i + 1]);
        tree->addRow(row, nullptr);
    }
    return tree;
}

sptr_t<IRpnProcessor> readyProcessor() {
    auto processor = createRpnProcessor();
    error_code_t err;
    processor->init(err, make_object<lanefeed_test::FakeInput>());
    EXPECT_TRUE(basekit2::is_success(err));
    return processor;
}

sptr_t<IDerivedTableTreeHelper> helperOf(const std::vector<sptr_t<IQuery>>& queries,
                                         error_code_t& err) {
    sptr_t<IVectorQuery> list;
    for (const sptr_t<IQuery>& query : queries)
        list = IVectorQuery::pushBack(list, query);
    auto helper = facekit_1_x::createDerivedTableTreeHelper();
    helper->init(err, nullptr, list, readyProcessor(), IDerivedTableTreeHelper::modeSeries);
    return helper;
}

sptr_t<ITableTree> derive(const std::vector<sptr_t<IQuery>>& queries,
                          const sptr_t<ITableTree>& source) {
    error_code_t err;
    const auto helper = helperOf(queries, err);
    EXPECT_TRUE(basekit2::is_success(err)) << err.as_string(1);
    sptr_t<ITableTree> out;
    err = helper->derive(out, source, nullptr, 0);
    EXPECT_TRUE(basekit2::is_success(err)) << err.as_string(1);
    return out;
}

TEST(DerivedTable, HasAColumnPerQueryAndARowWhereThereIsAValue) {
    const auto source = seriesTable(
        {"count", "busy", "other"},
        {{0, 1, 4, 9}, {2, 1, kNone, 9}, {5, kNone, 4, 9}, {6, 0, 0, 9}, {7, kNone, kNone, 9}});
    const auto perBusy = derivedOf({"busy", "count"}, {member(1), member(0), step(rpnDivide)});
    const auto sum = derivedOf(
        {"count", "busy"}, {member(0), member(1), step(rpnAdd), step(rpnNumber, 1), step(rpnAdd)});
    EXPECT_EQ(tableText(derive({perBusy, sum}, source)), R"(timeBin  derived  derived
0        0.25     6
2        -        2
5        0        5
6        -        1
)");
    const auto tree = derive({perBusy}, source);
    const auto columns = lanefeed_test::allColumns(tree);
    EXPECT_EQ(columns.at(0)->getType(), dataface_1::timeBinColumn);
    EXPECT_EQ(columns.at(1)->getType(), facekit_1_x::columnSeries);
    EXPECT_EQ(IVectorQuery::cast(columns.at(1)->getQuery())->getDefaultQuery(), perBusy);
    variant_t row;
    EXPECT_TRUE(columns.at(0)->getContent(dataface_1::ccId, row));
    EXPECT_EQ(row.get<int>(), 5);
    EXPECT_EQ(lanefeed_test::allRows(tree).at(0)->getQuery()->getId(), "row");
}

TEST(DerivedTable, ExpandedColumnsBelongTogetherByTheirValues) {
    const auto source = seriesTable(
        {"byName.gc", "byName.io.disk", "byName.gc", "total", "counted.io.disk", "counted.net"},
        {{0, 10, 30, kNone, 40, 3, kNone}, {1, 0, 5, 20, 50, kNone, 7}, {2, 0, 0, 0, 50, 0, 0}});
    // What is not expanded counts for each value, and makes none of its own.
    EXPECT_EQ(
        tableText(derive({shareOf("byName", "total")}, source)),
        R"(timeBin  derived  derived.gc  derived  derived.io  derived.io.disk  derived  derived.gc
0        25       25          75       75          75               -        -
1        -        -           10       10          10               40       40
)");
    const auto both =
        derive({derivedOf({"byName", "counted"}, {member(0), member(1), step(rpnAdd)})}, source);
    EXPECT_EQ(tableText(both, {false, false, {"disk", "net"}}),
              "derived.io.disk  derived.net\n33               -\n5                7\n");
    EXPECT_EQ(lanefeed_test::allColumns(both).size(), 10U) << "a value in both has one column";
    EXPECT_EQ(lanefeed_test::allColumns(derive({shareOf("missing", "byName")}, source)).size(), 8U);
}

TEST(DerivedTable, AnInputWithoutAColumnCountsAsZero) {
    const auto source = seriesTable({"busy"}, {{0, 4}});
    EXPECT_EQ(tableText(derive({shareOf("missing", "busy")}, source)),
              "timeBin  derived\n0        0\n");
    EXPECT_EQ(tableText(derive({shareOf("busy", "missing")}, source)), "timeBin  derived\n");
}

TEST(DerivedTable, SumsOfAFormulaWithoutProductsAreTheFormulaOfTheSums) {
    std::mt19937 random(lanefeed_test::randomSeed());
    std::uniform_int_distribution<> values(-1, 50);
    const auto formula = derivedOf({"a", "b"}, {member(0), step(rpnNumber, 3), step(rpnMultiply),
                                                member(1), step(rpnNegate), step(rpnAdd)});
    std::vector<std::vector<double>> rows;
    double sumA = 0;
    double sumB = 0;
    for (int bin = 0; bin < 200; ++bin) {
        const int a = values(random);
        const int b = values(random);
        sumA += std::max(a, 0);
        sumB += std::max(b, 0);
        rows.push_back({double(bin), a < 0 ? kNone : a, b < 0 ? kNone : b});
    }
    const auto tree = derive({formula}, seriesTable({"a", "b"}, rows));
    double sum = 0;
    for (const auto& row : lanefeed_test::allRows(tree)) {
        variant_t value;
        EXPECT_TRUE(
            row->getContent(lanefeed_test::allColumns(tree)[1], dataface_1::ccValue, value));
        sum += value.get<double>();
    }
    EXPECT_DOUBLE_EQ(sum, 3 * sumA - sumB);
}

TEST(DerivedTable, KeepsTheContractAndOutlivesItsSource) {
    EXPECT_TRUE(lanefeed_test::keepsTableContract([] {
        return derive({shareOf("byName", "total")},
                      seriesTable({"byName.gc", "total"}, {{0, 1, 2}, {3, 2, 2}}));
    }));
}

TEST(DerivedTable, EndsWhenItIsCancelled) {
    std::vector<std::vector<double>> rows;
    for (int bin = 0; bin < 1000; ++bin)
        rows.push_back({double(bin), 1, 2});
    const auto source = seriesTable({"a", "b"}, rows);
    error_code_t err;
    const auto helper = helperOf({shareOf("a", "b")}, err);
    const auto never = make_object<lanefeed_test::CancelAtPoll>(0);
    sptr_t<ITableTree> out;
    ASSERT_TRUE(helper->derive(out, source, never.get(), 0).succeeded());
    EXPECT_GT(never->polls(), 1);
    for (int poll = 1; poll <= never->polls(); ++poll) {
        const auto progress = make_object<lanefeed_test::CancelAtPoll>(poll);
        out.reset();
        EXPECT_FALSE(helper->derive(out, source, progress.get(), 0).succeeded());
        EXPECT_TRUE(out.is_null());
    }
}

std::string initError(const sptr_t<IVectorQuery>& queries,
                      const sptr_t<IRpnProcessor>& processor,
                      int mode) {
    error_code_t err;
    const auto helper = facekit_1_x::createDerivedTableTreeHelper();
    helper->init(err, nullptr, queries, processor, mode);
    sptr_t<IVectorQuery> inputs;
    error_code_t inputsErr;
    helper->getInputColumnBy(inputsErr, inputs, 1);
    sptr_t<ITableTree> out;
    EXPECT_FALSE(inputsErr.succeeded());
    EXPECT_TRUE(inputs.is_null());
    EXPECT_FALSE(helper->derive(out, seriesTable({}, {}), nullptr, 0).succeeded());
    return err.succeeded() ? "none" : err.expression();
}

TEST(DerivedTable, TellsWhatItCannotWorkWith) {
    const auto listOf = [](const sptr_t<IQuery>& query) {
        return IVectorQuery::pushBack(nullptr, query);
    };
    const auto share = listOf(shareOf("a", "b"));
    EXPECT_EQ(initError(share, readyProcessor(), 1), "mode == 3");
    EXPECT_EQ(initError(share, nullptr, 3), "processor");
    EXPECT_EQ(initError(share, createRpnProcessor(), 3), "processor initialised with a result");
    EXPECT_EQ(initError(nullptr, readyProcessor(), 3), "queries");
    EXPECT_EQ(initError(listOf(nullptr), readyProcessor(), 3), "derived query");
    EXPECT_EQ(initError(listOf(namedQuery("plain")), readyProcessor(), 3), "derived query");
    const auto of = [&](Steps steps) {
        return initError(listOf(derivedOf({"a"}, std::move(steps))), readyProcessor(), 3);
    };
    const std::string query = "derived query \"derived\" ";
    EXPECT_EQ(of({}), query + "has no formula");
    EXPECT_EQ(of({member(0), step(rpnAdd)}), query + "has a formula that lacks a value");
    EXPECT_EQ(of({step(rpnNegate)}), query + "has a formula that lacks a value");
    EXPECT_EQ(of({member(0), member(0)}), query + "has a formula that leaves no single value");
    EXPECT_EQ(of({member(1)}), query + "has a formula with an unknown member");
    EXPECT_EQ(of({member(-1)}), query + "has a formula with an unknown member");

    error_code_t err;
    createRpnProcessor()->init(err, nullptr);
    EXPECT_EQ(err.expression(), "input");
    const auto helper = helperOf({shareOf("a", "b")}, err);
    sptr_t<ITableTree> out;
    EXPECT_EQ(helper->derive(out, nullptr, nullptr, 0).expression(), "source");
    EXPECT_EQ(helper->derive(out, facekit_1_x::createTableTree(), nullptr, 0).expression(),
              "time-bin column of the source");
    sptr_t<IVectorQuery> inputs;
    helper->getInputColumnBy(err, inputs, 100);
    ASSERT_TRUE(err.succeeded());
    EXPECT_EQ(inputs->getCount(), 2);
}

}  // namespace
