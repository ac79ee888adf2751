// Time that counts, with pauses and filtered spans taken out.
//
// The excluded spans are put in order and joined once, so that each question is one search.
// Tested by tests/timeline/bucket_query_test.cpp.

#include "timeline/kept_time.h"

namespace lanefeed_runtime {

using storelink1::time_interval_t;

KeptTime::KeptTime(std::vector<time_interval_t> excluded) {
    std::sort(excluded.begin(), excluded.end(),
              [](const time_interval_t& a, const time_interval_t& b) { return a.start < b.start; });
    for (const time_interval_t& span : excluded) {
        if (span.start >= span.end) continue;
        if (!m_excluded.empty() && span.start <= m_excluded.back().end)
            m_excluded.back().end = std::max(m_excluded.back().end, span.end);
        else
            m_excluded.push_back(span);
    }
}

std::vector<time_interval_t>::const_iterator KeptTime::after(basekit2::u64_t tick) const {
    return std::upper_bound(
        m_excluded.begin(), m_excluded.end(), tick,
        [](basekit2::u64_t value, const time_interval_t& span) { return value < span.end; });
}

bool KeptTime::keeps(basekit2::u64_t tick) const {
    const auto it = after(tick);
    return it == m_excluded.end() || tick < it->start;
}

bool KeptTime::touches(basekit2::u64_t first, basekit2::u64_t last) const {
    const auto it = after(first);
    return it == m_excluded.end() || first < it->start || it->end <= last;
}

basekit2::u64_t KeptTime::count(basekit2::u64_t first, basekit2::u64_t last) const {
    basekit2::u64_t ticks = 0;
    each(first, last, [&](basekit2::u64_t from, basekit2::u64_t to) { ticks += to - from + 1; });
    return ticks;
}

}  // namespace lanefeed_runtime
