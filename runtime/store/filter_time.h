#pragma once

#include "store/filter_parts.h"

#include <vector>

namespace lanefeed_runtime {

// Half-open spans of absolute ticks by start, apart from each other. No time is an empty list, all
// time the one span from 0 to the greatest tick.
using TickSpans = std::vector<storelink1::time_interval_t>;

// What a time part keeps: the union of the ranges that it includes, or all time when it includes
// none, without those that it excludes. A null part keeps all time.
TickSpans keptTime(const basekit2::sptr_t<TimeFilter>& filter);
// What is in `all` and not in `spans`.
TickSpans timeBetween(const TickSpans& spans, const storelink1::time_interval_t& all);
// What both keep.
TickSpans commonTime(const TickSpans& a, const TickSpans& b);
// Whether all time is kept.
bool isAllTime(const TickSpans& spans);

}  // namespace lanefeed_runtime
