// Time that a filter keeps, as spans. Tested by tests/store/filter_time_test.cpp.
#include "store/filter_time.h"

#include <algorithm>
#include <limits>

namespace lanefeed_runtime {
namespace {

using storelink1::time_interval_t;

constexpr time_interval_t kAllTime{0, std::numeric_limits<basekit2::u64_t>::max()};

// In order, apart from each other, none of them empty.
TickSpans joined(TickSpans spans) {
    std::sort(spans.begin(), spans.end(),
              [](const time_interval_t& a, const time_interval_t& b) { return a.start < b.start; });
    TickSpans out;
    for (const time_interval_t& span : spans) {
        if (span.start >= span.end) continue;
        if (!out.empty() && span.start <= out.back().end) {
            out.back().end = std::max(out.back().end, span.end);
        } else {
            out.push_back(span);
        }
    }
    return out;
}

}  // namespace

TickSpans keptTime(const basekit2::sptr_t<TimeFilter>& filter) {
    if (filter.is_null()) return {kAllTime};
    TickSpans included;
    TickSpans excluded;
    bool includesAny = false;
    for (const TimeFilter::Range& range : filter->ranges()) {
        includesAny = includesAny || !range.excluded;
        (range.excluded ? excluded : included).push_back(range.ticks);
    }
    const TickSpans kept = includesAny ? joined(included) : TickSpans{kAllTime};
    return commonTime(kept, timeBetween(joined(excluded), kAllTime));
}

TickSpans timeBetween(const TickSpans& spans, const time_interval_t& all) {
    TickSpans out;
    basekit2::u64_t from = all.start;
    for (const time_interval_t& span : spans) {
        if (span.end <= from) continue;
        if (span.start >= all.end) break;
        if (span.start > from) out.push_back({from, span.start});
        from = span.end;
    }
    if (from < all.end) out.push_back({from, all.end});
    return out;
}

TickSpans commonTime(const TickSpans& a, const TickSpans& b) {
    TickSpans out;
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() && j < b.size()) {
        const time_interval_t span{std::max(a[i].start, b[j].start), std::min(a[i].end, b[j].end)};
        if (span.start < span.end) out.push_back(span);
        if (a[i].end < b[j].end) {
            ++i;
        } else {
            ++j;
        }
    }
    return out;
}

bool isAllTime(const TickSpans& spans) {
    return spans.size() == 1 && spans.front().start == kAllTime.start &&
           spans.front().end == kAllTime.end;
}

}  // namespace lanefeed_runtime
