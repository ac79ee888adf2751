// Rows and columns of the row table: cells by kind of content, life times, and life after the
// table.

#include "row_tables.h"

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::ccId;
using dataface_1::ccSecondValue;
using dataface_1::ccStyle;
using dataface_1::ccValue;
using lanefeed_1::RowSummaryTableRow;
using RowSummaryRows = RowTableTest;
using RowSummaryRanges = RowTableTest;

TEST_F(RowSummaryRows, AnswerByColumnAndKindAndTheirIdAloneWithoutAColumn) {
    addThread(7, "main");
    addBand("dd_thread", 7, 1100, 1200);
    const Table table = buildThreads();
    RowSummaryTableRow& row = *table->getRow(0);
    const auto name = columnNamed(table, "name");
    const auto start = columnNamed(table, "startTime");
    variant_t out = "untouched";
    EXPECT_FALSE(row.getContent(start, ccStyle, out) || row.getContent(start, ccId, out));
    EXPECT_EQ(out, variant_t("untouched"));
    EXPECT_TRUE(row.getContent(start, ccSecondValue, out));
    EXPECT_EQ(out.get_type(), basekit2::vtU64);
    EXPECT_EQ(out, variant_t(100));
    EXPECT_TRUE(row.getContent(name, ccSecondValue, out));
    EXPECT_EQ(out, variant_t("main"));
    EXPECT_TRUE(row.getContent(name, ccStyle, out));
    EXPECT_TRUE(out.is_null());
    for (const sptr_t<dataface_1::IColumnInfo>& column : {columnNamed(table, "name"), {}}) {
        EXPECT_TRUE(row.getContent(column, ccId, out));
        EXPECT_EQ(out, variant_t(7));
    }
    EXPECT_EQ(name->getType(), 3);
    EXPECT_EQ(start->getType(), 2);
    basekit2::u64_t first = 0;
    basekit2::u64_t last = 0;
    row.getTimeRange(first, last);
    EXPECT_EQ(first, 100U);
    EXPECT_EQ(last, 200U);
    const CapturedLog log;
    EXPECT_FALSE(row.getContent(nullptr, ccValue, out));
    EXPECT_FALSE(row.getContent(columnNamed(seriesColumns({"cpu"}), "cpu"), ccValue, out));
    EXPECT_EQ(log.count("colImpl"), 2);
}

TEST_F(RowSummaryRows, AnswerNothingOnceTheirTableIsGone) {
    Table table = buildOnGrid({{1, "lfd", 3, {{7, "main", 2, {}}}}}, bandFacts("dd_process"));
    const sptr_t<RowSummaryTableRow> row(table->getRow(0));
    const sptr_t<RowSummaryTableRow> child(table->getRow(1));
    const auto column = columnNamed(table, "name");
    table.reset();
    variant_t out;
    EXPECT_FALSE(row->getContent(column, ccValue, out));
    EXPECT_FALSE(child->getContent(nullptr, ccId, out));
    EXPECT_TRUE(row->getTableTree().is_null());
    EXPECT_TRUE(child->getParent().is_null());
    EXPECT_EQ(child->getLevel(), 0);
    EXPECT_TRUE(column->getTableTree().is_null());
    basekit2::generic_iterator_t<sptr_t<dataface_1::ITableRow>> children;
    EXPECT_EQ(row->getChildren(children, nullptr, false), dataface_1::ITreeNode::ecsfSuccess);
    EXPECT_TRUE(children.at_end());
}

TEST_F(RowSummaryRanges, SpanAllLivesOfTheFirstGroupingByBand) {
    for (const char* name : {"early", "twice", "late", "unknown"})
        addThread(static_cast<int>(m_bound.database->tables["dd_thread"].size()) + 1, name);
    addBand("dd_thread", 1, 900, 1100);
    addBand("dd_thread", 2, 1500, 1600);
    addBand("dd_thread", 2, 1200, 1300);
    addBand("dd_thread", 2, 1700, 1800);
    addBand("dd_thread", 3, 1900, 2500);
    addBand("dd_process", 4, 1300, 1400);
    EXPECT_EQ(tableText(build({rowBy(bandFacts("dd_thread")), rowBy(bandFacts("dd_process"))})),
              R"(name     startTime  endTime
early    0          100
twice    200        800
late     900        1500
unknown  0          999
)");
}

TEST_F(RowSummaryRanges, AreReadForEachLevelOfTheChains) {
    addThread(1, "t");
    addBand("dd_thread", 1, 1100, 1200);
    addBand("dd_process", 4, 1300, 1400);
    QueryFacts outer = bandFacts("dd_process");
    outer.next = infoQuery(bandFacts("dd_thread"));
    QueryFacts other = bandFacts("dd_core");
    other.table = "cores";  // not a grouping by band
    other.next = infoQuery(bandFacts("dd_process"));
    const Table table = build({rowBy(bandFacts("dd_thread")), rowBy(outer), rowBy(other)});
    ASSERT_FALSE(table.is_null());
    lanefeed_1::RowSummaryTableTree::tsc_range_t range{5, 6};
    EXPECT_FALSE(table->getTscRange(1, "dd_process", range));
    EXPECT_FALSE(table->getTscRange(1, "dd_core", range));
    EXPECT_EQ(range.start, 5U);
    EXPECT_TRUE(table->getTscRange(4, "dd_process", range));
    EXPECT_EQ(range.start, 1300U);
    EXPECT_TRUE(table->getTscRange(1, "dd_thread", range));
    EXPECT_EQ(range.end, 1200U);
    // Each of the two once, besides the rows.
    EXPECT_EQ(m_bound.database->reads.size(), 3U);
}

TEST_F(RowSummaryRanges, FallBackOnTheResultWhereBandsCannotBeRead) {
    addThread(1, "t");
    const CapturedLog log;
    QueryFacts facts = bandFacts("dd_thread");
    facts.bandColumn = "";
    EXPECT_FALSE(build({rowBy(facts)}).is_null());
    EXPECT_EQ(log.count("Failed to get bands for grouping: dd_thread"), 1);
    addBand("dd_thread", 1, 1100, 1200);
    facts.bandColumn = "dd_band::wrong";
    EXPECT_FALSE(build({rowBy(facts)}).is_null());
    EXPECT_EQ(log.count("sl1::InvalidColIdx != groupingId"), 1);
    m_bound.database->brokenTables = {"dd_band::dd_thread"};
    const Table table = buildThreads();
    EXPECT_EQ(log.count("rs && !rs->atEnd() ' Error: disk on fire, SQL: SELECT'"), 1);
    EXPECT_EQ(tableText(table), "name  startTime  endTime\nt     0          999\n");
}

TEST_F(RowSummaryRanges, AreUnknownInAResultWithoutTime) {
    addThread(1, "t");
    m_bound.database->firstTick = 0;
    m_bound.database->lastTick = 0;
    const CapturedLog log;
    const Table table = buildThreads();
    ASSERT_FALSE(table.is_null());
    EXPECT_EQ(log.count("m_minDbTsc + m_maxDbTsc"), 1);
    EXPECT_EQ(log.count("ret,"), 1);
    basekit2::u64_t start = 5;
    basekit2::u64_t end = 5;
    table->getRow(0)->getTimeRange(start, end);
    EXPECT_EQ(start + end, 0U);
}

}  // namespace
}  // namespace lanefeed_test
