// Filling and folding of the bins of count requests. Tested by tests/unit/bins_test.cpp.

#include "common/countbins.h"

#include <algorithm>

namespace lanefeed_1 {

using basekit2::s64_t;
using basekit2::u32_t;
using basekit2::u64_t;

CountGrid::CountGrid(u64_t start, u64_t end, u32_t binCount, u32_t fineness)
    : m_start(start), m_end(end), m_binCount(binCount), m_fineness(fineness) {
    if (end <= start || binCount == 0 || fineness == 0) return;
    m_bins = static_cast<u64_t>(binCount) * fineness;
    m_binWidth = (end - start) / m_bins;
    if (m_binWidth != 0) return;
    m_fineness = 1;
    m_bins = binCount;
    m_binWidth = (end - start) / m_bins;
}

void CountSeries::add(const CountGrid& grid, u64_t first, u64_t last, s64_t value, bool merge) {
    if (grid.m_binWidth == 0) return;
    const u64_t begin = std::max(first, grid.m_start);
    const u64_t end = std::min(last, grid.m_end);
    u64_t startBin = (begin - grid.m_start) / grid.m_binWidth;
    const u64_t endBin = std::min((end - grid.m_start) / grid.m_binWidth, grid.m_bins - 1);
    const bool comesAfter = m_lastEnd > 0 && m_lastEnd < begin;
    if (!merge && comesAfter && (m_lastEnd - grid.m_start) / grid.m_binWidth == startBin)
        ++startBin;

    if (m_steps.empty()) m_steps.resize(grid.m_bins, 0);
    if (startBin <= endBin) {
        const auto step = static_cast<u64_t>(value);
        m_steps[startBin] += step;
        if (endBin + 1 < grid.m_bins) m_steps[endBin + 1] -= step;
    }
    m_lastEnd = end;
}

std::vector<s64_t> CountSeries::counts(const CountGrid& grid) const {
    if (m_steps.empty()) return {};
    const bool folds = grid.m_fineness > 1;
    std::vector<s64_t> bins(grid.m_binCount, 0);
    u64_t sum = 0;
    for (std::size_t fine = 0; fine < m_steps.size(); ++fine) {
        sum += m_steps[fine];
        s64_t& bin = bins[fine / grid.m_fineness];
        bin = folds ? std::max(bin, static_cast<s64_t>(sum)) : static_cast<s64_t>(sum);
    }
    return bins;
}

}  // namespace lanefeed_1
