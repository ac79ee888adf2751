// The table of an over-time series: which buckets have rows, what cells read, sums of rows.

#include "overtime_tabletree.h"

#include "series_tables.h"
#include "support/captured_log.h"
#include "support/fake_store.h"
#include "support/table_text.h"
#include "support/table_tree_contract.h"
#include "tabletrees.h"

#include <gtest/gtest.h>

namespace lanefeed_1 {
namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::ccId;
using dataface_1::ccSecondValue;
using dataface_1::ccValue;
using dataface_1::IColumnInfo;
using dataface_1::ITableRow;
using dataface_1::ITableTree;
using lanefeed_test::CapturedLog;
using lanefeed_test::kNoData;
using lanefeed_test::recordOf;
using lanefeed_test::seriesColumns;
using lanefeed_test::tableText;
using lanefeed_test::windowOf;

using Series = std::vector<std::vector<double>>;

// Has one column, and that is null.
class BrokenTree : public ITableTree {
public:
    basekit2::generic_iterator_t<sptr_t<ITableRow>> getRows(relay2::IProgress*) override {
        return {};
    }
    basekit2::generic_iterator_t<sptr_t<IColumnInfo>> getColumns(relay2::IProgress*) override {
        return basekit2::make_iterator(std::vector<sptr_t<IColumnInfo>>(1));
    }
    void setMessenger(relay2::IMessenger*) override {}
};

// Ten ticks a bucket from tick 100 on.
QueryParam tenTickBuckets(const Series& series) {
    const std::size_t count = series.empty() ? 0 : series.front().size();
    return windowOf(100, 100 + 10 * count, static_cast<basekit2::u32_t>(count));
}

sptr_t<ITableTree> tableOf(const Series& series,
                           double scale,
                           const QueryParam& param,
                           const sptr_t<ITableTree>& pauses = {}) {
    return createOvertimeTableTree(seriesColumns({"cpu", ".read", "io"}),
                                   lanefeed_test::namedQuery("bin"), recordOf(series), scale, param,
                                   pauses);
}

sptr_t<ITableTree> tableOf(const Series& series, double scale = 1.0) {
    return tableOf(series, scale, tenTickBuckets(series));
}

sptr_t<ITableRow> reduced(const sptr_t<ITableTree>& tree,
                          const std::vector<sptr_t<ITableRow>>& rows,
                          relay2::IProgress* progress = nullptr) {
    sptr_t<dataface_1::IReducibleTableTree> reducible;
    if (!basekit2::lookup_interface(tree.get(), reducible)) return {};
    return reducible->reduce(basekit2::make_iterator(rows), progress);
}

double cell(const sptr_t<ITableTree>& tree, const sptr_t<ITableRow>& row, const char* column) {
    variant_t value;
    EXPECT_TRUE(row->getContent(lanefeed_test::columnNamed(tree, column), ccValue, value));
    EXPECT_EQ(value.get_type(), basekit2::vtDouble);
    return value.get<double>();
}

TEST(OvertimeTable, HasARowForEachBucketWithAValue) {
    const Series series{{1, kNoData, 0, kNoData, 5}, {kNoData, 2.5, 0, kNoData, 6}};
    EXPECT_EQ(tableText(tableOf(series, 10)), R"(timeBin  cpu  cpu.read  io
0        10   10        0
1        0    0         25
4        50   50        60
)");
}

TEST(OvertimeTable, DropsWhatIsNotAboveZeroUnlessAskedToKeepIt) {
    const Series series{{1e-20, 0, -3, std::numeric_limits<double>::epsilon(), 1e-15}, {}};
    QueryParam param = tenTickBuckets(series);
    EXPECT_EQ(tableText(tableOf(series, 2, param)), R"(timeBin  cpu    cpu.read  io
4        2e-15  2e-15     0
)");
    param.keepZeroValues = true;
    EXPECT_EQ(lanefeed_test::allRows(tableOf(series, 2, param)).size(), 5U);
    const sptr_t<ITableTree> tree = tableOf(series, 2, param);
    EXPECT_EQ(cell(tree, lanefeed_test::allRows(tree)[0], "cpu"), 2e-20);
    EXPECT_EQ(cell(tree, lanefeed_test::allRows(tree)[2], "cpu"), -6);
}

TEST(OvertimeTable, KeepsABucketThatReachesOutOfAPauseByATick) {
    const Series series{{1, 2, 3, 4, 5, 6}};
    const auto rowCount = [&series](basekit2::u64_t start, basekit2::u64_t end) {
        const auto pauses = lanefeed_test::spansTable({{start, end}});
        return lanefeed_test::allRows(tableOf(series, 1, tenTickBuckets(series), pauses)).size();
    };
    EXPECT_EQ(rowCount(120, 130), 5U);
    EXPECT_EQ(rowCount(120, 129), 6U);
    EXPECT_EQ(rowCount(121, 130), 6U);
}

TEST(OvertimeTable, PlacesPausesByWholeTicksOfABucket) {
    // 3 ticks a bucket over 11 ticks: the fourth bucket is that of 9..12.
    const Series series{{1, 2, 3, 4}};
    const auto tree = tableOf(series, 1, windowOf(0, 13, 4), lanefeed_test::spansTable({{9, 12}}));
    EXPECT_EQ(lanefeed_test::allRows(tree).size(), 3U);
    // Without a bucket count every bucket is the start of the window.
    EXPECT_EQ(lanefeed_test::allRows(
                  tableOf(series, 1, windowOf(9, 12, 0), lanefeed_test::spansTable({{9, 9}})))
                  .size(),
              0U);
}

TEST(OvertimeTable, ReadsAColumnWithoutSeriesAsZero) {
    EXPECT_EQ(tableText(tableOf(Series{{4}})),
              "timeBin  cpu  cpu.read  io\n0        4    4         0\n");
}

TEST(OvertimeTable, AnswersPlainValuesOnly) {
    const auto tree = tableOf({{4}});
    const auto row = lanefeed_test::allRows(tree).front();
    const auto cpu = lanefeed_test::columnNamed(tree, "cpu");
    variant_t out = "untouched";
    EXPECT_FALSE(row->getContent(cpu, ccSecondValue, out));
    EXPECT_FALSE(row->getContent(cpu, ccId, out));
    EXPECT_FALSE(row->getContent(nullptr, ccValue, out));
    EXPECT_EQ(out, variant_t("untouched"));
    EXPECT_TRUE(row->getContent(lanefeed_test::columnNamed(tree, "timeBin"), ccValue, out));
    EXPECT_EQ(out.get_type(), basekit2::vtS32);
    EXPECT_EQ(row->getQuery()->getName(), "bin");
}

TEST(OvertimeTable, KnowsItsColumnsOnceTheyWereAskedFor) {
    const auto tree = tableOf({{4}});
    const auto other = tableOf({{4}});
    const auto row = tree->getRows(nullptr).current();
    const auto foreign = lanefeed_test::columnNamed(other, "cpu");
    const CapturedLog log;
    variant_t out = "untouched";
    EXPECT_FALSE(row->getContent(foreign, ccValue, out));
    EXPECT_EQ(log.count("cit != m_colToIdx.end() 'Unknown column'"), 1);
    EXPECT_EQ(out, variant_t("untouched"));
    tree->getColumns(nullptr);
    EXPECT_FALSE(row->getContent(foreign, ccValue, out));
    EXPECT_EQ(log.count("Unknown column"), 2);
}

TEST(OvertimeTable, ThrowsOnAColumnThatIsNull) {
    const auto tree = createOvertimeTableTree(basekit2::make_object<BrokenTree>(), nullptr,
                                              recordOf({{4}}), 1, windowOf(0, 10, 1), nullptr);
    try {
        tree->getColumns(nullptr);
        FAIL() << "no throw";
    } catch (const basekit2::error_code_t& error) {
        EXPECT_EQ(error.as_string(0), "IsNot.Expected.Situation");
        EXPECT_NE(error.as_string(1).find("it.current()"), std::string::npos);
    }
}

TEST(OvertimeTable, SumsRowsWithoutTheScale) {
    const auto tree = tableOf({{1, 2, 3}, {kNoData, 10, 20}}, 100);
    const auto rows = lanefeed_test::allRows(tree);
    const auto sum = reduced(tree, {rows[0], rows[2]});
    ASSERT_FALSE(sum.is_null());
    EXPECT_EQ(cell(tree, sum, "cpu"), 4);
    EXPECT_EQ(cell(tree, sum, "read"), 4);
    EXPECT_EQ(cell(tree, sum, "io"), 20);
    variant_t out = "untouched";
    EXPECT_FALSE(sum->getContent(lanefeed_test::columnNamed(tree, "timeBin"), ccValue, out));
    EXPECT_FALSE(sum->getContent(lanefeed_test::columnNamed(tree, "cpu"), ccSecondValue, out));
    EXPECT_FALSE(sum->getContent(nullptr, ccValue, out));
    EXPECT_EQ(out, variant_t("untouched"));
    EXPECT_EQ(cell(tree, reduced(tree, {}), "io"), 0);
}

TEST(OvertimeTable, RefusesToSumWhatIsNotItsOwn) {
    const auto tree = tableOf({{1, 2}});
    const auto other = tableOf({{1, 2}});
    const auto rows = lanefeed_test::allRows(tree);
    const CapturedLog log;
    EXPECT_TRUE(reduced(tree, {rows[0], lanefeed_test::allRows(other)[0]}).is_null());
    EXPECT_TRUE(reduced(tree, {reduced(tree, rows)}).is_null());
    EXPECT_TRUE(reduced(tree, {nullptr}).is_null());
    EXPECT_EQ(log.count("row && row->getRowIdx() < m_rowsNumber 'Alien row?'"), 3);
    const auto canceled = basekit2::make_object<lanefeed_test::FakeProgress>();
    canceled->cancelsAt = 1;
    EXPECT_TRUE(reduced(tree, rows, canceled.get()).is_null());
    EXPECT_EQ(log.entries().size(), 3U);
}

TEST(OvertimeTable, SumsFromTheFirstRowOfAUsedIterator) {
    const auto tree = tableOf({{1, 2, 4}});
    sptr_t<dataface_1::IReducibleTableTree> reducible;
    ASSERT_TRUE(basekit2::lookup_interface(tree.get(), reducible));
    const auto rows = tree->getRows(nullptr);
    rows.next();
    EXPECT_EQ(cell(tree, reducible->reduce(rows, nullptr), "cpu"), 7);
    const CapturedLog log;
    EXPECT_EQ(cell(tree, reducible->reduce(nullptr, nullptr), "cpu"), 0);
    EXPECT_EQ(log.count("iterator does not support reset()"), 1);
}

TEST(OvertimeTable, KeepsTheContractOfTables) {
    EXPECT_TRUE(lanefeed_test::keepsTableContract([] {
        return tableOf({{1, kNoData, 3}, {kNoData, kNoData, 4}}, 3);
    }));
}

}  // namespace
}  // namespace lanefeed_1
