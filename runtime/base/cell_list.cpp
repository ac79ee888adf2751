// Sparse cells of a row or properties of a column: a sorted array, since a row has few of them.
// Tested by tests/base/tables_test.cpp.
#include "cell_list.h"

#include <algorithm>
#include <tuple>

namespace lanefeed_runtime {
namespace {

bool before(const CellList::Key& a, const CellList::Key& b) {
    return std::tie(a.column, a.contents) < std::tie(b.column, b.contents);
}

}  // namespace

void CellList::set(Key key, const basekit2::variant_t& value) {
    const auto place = std::lower_bound(
        m_cells.begin(), m_cells.end(), key,
        [](const Cell& cell, const Key& wanted) { return before(cell.key, wanted); });
    if (place != m_cells.end() && !before(key, place->key))
        place->value = value;
    else
        m_cells.insert(place, Cell{key, value});
}

const basekit2::variant_t* CellList::find(Key key) const {
    const auto place = std::lower_bound(
        m_cells.begin(), m_cells.end(), key,
        [](const Cell& cell, const Key& wanted) { return before(cell.key, wanted); });
    return place != m_cells.end() && !before(key, place->key) ? &place->value : nullptr;
}

}  // namespace lanefeed_runtime
