#pragma once

#include <basekit2/variant.h>

#include <cstddef>
#include <vector>

namespace lanefeed_runtime {

// Cells of series by bucket, most of which stay empty. A cell that was touched is told from one
// that was not, whatever its value. Used for one row after the other, so clearing costs what was
// touched.
template <class T>
class CellGrid {
public:
    CellGrid(std::size_t series, int buckets)
        : m_pagesPerSeries(static_cast<std::size_t>(buckets) / kPage + 1),
          m_pageOf(series * m_pagesPerSeries, 0) {
        clear();
    }

    // Touches the cell.
    T& at(std::size_t series, int bucket) {
        const auto cell = static_cast<std::size_t>(bucket);
        basekit2::u32_t& page = m_pageOf[series * m_pagesPerSeries + cell / kPage];
        if (page == 0) page = newPage(series * m_pagesPerSeries + cell / kPage);
        m_touched[page] |= basekit2::u64_t{1} << cell % kPage;
        return m_values[page * kPage + cell % kPage];
    }

    // Calls visit(bucket, value) for the touched cells of a series by bucket.
    template <class Visit>
    void each(std::size_t series, Visit&& visit) const {
        for (std::size_t p = 0; p < m_pagesPerSeries; ++p) {
            const std::size_t page = m_pageOf[series * m_pagesPerSeries + p];
            for (std::size_t i = 0; page != 0 && i < kPage; ++i)
                if ((m_touched[page] >> i & 1) != 0)
                    visit(static_cast<int>(p * kPage + i), m_values[page * kPage + i]);
        }
    }

    bool empty() const { return m_touched.size() == 1; }
    void clear() {
        for (const std::size_t slot : m_slots)
            m_pageOf[slot] = 0;
        m_slots.clear();
        m_touched.assign(1, 0);  // page 0 stands for none
        m_values.assign(kPage, T());
    }

private:
    static constexpr std::size_t kPage = 64;

    basekit2::u32_t newPage(std::size_t slot) {
        m_slots.push_back(slot);
        m_touched.push_back(0);
        m_values.resize(m_values.size() + kPage, T());
        return static_cast<basekit2::u32_t>(m_touched.size() - 1);
    }

    std::size_t m_pagesPerSeries;
    std::vector<basekit2::u32_t> m_pageOf;   // by series and page of buckets
    std::vector<std::size_t> m_slots;        // in m_pageOf that are in use
    std::vector<basekit2::u64_t> m_touched;  // a bit for each cell of a page
    std::vector<T> m_values;
};

}  // namespace lanefeed_runtime
