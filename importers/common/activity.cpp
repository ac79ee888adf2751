// Both answers come from one pass. A stretch that turns out to be covered, when the end of a long
// slice comes, is always a tail of those seen so far; so a stretch shorter than an earlier one can
// never win and isn't kept, and the list stays short.
// Tested by tests/importers/time_order_test.cpp.
#include "common/activity.h"

#include <algorithm>

namespace lanefeed_importers {

Activity::Activity(std::uint64_t events) : m_events(events), m_leftOut(events / 100) {}

void Activity::event(std::int64_t time, std::int64_t end) {
    if (m_seen == 0) m_coveredTo = time;
    if (time > m_coveredTo) {
        const Span gap{m_coveredTo, time};
        if (m_gaps.empty() || gap.length() > m_gaps.back().length()) m_gaps.push_back(gap);
    }
    m_coveredTo = std::max({m_coveredTo, time, end});
    noteContent(time);
    ++m_seen;
}

void Activity::lastedFrom(std::int64_t begin) {
    while (!m_gaps.empty() && m_gaps.back().begin >= begin)
        m_gaps.pop_back();
}

void Activity::noteContent(std::int64_t time) {
    if (m_seen <= m_leftOut) m_starts.push_back(time);
    const std::uint64_t inside = m_events - m_leftOut;
    if (m_seen + 1 < inside) return;
    const std::int64_t start = m_starts[static_cast<std::size_t>(m_seen + 1 - inside)];
    const Span span{start, time};
    if (m_seen + 1 > inside && span.length() >= m_content.length()) return;
    m_content = span;
    m_contentToEnd = m_seen + 1 == m_events;
}

Activity::Span Activity::longestGap() const {
    return m_gaps.empty() ? Span{} : m_gaps.back();
}

Activity::Span Activity::content() const {
    return {m_content.begin, m_contentToEnd ? m_coveredTo : m_content.end};
}

}  // namespace lanefeed_importers
