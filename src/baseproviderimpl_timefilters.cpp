// Time in filters, both ways. What the pane selects in time, or in time on a row, is written to the
// registry as the selection; it changes no answer until the host makes the global filter of it.
// What is filtered out or paused is read as tables, for the pane to shade and for buckets to skip:
// from the store once per span and number of bins, the last answer is kept. A selection that fails
// leaves none, never the one before. Tested by tests/provider/selection_test.cpp and
// tests/provider/timefilters_test.cpp.

#include "baseproviderimpl.h"

#include "common/check.h"
#include "common/names.h"
#include "common/tablefill.h"

namespace lanefeed_1 {

namespace {

using basekit2::u64_t;
using dataface_1::IFilterRegistry;

void dropSelection(IFilterRegistry& registry) {
    registry.clearFilter(names::kSelectionFilter);
    registry.removeFilter(names::kSelectionFilter);
}

// Absolute ticks. No filter where the registry makes none.
void selectTime(IFilterRegistry& registry, u64_t start, u64_t end, bool exclude) {
    const auto builder = registry.createTimeFilterBuilder();
    if (builder.is_null()) return;
    builder->addRange(start, end, exclude);
    const auto filter = builder->build();
    if (!filter.is_null()) registry.setTimeFilter(names::kSelectionFilter, filter);
}

}  // namespace

basekit2::sptr_t<IFilterRegistry> BaseProviderImpl::getFilterRegistry() const {
    basekit2::sptr_t<IFilterRegistry> registry;
    dataface_1::lookup(m_result, registry);
    return registry;
}

bool BaseProviderImpl::hasFilter(const std::string& filterName) {
    const auto registry = getFilterRegistry();
    return !registry.is_null() && registry->hasFilter(filterName);
}

void BaseProviderImpl::filterInByTimeSelection(const u64_t& start, const u64_t& end) {
    const auto filterRegistry = getFilterRegistry();
    if (filterRegistry.is_null()) return;
    dropSelection(*filterRegistry);
    // An empty span clears the selection.
    if (end > start) selectTime(*filterRegistry, addBase(start), addBase(end), false);
}

void BaseProviderImpl::filterOutByTimeSelection(const u64_t& start, const u64_t& end) {
    const auto filterRegistry = getFilterRegistry();
    if (filterRegistry.is_null()) return;
    dropSelection(*filterRegistry);
    selectTime(*filterRegistry, addBase(start), addBase(end), true);
}

void BaseProviderImpl::filterByTimeAndRow(const DicerDataSource* ds,
                                          u64_t start,
                                          u64_t end,
                                          int row) {
    const auto filterRegistry = getFilterRegistry();
    if (!LF_CHECK(filterRegistry)) return;
    dropSelection(*filterRegistry);
    const auto tfBuilder = filterRegistry->createTimeFilterBuilder();
    if (!LF_CHECK(tfBuilder)) return;
    tfBuilder->addRange(addBase(start), addBase(end), false);
    const auto tf = tfBuilder->build();
    if (!LF_CHECK(tf)) return;
    filterRegistry->setTimeFilter(names::kSelectionFilter, tf);

    if (row < 0 || ds == nullptr) return;
    const int dbIndex = getRowDbIndexByUniqueId(row);
    if (dbIndex < 0) return;
    const auto qfBuilder = filterRegistry->createQueryFilterBuilder();
    if (!LF_CHECK(qfBuilder)) return;
    // Rows of something else than an attribute are not told apart: the time alone is selected.
    const auto query = dataface_1::IInfoQuery::cast(ds->m_defaultQuery);
    if (query.is_null()) return;
    qfBuilder->beginGroup(dataface_1::IQueryFilterBuilder::groupIncluded);
    qfBuilder->addCondition(query, false, dbIndex);
    qfBuilder->endGroup();
    const auto qf = qfBuilder->build();
    if (LF_CHECK(qf)) filterRegistry->setQueryFilter(names::kSelectionFilter, qf);
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
