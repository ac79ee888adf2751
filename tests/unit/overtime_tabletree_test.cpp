// The table of an over-time series: which buckets have rows, what cells read, sums of rows.

#include "series_tables.h"
#include "support/cancel_at_poll.h"
#include "support/captured_log.h"
#include "support/table_text.h"
#include "support/table_tree_contract.h"
#include "tabletrees.h"

#include <facekit_1_x/table_helpers.h>

#include <gtest/gtest.h>

namespace lanefeed_1 {
namespace {

using basekit2::sptr_t;
using dataface_1::ccValue;
using lanefeed_test::CapturedLog;
using lanefeed_test::columnNamed;
using lanefeed_test::kNoData;
using lanefeed_test::tableText;
using lanefeed_test::windowOf;
using Row = sptr_t<dataface_1::ITableRow>;
using Series = std::vector<std::vector<double>>;
using Table = sptr_t<dataface_1::ITableTree>;

// Ten ticks a bucket, unless said otherwise; a pause as its first and last tick.
Table tableOf(const Series& series,
              double scale = 1,
              const std::vector<basekit2::u64_t>& pause = {},
              QueryParam param = windowOf(0, 0, 0)) {
    const std::size_t count = series.front().size();
    if (param.endTime == 0) param = windowOf(0, 10 * count, static_cast<unsigned>(count));
    const auto pauses = lanefeed_test::seriesColumns({"end"});
    if (!pause.empty()) {
        const auto row = facekit_1_x::createVectorRow(nullptr, pauses);
        row->setContent(columnNamed(pauses, "timeBin"), ccValue, pause.front());
        row->setContent(columnNamed(pauses, "end"), ccValue, pause.back());
        pauses->addRow(row, nullptr);
    }
    return createOvertimeTableTree(lanefeed_test::seriesColumns({"cpu", ".read", "io"}),
                                   lanefeed_test::namedQuery("bin"),
                                   lanefeed_test::recordOf(series), scale, param, pauses);
}

Row reduced(const Table& tree,
            const basekit2::generic_iterator_t<Row>& rows,
            relay2::IProgress* progress = nullptr) {
    sptr_t<dataface_1::IReducibleTableTree> reducible;
    EXPECT_TRUE(basekit2::lookup_interface(tree.get(), reducible));
    return reducible->reduce(rows, progress);
}

// What a sum answers for the columns; "-" for nothing.
std::string cellsOf(const Table& tree, const Row& row) {
    std::string text;
    for (const auto& column : lanefeed_test::allColumns(tree)) {
        basekit2::variant_t value;
        const bool answers = row->getContent(column, ccValue, value);
        text += answers ? std::to_string(static_cast<int>(value.get<double>())) + " " : "- ";
    }
    return text;
}

TEST(OvertimeTable, HasARowForEachBucketWithAValue) {
    const Series series{{1, kNoData, 0, kNoData, 5}, {kNoData, 2.5, 0, kNoData, 6}};
    EXPECT_TRUE(lanefeed_test::keepsTableContract([&] { return tableOf(series, 3); }));
    EXPECT_EQ(tableText(tableOf(series, 10)), R"(timeBin  cpu  cpu.read  io
0        10   10        0
1        0    0         25
4        50   50        60
)");
}

TEST(OvertimeTable, DropsWhatIsNotAboveZeroUnlessAskedToKeepIt) {
    const Series series{{0, -3, std::numeric_limits<double>::epsilon(), 1e-15}};
    EXPECT_EQ(tableText(tableOf(series, 2)),
              "timeBin  cpu    cpu.read  io\n3        2e-15  2e-15     0\n");
    QueryParam param = windowOf(0, 40, 4);
    param.keepZeroValues = true;
    EXPECT_EQ(tableText(tableOf(series, 2, {}, param), {false, false, {"timeBin", "cpu"}}),
              "timeBin  cpu\n0        0\n1        -6\n2        4.440892098500626e-16\n"
              "3        2e-15\n");
}

TEST(OvertimeTable, LeavesOutBucketsInsideOfAPause) {
    const auto rows = [](basekit2::u64_t start, basekit2::u64_t end, const QueryParam& window) {
        return lanefeed_test::allRows(tableOf({{1, 2, 3, 4}}, 1, {start, end}, window)).size();
    };
    EXPECT_EQ(rows(20, 30, windowOf(0, 40, 4)), 3U);
    EXPECT_EQ(rows(20, 29, windowOf(0, 40, 4)), 4U) << "its end reaches out";
    EXPECT_EQ(rows(21, 30, windowOf(0, 40, 4)), 4U) << "its start does";
    EXPECT_EQ(rows(109, 112, windowOf(100, 113, 4)), 3U) << "buckets of whole ticks, 3 of 13 / 4";
    EXPECT_EQ(rows(9, 9, windowOf(9, 12, 0)), 0U) << "no bucket count: each is the window's start";
}

TEST(OvertimeTable, AnswersPlainValuesOfItsOwnColumns) {
    const auto tree = tableOf({{4}});
    const auto foreign = columnNamed(tableOf({{4}}), "cpu");
    const auto row = tree->getRows(nullptr).current();
    basekit2::variant_t out;
    const CapturedLog log;
    const auto cpu = columnNamed(tree, "cpu");
    EXPECT_FALSE(row->getContent(foreign, ccValue, out));
    EXPECT_EQ(log.count("cit != m_colToIdx.end() 'Unknown column'"), 1);
    EXPECT_FALSE(row->getContent(cpu, dataface_1::ccSecondValue, out));
    EXPECT_TRUE(row->getContent(columnNamed(tree, "timeBin"), ccValue, out));
    EXPECT_EQ(out.get_type(), basekit2::vtS32);
    EXPECT_TRUE(row->getContent(cpu, ccValue, out));
    EXPECT_EQ(out.get_type(), basekit2::vtDouble);
}

TEST(OvertimeTable, SumsWhatRowsHoldWithoutTheScale) {
    // The first bucket has a value below zero, the second is paused.
    const auto tree = tableOf({{-1, 2, 3, 8}, {kNoData, 16, kNoData, 64}}, 100, {10, 20});
    const auto rows = lanefeed_test::allRows(tree);
    ASSERT_EQ(rows.size(), 2U);
    const auto twice = basekit2::make_iterator<Row>({rows[0], rows[1], rows[1]});
    EXPECT_EQ(cellsOf(tree, reduced(tree, twice)), "- 19 19 128 ");
    const auto used = tree->getRows(nullptr);
    used.next();
    const auto sum = reduced(tree, used);
    EXPECT_EQ(cellsOf(tree, sum), "- 11 11 64 ") << "from the first row";
    const CapturedLog log;
    EXPECT_EQ(cellsOf(tree, reduced(tree, nullptr)), "- 0 0 0 ");
    EXPECT_EQ(log.count("iterator does not support reset()"), 1);
    // What is not its own row, as little a sum, is refused.
    for (const auto& alien : {lanefeed_test::allRows(tableOf({{1}})).front(), sum, Row()})
        EXPECT_TRUE(reduced(tree, basekit2::make_iterator<Row>({alien})).is_null());
    EXPECT_EQ(log.count("row && row->getRowIdx() < m_rowsNumber 'Alien row?'"), 3);
    const auto canceled = basekit2::make_object<lanefeed_test::CancelAtPoll>(1);
    EXPECT_TRUE(reduced(tree, tree->getRows(nullptr), canceled.get()).is_null());
    EXPECT_EQ(log.entries().size(), 4U);
}

TEST(OvertimeTable, WhenMergedReadsItsSumOfNothingWhereItHasNoRow) {
    const auto merged = [](const std::vector<Table>& tables) {
        const auto merger = facekit_1_x::createTableTreeMerger();
        EXPECT_TRUE(merger->init(1, 0).succeeded());
        for (const Table& table : tables)
            EXPECT_TRUE(merger->addTree(table, table->getColumns(nullptr)).succeeded());
        Table out;
        EXPECT_TRUE(merger->getMergedTree(out).succeeded());
        return out;
    };
    const std::vector<Table> tables = {tableOf({{1}, {1}}), tableOf({{kNoData, 2}, {kNoData, 2}}),
                                       tableOf({{kNoData, kNoData, 3}, {kNoData, kNoData, 3}})};
    const std::string text = tableText(merged(tables));
    EXPECT_EQ(text.find('-'), std::string::npos) << text;
    // One after the other gives the same as all at once.
    EXPECT_EQ(tableText(merged({merged({tables[0], tables[1]}), tables[2]})), text);
}

}  // namespace
}  // namespace lanefeed_1
