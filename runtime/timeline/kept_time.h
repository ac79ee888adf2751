#pragma once

#include <basekit2/variant.h>
#include <storelink1/records.h>

#include <algorithm>
#include <vector>

namespace lanefeed_runtime {

// The ticks that count: all but those in pauses and in what a filter cuts out of the time.
class KeptTime {
public:
    KeptTime() = default;
    // Half-open spans that don't count, in any order; they may overlap.
    explicit KeptTime(std::vector<storelink1::time_interval_t> excluded);

    bool keepsAll() const { return m_excluded.empty(); }
    // Excluded spans by start, apart from each other.
    const std::vector<storelink1::time_interval_t>& excluded() const { return m_excluded; }
    bool keeps(basekit2::u64_t tick) const;
    // Whether any of the ticks first..last counts.
    bool touches(basekit2::u64_t first, basekit2::u64_t last) const;
    // How many of the ticks first..last count.
    basekit2::u64_t count(basekit2::u64_t first, basekit2::u64_t last) const;

    // Calls piece(first, last) for every unbroken stretch of first..last that counts, in order.
    template <class Piece>
    void each(basekit2::u64_t first, basekit2::u64_t last, Piece&& piece) const {
        if (m_excluded.empty()) return piece(first, last);
        for (auto it = after(first); it != m_excluded.end() && it->start <= last; ++it) {
            if (it->start > first) piece(first, it->start - 1);
            first = std::max(first, it->end);
            if (first > last) return;
        }
        piece(first, last);
    }

private:
    // First excluded span that ends behind a tick.
    std::vector<storelink1::time_interval_t>::const_iterator after(basekit2::u64_t tick) const;

    std::vector<storelink1::time_interval_t> m_excluded;
};

}  // namespace lanefeed_runtime
