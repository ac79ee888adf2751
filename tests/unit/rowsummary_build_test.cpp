// The row table: what it asks of the store, what it makes of it or of a grid, its lookups, and the
// filters that it makes of rows.

#include "row_tables.h"
#include "support/table_tree_contract.h"

#include <functional>

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using lanefeed_1::RowSummaryTableTree;
using Strings = std::vector<std::string>;

class RowSummaryBuild : public RowTableTest {
protected:
    RowSummaryBuild() { m_bound.input->offer<dataface_1::IFilterRegistry>(m_registry); }
    void expectUnbuilt(const std::string& text, const std::function<Table()>& make) {
        m_log.clear();
        EXPECT_TRUE(make().is_null()) << text;
        EXPECT_TRUE(m_log.contains(text)) << text;
    }
    static std::string filterOf(const Table& table, const std::vector<int>& rows) {
        const auto filter = table->createRowFilter(rows);
        const auto* fake = dynamic_cast<const FakeQueryFilter*>(filter.get());
        return fake != nullptr ? fake->text : "null";
    }
    void expectNoFilter(const std::string& text, const Table& table, int row) {
        m_log.clear();
        EXPECT_EQ(filterOf(table, {row}), "null") << text;
        EXPECT_TRUE(m_log.contains(text)) << text;
    }

    const sptr_t<FakeRegistry> m_registry = basekit2::make_object<FakeRegistry>();
    CapturedLog m_log;
};

TEST_F(RowSummaryBuild, HasARowForEachRecordOfTheStore) {
    addThreads("7 main\n3 worker");
    addBands("dd_thread", "3 1100 1200");
    EXPECT_EQ(tableText(buildThreads(), {true, false, {}}), R"(#  name    startTime  endTime
7  main    0          999
3  worker  100        200
)");
    EXPECT_EQ(m_bound.database->reads,
              (Strings{"dd_band::dd_thread dd_band::dd_thread start_tsc end_tsc",
                       "dd_thread filtered rowid dd_thread.name filter=global"}));
    EXPECT_TRUE(keepsTableContract([this] { return buildThreads(); }));

    // The global filter goes for none that is named, too.
    QueryFacts facts = bandFacts("dd_process");
    facts.values = {"lfd", "sh"};
    build({rowBy(bandFacts("dd_thread"))}, "", infoQuery(facts));
    EXPECT_EQ(m_bound.database->reads.back(),
              "dd_thread filtered rowid dd_thread.name dd_process.name=lfd dd_process.name=sh "
              "filter=global");
    build({rowBy(bandFacts("dd_thread"))}, "own");
    EXPECT_EQ(m_bound.database->reads.back(), "dd_thread filtered rowid dd_thread.name filter=own");
    // Without a column of names they are named by their ids.
    facts = bandFacts("dd_thread");
    facts.attr = "unknown";
    EXPECT_EQ(tableText(build({rowBy(facts)}), {false, false, {"name"}}), "name\n7\n3\n");
}

TEST_F(RowSummaryBuild, FailsLoudlyWithoutWhatItNeeds) {
    expectUnbuilt("m_result,", [&] {
        const Table table = basekit2::make_object<RowSummaryTableTree>();
        return table->init(nullptr, {}, m_bound.provider.get(), "", nullptr) ? table : Table();
    });
    expectUnbuilt("!m_rowBys.empty()", [&] { return build({}); });
    expectUnbuilt("tq,", [&] { return buildThreads(); });
    m_bound.database->tables["dd_thread"] = {};
    m_bound.database->brokenTables = {"dd_thread"};
    expectUnbuilt("rs && !rs->atEnd() ' Error: disk on fire, SQL: SELECT'",
                  [&] { return buildThreads(); });
    const auto grouping = vectorOf({infoQuery(bandFacts("dd_process"))});
    expectUnbuilt("m_gridTree,", [&] { return buildOn(nullptr, grouping); });
    const auto grid = basekit2::make_object<FakeGrid>(gridTable({{1, "a", 1, {}}}, grouping));
    grid->nullColumn = true;
    expectUnbuilt("column", [&] { return buildOn(grid, grouping); });
}

TEST_F(RowSummaryBuild, NestsRowsAsTheGridDoes) {
    addBands("dd_process", "2 1100 1200");
    const auto make = [this] {
        return buildOnGrid({{1, "lfd", 3, {{7, "main", 2, {}}, {1, "io", 1, {}}}},
                            {2, "sh", {}, {{7, "main", 5, {}}}}},
                           bandFacts("dd_process"));
    };
    EXPECT_TRUE(keepsTableContract(make));
    const Table table = make();
    EXPECT_EQ(tableText(table, {true, false, {}}), R"(#    name  busy  startTime  endTime
1    lfd   3     0          999
  7  main  2     0          999
  1  io    1     0          999
2    sh    -     100        200
  7  main  5     0          999
)");
    EXPECT_EQ(columnNamed(table, "name")->getType(), 3);
    EXPECT_EQ(table->getRow(2)->getParent().get(), table->getRow(0));
    EXPECT_EQ(table->getRowByDbId(1, 1), table->getRow(2));
    EXPECT_EQ(table->getRowByDbId(0, 1), table->getRow(0));
    EXPECT_EQ(table->getRowByDbIndexes({2, 7}), table->getRow(4));
    EXPECT_EQ(table->getRowByDbIndexes({2, 1}), nullptr);
    EXPECT_EQ(table->getRowByDbIndexes({2, 7, 7}), nullptr);

    // Of several in one place the first is found, and by path the last.
    const Table twice =
        buildOnGrid({{1, "a", {}, {{7, "x", {}, {}}, {7, "y", {}, {}}}}, {1, "b", {}, {}}},
                    bandFacts("dd_process"));
    EXPECT_EQ(twice->getRowByDbIndexes({1}), twice->getRow(3));
    EXPECT_EQ(twice->getRowByDbId(1, 7), twice->getRow(1));
    EXPECT_EQ(twice->getRow(0)->getChildRowByDbIndex(7), twice->getRow(2));
}

TEST_F(RowSummaryBuild, MakesFiltersThatNameEachRowByEachChoice) {
    addThreads("7 main\n3 worker");
    m_bound.database->tables["dd_core"] = {};
    const Table table = build({rowBy(bandFacts("dd_thread")), rowBy(bandFacts("dd_core"))});
    EXPECT_EQ(filterOf(table, {1, 0}),
              "{1 {1 dd_band::dd_thread.name=3 dd_band::dd_core.name=3} "
              "{1 dd_band::dd_thread.name=7 dd_band::dd_core.name=7}}");
    EXPECT_EQ(filterOf(table, {}), "{2}");
    EXPECT_TRUE(m_registry->calls.empty());  // a name for it is the caller's
    for (const int row : {-1, 2})
        expectNoFilter("selectedUniqueIDs[i] >= 0 && selectedUniqueIDs[i] < (int)m_flatRows.size()",
                       table, row);
    m_registry->refused = {FakeRegistry::queryFilter};
    expectNoFilter("err.succeeded() && qf", table, 0);
    m_registry->refused = {FakeRegistry::queryBuilder};
    expectNoFilter("qfBuilder", table, 0);
    lanefeed_1::DicerDataSource derived = rowBy(bandFacts("dd_thread"));
    derived.m_defaultQuery = makeQuery<FakeDerivedQuery>({});
    m_registry->refused.clear();
    expectNoFilter("infoQuery", build({derived}), 0);
    m_bound.input->withdraw<dataface_1::IFilterRegistry>();
    expectNoFilter("filterRegistry", table, 0);
}

}  // namespace
}  // namespace lanefeed_test
