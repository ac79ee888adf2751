#pragma once

#include <basekit2/variant.h>

#include <vector>

namespace lanefeed_1 {

// Bins of a count request over the window [start, end) of absolute ticks. With a fineness above 1
// each bin of the request is cut into that many fine ones, unless these would be narrower than a
// tick. What the division of the window leaves over at its end belongs to no bin for what begins in
// it, and to the last one for what ends in it.
class CountGrid {
public:
    CountGrid() = default;
    CountGrid(basekit2::u64_t start,
              basekit2::u64_t end,
              basekit2::u32_t binCount,
              basekit2::u32_t fineness);

    // Ticks of a fine bin; 0 for a window that is too short for the bins, which then takes nothing.
    basekit2::u64_t binWidth() const { return m_binWidth; }
    // Whether the last tick of the window or one before it is touched; both ends are inclusive.
    bool touches(basekit2::u64_t first, basekit2::u64_t last) const {
        return last >= m_start && first <= m_end;
    }

private:
    friend class CountSeries;

    basekit2::u64_t m_start = 0;
    basekit2::u64_t m_end = 0;
    basekit2::u32_t m_binCount = 0;
    basekit2::u32_t m_fineness = 1;  // 1 where the fine bins were too narrow
    basekit2::u64_t m_bins = 0;      // fine ones
    basekit2::u64_t m_binWidth = 0;
};

// Counts of one series in the bins of a grid. An instance costs the same however many bins it
// covers. Takes no memory before the first one.
class CountSeries {
public:
    // Adds a value to every bin from that of the first to that of the last tick; the instance must
    // touch the window. Unless `merge` is set, a bin that the instance added before this one ended
    // in is left out when this one begins later: one after the other is not two at a time.
    void add(const CountGrid& grid,
             basekit2::u64_t first,
             basekit2::u64_t last,
             basekit2::s64_t value,
             bool merge);
    // One count for each bin of the request: the largest of its fine ones and 0 where there are
    // such, else what was added. None before the first instance.
    std::vector<basekit2::s64_t> counts(const CountGrid& grid) const;

private:
    std::vector<basekit2::u64_t> m_steps;  // by fine bin, the change from the one before; wraps
    basekit2::u64_t m_lastEnd = 0;         // last tick of the instance before, within the window
};

}  // namespace lanefeed_1
