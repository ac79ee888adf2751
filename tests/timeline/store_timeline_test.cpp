// The timeline face over a real result: paths, names, counters and pauses as the store has them.

#include "support/fake_queries.h"
#include "support/trace_text.h"

#include <storelink1/utils.h>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace {

using basekit2::sptr_t;
using lanefeed_test::TextResult;
using storelink1::ITimelineQuery;

const char* const kTrace = R"(
process app
thread main  0..100 outer  10..30 inner  40..50 inner
thread worker  20..60 job
counter load  0=5  10=7.5  20=0
marker main  5 gc  9 gc
pause 70..80
)";

struct Series {
    std::map<int, double> cells;
    double total() const {
        double sum = 0;
        for (const auto& cell : cells)
            sum += cell.second;
        return sum;
    }
};

// By row id and series name. Pane time 0..100 in ten buckets.
using Rows = std::map<int, std::map<std::string, Series>>;

Rows ask(TextResult& result,
         ITimelineQuery::QueryType type,
         const std::string& table,
         const std::string& rowPath,
         const std::string& attrPath = "",
         const std::string& expansion = "") {
    const sptr_t<ITimelineQuery> query = result.database().createTimelineQuery();
    query->addRowBy(rowPath, "label");
    query->setSource(type, table, attrPath, "");
    query->setTimelineDatabase(result.database().getTimelineDatabase());
    if (!expansion.empty()) {
        EXPECT_TRUE(query->addExpansion(table, expansion, "name", {}, true, "name", true));
    }
    if (table == "marker_data") query->setObjectType(ITimelineQuery::otPoint);
    std::vector<storelink1::OverTimeData> data;
    std::vector<storelink1::OverTimeDataSeriesMetadata> metadata;
    EXPECT_TRUE(is_success(query->getOverTimeData(1, 101, 10, data, metadata, nullptr)));
    Rows rows;
    for (const auto& row : data)
        for (std::size_t i = 0; i < metadata.size(); ++i)
            rows[row.key.front()][metadata[i].name].cells = {row.series[i].begin(),
                                                             row.series[i].end()};
    return rows;
}

TEST(StoreTimeline, RowsNamesAndPausesComeFromTheFile) {
    TextResult result(kTrace);
    const Rows busy = ask(result, ITimelineQuery::qtTime, "slice_data", "dd_band::dd_thread");
    ASSERT_EQ(busy.size(), 2U);
    const auto& main = busy.begin()->second.at("");
    EXPECT_EQ(main.total(), 90);
    EXPECT_EQ(main.cells.count(7), 0U);
    EXPECT_EQ(busy.rbegin()->second.at("").total(), 40);

    const Rows byName =
        ask(result, ITimelineQuery::qtTime, "slice_data", "dd_band::dd_thread", "", "dd_task");
    EXPECT_EQ(byName.begin()->second.at("outer").total(), 60);
    EXPECT_EQ(byName.begin()->second.at("inner").total(), 30);
    EXPECT_EQ(byName.rbegin()->second.at("job").total(), 40);

    const Rows process =
        ask(result, ITimelineQuery::qtTime, "slice_data", "dd_band::dd_thread.dd_process");
    ASSERT_EQ(process.size(), 1U);
    EXPECT_EQ(process.begin()->second.at("").total(), 130) << "bands add up";
}

TEST(StoreTimeline, CountersHoldTheirValueAndPointsTheirPlace) {
    TextResult result(kTrace);
    const Rows load =
        ask(result, ITimelineQuery::qtAttribute, "counter_data", "dd_band::dd_counter", "value");
    ASSERT_EQ(load.size(), 1U);
    std::map<int, double> expected = {{0, 5}, {1, 7.5}, {2, 0}, {3, 0}, {4, 0},
                                      {5, 0}, {6, 0},   {8, 0}, {9, 0}};
    EXPECT_EQ(load.begin()->second.at("").cells, expected);

    const Rows markers =
        ask(result, ITimelineQuery::qtInstanceCount, "marker_data", "dd_band::dd_thread");
    expected = {{0, 2}};
    EXPECT_EQ(markers.begin()->second.at("").cells, expected);
}

