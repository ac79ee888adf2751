#include "provider_fixture.h"

namespace lanefeed_test {
namespace {

using lanefeed_1::DicerDataSource;
using lanefeed_1::IDicerProvider;
using lanefeed_1::QueryParam;

class OverTimeFlow : public ProviderTest {
protected:
    OverTimeFlow() {
        m_source.m_dataType = DicerDataSource::dsCount;
        m_db->answers = {{{record({}, {8})}, series({"all"}), false}};
        bind();
    }
    bool ask(const QueryParam& param,
             IDicerProvider::overtime_type_t type = IDicerProvider::otTime) {
        m_forest.clear();
        return m_provider->getOverTimeData(param, type, m_forest);
    }
    // Span and bins of the last request to the store, in pane ticks.
    std::string stored() const {
        if (m_db->calls.empty()) return "none";
        const TimelineCall& call = m_db->calls.back();
        return std::to_string(call.start - 1000) + ".." + std::to_string(call.end - 1000) + "/" +
               std::to_string(call.bins);
    }
    // Value of a series in a bucket of the first tree, -1 for none.
    double value(int bucket) const {
        const auto tree = m_forest.front();
        auto column = tree->getColumns(nullptr);
        const auto binColumn = column.current();
        column.next();
        for (auto row = tree->getRows(nullptr); !row.at_end(); row.next()) {
            basekit2::variant_t bin;
            basekit2::variant_t cell;
            row.current()->getContent(binColumn, dataface_1::ccValue, bin);
            if (bin.get<int>() == bucket &&
                row.current()->getContent(column.current(), dataface_1::ccValue, cell))
                return cell.get<double>();
        }
        return -1;
    }

    std::vector<basekit2::sptr_t<dataface_1::ITableTree>> m_forest;
};
TEST_F(OverTimeFlow, WidensARequestFinerThanTheLayersResolution) {
    // 1000 ticks per millisecond, cut to whole ticks.
    m_source.m_resolutionMs = 0.1509;
    QueryParam param = request();
    ASSERT_TRUE(ask(param));
    EXPECT_EQ(stored(), "0..1050/7");

    param.startTime = 200;
    param.endTime = 400;
    ASSERT_TRUE(ask(param));
    EXPECT_EQ(stored(), "150..450/2");
    // 8 in a bucket of 150 ticks, of which 20 are asked for.
    EXPECT_DOUBLE_EQ(value(0), 8 * (20 / 150.0));

    m_source.m_resolutionMs = 0.1;  // as wide as the buckets: not finer
    ASSERT_TRUE(ask(request()));
    EXPECT_EQ(stored(), "0..1000/10");
    m_source.m_resolutionMs = 1e300;
    ASSERT_FALSE(ask(request()) && m_forest.empty());
    EXPECT_EQ(m_db->calls.back().bins, 1);
}

TEST_F(OverTimeFlow, ReportsAWideningToMoreBucketsThanAskedFor) {
    m_source.m_resolutionMs = 0.15;
    QueryParam param = request();
    param.startTime = 140;
    param.endTime = 160;
    param.binCount = 1;
    EXPECT_FALSE(ask(param));
    EXPECT_EQ(stored(), "0..300/2");
    EXPECT_TRUE(m_log.contains("width >= newWidth"));
    EXPECT_TRUE(m_log.contains("toWidth >= fromWidth"));
    EXPECT_TRUE(m_log.contains("bRet"));
}

TEST_F(OverTimeFlow, RefusesNoBucketsBeforeTheStoreIsAsked) {
    QueryParam param = request();
    param.binCount = 0;
    EXPECT_FALSE(ask(param));
    m_source.m_resolutionMs = 0.15;
    param = request();
    param.startTime = param.endTime = 300;  // on a multiple: no bucket is left
    EXPECT_FALSE(ask(param));
    EXPECT_EQ(stored(), "none");
    EXPECT_TRUE(m_log.empty());
}

TEST_F(OverTimeFlow, WaitsForTheRequiredFilter) {
    QueryFacts facts;
    facts.attributes["timelineRequiredFilter"] = "busy";
    m_source.m_defaultQuery = timeQuery(facts);
    EXPECT_FALSE(ask(request()));
    EXPECT_EQ(stored(), "none");
    EXPECT_TRUE(m_log.empty());
    m_registry->names = {"busy"};
    EXPECT_TRUE(ask(request()));
    m_input->offered.erase(basekit2::type_id_t<dataface_1::IFilterRegistry>::id());
    EXPECT_FALSE(ask(request()));
    EXPECT_TRUE(m_log.contains("filterRegistry"));
}

TEST_F(OverTimeFlow, NormalisesToTheTimeScale) {
    m_source.m_timeScaleMs = 1.0;  // ten buckets of 100 ticks each
    ASSERT_TRUE(ask(request()));
    EXPECT_DOUBLE_EQ(value(0), 80);
    // A bucket is the scale already: no table is put on top, so that rows can be reduced.
    m_source.m_timeScaleMs = 0.1;
    ASSERT_TRUE(ask(request()));
    EXPECT_EQ(value(0), 8);
    EXPECT_FALSE(
        basekit2::interface_cast<dataface_1::IReducibleTableTree>(m_forest[0].get()).is_null());
    // Widths are those of the client's buckets, parts of a tick included.
    QueryParam param = request();
    param.endTime = 1005;
    m_source.m_timeScaleMs = 0.201;
    ASSERT_TRUE(ask(param));
    EXPECT_DOUBLE_EQ(value(0), 16);
    m_source.m_timeScaleMs = 0;
    m_source.m_resolutionMs = 0.15;
    ASSERT_TRUE(ask(request()));
    const double unscaled = value(0);
    m_source.m_timeScaleMs = 0.2;
    ASSERT_TRUE(ask(request()));
    EXPECT_DOUBLE_EQ(value(0), 2 * unscaled);
}

TEST_F(OverTimeFlow, ShowsNothingWhereTheStoreHasNothing) {
    m_db->answers = {{{}, {}, false}};
    const int lookups = m_input->asked;
    EXPECT_FALSE(ask(request()));
    EXPECT_EQ(m_input->asked, lookups);  // no registry where no filter is required
    m_db->answers = {{{storelink1::OverTimeData()}, series({"all"}), false}};
    EXPECT_FALSE(ask(request()));
    EXPECT_TRUE(m_forest.empty());
    EXPECT_TRUE(m_log.empty());
}

TEST_F(OverTimeFlow, EndsWithoutAMessageWhenCancelledAtAnyPoll) {
    m_progress->cancelsAt = 0;
    ASSERT_TRUE(ask(request()));
    const int polls = m_progress->asked;
    EXPECT_GT(polls, 3);
    for (int poll = 1; poll <= polls; ++poll) {
        SCOPED_TRACE(poll);
        m_progress->asked = 0;
        m_progress->cancelsAt = poll;
        EXPECT_FALSE(ask(request()));
    }
    EXPECT_TRUE(m_log.empty());
}

TEST_F(OverTimeFlow, ReadsAnAttributeAsAskedFor) {
    m_source.m_resolutionMs = 0.15;
    EXPECT_TRUE(ask(request(), IDicerProvider::otAttribute));
    EXPECT_EQ(stored(), "0..1000/10");
}

}  // namespace
}  // namespace lanefeed_test
