// Arithmetic of interval requests: which bin an instance lies in, how deep it is nested, which row
// it shares. Free of stores and tables. Tested by tests/unit/bins_test.cpp.

#include "common/intervalcells.h"

#include <algorithm>

namespace lanefeed_1 {

namespace {

// The entry of a vector, which grows to have it.
template <class T>
T& grown(std::vector<T>& entries, std::size_t at) {
    if (at >= entries.size()) entries.resize(at + 1);
    return entries[at];
}

}  // namespace

IntervalBins::IntervalBins(basekit2::u64_t start, basekit2::u64_t end, basekit2::u32_t count)
    : m_start(start),
      m_end(end),
      m_count(count),
      m_width(count == 0 ? 0 : (end - start + 1) / count) {}

int IntervalBins::binOf(basekit2::u64_t start, basekit2::u64_t end) const {
    // Said in so many words: the difference below would wrap around, and could do so into a bin.
    if (start < m_start) return -1;
    const basekit2::u64_t startBin = std::min((start - m_start) / m_width, m_count - 1);
    const basekit2::u64_t endBin = std::min((end - m_start) / m_width, m_count - 1);
    return startBin == endBin ? static_cast<int>(startBin) : -1;
}

int NestingDepth::enter(basekit2::u64_t start, basekit2::u64_t end) {
    while (!m_ends.empty() && start >= m_ends.back())
        m_ends.pop_back();
    m_ends.push_back(end);
    return static_cast<int>(m_ends.size()) - 1;
}

IntervalCell& IntervalCells::at(std::size_t row, std::size_t depth, std::size_t series, int bin) {
    Bins& bins = grown(grown(grown(m_rows, row), depth), series);
    // Instances come in order of their start, so it is nearly always the newest cell or the next.
    if (!bins.empty() && bins.back().bin == bin) return bins.back();
    auto place = bins.end();
    if (!bins.empty() && bin < bins.back().bin) {
        place = std::lower_bound(
            bins.begin(), bins.end(), bin,
            [](const IntervalCell& cell, int wanted) { return cell.bin < wanted; });
        if (place->bin == bin) return *place;
    }
    IntervalCell cell;
    cell.bin = bin;
    return *bins.insert(place, cell);
}

}  // namespace lanefeed_1
