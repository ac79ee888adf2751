// Sums of children into parents: missing data and shapes that differ.

#include "row_tables.h"

#include <cmath>

namespace lanefeed_test {
namespace {

using lanefeed_1::OverTimeData;
using lanefeed_1::RowSummaryTableTree;
using Values = std::vector<double>;

class RowSummarySums : public RowTableTest {
protected:
    static bool sum(OverTimeData& target, const OverTimeData& source) {
        return RowSummaryTableTree::sumOverTimeData(target, source);
    }
    static Values firstSeries(const OverTimeData& data) { return data.seriesSet.at(0).values; }
};

TEST_F(RowSummarySums, TakeMissingDataForZeroOnceSomethingIsAdded) {
    OverTimeData target = recordOf({{kNoData, 1, kNoData}});
    EXPECT_TRUE(sum(target, recordOf({{2, kNoData, kNoData}})));
    EXPECT_TRUE(sum(target, recordOf({Values{}})) && sum(target, {}));
    EXPECT_EQ(firstSeries(target), (Values{2, 1, 0}));
    // What is empty becomes a copy.
    target = {};
    EXPECT_TRUE(sum(target, recordOf({{kNoData, 3}, {}})));
    EXPECT_TRUE(std::isnan(firstSeries(target)[0]));
    EXPECT_TRUE(sum(target, recordOf({{}, {kNoData, 4}})));
    EXPECT_TRUE(std::isnan(target.seriesSet[1].values[0]));
    EXPECT_EQ(target.seriesSet[1].values[1], 4);
}

TEST_F(RowSummarySums, RefuseSeriesThatAreNotTheSame) {
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
    EXPECT_EQ(firstSeries(target), Values{4});
    EXPECT_EQ(target.seriesSet[1].values, Values{2});
}

TEST_F(RowSummarySums, AreForFlatGroupingsAlone) {
    const std::vector<GridRow> rows{{1, "p", {}, {{2, "t", {}, {}}}}};
    std::vector<OverTimeData> data{{}, recordOf({{5}})};
    const CapturedLog log;
    EXPECT_TRUE(buildOnGrid(rows, bandFacts("dd_process"))->recursiveAggregation(data));
    EXPECT_TRUE(data[0].seriesSet.empty());
    QueryFacts facts = bandFacts("dd_process");
    facts.flatGrouping = "flat";
    const Table flat = buildOnGrid(rows, facts);
    EXPECT_TRUE(flat->recursiveAggregation(data));
    EXPECT_EQ(firstSeries(data[0]), Values{5});
    data[0] = recordOf({{1}, {1}});
    EXPECT_FALSE(flat->recursiveAggregation(data)) << "a child of another shape";
    EXPECT_EQ(log.count("bRet,"), 2) << "told once by each row on the way up";
    data.pop_back();
    EXPECT_FALSE(flat->recursiveAggregation(data));
    EXPECT_EQ(log.count("dataArray.size() == m_flatRows.size()"), 1);
    EXPECT_EQ(firstSeries(data[0]), Values{1});
}

}  // namespace
}  // namespace lanefeed_test