TEST(StoreTimeline, RecordsCarryTheirAttributeAndThatOfTheirBand) {
    TextResult result(kTrace);
    const auto database = result.database().getTimelineDatabase();
    EXPECT_EQ(database, result.database().getTimelineDatabase());
    const std::vector<std::string> names = {"dd_band::dd_thread"};
    for (int thread = 1; thread <= 2; ++thread) {
        sptr_t<storelink1::ITimelineGrouper> grouper;
        ASSERT_TRUE(is_success(database->getGrouper(
            grouper, storelink1::tgIntervals, "slice_data", basekit2::make_iterator(names),
            basekit2::make_iterator(std::vector<int>{thread}), 0, -1)));
        sptr_t<storelink1::ITimelineIterator<storelink1::ITimelineInstanceRecord>> cursor;
        grouper->seek(15, cursor);
        ASSERT_TRUE(cursor->valid());
        EXPECT_EQ(cursor->current()->attr2, static_cast<unsigned>(thread));
        EXPECT_EQ(cursor->current()->start, thread == 1 ? 41U : 21U);
        const auto retriever = result.database().createAttributeRetriever("dd_task.name", true);
        basekit2::variant_t name;
        ASSERT_TRUE(retriever->getValue(static_cast<int>(cursor->current()->attr), name));
        EXPECT_EQ(storelink1::utils::variantToString(name), thread == 1 ? "inner" : "job");
    }
}

TEST(StoreTimeline, ValuesOfInstancesAreFilteredToo) {
    TextResult result(kTrace);
    lanefeed_test::QueryFacts facts;
    facts.table = "counter_data";
    facts.path = "value";
    const auto builder = result.store().filters->createQueryFilterBuilder();
    builder->addCondition(basekit2::make_object<lanefeed_test::FakeInfoQuery>(facts), false, 7.5);
    result.store().filters->setQueryFilter("global", builder->build());
    const auto query = result.database().createTimelineQuery();
    query->setSource(ITimelineQuery::qtAttribute, "counter_data", "value", "");
    std::vector<storelink1::OverTimeData> data;
    std::vector<storelink1::OverTimeDataSeriesMetadata> metadata;
    query->getOverTimeData(1, 101, 10, data, metadata, nullptr);
    ASSERT_EQ(data.size(), 1U);
    EXPECT_EQ(data[0].series[0], (storelink1::OverTimeDataSeries{{1, 7.5}}));
}

TEST(StoreTimeline, RequiredFiltersNarrowWhatGlobalLeaves) {
    TextResult result("thread main 0..10 a 20..30 b\nthread worker 40..70 a\n");
    const auto filters = result.store().filters;
    const auto keepOnly = [&](const char* name, const char* table, const char* path, int id) {
        lanefeed_test::QueryFacts facts;
        facts.table = table;
        facts.path = path;
        const auto builder = filters->createQueryFilterBuilder();
        builder->addCondition(basekit2::make_object<lanefeed_test::FakeInfoQuery>(facts), false,
                              id);
        filters->setQueryFilter(name, builder->build());
    };
    const auto busy = [&] {
        const auto query = result.database().createTimelineQuery();
        query->setSource(ITimelineQuery::qtTime, "slice_data", "", "");
        query->setRequiredFilter("required");
        std::vector<storelink1::OverTimeData> data;
        std::vector<storelink1::OverTimeDataSeriesMetadata> metadata;
        query->getOverTimeData(1, 71, 1, data, metadata, nullptr);
        return data.empty() ? 0 : data.front().series.front().at(0);
    };
    keepOnly("required", "slice_data", "attr", 1);
    EXPECT_EQ(busy(), 40);
    keepOnly("global", "dd_band", "dd_thread", 1);
    EXPECT_EQ(busy(), 10);
    keepOnly("required", "slice_data", "attr", 2);
    EXPECT_EQ(busy(), 10);
    keepOnly("global", "dd_band", "dd_thread", 2);
    EXPECT_EQ(busy(), 0);
}

}  // namespace
