#pragma once

#include <basekit2/variant.h>

#include <cstddef>
#include <vector>

namespace facekit_1_x {
class IWriteableTableRow;
}

namespace lanefeed_1 {

// How the instances of an interval request are thinned to what a pane can show. Ticks are those of
// the pane.

// The bins of a window, both ends of which belong to it. The last bin takes what the others leave.
class IntervalBins {
public:
    IntervalBins(basekit2::u64_t start, basekit2::u64_t end, basekit2::u32_t count);

    // No bin is as long as a tick: nothing can be placed.
    bool isEmpty() const { return m_width == 0; }
    bool touches(basekit2::u64_t start, basekit2::u64_t end) const {
        return end >= m_start && start <= m_end;
    }
    // The bin in which an instance that touches the window lies as a whole; -1 for one that crosses
    // a boundary or begins before the window. What lasts beyond the window's end counts as ending
    // in the last bin.
    int binOf(basekit2::u64_t start, basekit2::u64_t end) const;

private:
    basekit2::u64_t m_start;
    basekit2::u64_t m_end;
    basekit2::u64_t m_count;
    basekit2::u64_t m_width;  // of all bins but the last
};

// Nesting of the instances of one row, which come in order of their start.
class NestingDepth {
public:
    // How many of the earlier instances are still open when this one starts, which is then open
    // itself. One that ends where this starts is not.
    int enter(basekit2::u64_t start, basekit2::u64_t end);

private:
    std::vector<basekit2::u64_t> m_ends;  // a stack
};

// What instances too narrow to be told apart share: the row that was drawn for the first of them,
// and how many came after it.
struct IntervalCell {
    int bin = 0;
    basekit2::s32_t further = 0;
    facekit_1_x::IWriteableTableRow* row = nullptr;  // of the row's table, which outlives the cell
};

// The cells of a request by row, depth, series and bin. Grows with what is asked for; of the bins
// only those with a cell take memory.
class IntervalCells {
public:
    // One without a row when it is asked for the first time. Good until the next call.
    IntervalCell& at(std::size_t row, std::size_t depth, std::size_t series, int bin);
    // Calls visit(row, cell) for each of them.
    template <class Visit>
    void forEach(Visit visit) const {
        for (std::size_t row = 0; row < m_rows.size(); ++row)
            for (const auto& series : m_rows[row])
                for (const Bins& bins : series)
                    for (const IntervalCell& cell : bins)
                        visit(row, cell);
    }

private:
    using Bins = std::vector<IntervalCell>;  // in order of the bin
    std::vector<std::vector<std::vector<Bins>>> m_rows;
};

}  // namespace lanefeed_1
