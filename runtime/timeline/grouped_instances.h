#pragma once

#include "timeline/combinations.h"

#include <basekit2/variant.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace lanefeed_runtime {

// Instances of a table sorted into groups, each in order of start: columns that a pass over a
// window reads from one end to the other. Immutable once made.
class GroupedInstances {
public:
    // Instances begin..end of the columns that belong together, such as those of one band.
    struct Segment {
        basekit2::u32_t group = 0;  // number of its combination
        std::size_t begin = 0;
        std::size_t end = 0;
    };

    GroupedInstances() = default;
    // start, end: columns by start. groups: the group of each instance.
    GroupedInstances(const std::vector<basekit2::u64_t>& start,
                     const std::vector<basekit2::u64_t>& end,
                     Combinations groups);

    // By group, each once.
    const std::vector<Segment>& segments() const { return m_segments; }
    // Segment of a combination of ids; null when no instance has it.
    const Segment* find(const std::vector<int>& key) const;
    const std::vector<int>& key(const Segment& segment) const { return m_keys[segment.group]; }

    basekit2::u64_t start(std::size_t i) const { return m_start[i]; }
    basekit2::u64_t end(std::size_t i) const { return m_end[i]; }
    // Place of the instance in the columns of its table.
    basekit2::u32_t position(std::size_t i) const { return m_position[i]; }

    // First instance of a segment that starts at or after a tick.
    std::size_t firstFrom(const Segment& segment, basekit2::u64_t tick) const {
        const auto first = m_start.begin() + static_cast<std::ptrdiff_t>(segment.begin);
        const auto last = m_start.begin() + static_cast<std::ptrdiff_t>(segment.end);
        return static_cast<std::size_t>(std::lower_bound(first, last, tick) - m_start.begin());
    }

    // Calls visit(i) for every instance of a segment that touches the window [from, to), in order
    // of start. What starts before the window is passed over in blocks that end before it.
    template <class Visit>
    void overlapping(const Segment& segment,
                     basekit2::u64_t from,
                     basekit2::u64_t to,
                     Visit&& visit) const {
        const std::size_t inside = firstFrom(segment, from);
        for (std::size_t i = segment.begin; i < inside;) {
            const std::size_t next = std::min(inside, (i / kBlock + 1) * kBlock);
            if (m_latestEnd[i / kBlock] >= from) {
                for (; i < next; ++i)
                    if (m_end[i] >= from) visit(i);
            }
            i = next;
        }
        for (std::size_t i = inside; i < segment.end && m_start[i] < to; ++i)
            visit(i);
    }

private:
    static constexpr std::size_t kBlock = 64;

    std::vector<basekit2::u64_t> m_start;
    std::vector<basekit2::u64_t> m_end;
    std::vector<basekit2::u32_t> m_position;
    std::vector<basekit2::u64_t> m_latestEnd;  // of each block of the columns
    std::vector<Segment> m_segments;
    std::vector<std::vector<int>> m_keys;
};

}  // namespace lanefeed_runtime
