// Pauses and what filters cut out of the time, as ranges of the pane.

#include "common/pauseranges.h"
#include "provider_fixture.h"
#include "support/fake_grid.h"

#include <facekit_1_x/table_building.h>

namespace lanefeed_test {
namespace {

using dataface_1::ITableTree;
using lanefeed_1::QueryParam;
using lanefeed_1::SBInterval;

std::string spansText(const std::vector<SBInterval>& spans) {
    std::string text;
    for (const SBInterval& span : spans)
        text += "[" + std::to_string(span.start) + "," + std::to_string(span.end) + "]";
    return text;
}

std::string rangesText(const basekit2::sptr_t<ITableTree>& table) {
    std::set<lanefeed_1::TimeRange> ranges;
    lanefeed_1::fillPauserangesSet(ranges, table);
    std::vector<SBInterval> spans;
    for (const auto& range : ranges)
        spans.push_back({range.start, range.end});
    return spansText(spans);
}

TEST(PauseRanges, MergesWhatTouchesThenDropsWhatIsNarrow) {
    const auto merged = [](std::vector<SBInterval> spans, basekit2::u64_t minWidth) {
        lanefeed_1::mergeIntervals(spans, minWidth);
        return spansText(spans);
    };
    EXPECT_EQ(merged({{100, 101}, {3, 9}, {0, 3}, {10, 12}}, 0), "[0,9][10,12][100,101]");
    EXPECT_EQ(merged({{0, 9}, {2, 4}, {5, 6}, {100, 101}}, 4), "[0,9]");
    EXPECT_EQ(merged({{0, 2}, {2, 4}, {6, 8}}, 4), "[0,4]") << "wide enough together";
    EXPECT_EQ(merged({}, 4), "");
}

TEST(PauseRanges, AreReadUpToWhatIsNoRange) {
    const CapturedLog log;
    const auto table = facekit_1_x::createTableTree();
    const auto addColumn = [&](const char* name) {
        const auto column =
            facekit_1_x::createColumn(facekit_1_x::columnPlain, namedQuery(name), table);
        table->addColumn(column, nullptr, 0);
        return column;
    };
    const auto start = addColumn("startTime");
    EXPECT_EQ(rangesText(table), "");
    EXPECT_EQ(log.count("!colIt.at_end(),"), 1);
    const auto end = addColumn("endTime");
    const auto addRow = [&](const basekit2::variant_t& last) {
        const auto row = facekit_1_x::createVectorRow(nullptr, table);
        row->setContent(start, dataface_1::ccValue, 5);
        row->setContent(end, dataface_1::ccValue, last);
        table->addRow(row, nullptr);
    };
    addRow(9);
    const auto holes = basekit2::make_object<FakeGrid>(table);
    holes->nullRow = true;
    EXPECT_EQ(rangesText(holes), "[5,9]");
    EXPECT_EQ(log.count("row,"), 1);
    addRow("soon");
    addRow(7);
    EXPECT_EQ(rangesText(table), "[5,9]");
    EXPECT_EQ(log.count("bRet,"), 1);
}

class TimeFilters : public ProviderTest {
protected:
    TimeFilters() { bind(); }
    basekit2::sptr_t<ITableTree> pauses(const QueryParam& param) {
        basekit2::sptr_t<ITableTree> table;
        EXPECT_TRUE(m_provider->getPauseRangesData(param, table));
        return table;
    }
};

TEST_F(TimeFilters, ArePausesOfTheWindowAndFilterSpansOfTheWholeInPaneTicks) {
    // The first reaches in from before the result; two touch the ends of the window; of those
    // inside one is as wide as a bin, the other by a tick less.
    m_db->pauses = {{900, 1250},  {1400, 1700}, {1100, 1200},
                    {1701, 1800}, {1350, 1395}, {1300, 1344}};
    m_db->filterSpans = {{1900, 1950}, {1000, 1100}};
    QueryParam param = request();
    param.startTime = 250;
    param.endTime = 700;
    const auto table = pauses(param);
    EXPECT_EQ(rangesText(table), "[0,250][350,395][400,700]");
    std::string columns;
    for (auto it = table->getColumns(nullptr); !it.at_end(); it.next())
        columns += it.current()->getQuery()->getId() + " ";
    EXPECT_EQ(columns, "timelineNameQuery_startTime_tsc timelineNameQuery_endTime_tsc ");

    param.startTime = 0;
    param.endTime = 100;
    basekit2::sptr_t<ITableTree> filtered;
    ASSERT_TRUE(m_provider->getFilteredRanges(param, filtered));
    EXPECT_EQ(rangesText(filtered), "[0,100][900,950]");
    // The other order of arguments asks for what filters keep; the key of the last read is its own.
    param.endTime = 200;
    ASSERT_TRUE(m_provider->getFilteredRanges(filtered, param));
    EXPECT_EQ(rangesText(filtered), "");

    const int reads = m_db->pauseReads;
    param.binCount = 0;
    EXPECT_FALSE(m_provider->getPauseRangesData(param, filtered));
    param = request();
    param.startTime = param.endTime;
    EXPECT_FALSE(m_provider->getPauseRangesData(param, filtered));
    EXPECT_EQ(m_db->pauseReads, reads);
    EXPECT_TRUE(m_log.empty());
}

TEST_F(TimeFilters, AreReadOnceUntilSpanBinsOrPausesChange) {
    m_db->pauses = {{1000, 1100}};
    QueryParam param = request();
    const auto first = pauses(param);
    // A read of one kind makes its span and bins those of both.
    param.binCount = 15;
    basekit2::sptr_t<ITableTree> filtered;
    ASSERT_TRUE(m_provider->getFilteredRanges(param, filtered));
    EXPECT_NE(first, filtered);
    EXPECT_EQ(pauses(param), first);
    EXPECT_EQ(m_db->pauseReads, 1);
    param.binCount = 20;
    EXPECT_NE(pauses(param), first);
    EXPECT_EQ(m_db->pauseReads, 2);
    param.startTime = 1;
    EXPECT_EQ(pauses(param), pauses(param));
    EXPECT_EQ(m_db->pauseReads, 3);
    param.endTime = 999;
    EXPECT_EQ(pauses(param), pauses(param));
    EXPECT_EQ(m_db->pauseReads, 4);
    EXPECT_TRUE(m_provider->updateSBFilterData());
    pauses(param);
    EXPECT_EQ(m_db->pauseReads, 5);
}

TEST_F(TimeFilters, AreKnownByTheRegistry) {
    m_registry->names = {"global"};
    EXPECT_TRUE(m_provider->hasFilter(m_provider->getGlobalFilterName()));
    EXPECT_EQ(m_provider->getSelectionFilterName(), "selection");
    EXPECT_FALSE(m_provider->hasFilter("selection"));
    m_input->withdraw<dataface_1::IFilterRegistry>();
    EXPECT_FALSE(m_provider->hasFilter("global"));
    EXPECT_TRUE(m_log.empty());
}

}  // namespace
}  // namespace lanefeed_test
