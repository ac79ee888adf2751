// The table of a grid's rows. Everything is in the contents; rows and columns are places in them.
// Tested by tests/agreement/grid_test.cpp.
#include "grid_table.h"

#include "table_walk.h"

#include <cmath>
#include <typeinfo>
#include <utility>

namespace lanefeed_runtime {
namespace {

using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::cell_contents_t;
using dataface_1::IColumnInfo;
using dataface_1::IQuery;
using dataface_1::ITableRow;
using dataface_1::ITableTree;
using dataface_1::ITreeNode;

constexpr int kNameColumn = 3;
constexpr int kEmptyColumn = 2;  // not sorted by of its own accord

template <class Node>
using Owned = basekit2::ref_counted_t<Node, basekit2::parent_ref_count_impl_t>;

// By exact type: cells are asked for by the million when rows are sorted.
const GridColumn* gridColumn(IColumnInfo* column) {
    if (column == nullptr || typeid(*column) != typeid(Owned<GridColumn>)) return nullptr;
    return static_cast<const GridColumn*>(column);
}

bool isValue(cell_contents_t contents) {
    return contents == dataface_1::ccValue || contents == dataface_1::ccSecondValue;
}

}  // namespace

sptr_t<IQuery> GridColumn::getQuery() {
    const GridContents& contents = m_table.contents();
    if (m_place == kNames) return contents.nameQuery;
    return contents.columns[static_cast<std::size_t>(m_place)].query;
}

sptr_t<ITableTree> GridColumn::getTableTree() {
    return &m_table;
}

ITreeNode::status_t GridColumn::getChildren(generic_iterator_t<sptr_t<IColumnInfo>>& out,
                                            relay2::IProgress* /*progress*/,
                                            bool /*flag*/) {
    out = nullptr;
    return ecsfSuccess;
}

int GridColumn::getType() {
    if (m_place == kNames) return kNameColumn;
    const auto& column = m_table.contents().columns[static_cast<std::size_t>(m_place)];
    return column.hasTotals ? dataface_1::numericColumnBit : kEmptyColumn;
}

sptr_t<IQuery> GridRow::getQuery() {
    const GridContents& contents = m_table.contents();
    const int level = contents.rows[static_cast<std::size_t>(m_place)].level;
    return contents.rowQueries[static_cast<std::size_t>(level)];
}

sptr_t<ITableTree> GridRow::getTableTree() {
    return &m_table;
}

sptr_t<ITableRow> GridRow::getParent() {
    return m_table.row(m_table.contents().rows[static_cast<std::size_t>(m_place)].parent);
}

bool GridRow::getContent(const sptr_t<IColumnInfo>& column,
                         cell_contents_t contents,
                         variant_t& out) {
    const auto place = static_cast<std::size_t>(m_place);
    const GridContents::Row& row = m_table.contents().rows[place];
    const GridColumn* own = gridColumn(column.get());
    if (!column.is_null() && (own == nullptr || &own->table() != &m_table)) return false;
    const bool isName = own != nullptr && own->place() == GridColumn::kNames;
    if (contents == dataface_1::ccId && (own == nullptr || isName)) {
        out = row.id;
        return true;
    }
    if (own == nullptr || !isValue(contents)) return false;
    if (isName) {
        out = row.name;
        return true;
    }
    const auto& values = m_table.contents().columns[static_cast<std::size_t>(own->place())];
    const double total = values.totals[place];
    if (std::isnan(total)) return false;
    out = values.isWhole ? variant_t(static_cast<basekit2::u64_t>(std::llround(total)))
                         : variant_t(total);
    return true;
}

ITreeNode::status_t GridRow::getChildren(generic_iterator_t<sptr_t<ITableRow>>& out,
                                         relay2::IProgress* /*progress*/,
                                         bool /*flag*/) {
    out = walkTable<ITableRow>(&m_table, m_children);
    return ecsfSuccess;
}

GridTable::GridTable(GridContents contents) : m_contents(std::move(contents)) {
    const auto addColumn = [this](int place) {
        m_columns.push_back(std::make_unique<Owned<GridColumn>>(this, *this, place));
        m_topColumns.push_back(m_columns.back().get());
    };
    addColumn(GridColumn::kNames);
    for (std::size_t i = 0; i < m_contents.columns.size(); ++i)
        addColumn(static_cast<int>(i));
    m_rows.reserve(m_contents.rows.size());
    for (std::size_t i = 0; i < m_contents.rows.size(); ++i) {
        m_rows.push_back(std::make_unique<Owned<GridRow>>(this, *this, static_cast<int>(i)));
        GridRow* const parent = row(m_contents.rows[i].parent);
        (parent == nullptr ? m_topRows : parent->m_children).push_back(m_rows.back().get());
    }
}

generic_iterator_t<sptr_t<ITableRow>> GridTable::getRows(relay2::IProgress* /*progress*/) {
    return walkTable<ITableRow>(this, m_topRows);
}

generic_iterator_t<sptr_t<IColumnInfo>> GridTable::getColumns(relay2::IProgress* /*progress*/) {
    return walkTable<IColumnInfo>(this, m_topColumns);
}

basekit2::notype_ptr_t GridTable::adapt_to_pointer(unsigned int type) {
    if (type == basekit2::type_id_t<dataface_1::IFilterTableTree>::id())
        return basekit2::notype_ptr_t(basekit2::make_object<GridRowFilter>(this).get());
    return ITableTree::adapt_to_pointer(type);
}

}  // namespace lanefeed_runtime
