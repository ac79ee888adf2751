#pragma once

#include "cell_list.h"

#include <facekit_1_x/table_building.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace lanefeed_runtime {

class MemoryTable;

// A column of a table in memory. Owned by the table, through which it counts.
class MemoryColumn : public facekit_1_x::IWriteableColumn {
public:
    MemoryColumn(MemoryTable& table,
                 int index,
                 int kind,
                 basekit2::sptr_t<dataface_1::IQuery> query);

    basekit2::sptr_t<dataface_1::IQuery> getQuery() override { return m_query; }
    basekit2::sptr_t<dataface_1::ITableTree> getTableTree() override;
    basekit2::sptr_t<dataface_1::IColumnInfo> getParent() override { return m_parent; }
    status_t getChildren(
        basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::IColumnInfo>>& out,
        relay2::IProgress* progress,
        bool flag) override;
    int getType() override { return m_kind; }
    bool getContent(dataface_1::cell_contents_t contents, basekit2::variant_t& out) override;
    void setProperty(int id, const basekit2::variant_t& value) override;

    const MemoryTable& table() const { return m_table; }
    // Place among all columns made for the table.
    int index() const { return m_index; }
    // What a cell of this column answers whose value was never written; null for nothing.
    const basekit2::variant_t& missingValue() const { return m_missingValue; }
    void setMissingValue(const basekit2::variant_t& value) { m_missingValue = value; }

private:
    friend class MemoryTable;

    MemoryTable& m_table;
    const int m_index;
    const int m_kind;
    const basekit2::sptr_t<dataface_1::IQuery> m_query;
    CellList m_properties;
    basekit2::variant_t m_missingValue;
    bool m_added = false;
    MemoryColumn* m_parent = nullptr;
    std::vector<MemoryColumn*> m_children;
};

// A row of a table in memory, which stores only the cells written. Owned as the columns are.
class MemoryRow : public facekit_1_x::IWriteableTableRow {
public:
    MemoryRow(MemoryTable& table, basekit2::sptr_t<dataface_1::IQuery> query);

    basekit2::sptr_t<dataface_1::IQuery> getQuery() override { return m_query; }
    basekit2::sptr_t<dataface_1::ITableTree> getTableTree() override;
    basekit2::sptr_t<dataface_1::ITableRow> getParent() override { return m_parent; }
    bool getContent(const basekit2::sptr_t<dataface_1::IColumnInfo>& column,
                    dataface_1::cell_contents_t contents,
                    basekit2::variant_t& out) override;
    status_t getChildren(basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>>& out,
                         relay2::IProgress* progress,
                         bool flag) override;
    void setContent(const basekit2::sptr_t<dataface_1::IColumnInfo>& column,
                    dataface_1::cell_contents_t contents,
                    const basekit2::variant_t& value) override;

    const MemoryTable& table() const { return m_table; }

protected:
    // Cells by key; the kind is never the second form of a value.
    virtual const basekit2::variant_t* findCell(CellList::Key key) const;
    virtual void storeCell(CellList::Key key, const basekit2::variant_t& value);

private:
    friend class MemoryTable;

    MemoryTable& m_table;
    const basekit2::sptr_t<dataface_1::IQuery> m_query;
    CellList m_cells;
    bool m_added = false;
    MemoryRow* m_parent = nullptr;
    std::vector<MemoryRow*> m_children;
};

// A row with a place for the value of each of the first columns of its table, made at once when the
// first one is written.
class MemoryVectorRow : public MemoryRow {
public:
    using MemoryRow::MemoryRow;

protected:
    const basekit2::variant_t* findCell(CellList::Key key) const override;
    void storeCell(CellList::Key key, const basekit2::variant_t& value) override;

private:
    static constexpr int kPlaces = 64;

    static bool hasPlace(CellList::Key key);

    std::vector<basekit2::variant_t> m_values;
    std::uint64_t m_written = 0;  // a bit for each place
};

// A table in memory. Owns every row and column made for it; references on those count as references
// on the table, so that no cycle arises and a held row keeps its table alive. Filled by one thread,
// then read by any.
class MemoryTable : public facekit_1_x::IDPIHelperTableTree {
public:
    basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>> getRows(
        relay2::IProgress* progress) override;
    basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::IColumnInfo>> getColumns(
        relay2::IProgress* progress) override;
    void setMessenger(relay2::IMessenger* messenger) override;
    void addColumn(const basekit2::sptr_t<dataface_1::IColumnInfo>& column,
                   const basekit2::sptr_t<dataface_1::IColumnInfo>& parent,
                   int reserved) override;
    void addRow(const basekit2::sptr_t<dataface_1::ITableRow>& row,
                const basekit2::sptr_t<dataface_1::ITableRow>& parent) override;

    basekit2::sptr_t<facekit_1_x::IWriteableColumn> makeColumn(
        int kind, const basekit2::sptr_t<dataface_1::IQuery>& query);
    template <class Row>
    basekit2::sptr_t<facekit_1_x::IWriteableTableRow> makeRow(
        const basekit2::sptr_t<dataface_1::IQuery>& query) {
        auto row =
            std::make_unique<basekit2::ref_counted_t<Row, basekit2::parent_ref_count_impl_t>>(
                this, *this, query);
        m_rows.push_back(std::move(row));
        return static_cast<facekit_1_x::IWriteableTableRow*>(m_rows.back().get());
    }

    std::size_t columnCount() const { return m_columns.size(); }
    // The column as one of this table's, or null.
    const MemoryColumn* ownColumn(dataface_1::IColumnInfo* column) const;
    // Iterators over nodes of this table, on which they hold a reference.
    basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>> walk(
        const std::vector<MemoryRow*>& rows);
    basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::IColumnInfo>> walk(
        const std::vector<MemoryColumn*>& columns);

private:
    template <class Node>
    void place(Node* node, Node* parent, bool nested, std::vector<Node*>& top);

    std::vector<std::unique_ptr<MemoryColumn>> m_columns;  // all that were made, by index
    std::vector<std::unique_ptr<MemoryRow>> m_rows;
    std::vector<MemoryColumn*> m_topColumns;
    std::vector<MemoryRow*> m_topRows;
};

// A column of any table in memory as such; null for a column of another kind.
MemoryColumn* memoryColumn(const basekit2::sptr_t<dataface_1::IColumnInfo>& column);

}  // namespace lanefeed_runtime
