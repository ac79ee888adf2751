// Rows and columns of a table in memory. A cell is found by the column's place in its table; what
// belongs to the row itself stands under the place -1. The second form of a value is the value.
// Tested by tests/base/tables_test.cpp.
#include "alert.h"
#include "memory_table.h"

#include <algorithm>

namespace lanefeed_runtime {
namespace {

using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::cell_contents_t;
using dataface_1::IColumnInfo;
using dataface_1::ITableRow;
using dataface_1::ITableTree;

constexpr int kRowItself = -1;

int settled(int contents) {
    return contents == dataface_1::ccSecondValue ? dataface_1::ccValue : contents;
}

bool isColumnValue(CellList::Key key) {
    return key.column != kRowItself && key.contents == dataface_1::ccValue;
}

}  // namespace

MemoryColumn::MemoryColumn(MemoryTable& table,
                           int index,
                           int kind,
                           sptr_t<dataface_1::IQuery> query)
    : m_table(table), m_index(index), m_kind(kind), m_query(std::move(query)) {}

sptr_t<ITableTree> MemoryColumn::getTableTree() {
    return &m_table;
}

dataface_1::ITreeNode::status_t MemoryColumn::getChildren(
    generic_iterator_t<sptr_t<IColumnInfo>>& out, relay2::IProgress* /*progress*/, bool /*flag*/) {
    out = m_table.walk(m_children);
    return ecsfSuccess;
}

bool MemoryColumn::getContent(cell_contents_t contents, variant_t& out) {
    const variant_t* const property = m_properties.find({m_index, settled(contents)});
    if (property == nullptr) return false;
    out = *property;
    return true;
}

void MemoryColumn::setProperty(int id, const variant_t& value) {
    m_properties.set({m_index, settled(id)}, value);
}

MemoryRow::MemoryRow(MemoryTable& table, sptr_t<dataface_1::IQuery> query)
    : m_table(table), m_query(std::move(query)) {}

sptr_t<ITableTree> MemoryRow::getTableTree() {
    return &m_table;
}

dataface_1::ITreeNode::status_t MemoryRow::getChildren(generic_iterator_t<sptr_t<ITableRow>>& out,
                                                       relay2::IProgress* /*progress*/,
                                                       bool /*flag*/) {
    out = m_table.walk(m_children);
    return ecsfSuccess;
}

bool MemoryRow::getContent(const sptr_t<IColumnInfo>& column,
                           cell_contents_t contents,
                           variant_t& out) {
    const MemoryColumn* own = nullptr;
    if (!column.is_null()) {
        own = m_table.ownColumn(column.get());
        if (own == nullptr) return false;
    }
    const CellList::Key key{own != nullptr ? own->index() : kRowItself, settled(contents)};
    const variant_t* cell = findCell(key);
    if (cell == nullptr && isColumnValue(key) && !own->missingValue().is_null())
        cell = &own->missingValue();
    if (cell == nullptr) return false;
    out = *cell;
    return true;
}

void MemoryRow::setContent(const sptr_t<IColumnInfo>& column,
                           cell_contents_t contents,
                           const variant_t& value) {
    int place = kRowItself;
    if (!column.is_null()) {
        const MemoryColumn* const own = m_table.ownColumn(column.get());
        if (own == nullptr) {
            alert("Cell of a column that belongs to another table", __FILE__, __LINE__);
            return;
        }
        place = own->index();
    }
    storeCell({place, settled(contents)}, value);
}

const variant_t* MemoryRow::findCell(CellList::Key key) const {
    return m_cells.find(key);
}

void MemoryRow::storeCell(CellList::Key key, const variant_t& value) {
    m_cells.set(key, value);
}

bool MemoryVectorRow::hasPlace(CellList::Key key) {
    return isColumnValue(key) && key.column < kPlaces;
}

const variant_t* MemoryVectorRow::findCell(CellList::Key key) const {
    if (!hasPlace(key)) return MemoryRow::findCell(key);
    return (m_written >> key.column & 1) != 0 ? &m_values[static_cast<std::size_t>(key.column)]
                                              : nullptr;
}

void MemoryVectorRow::storeCell(CellList::Key key, const variant_t& value) {
    if (!hasPlace(key)) {
        MemoryRow::storeCell(key, value);
        return;
    }
    const auto place = static_cast<std::size_t>(key.column);
    // A column that came after the first write gets its place later.
    if (place >= m_values.size())
        m_values.resize(std::min<std::size_t>(table().columnCount(), kPlaces));
    m_values[place] = value;
    m_written |= std::uint64_t{1} << place;
}

}  // namespace lanefeed_runtime
