// Instances of one table sorted into groups.
//
// A counting sort by group keeps the order of start within each. For every block of instances the
// latest end is kept, so that the few long ones that reach into a window are found without reading
// all that went before. Tested by tests/timeline/bucket_query_test.cpp.

#include "timeline/grouped_instances.h"

#include <utility>

namespace lanefeed_runtime {

GroupedInstances::GroupedInstances(const std::vector<basekit2::u64_t>& start,
                                   const std::vector<basekit2::u64_t>& end,
                                   Combinations groups)
    : m_start(start.size()),
      m_end(start.size()),
      m_position(start.size()),
      m_latestEnd(start.size() / kBlock + 1, 0),
      m_keys(std::move(groups.keys)) {
    std::vector<std::size_t> place(m_keys.size() + 1, 0);
    for (const basekit2::u32_t group : groups.of)
        ++place[group + 1];
    for (std::size_t group = 0; group < m_keys.size(); ++group) {
        place[group + 1] += place[group];
        if (place[group + 1] == place[group]) continue;
        m_segments.push_back({static_cast<basekit2::u32_t>(group), place[group], place[group + 1]});
    }
    for (std::size_t i = 0; i < start.size(); ++i) {
        const std::size_t to = place[groups.of[i]]++;
        m_start[to] = start[i];
        m_end[to] = end[i];
        m_position[to] = static_cast<basekit2::u32_t>(i);
        m_latestEnd[to / kBlock] = std::max(m_latestEnd[to / kBlock], end[i]);
    }
}

const GroupedInstances::Segment* GroupedInstances::find(const std::vector<int>& key) const {
    const auto it = std::lower_bound(m_segments.begin(), m_segments.end(), key,
                                     [&](const Segment& segment, const std::vector<int>& wanted) {
                                         return m_keys[segment.group] < wanted;
                                     });
    return it != m_segments.end() && m_keys[it->group] == key ? &*it : nullptr;
}

}  // namespace lanefeed_runtime
