#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace lanefeed_importers {

// Where the times of a trace lie, whatever order they come in and however many they are: counts
// them in cells of equal width, which grows with their span. Times are nanoseconds.
class TimeSpread {
public:
    static constexpr std::size_t kCells = 16384;

    struct Span {
        std::int64_t begin = 0;
        std::int64_t end = 0;  // of the last time in it
    };

    void add(std::int64_t time) {
        const std::int64_t place = (time >> m_shift) - m_base;
        if (place >= 0 && place < static_cast<std::int64_t>(m_cells.size())) {
            m_cells[static_cast<std::size_t>(place)].take(time, time, 1);
        } else {
            makeRoom(time);
        }
        ++m_total;
    }

    // The shortest run of cells that holds 99 % of the times, from its first time to its last.
    Span content() const;

private:
    struct Cell {
        std::uint64_t count = 0;
        std::int64_t first = std::numeric_limits<std::int64_t>::max();
        std::int64_t last = std::numeric_limits<std::int64_t>::min();

        void take(std::int64_t from, std::int64_t to, std::uint64_t more) {
            count += more;
            first = first < from ? first : from;
            last = last > to ? last : to;
        }
    };

    void makeRoom(std::int64_t time);

    std::vector<Cell> m_cells;
    std::int64_t m_base = 0;  // number of the first cell, counted from time 0
    int m_shift = 0;          // a cell is 2 to the power of this wide
    std::uint64_t m_total = 0;
};

}  // namespace lanefeed_importers
