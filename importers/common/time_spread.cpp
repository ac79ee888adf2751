// Cells are moved and joined only when a time lies outside of them, and then there is room for as
// many again on both sides; so that happens seldom, also for times that run backwards.
// Tested by tests/importers/time_order_test.cpp.
#include "common/time_spread.h"

#include <algorithm>
#include <utility>

namespace lanefeed_importers {

void TimeSpread::makeRoom(std::int64_t time) {
    std::int64_t first = time;
    std::int64_t last = time;
    for (const Cell& cell : m_cells) {
        if (cell.count == 0) continue;
        first = std::min(first, cell.first);
        last = std::max(last, cell.last);
    }
    while ((last >> m_shift) - (first >> m_shift) >= static_cast<std::int64_t>(kCells / 2))
        ++m_shift;
    const std::int64_t used = (last >> m_shift) - (first >> m_shift);
    m_base = (first >> m_shift) - (static_cast<std::int64_t>(kCells) - used) / 2;
    std::vector<Cell> cells(kCells);
    const auto cellOf = [&](std::int64_t at) -> Cell& {
        return cells[static_cast<std::size_t>((at >> m_shift) - m_base)];
    };
    for (const Cell& cell : m_cells) {
        if (cell.count > 0) cellOf(cell.first).take(cell.first, cell.last, cell.count);
    }
    cellOf(time).take(time, time, 1);
    m_cells = std::move(cells);
}

TimeSpread::Span TimeSpread::content() const {
    const std::uint64_t wanted = m_total - m_total / 100;
    Span best;
    std::size_t shortest = kCells + 1;
    std::size_t begin = 0;
    std::uint64_t inside = 0;
    for (std::size_t end = 0; end < m_cells.size(); ++end) {
        inside += m_cells[end].count;
        while (inside - m_cells[begin].count >= wanted && begin < end)
            inside -= m_cells[begin++].count;
        if (inside < wanted || end - begin >= shortest) continue;
        shortest = end - begin;
        best = {m_cells[begin].first, m_cells[end].last};
    }
    return best;
}

}  // namespace lanefeed_importers
