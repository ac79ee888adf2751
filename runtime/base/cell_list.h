#pragma once

#include <basekit2/variant.h>

#include <vector>

namespace lanefeed_runtime {

// Cells by column and kind of content, sorted; cheap to fill in the order of the columns.
class CellList {
public:
    struct Key {
        int column;  // index in the table; -1 for what belongs to the row itself
        int contents;
    };

    void set(Key key, const basekit2::variant_t& value);
    // Null when never set.
    const basekit2::variant_t* find(Key key) const;

private:
    struct Cell {
        Key key;
        basekit2::variant_t value;
    };
    std::vector<Cell> m_cells;
};

}  // namespace lanefeed_runtime
