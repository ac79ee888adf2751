// Sums of children into parents: missing data, shapes that differ, and totals of random trees.

#include "row_tables.h"
#include "support/random_seed.h"

#include <cmath>
#include <random>

namespace lanefeed_test {
namespace {

using lanefeed_1::OverTimeData;
using lanefeed_1::RowSummaryTableTree;
using Values = std::vector<double>;

class RowSummarySums : public RowTableTest {
protected:
    static QueryFacts flatFacts() {
        QueryFacts facts = bandFacts("dd_process");
        facts.flatGrouping = "flat";
        return facts;
    }
    static bool sum(OverTimeData& target, const OverTimeData& source) {
        return RowSummaryTableTree::sumOverTimeData(target, source);
    }
    static Values firstSeries(const OverTimeData& data) { return data.seriesSet.at(0).values; }

    // Rows below `depth` levels with ids from `nextId` on.
    static std::vector<GridRow> randomRows(std::mt19937& random, int depth, int& nextId) {
        std::vector<GridRow> rows;
        for (int i = std::uniform_int_distribution<int>(1, 3)(random); i > 0; --i) {
            rows.push_back({nextId++, "r", {}, {}});
            if (depth > 0) rows.back().children = randomRows(random, depth - 1, nextId);
        }
        return rows;
    }
    static double leafSum(const std::vector<GridRow>& rows) {
        double total = 0;
        for (const GridRow& row : rows)
            total += row.children.empty() ? row.id : leafSum(row.children);
        return total;
    }
};

TEST_F(RowSummarySums, TakeMissingDataForZeroOnceSomethingIsAdded) {
    OverTimeData target = recordOf({{kNoData, 1, kNoData}});
    EXPECT_TRUE(sum(target, recordOf({{2, kNoData, kNoData}})));
    EXPECT_EQ(firstSeries(target), (Values{2, 1, 0}));
    EXPECT_TRUE(sum(target, recordOf({Values{}})));
    EXPECT_TRUE(sum(target, {}));
    EXPECT_EQ(firstSeries(target), (Values{2, 1, 0}));
}

TEST_F(RowSummarySums, CopyIntoWhatIsEmpty) {
    OverTimeData target;
    EXPECT_TRUE(sum(target, recordOf({{kNoData, 3}, {}})));
    EXPECT_TRUE(std::isnan(firstSeries(target)[0]));
    EXPECT_TRUE(sum(target, recordOf({{}, {kNoData, 4}})));
    EXPECT_TRUE(std::isnan(target.seriesSet[1].values[0]));
    EXPECT_EQ(target.seriesSet[1].values[1], 4);
}

TEST_F(RowSummarySums, RefuseSeriesThatAreNotTheSame) {
    const CapturedLog log;
    OverTimeData target = recordOf({{1}, {2}});
    EXPECT_FALSE(sum(target, recordOf({{1}})));
    EXPECT_EQ(log.count("arg1.seriesSet.size() == arg2.seriesSet.size()"), 1);
    OverTimeData source = recordOf({{1}, {2}});
    source.seriesSet[1].nameParts = {"a"};
    EXPECT_FALSE(sum(target, source));
    EXPECT_EQ(log.count("series1.nameParts == series2.nameParts"), 1);
    source.seriesSet[1].nameParts.clear();
    source.seriesSet[1].idParts = {4};
    EXPECT_FALSE(sum(target, source));
    EXPECT_EQ(log.count("series1.idParts == series2.idParts"), 1);
    EXPECT_FALSE(sum(target, recordOf({{1}, {2, 3}})));
    EXPECT_EQ(log.count("series1.values.size() == series2.values.size()"), 1);
    // What came before the difference has been added each time.
    EXPECT_EQ(firstSeries(target), Values{4});
    EXPECT_EQ(target.seriesSet[1].values, Values{2});
}

TEST_F(RowSummarySums, ReachFromTheLeavesToTheTop) {
    std::mt19937 random(randomSeed());
    for (int round = 0; round < 10; ++round) {
        int nextId = 1;
        const std::vector<GridRow> rows = randomRows(random, 3, nextId);
        const Table table = buildOnGrid(rows, flatFacts());
        ASSERT_FALSE(table.is_null());
        std::vector<OverTimeData> data(static_cast<std::size_t>(table->getFlatRowCount()));
        for (int i = 0; i < table->getFlatRowCount(); ++i) {
            basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>> children;
            table->getRow(i)->getChildren(children, nullptr, false);
            const double own = table->getRow(i)->getDbIndex();
            if (children.at_end()) data[static_cast<std::size_t>(i)] = recordOf({{own, kNoData}});
        }
        ASSERT_TRUE(table->recursiveAggregation(data));
        double top = 0;
        for (const auto& row : allRows(table)) {
            if (!row->getParent().is_null()) continue;
            basekit2::variant_t id;
            row->getContent(nullptr, dataface_1::ccId, id);
            top += firstSeries(data[static_cast<std::size_t>(
                table->getRowByDbId(0, id.get<int>())->getSummaryId())])[0];
        }
        EXPECT_EQ(top, leafSum(rows));
    }
}

TEST_F(RowSummarySums, AreForFlatGroupingsAlone) {
    const std::vector<GridRow> rows{{1, "p", {}, {{2, "t", {}, {}}}}};
    std::vector<OverTimeData> data{{}, recordOf({{5}})};
    const CapturedLog log;
    EXPECT_TRUE(buildOnGrid(rows, bandFacts("dd_process"))->recursiveAggregation(data));
    EXPECT_TRUE(data[0].seriesSet.empty());
    const Table flat = buildOnGrid(rows, flatFacts());
    EXPECT_TRUE(flat->recursiveAggregation(data));
    EXPECT_EQ(firstSeries(data[0]), Values{5});
    data.pop_back();
    EXPECT_FALSE(flat->recursiveAggregation(data));
    EXPECT_EQ(log.count("dataArray.size() == m_flatRows.size()"), 1);
    EXPECT_EQ(firstSeries(data[0]), Values{5});
}

TEST_F(RowSummarySums, FailOnAChildOfAnotherShape) {
    const Table flat = buildOnGrid({{1, "p", {}, {{2, "t", {}, {}}}}}, flatFacts());
    std::vector<OverTimeData> data{recordOf({{1}, {1}}), recordOf({{5}})};
    const CapturedLog log;
    EXPECT_FALSE(flat->recursiveAggregation(data));
    // Told once by each row on the way up.
    EXPECT_EQ(log.count("bRet,"), 2);
}

}  // namespace
}  // namespace lanefeed_test
