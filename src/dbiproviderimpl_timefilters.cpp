// Spans that are paused, or that the global filter cuts out or keeps, as the store has them: in
// pane ticks, joined, and without those narrower than a bin. Pauses are those of the window, filter
// spans are all. Tested by tests/provider/timefilters_test.cpp.

#include "dbiproviderimpl.h"

#include "common/check.h"

namespace lanefeed_1 {

bool DbiProviderImpl::readFilterAndPausedIntervals(const QueryParam& param,
                                                   std::vector<SBInterval>& intervals,
                                                   bool paused,
                                                   bool inverted) {
    const auto db = getDb(m_result);
    if (db.is_null()) return false;
    basekit2::generic_iterator_t<storelink1::time_interval_t> it;
    if (paused) {
        it = db->getPausedIntervals();
    } else {
        const auto query = db->createTimelineQuery();
        if (!LF_CHECK(query)) return false;
        it = query->getFilterIntervals(inverted);
    }
    for (; !it.at_end(); it.next()) {
        const storelink1::time_interval_t span = it.current();
        const SBInterval interval{subtractBase(span.start), subtractBase(span.end)};
        const bool outside = interval.end < param.startTime || interval.start > param.endTime;
        if (!paused || !outside) intervals.push_back(interval);
    }
    mergeIntervals(intervals, (param.endTime - param.startTime) / param.binCount);
    return true;
}

}  // namespace lanefeed_1
