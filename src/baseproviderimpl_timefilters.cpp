// Which spans of time are filtered out or paused, as tables for the pane to shade and for buckets
// to skip. Read from the store once per span and number of bins; the last answer is kept. Also the
// way to the filter registry. Tested by tests/provider/timefilters_test.cpp.

#include "baseproviderimpl.h"

#include "common/names.h"
#include "common/tablefill.h"

namespace lanefeed_1 {

basekit2::sptr_t<dataface_1::IFilterRegistry> BaseProviderImpl::getFilterRegistry() const {
    basekit2::sptr_t<dataface_1::IFilterRegistry> registry;
    dataface_1::lookup(m_result, registry);
    return registry;
}

bool BaseProviderImpl::hasFilter(const std::string& filterName) {
    const auto registry = getFilterRegistry();
    return !registry.is_null() && registry->hasFilter(filterName);
}

bool BaseProviderImpl::getFilteredRanges(const QueryParam& param,
                                         basekit2::sptr_t<dataface_1::ITableTree>& out) {
    return getPauseFilterRanges(param, out, false, false);
}

bool BaseProviderImpl::getFilteredRanges(basekit2::sptr_t<dataface_1::ITableTree>& out,
                                         const QueryParam& param) {
    return getPauseFilterRanges(param, out, false, true);
}

bool BaseProviderImpl::getPauseRangesData(const QueryParam& param,
                                          basekit2::sptr_t<dataface_1::ITableTree>& out) {
    return getPauseFilterRanges(param, out, true, false);
}

bool BaseProviderImpl::getPauseFilterRanges(const QueryParam& param,
                                            basekit2::sptr_t<dataface_1::ITableTree>& out,
                                            bool paused,
                                            bool inverted) {
    if (param.binCount == 0 || param.endTime <= param.startTime) return false;
    auto& cached = paused ? m_cachedPauseRanges : m_cachedFilteredRanges;
    const int bins = static_cast<int>(param.binCount);
    if (m_cachedSpanBins == bins && m_cachedSpanStart == param.startTime &&
        m_cachedSpanEnd == param.endTime && !cached.is_null()) {
        out = cached;
        return true;
    }
    std::vector<SBInterval> intervals;
    if (!readFilterAndPausedIntervals(param, intervals, paused, inverted)) return false;
    TableFill fill(*this, {{IDicerProvider::startTime, names::kTickValueType},
                           {IDicerProvider::endTime, names::kTickValueType}});
    for (const SBInterval& interval : intervals)
        fill.addRow({interval.start, interval.end});
    out = fill.table();
    m_cachedSpanStart = param.startTime;
    m_cachedSpanEnd = param.endTime;
    m_cachedSpanBins = bins;
    cached = out;
    return true;
}

}  // namespace lanefeed_1
