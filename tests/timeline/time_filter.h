#pragma once

#include "store/filter_parts.h"

#include <vector>

namespace lanefeed_test {

// Half open.
struct TimeRange {
    basekit2::u64_t start = 0;
    basekit2::u64_t end = 0;
    bool exclude = false;
};

inline basekit2::sptr_t<lanefeed_runtime::TimeFilter> timeFilter(
    const std::vector<TimeRange>& ranges) {
    const auto builder = lanefeed_runtime::makeTimeFilterBuilder();
    for (const TimeRange& range : ranges)
        builder->addRange(range.start, range.end, range.exclude);
    return basekit2::sptr_t<lanefeed_runtime::TimeFilter>(
        dynamic_cast<lanefeed_runtime::TimeFilter*>(builder->build().get()));
}

}  // namespace lanefeed_test
