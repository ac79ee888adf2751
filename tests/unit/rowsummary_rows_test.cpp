// Rows and columns of the row table: cells by kind of content, life times, and life after the
// table; and sums of the data of rows.

#include "row_tables.h"

#include <cmath>

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
using lanefeed_1::OverTimeData;
using Values = std::vector<double>;

TEST_F(RowSummaryRows, AnswerByColumnAndKindAndTheirIdAloneWithoutAColumn) {
    addThreads("7 main");
    addBands("dd_thread", "7 1100 1200");
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
    for (const sptr_t<dataface_1::IColumnInfo>& column : {columnNamed(table, "name"), {}}) {
        EXPECT_TRUE(row.getContent(column, ccId, out));
        EXPECT_EQ(out, variant_t(7));
    }
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
    row->getChildren(children, nullptr, false);
    EXPECT_TRUE(children.at_end());
}

TEST_F(RowSummaryRanges, SpanAllLivesOfTheFirstGroupingByBand) {
    addThreads("1 early\n2 twice\n3 late\n4 unknown");
    addBands("dd_thread", "1 900 1100\n2 1500 1600\n2 1200 1300\n2 1700 1800\n3 1900 2500");
    addBands("dd_process", "4 1300 1400");
    EXPECT_EQ(tableText(build({rowBy(bandFacts("dd_thread")), rowBy(bandFacts("dd_process"))})),
              R"(name     startTime  endTime
early    0          100
twice    200        800
late     900        1500
unknown  0          999
)");
}

TEST_F(RowSummaryRanges, AreReadForEachLevelOfTheChains) {
    addThreads("1 t");
    addBands("dd_thread", "1 1100 1200");
    addBands("dd_process", "4 1300 1400");
    QueryFacts outer = bandFacts("dd_process");
    outer.next = infoQuery(bandFacts("dd_thread"));
    QueryFacts other = bandFacts("dd_core");
    other.table = "cores";  // not a grouping by band
    const Table table = build({rowBy(bandFacts("dd_thread")), rowBy(outer), rowBy(other)});
    ASSERT_FALSE(table.is_null());
    lanefeed_1::RowSummaryTableTree::tsc_range_t range{5, 6};
    EXPECT_FALSE(table->getTscRange(1, "dd_process", range));
    EXPECT_FALSE(table->getTscRange(1, "dd_core", range));
    EXPECT_TRUE(table->getTscRange(4, "dd_process", range));
    EXPECT_EQ(range.start, 1300U);
    EXPECT_TRUE(table->getTscRange(1, "dd_thread", range));
    EXPECT_EQ(m_bound.database->reads.size(), 3U) << "each of the two once, besides the rows";
}

TEST_F(RowSummaryRanges, FallBackOnTheResultWhereBandsCannotBeRead) {
    addThreads("1 t");
    const CapturedLog log;
    QueryFacts facts = bandFacts("dd_thread");
    facts.bandColumn = "";
    EXPECT_FALSE(build({rowBy(facts)}).is_null());
    EXPECT_EQ(log.count("Failed to get bands for grouping: dd_thread"), 1);
    addBands("dd_thread", "1 1100 1200");
    facts.bandColumn = "dd_band::wrong";
    EXPECT_FALSE(build({rowBy(facts)}).is_null());
    EXPECT_EQ(log.count("sl1::InvalidColIdx != groupingId"), 1);
    m_bound.database->brokenTables = {"dd_band::dd_thread"};
    const Table table = buildThreads();
    EXPECT_EQ(log.count("rs && !rs->atEnd() ' Error: disk on fire, SQL: SELECT'"), 1);
    EXPECT_EQ(tableText(table), "name  startTime  endTime\nt     0          999\n");
}

TEST_F(RowSummaryRanges, AreUnknownInAResultWithoutTime) {
    addThreads("1 t");
    m_bound.database->firstTick = 0;
    m_bound.database->lastTick = 0;
    const CapturedLog log;
    EXPECT_FALSE(buildThreads().is_null());
    EXPECT_EQ(log.count("m_minDbTsc + m_maxDbTsc"), 1);
    EXPECT_EQ(log.count("ret,"), 1);
}

bool sum(OverTimeData& target, const OverTimeData& source) {
    return lanefeed_1::RowSummaryTableTree::sumOverTimeData(target, source);
}

TEST(RowSummarySums, TakeMissingDataForZeroOnceSomethingIsAdded) {
    OverTimeData target = recordOf({{kNoData, 1, kNoData}});
    EXPECT_TRUE(sum(target, recordOf({{2, kNoData, kNoData}})));
    EXPECT_TRUE(sum(target, recordOf({Values{}})) && sum(target, {}));
    EXPECT_EQ(target.seriesSet[0].values, (Values{2, 1, 0}));
    // What is empty becomes a copy.
    target = {};
    EXPECT_TRUE(sum(target, recordOf({{kNoData, 3}, {}})));
    EXPECT_TRUE(std::isnan(target.seriesSet[0].values[0]));
    EXPECT_TRUE(sum(target, recordOf({{}, {kNoData, 4}})));
    EXPECT_TRUE(std::isnan(target.seriesSet[1].values[0]));
    EXPECT_EQ(target.seriesSet[1].values[1], 4);
}

TEST(RowSummarySums, RefuseSeriesThatAreNotTheSame) {
    const CapturedLog log;
    OverTimeData target = recordOf({{1}, {2}});
    const auto refused = [&](const OverTimeData& source, const char* text) {
        EXPECT_FALSE(sum(target, source));
        EXPECT_EQ(log.count(text), 1) << text;
    };
    refused(recordOf({{1}}), "arg1.seriesSet.size() == arg2.seriesSet.size()");
    OverTimeData source = recordOf({{1}, {2}});
    source.seriesSet[1].nameParts = {"a"};
    refused(source, "series1.nameParts == series2.nameParts");
    source.seriesSet[1].nameParts.clear();
    source.seriesSet[1].idParts = {4};
    refused(source, "series1.idParts == series2.idParts");
    refused(recordOf({{1}, {2, 3}}), "series1.values.size() == series2.values.size()");
    // What came before the difference has been added each time.
    EXPECT_EQ(target.seriesSet[0].values, Values{4});
    EXPECT_EQ(target.seriesSet[1].values, Values{2});
}

}  // namespace
}  // namespace lanefeed_test
