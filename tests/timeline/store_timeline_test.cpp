// The timeline face over a real result: paths, names, counters and pauses as the store has them.

#include "support/answer_rows.h"
#include "support/filter_words.h"
#include "support/trace_text.h"

#include <storelink1/utils.h>

#include <gtest/gtest.h>

#include <map>
#include <sstream>

namespace {

using basekit2::sptr_t;
using lanefeed_test::setFilter;
using lanefeed_test::TextResult;
using storelink1::ITimelineQuery;

class StoreTimelineTest : public testing::Test {
protected:
    // "TYPE TABLE ROWS EXPANSION": pane time 0..100 in ten buckets, as "ROW NAME BUCKET=VALUE.."
    // for each series. An attribute stands behind its table ("counter_data.value").
    std::string ask(const std::string& question) {
        std::istringstream words(question);
        int type = 0;
        std::string table;
        std::string rows;
        std::string expansion;
        words >> type >> table >> rows >> expansion;
        const std::size_t dot = table.find('.');
        const std::string attribute = dot == std::string::npos ? "" : table.substr(dot + 1);
        table.erase(std::min(dot, table.size()));
        const sptr_t<ITimelineQuery> query = m_result.database().createTimelineQuery();
        query->addRowBy(rows, "label");
        query->setSource(static_cast<ITimelineQuery::QueryType>(type), table, attribute, "");
        query->setRequiredFilter("required");
        EXPECT_TRUE(expansion.empty() ||
                    query->addExpansion(table, expansion, "name", {}, true, "name", true));
        if (table == "marker_data") query->setObjectType(ITimelineQuery::otPoint);
        std::vector<storelink1::OverTimeData> data;
        std::vector<storelink1::OverTimeDataSeriesMetadata> metadata;
        query->getOverTimeData(1, 101, 10, data, metadata, nullptr);
        std::ostringstream text;
        for (const auto& row : data)
            for (std::size_t i = 0; i < metadata.size(); ++i) {
                if (row.series[i].empty()) continue;
                text << (text.tellp() > 0 ? ", " : "") << row.key.front() << metadata[i].name;
                for (const auto& cell :
                     std::map<int, double>(row.series[i].begin(), row.series[i].end()))
                    text << " " << cell.first << "=" << cell.second;
            }
        return text.str();
    }

    TextResult m_result{R"(
        process app
        thread main  0..100 outer  10..30 inner  40..50 inner
        thread worker  20..60 job
        counter load  0=5  10=7.5  20=0
        marker main  5 gc  9 gc
        pause 70..80
    )"};
};

TEST_F(StoreTimelineTest, RowsNamesPausesAndCountersComeFromTheFile) {
    lanefeed_test::expectAnswers(R"(
        0 slice_data dd_band::dd_thread |
            1 0=10 1=10 2=10 3=10 4=10 5=10 6=10 8=10 9=10, 2 2=10 3=10 4=10 5=10
        0 slice_data dd_band::dd_thread dd_task |
            1inner 1=10 2=10 4=10, 1outer 0=10 3=10 5=10 6=10 8=10 9=10, 2job 2=10 3=10 4=10 5=10
        0 slice_data dd_band::dd_thread.dd_process |
            1 0=10 1=10 2=20 3=20 4=20 5=20 6=10 8=10 9=10
        3 counter_data.value dd_band::dd_counter | 1 0=5 1=7.5 2=0 3=0 4=0 5=0 6=0 8=0 9=0
        2 marker_data dd_band::dd_thread | 1 0=2)",
                                 [this](const std::string& question) { return ask(question); });
}

TEST_F(StoreTimelineTest, RequiredFiltersNarrowWhatGlobalLeaves) {
    const auto busy = [&](const char* global, const char* required) {
        setFilter(*m_result.store().filters, "global", global);
        setFilter(*m_result.store().filters, "required", required);
        return ask("0 slice_data dd_band::dd_thread");
    };
    EXPECT_EQ(busy("", "slice_data::dd_task/name='inner'"), "1 1=10 2=10 4=10");
    EXPECT_EQ(busy("dd_band::dd_thread=1", "slice_data::dd_task/name='inner'"), "1 1=10 2=10 4=10");
    EXPECT_EQ(busy("dd_band::dd_thread=2", "slice_data::dd_task/name='inner'"), "");
    EXPECT_EQ(busy("dd_band::dd_thread=2", ""), "2 2=10 3=10 4=10 5=10");
    setFilter(*m_result.store().filters, "global", "counter_data::value=7.5");
    EXPECT_EQ(ask("3 counter_data.value dd_band::dd_counter"), "1 1=7.5");
}

TEST_F(StoreTimelineTest, RecordsCarryTheirAttributeAndThatOfTheirBand) {
    const std::vector<std::string> names = {"dd_band::dd_thread"};
    for (int thread = 1; thread <= 2; ++thread) {
        sptr_t<storelink1::ITimelineGrouper> grouper;
        m_result.database().getTimelineDatabase()->getGrouper(
            grouper, storelink1::tgIntervals, "slice_data", basekit2::make_iterator(names),
            basekit2::make_iterator(std::vector<int>{thread}), 0, -1);
        sptr_t<storelink1::ITimelineIterator<storelink1::ITimelineInstanceRecord>> cursor;
        grouper->seek(15, cursor);
        EXPECT_EQ(cursor->current()->attr2, static_cast<unsigned>(thread));
        EXPECT_EQ(cursor->current()->start, thread == 1 ? 41U : 21U);
        const auto tasks = m_result.database().createAttributeRetriever("dd_task.name", true);
        basekit2::variant_t name;
        ASSERT_TRUE(tasks->getValue(static_cast<int>(cursor->current()->attr), name));
        EXPECT_EQ(name, thread == 1 ? "inner" : "job");
    }
}

}  // namespace
