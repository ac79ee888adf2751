// Rows and columns of the row table: cells by kind of content, life times, and life after the
// table; the order of the rows; and sums of their data.

#include "row_tables.h"

#include <cmath>
#include <limits>
#include <numeric>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::ccId;
using dataface_1::ccSecondValue;
using dataface_1::ccStyle;
using dataface_1::ccValue;
using dataface_1::cell_contents_t;
using lanefeed_1::RowSummaryTableRow;
using RowSummaryRows = RowTableTest;
using RowSummaryRanges = RowTableTest;
using lanefeed_1::OverTimeData;
using Order = std::vector<int>;
using Values = std::vector<double>;

TEST_F(RowSummaryRows, AnswerByColumnAndKindAndTheirIdAloneWithoutAColumn) {
    addThreads("7 main");
    addBands("dd_thread", "7 1100 1200");
    const Table table = buildThreads();
    RowSummaryTableRow& row = *table->getRow(0);
    const auto start = columnNamed(table, "startTime");
    variant_t out = "untouched";
    EXPECT_FALSE(row.getContent(start, ccStyle, out) || row.getContent(start, ccId, out));
    EXPECT_EQ(out, variant_t("untouched"));
    EXPECT_TRUE(row.getContent(start, ccSecondValue, out));
    EXPECT_EQ(out.get_type(), basekit2::vtU64);
    EXPECT_EQ(out, variant_t(100));
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
    EXPECT_TRUE(row->getTableTree().is_null() && column->getTableTree().is_null());
    EXPECT_TRUE(child->getParent().is_null());
    EXPECT_EQ(child->getLevel(), 0);
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

TEST_F(RowSummaryRanges, FallBackOnTheResultWhereBandsCannotBeRead) {
    addThreads("1 t");
    const CapturedLog log;
    QueryFacts facts = bandFacts("dd_thread");
    facts.bandColumn = "";
    build({rowBy(facts)});
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

class RowSummarySorting : public RowTableTest {
protected:
    static Order sorted(const Table& table, const char* column, bool ascending) {
        table->sortByColumn(columnNamed(table, column), ccValue, ascending);
        return sortOrder(table);
    }
    // Column of the first order and whether it ascends, such as "busy down".
    static std::string initial(const Table& table, const Query& query) {
        sptr_t<dataface_1::IColumnInfo> column;
        cell_contents_t content = ccId;
        bool ascending = false;
        if (!table->getInitialSorting(query, column, content, ascending)) return "none";
        EXPECT_EQ(content, ccValue);
        return column->getQuery()->getName() + (ascending ? " up" : " down");
    }
};

TEST_F(RowSummarySorting, ComparesTextsInLowerCaseAndLeavesEqualOnesAsTheyAre) {
    Order all(40);
    std::iota(all.begin(), all.end(), 0);
    std::string names;
    for (std::size_t i = 0; i < all.size(); ++i)
        names += i % 2 == 0 ? "1 Same\n" : "1 same\n";
    addThreads(names);
    EXPECT_EQ(sorted(buildThreads(), "name", true), all);
    addThreads("1 beta\n1 Alpha\n1 gamma\n1 ALPHA_2\n1 _");
    const Table table = buildThreads();
    EXPECT_EQ(sorted(table, "name", true), (Order{4, 1, 3, 0, 2}));
    EXPECT_EQ(sorted(table, "name", false), (Order{2, 0, 3, 1, 4}));
}

TEST_F(RowSummarySorting, ComparesNumbersByValueAndMissingOnesFirstLevelByLevel) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Table table = buildOnGrid({{1, "a", 9, {{6, "y", {}, {}}, {7, "x", {}, {}}}},
                                     {2, "b", 10.5, {}},
                                     {3, "c", {}, {}},
                                     {4, "d", nan, {}},
                                     {5, "e", -2, {}}},
                                    bandFacts("dd_process"));
    EXPECT_EQ(sorted(table, "busy", true), (Order{2, 3, 4, 0, 1}));
    EXPECT_EQ(sorted(table, "busy", false), (Order{1, 0, 4, 3, 2}));
    Order all{99};
    table->getRow(0)->getSortOrder(all);
    EXPECT_EQ(all, (Order{99, 0, 1}));
    // A null column is remembered and changes nothing.
    table->sortByColumn(columnNamed(table, "busy"), ccValue, true);
    table->sortByColumn(nullptr, ccId, true);
    EXPECT_EQ(sortOrder(table), (Order{2, 3, 4, 0, 1}));
    sptr_t<dataface_1::IColumnInfo> column = columnNamed(table, "name");
    cell_contents_t content = ccValue;
    bool ascending = false;
    table->getCurrentSorting(column, content, ascending);
    EXPECT_TRUE(column.is_null() && content == ccId && ascending);
}

TEST_F(RowSummarySorting, SortsNamesByTheKindThatTheRowsAskFor) {
    const std::vector<GridRow> rows{{20, "a", {}, {}},
                                    {10, "b", {}, {{4, "x", {}, {}}, {3, "y", {}, {}}}}};
    QueryFacts facts = bandFacts("dd_process");
    EXPECT_EQ(sorted(buildOnGrid(rows, facts), "name", true), (Order{0, 1}));
    facts.attributes["sortValueType"] = static_cast<int>(ccId);
    const Table table = buildOnGrid(rows, facts);
    EXPECT_EQ(sorted(table, "name", true), (Order{1, 0}));
    Order children;
    table->getRow(1)->getSortOrder(children);
    EXPECT_EQ(children, (Order{1, 0}));
    // A kind that was asked for stands.
    table->sortByColumn(columnNamed(table, "name"), ccSecondValue, true);
    EXPECT_EQ(sortOrder(table), (Order{0, 1}));
}

TEST_F(RowSummarySorting, StartsByTimeForThreadsAndByNameElse) {
    addThreads("1 b\n2 a");
    addBands("dd_thread", "1 1500 1600\n2 1400 1600");
    const Table threads = buildThreads();
    EXPECT_EQ(initial(threads, nullptr), "startTime up");
    threads->initialSorting(nullptr);
    EXPECT_EQ(sortOrder(threads), (Order{1, 0}));

    m_bound.database->tables["dd_thread.dd_process"] = {};
    m_bound.database->tables["dd_process"] = {{{"rowid", 1}, {"dd_process.name", "p"}}};
    const CapturedLog log;  // no bands by process
    EXPECT_EQ(initial(build({rowBy(bandFacts("dd_thread.dd_process"))}), nullptr), "name up");
}

TEST_F(RowSummarySorting, StartsByTheColumnOfTheQueryElseByTheFirstValue) {
    const Table table = buildOnGrid({{1, "a", 1, {}}, {2, "b", 2, {}}}, bandFacts("dd_process"));
    EXPECT_EQ(initial(table, namedQuery("elsewhere")), "busy down");
    EXPECT_EQ(initial(table, dataface_1::IVectorQuery::pushBack(nullptr, namedQuery("name"))),
              "name down");
    const CapturedLog log;
    EXPECT_EQ(initial(basekit2::make_object<lanefeed_1::RowSummaryTableTree>(), nullptr), "none");
    EXPECT_EQ(log.count("sortCol >= 0 && sortCol < (int)m_topLevelCols.size()"), 1);
}

TEST_F(RowSummarySorting, StartsByTheFirstOfSeveralValuesAtTheTop) {
    const auto grid = facekit_1_x::createTableTree();
    const auto add = [&](const char* name, const sptr_t<dataface_1::IColumnInfo>& parent) {
        const auto column = facekit_1_x::createColumn(20, namedQuery(name), grid);
        grid->addColumn(column, parent, 0);
        return column;
    };
    add("read", add("busy", nullptr));
    add("idle", nullptr);
    const Table table = buildOn(grid, vectorOf({infoQuery(bandFacts("dd_process"))}));
    EXPECT_EQ(tableText(table), "busy  busy.read  idle  startTime  endTime\n");
    EXPECT_EQ(initial(table, nullptr), "busy down");
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
