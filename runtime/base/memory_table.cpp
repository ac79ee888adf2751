// The table in memory and its makers. Nodes belong to their table from birth; being added only
// gives them a place in its trees. Wrong use (a node of another table, one that is added twice or
// below itself) is told in the log and changes nothing. Tested by tests/base/tables_test.cpp.
#include "memory_table.h"

#include "alert.h"
#include "table_walk.h"

#include <typeinfo>

namespace lanefeed_runtime {
namespace {

using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using dataface_1::IColumnInfo;
using dataface_1::IQuery;
using dataface_1::ITableRow;
using facekit_1_x::IDPIHelperTableTree;

template <class Node>
using Owned = basekit2::ref_counted_t<Node, basekit2::parent_ref_count_impl_t>;

// Cast by exact type, which is all that the makers give out: cells are asked for by the million,
// and walking the class tree would cost more than finding the cell.
template <class Exact, class Interface>
Exact* exactCast(Interface* object) {
    if (object == nullptr || typeid(*object) != typeid(Exact)) return nullptr;
    return static_cast<Exact*>(object);
}

MemoryTable* memoryTable(const sptr_t<IDPIHelperTableTree>& tree) {
    return exactCast<basekit2::ref_counted_t<MemoryTable>>(tree.get());
}

MemoryRow* memoryRow(const sptr_t<ITableRow>& row) {
    if (MemoryRow* sparse = exactCast<Owned<MemoryRow>>(row.get())) return sparse;
    return exactCast<Owned<MemoryVectorRow>>(row.get());
}

}  // namespace

MemoryColumn* memoryColumn(const sptr_t<IColumnInfo>& column) {
    return exactCast<Owned<MemoryColumn>>(column.get());
}

generic_iterator_t<sptr_t<ITableRow>> MemoryTable::getRows(relay2::IProgress* /*progress*/) {
    return walk(m_topRows);
}

generic_iterator_t<sptr_t<IColumnInfo>> MemoryTable::getColumns(relay2::IProgress* /*progress*/) {
    return walk(m_topColumns);
}

// Everything is in memory: there is nothing to tell.
void MemoryTable::setMessenger(relay2::IMessenger* /*messenger*/) {}

void MemoryTable::addColumn(const sptr_t<IColumnInfo>& column,
                            const sptr_t<IColumnInfo>& parent,
                            int /*reserved*/) {
    place(memoryColumn(column), memoryColumn(parent), !parent.is_null(), m_topColumns);
}

void MemoryTable::addRow(const sptr_t<ITableRow>& row, const sptr_t<ITableRow>& parent) {
    place(memoryRow(row), memoryRow(parent), !parent.is_null(), m_topRows);
}

template <class Node>
void MemoryTable::place(Node* node, Node* parent, bool nested, std::vector<Node*>& top) {
    const bool own = node != nullptr && &node->m_table == this;
    const bool ownParent = !nested || (parent != nullptr && &parent->m_table == this);
    bool below = false;
    for (const Node* above = parent; above != nullptr; above = above->m_parent)
        below = below || above == node;
    if (!own || !ownParent || node->m_added || below) {
        alert("Node of a table added twice, below itself or to another table", __FILE__, __LINE__);
        return;
    }
    node->m_added = true;
    node->m_parent = parent;
    (nested ? parent->m_children : top).push_back(node);
}

sptr_t<facekit_1_x::IWriteableColumn> MemoryTable::makeColumn(int kind,
                                                              const sptr_t<IQuery>& query) {
    const auto index = static_cast<int>(m_columns.size());
    m_columns.push_back(std::make_unique<Owned<MemoryColumn>>(this, *this, index, kind, query));
    return m_columns.back().get();
}

const MemoryColumn* MemoryTable::ownColumn(IColumnInfo* column) const {
    const MemoryColumn* const own = exactCast<Owned<MemoryColumn>>(column);
    return own != nullptr && &own->table() == this ? own : nullptr;
}

generic_iterator_t<sptr_t<ITableRow>> MemoryTable::walk(const std::vector<MemoryRow*>& rows) {
    return walkTable<ITableRow>(this, rows);
}

generic_iterator_t<sptr_t<IColumnInfo>> MemoryTable::walk(
    const std::vector<MemoryColumn*>& columns) {
    return walkTable<IColumnInfo>(this, columns);
}

}  // namespace lanefeed_runtime

namespace facekit_1_x {

using basekit2::sptr_t;
using dataface_1::IQuery;
using lanefeed_runtime::MemoryTable;

sptr_t<IDPIHelperTableTree> createTableTree() {
    return basekit2::make_object<MemoryTable>();
}

sptr_t<IWriteableColumn> createColumn(int kind,
                                      const sptr_t<IQuery>& query,
                                      const sptr_t<IDPIHelperTableTree>& tree) {
    MemoryTable* const table = lanefeed_runtime::memoryTable(tree);
    return table != nullptr ? table->makeColumn(kind, query) : nullptr;
}

sptr_t<IWriteableTableRow> createVectorRow(const sptr_t<IQuery>& query,
                                           const sptr_t<IDPIHelperTableTree>& tree) {
    MemoryTable* const table = lanefeed_runtime::memoryTable(tree);
    if (table == nullptr) return nullptr;
    return table->makeRow<lanefeed_runtime::MemoryVectorRow>(query);
}

sptr_t<IWriteableTableRow> createSparseRow(const sptr_t<IQuery>& query,
                                           const sptr_t<IDPIHelperTableTree>& tree) {
    MemoryTable* const table = lanefeed_runtime::memoryTable(tree);
    return table != nullptr ? table->makeRow<lanefeed_runtime::MemoryRow>(query) : nullptr;
}

}  // namespace facekit_1_x
