// The row table: what it asks of the store, what it makes of it, and its lookups.

#include "row_tables.h"
#include "support/table_tree_contract.h"

namespace lanefeed_test {
namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using lanefeed_1::RowSummaryTableRow;
using lanefeed_1::RowSummaryTableTree;
using RowSummaryBuild = RowTableTest;

TEST_F(RowSummaryBuild, HasARowForEachRecordOfTheStore) {
    addThread(7, "main");
    addThread(3, "worker");
    addBand("dd_thread", 3, 1100, 1200);
    const Table table = buildThreads();
    ASSERT_FALSE(table.is_null());
    EXPECT_EQ(tableText(table, {true, false, {}}), R"(#  name    startTime  endTime
7  main    0          999
3  worker  100        200
)");
    EXPECT_EQ(m_bound.database->reads,
              (std::vector<std::string>{"dd_band::dd_thread dd_band::dd_thread start_tsc end_tsc",
                                        "dd_thread filtered rowid dd_thread.name filter=global"}));
}

TEST_F(RowSummaryBuild, AsksForTheGlobalFilterAlsoWhenNoneIsNamed) {
    addThread(7, "main");
    QueryFacts facts = bandFacts("dd_process");
    facts.values = {"lfd", "sh"};
    ASSERT_FALSE(build({rowBy(bandFacts("dd_thread"))}, "", infoQuery(facts)).is_null());
    EXPECT_EQ(m_bound.database->reads.back(),
              "dd_thread filtered rowid dd_thread.name dd_process.name=lfd dd_process.name=sh "
              "filter=global");
    ASSERT_FALSE(build({rowBy(bandFacts("dd_thread"))}, "own").is_null());
    EXPECT_EQ(m_bound.database->reads.back(), "dd_thread filtered rowid dd_thread.name filter=own");
    EXPECT_EQ(m_bound.library->created.back().get<variant_t>("id")->get<std::string>(),
              "timelineNameQuery_name_own");
}

TEST_F(RowSummaryBuild, NamesARowByItsIdWithoutANameColumn) {
    addThread(7, "main");
    QueryFacts facts = bandFacts("dd_thread");
    facts.attr = "";
    EXPECT_EQ(tableText(build({rowBy(facts)}), {false, false, {"name"}}), "name\n7\n");
    facts.attr = "unknown";
    EXPECT_EQ(tableText(build({rowBy(facts)}), {false, false, {"name"}}), "name\n7\n");
}

TEST_F(RowSummaryBuild, FailsLoudlyWithoutWhatItNeeds) {
    const CapturedLog log;
    RowTableTest::Table table = basekit2::make_object<RowSummaryTableTree>();
    EXPECT_FALSE(table->init(nullptr, {}, m_bound.provider.get(), "", nullptr));
    EXPECT_TRUE(log.contains("m_result,"));
    EXPECT_TRUE(build({}).is_null());
    EXPECT_TRUE(log.contains("!m_rowBys.empty()"));
    EXPECT_FALSE(log.contains("tq"));
    EXPECT_TRUE(build({rowBy(bandFacts("dd_thread"))}).is_null());
    EXPECT_TRUE(log.contains("tq,"));

    m_bound.database->tables["dd_thread"] = {};
    EXPECT_TRUE(buildThreads().is_null());
    EXPECT_EQ(log.count("rs && !rs->atEnd()"), 1);
    m_bound.database->brokenTables = {"dd_thread"};
    EXPECT_TRUE(buildThreads().is_null());
    EXPECT_EQ(log.count("rs && !rs->atEnd() ' Error: disk on fire, SQL: SELECT'"), 1);
}

TEST_F(RowSummaryBuild, NestsRowsAsTheGridDoes) {
    addBand("dd_process", 2, 1100, 1200);
    const Table table = buildOnGrid({{1, "lfd", 3, {{7, "main", 2, {}}, {1, "io", 1, {}}}},
                                     {2, "sh", {}, {{7, "main", 5, {}}}}},
                                    bandFacts("dd_process"));
    ASSERT_FALSE(table.is_null());
    EXPECT_EQ(tableText(table, {true, false, {}}), R"(#    name  busy  startTime  endTime
1    lfd   3     0          999
  7  main  2     0          999
  1  io    1     0          999
2    sh    -     100        200
  7  main  5     0          999
)");
    EXPECT_EQ(columnNamed(table, "name")->getType(), 3);
    EXPECT_EQ(table->getRowMaxLevel(), 1);
    EXPECT_EQ(table->getRow(2)->getLevel(), 1);
    EXPECT_EQ(table->getRow(2)->getParent().get(), table->getRow(0));
    EXPECT_EQ(table->getRowByDbId(1, 1), table->getRow(2));
    EXPECT_EQ(table->getRowByDbId(0, 1), table->getRow(0));
    EXPECT_EQ(table->getRowByDbIndexes({2, 7}), table->getRow(4));
    EXPECT_EQ(table->getRowByDbIndexes({2, 1}), nullptr);
    EXPECT_EQ(table->getRowByDbIndexes({2, 7, 7}), nullptr);
    EXPECT_EQ(table->getRow(0)->getChildRowByDbIndex(7), table->getRow(1));
}

TEST_F(RowSummaryBuild, FindsTheFirstOfOnePlaceAndTheLastByPath) {
    const Table table =
        buildOnGrid({{1, "a", {}, {{7, "x", {}, {}}, {7, "y", {}, {}}}}, {1, "b", {}, {}}},
                    bandFacts("dd_process"));
    EXPECT_EQ(table->getRowByDbId(0, 1), table->getRow(0));
    EXPECT_EQ(table->getRowByDbIndexes({1}), table->getRow(3));
    EXPECT_EQ(table->getRowByDbId(1, 7), table->getRow(1));
    EXPECT_EQ(table->getRow(0)->getChildRowByDbIndex(7), table->getRow(2));
}

TEST_F(RowSummaryBuild, IndexesAFlatGroupingAtOneLevel) {
    QueryFacts facts = bandFacts("dd_process");
    facts.flatGrouping = "flat";
    const Table table = buildOnGrid({{1, "lfd", {}, {{7, "main", {}, {}}}}}, facts);
    ASSERT_FALSE(table.is_null());
    EXPECT_TRUE(table->isFlatGrouping());
    EXPECT_EQ(table->getRowMaxLevel(), 0);
    EXPECT_EQ(table->getRow(1)->getLevel(), 1);
    EXPECT_EQ(table->getRowByDbId(5, 7), table->getRow(1));
    EXPECT_EQ(table->getRowByDbIndexes({7}), table->getRow(1));
    const CapturedLog log;
    EXPECT_EQ(table->getRowByDbIndexes({7, 1}), table->getRow(1));
    EXPECT_EQ(log.count("indexes.size() == 1"), 1);
}

TEST_F(RowSummaryBuild, NeedsGridAndGrouping) {
    const CapturedLog log;
    RowTableTest::Table table = basekit2::make_object<RowSummaryTableTree>();
    EXPECT_FALSE(table->init(m_bound.input, sptr_t<dataface_1::ITableTree>(), nullptr,
                             m_bound.provider.get(), nullptr));
    EXPECT_TRUE(log.contains("m_gridTree,"));
    EXPECT_FALSE(table->init(m_bound.input, facekit_1_x::createTableTree(), nullptr,
                             m_bound.provider.get(), nullptr));
    EXPECT_TRUE(log.contains("m_grouping,"));
}

TEST_F(RowSummaryBuild, KeepsTheContractOfTables) {
    addThread(7, "main");
    addThread(3, "worker");
    EXPECT_TRUE(keepsTableContract([this] { return buildThreads(); }));
    EXPECT_TRUE(keepsTableContract([this] {
        return buildOnGrid({{1, "lfd", 3, {{7, "main", 2, {}}}}}, bandFacts("dd_process"));
    }));
}

}  // namespace
}  // namespace lanefeed_test
