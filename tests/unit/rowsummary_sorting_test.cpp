// Order of the rows: by name, number and time, and the order of a fresh table.

#include "row_tables.h"

#include <limits>
#include <numeric>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::ccId;
using dataface_1::ccSecondValue;
using dataface_1::ccValue;
using dataface_1::cell_contents_t;
using Order = std::vector<int>;

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
    EXPECT_EQ(sortOrder(table), (Order{0, 1, 2, 3, 4}));
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
    table->sortByColumn(nullptr, ccId, false);
    EXPECT_EQ(sortOrder(table), (Order{2, 3, 4, 0, 1}));
    sptr_t<dataface_1::IColumnInfo> column = columnNamed(table, "name");
    cell_contents_t content = ccValue;
    bool ascending = true;
    table->getCurrentSorting(column, content, ascending);
    EXPECT_TRUE(column.is_null() && content == ccId && !ascending);
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
    EXPECT_EQ(initial(table, namedQuery("name")), "name down");
    EXPECT_EQ(initial(table, dataface_1::IVectorQuery::pushBack(nullptr, namedQuery("name"))),
              "name down");
    table->initialSorting(nullptr);
    EXPECT_EQ(sortOrder(table), (Order{1, 0}));
    const CapturedLog log;
    EXPECT_EQ(initial(basekit2::make_object<lanefeed_1::RowSummaryTableTree>(), nullptr), "none");
    EXPECT_EQ(log.count("sortCol >= 0 && sortCol < (int)m_topLevelCols.size()"), 1);
}

}  // namespace
}  // namespace lanefeed_test
