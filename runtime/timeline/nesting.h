#pragma once

#include "timeline/grouped_instances.h"
#include "timeline/kept_time.h"

#include <basekit2/variant.h>

#include <algorithm>
#include <cstddef>
#include <vector>

// Which instance is innermost where several cover a tick: the one that started last; of equal
// starts the one that ends first, and of equal spans the later one in the file. So also for
// instances that cross without one lying in the other.
namespace lanefeed_runtime {

// Hands every covered tick of a window to the innermost instance that covers it, in one pass. The
// instances are opened in order of start.
class InnermostSweep {
public:
    // Window [from, to).
    InnermostSweep(basekit2::u64_t from, basekit2::u64_t to) : m_now(from), m_to(to) {}

    // An instance that touches the window. own(index, first, last) is called for the ticks that are
    // settled by it; they go up from call to call and never overlap.
    template <class Own>
    void open(std::size_t index, basekit2::u64_t start, basekit2::u64_t end, Own&& own) {
        if (m_open.empty() || start != m_runStart) {
            orderRun();
            advance(start, own);
            m_run = m_open.size();
            m_runStart = start;
        }
        m_open.push_back({end, index});
    }
    // After the last instance.
    template <class Own>
    void finish(Own&& own) {
        orderRun();
        advance(m_to, own);
    }

private:
    struct Open {
        basekit2::u64_t end;
        std::size_t index;
    };

    // Puts instances that start at one tick in order, the innermost last.
    void orderRun() {
        if (m_open.size() - m_run < 2) return;
        std::stable_sort(m_open.begin() + static_cast<std::ptrdiff_t>(m_run), m_open.end(),
                         [](const Open& a, const Open& b) { return a.end > b.end; });
    }
    // Settles the ticks before `tick`.
    template <class Own>
    void advance(basekit2::u64_t tick, Own&& own) {
        tick = std::min(tick, m_to);
        while (!m_open.empty() && m_now < tick) {
            const Open top = m_open.back();
            if (top.end >= m_now) {
                const basekit2::u64_t last = std::min(top.end, tick - 1);
                own(top.index, m_now, last);
                m_now = last + 1;
            }
            if (top.end < m_now) m_open.pop_back();
        }
        m_now = std::max(m_now, tick);
    }

    std::vector<Open>
        m_open;             // outermost first; those that have ended go when they come to the top
    std::size_t m_run = 0;  // where the instances that start at m_runStart begin
    basekit2::u64_t m_runStart = 0;
    basekit2::u64_t m_now;
    basekit2::u64_t m_to;
};

// Instances cut where their depth changes: at every tick the innermost one of a segment stands at
// level 0, the one around it at level 1, and so on. An instance goes on one level lower where the
// one inside it ends.
struct SplitPieces {
    std::vector<basekit2::u64_t> start;     // ascending
    std::vector<basekit2::u64_t> end;       // last tick, inclusive
    std::vector<basekit2::u32_t> position;  // of the instance in its table
    std::vector<int> level;
};

// False when there would be more than `limit` pieces, as with thousands of instances that all
// overlap.
bool splitByLevel(const GroupedInstances& instances, std::size_t limit, SplitPieces& out);

// Leaves of each piece its unbroken stretches of kept time, as pieces of their own.
void keepPieces(const KeptTime& kept, SplitPieces& pieces);

}  // namespace lanefeed_runtime
