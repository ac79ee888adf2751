// Pauses and what filters cut out of the time, as ranges of the pane.

#include "common/pauseranges.h"
#include "provider_fixture.h"

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
    EXPECT_EQ(rangesText(pauses(request(250, 700))), "[0,250][350,395][400,700]");
    basekit2::sptr_t<ITableTree> filtered;
    ASSERT_TRUE(m_provider->getFilteredRanges(request(0, 100), filtered));
    EXPECT_EQ(rangesText(filtered), "[0,100][900,950]");
    // The other order of arguments asks for what filters keep; the key of the last read is its own.
    ASSERT_TRUE(m_provider->getFilteredRanges(filtered, request(0, 200)));
    EXPECT_EQ(rangesText(filtered), "");

    EXPECT_FALSE(m_provider->getPauseRangesData(request(0, 200, 0), filtered));
    EXPECT_FALSE(m_provider->getPauseRangesData(request(200, 200), filtered));
    EXPECT_TRUE(m_log.empty());
}

TEST_F(TimeFilters, AreReadOnceUntilSpanBinsOrPausesChange) {
    m_db->pauses = {{1000, 1100}};
    const auto first = pauses(request());
    // A read of one kind makes its span and bins those of both.
    basekit2::sptr_t<ITableTree> filtered;
    ASSERT_TRUE(m_provider->getFilteredRanges(request(0, 1000, 15), filtered));
    EXPECT_NE(first, filtered);
    const auto readsFor = [&](const QueryParam& param) {
        EXPECT_EQ(pauses(param), pauses(param));
        return m_db->pauseReads;
    };
    EXPECT_EQ(readsFor(request(0, 1000, 15)), 1);
    EXPECT_EQ(readsFor(request(0, 1000, 20)), 2);
    EXPECT_EQ(readsFor(request(1, 1000, 20)), 3);
    EXPECT_EQ(readsFor(request(1, 999, 20)), 4);
    EXPECT_TRUE(m_provider->updateSBFilterData());
    EXPECT_EQ(readsFor(request(1, 999, 20)), 5);
}

}  // namespace
}  // namespace lanefeed_test
