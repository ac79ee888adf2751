// Instances cut into pieces by their depth.
//
// A walk over the ticks where something opens or ends. The open instances stand in one list with
// the innermost last, so the level of each is its distance from the end; whoever has another level
// after a tick than before it is cut there. Tested by tests/timeline/timeline_database_test.cpp.

#include "timeline/nesting.h"

#include <numeric>
#include <utility>

namespace lanefeed_runtime {

using basekit2::u32_t;
using basekit2::u64_t;

namespace {

class LevelSplitter {
public:
    LevelSplitter(const GroupedInstances& instances, SplitPieces& out)
        : m_instances(instances), m_out(out) {}

    void split(const GroupedInstances::Segment& segment) {
        std::size_t next = segment.begin;
        while (next < segment.end || !m_open.empty()) {
            const u64_t tick = nextTick(next, segment.end);
            endBefore(tick);
            next = openAt(tick, next, segment.end);
            level(tick);
        }
    }

private:
    struct Open {
        u64_t end;
        u64_t from;  // first tick of the piece in the making
        u32_t position;
        int level;
    };

    u64_t nextTick(std::size_t next, std::size_t behind) const {
        u64_t tick = ~u64_t{0};
        for (const Open& open : m_open)
            tick = std::min(tick, open.end + 1);
        return next < behind ? std::min(tick, m_instances.start(next)) : tick;
    }

    void endBefore(u64_t tick) {
        std::size_t kept = 0;
        for (const Open& open : m_open) {
            if (open.end < tick)
                emit(open, open.end);
            else
                m_open[kept++] = open;
        }
        m_open.resize(kept);
    }

    std::size_t openAt(u64_t tick, std::size_t next, std::size_t behind) {
        const std::size_t run = m_open.size();
        for (; next < behind && m_instances.start(next) == tick; ++next)
            m_open.push_back({m_instances.end(next), tick, m_instances.position(next), 0});
        std::stable_sort(m_open.begin() + static_cast<std::ptrdiff_t>(run), m_open.end(),
                         [](const Open& a, const Open& b) { return a.end > b.end; });
        return next;
    }

    void level(u64_t tick) {
        int level = static_cast<int>(m_open.size());
        for (Open& open : m_open) {
            --level;
            if (open.level == level) continue;
            if (open.from < tick) {
                emit(open, tick - 1);
                open.from = tick;
            }
            open.level = level;
        }
    }

    void emit(const Open& open, u64_t last) {
        m_out.start.push_back(open.from);
        m_out.end.push_back(last);
        m_out.position.push_back(open.position);
        m_out.level.push_back(open.level);
    }

    const GroupedInstances& m_instances;
    SplitPieces& m_out;
    std::vector<Open> m_open;  // outermost first
};

template <class T>
void reorder(std::vector<T>& values, const std::vector<u32_t>& order) {
    std::vector<T> sorted(values.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        sorted[i] = values[order[i]];
    values = std::move(sorted);
}

// Pieces come out in the order of their ends.
void sortByStart(SplitPieces& pieces) {
    std::vector<u32_t> order(pieces.start.size());
    std::iota(order.begin(), order.end(), 0U);
    std::stable_sort(order.begin(), order.end(), [&](u32_t a, u32_t b) {
        if (pieces.start[a] != pieces.start[b]) return pieces.start[a] < pieces.start[b];
        return pieces.level[a] > pieces.level[b];
    });
    reorder(pieces.start, order);
    reorder(pieces.end, order);
    reorder(pieces.position, order);
    reorder(pieces.level, order);
}

}  // namespace

bool splitByLevel(const GroupedInstances& instances, std::size_t limit, SplitPieces& out) {
    out = SplitPieces();
    LevelSplitter splitter(instances, out);
    for (const GroupedInstances::Segment& segment : instances.segments()) {
        splitter.split(segment);
        if (out.start.size() > limit) return false;
    }
    sortByStart(out);
    return true;
}

void keepPieces(const KeptTime& kept, SplitPieces& pieces) {
    SplitPieces left;
    for (std::size_t i = 0; i < pieces.start.size(); ++i)
        kept.each(pieces.start[i], pieces.end[i], [&](u64_t first, u64_t last) {
            left.start.push_back(first);
            left.end.push_back(last);
            left.position.push_back(pieces.position[i]);
            left.level.push_back(pieces.level[i]);
        });
    pieces = std::move(left);
    sortByStart(pieces);
}

}  // namespace lanefeed_runtime
