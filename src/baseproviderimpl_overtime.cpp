// Flow of an over-time request, asked by the pane for one layer: at which resolution the store is
// read, by which route, and how the answer is brought back to the buckets that were asked for and
// to the layer's time scale. The answer is one tree per row. A cancelled request ends with false
// between two stages, without a message. Tested by tests/provider/overtime_test.cpp.

#include "baseproviderimpl.h"

#include "common/check.h"
#include "common/names.h"
#include "common/queryattribute.h"
#include "tabletrees.h"

#include <basekit2/environment.h>
#include <slicekit_1_0/rpn_processor.h>

#include <limits>

namespace lanefeed_1 {

namespace {

double spanOf(const QueryParam& param) {
    return static_cast<double>(param.endTime - param.startTime);
}

// Cut to whole ticks; more than fits becomes the largest.
basekit2::u64_t wholeTicks(double ticks) {
    constexpr auto kLargest = std::numeric_limits<basekit2::u64_t>::max();
    return ticks < static_cast<double>(kLargest) ? static_cast<basekit2::u64_t>(ticks) : kLargest;
}

// A layer that demands a filter shows nothing until that filter exists.
bool isRequiredFilterThere(const BaseProviderImpl& provider, const DicerDataSource* dds) {
    const dataface_1::IQuery* query = dds != nullptr ? dds->m_defaultQuery.get() : nullptr;
    const std::string required = textAttribute(query, names::kRequiredFilter, LF_HERE);
    if (required.empty()) return true;
    const auto filterRegistry = provider.getFilterRegistry();
    return LF_CHECK(filterRegistry) && filterRegistry->hasFilter(required);
}

// Brings what was read for `actual` to the buckets of `param`.
bool rebucketAll(const QueryParam& param,
                 const QueryParam& actual,
                 std::vector<OverTimeData>& otDataArray) {
    LF_CHECK_AS(param.binCount >= actual.binCount, "width >= newWidth");
    if (param.binCount == actual.binCount) return true;
    for (OverTimeData& record : otDataArray) {
        const bool done =
            BaseProviderImpl::rebucket(record, static_cast<int>(param.binCount), param.startTime,
                                       param.endTime, actual.startTime, actual.endTime);
        if (!LF_CHECK_AS(done, "bRet")) return false;
    }
    return true;
}

}  // namespace

bool BaseProviderImpl::getOverTimeData(const QueryParam& param,
                                       overtime_type_t type,
                                       Forest& forest) {
    if (param.binCount == 0) return false;
    if (!isRequiredFilterThere(*this, param.dds)) return false;

    QueryParam actual = widenToResolution(param);
    if (actual.binCount == 0) return false;
    double scale = 1.0;
    basekit2::sptr_t<slicekit_1_0::IRpnProcessor> rpnProcessor;
    std::vector<OverTimeData> otDataArray;
    bool read = false;
    switch (type) {
    case otTime: read = getOverTimeData(actual, otDataArray); break;
    case otDerived: read = getDerivedOverTimeData(actual, otDataArray, rpnProcessor, scale); break;
    case otAttribute:
        // Values of an attribute are read as asked for, whatever the resolution of the layer.
        actual = param;
        read = getAttrOverTimeData(param, otDataArray);
        break;
    case otCount: return getCountData(param, forest);
    case otInstanceCount: return getInstanceCountData(param, forest);
    }
    if (!read || !rebucketAll(param, actual, otDataArray)) return false;
    if (isOvertimeArrayEmpty(otDataArray)) return false;

    const bool ret = arrayToForest(param.dds, scale, rpnProcessor, static_cast<int>(param.binCount),
                                   otDataArray, forest, param);
    if (isCanceled() || !LF_CHECK(ret)) return false;
    return normaliseToTimeScale(param, forest);
}

QueryParam BaseProviderImpl::widenToResolution(const QueryParam& param) {
    QueryParam actual = param;
    if (param.dds == nullptr || !(param.dds->m_resolutionMs > 0)) return actual;
    if (!basekit2::get_environ_value("LANEFEED_DEBUG_BUCKETS").empty()) return actual;
    const double binTicks = spanOf(param) / param.binCount;
    const basekit2::u64_t minTicks =
        wholeTicks(param.dds->m_resolutionMs * static_cast<double>(ticksInMs()));
    if (!(static_cast<double>(minTicks) > binTicks)) return actual;
    // Buckets on multiples of the resolution, whatever part of the axis is asked for.
    actual.startTime = param.startTime / minTicks * minTicks;
    actual.endTime = param.endTime / minTicks * minTicks;
    if (actual.endTime < param.endTime) actual.endTime += minTicks;
    actual.binCount = static_cast<basekit2::u32_t>((actual.endTime - actual.startTime) / minTicks);
    return actual;
}

bool BaseProviderImpl::normaliseToTimeScale(const QueryParam& param, Forest& forest) {
    if (param.dds == nullptr || !(param.dds->m_timeScaleMs > 0)) return true;
    const double binMs = spanOf(param) / param.binCount / static_cast<double>(ticksInMs());
    const double mult = param.dds->m_timeScaleMs / binMs;
    return mult == 1.0 || LF_CHECK_AS(applyTimeScaleMult(mult, forest), "ret");
}

bool BaseProviderImpl::applyTimeScaleMult(double mult, Forest& forest) {
    for (auto& tree : forest)
        if (!tree.is_null()) tree = createScaleTableTree(tree, mult);
    return true;
}

}  // namespace lanefeed_1
