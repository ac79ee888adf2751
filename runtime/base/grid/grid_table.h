#pragma once

#include "grid_contents.h"

#include <dataface_1/table_tree.h>

#include <memory>
#include <vector>

namespace lanefeed_runtime {

class GridTable;

// A column of a grid: the names of the rows, or totals. Owned by the table, through which it
// counts; so are rows.
class GridColumn : public dataface_1::IColumnInfo {
public:
    static constexpr int kNames = -1;

    // place: among the columns of totals, or kNames.
    GridColumn(GridTable& table, int place) : m_table(table), m_place(place) {}

    basekit2::sptr_t<dataface_1::IQuery> getQuery() override;
    basekit2::sptr_t<dataface_1::ITableTree> getTableTree() override;
    basekit2::sptr_t<dataface_1::IColumnInfo> getParent() override { return nullptr; }
    status_t getChildren(
        basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::IColumnInfo>>& out,
        relay2::IProgress* progress,
        bool flag) override;
    int getType() override;
    bool getContent(dataface_1::cell_contents_t, basekit2::variant_t&) override { return false; }

    const GridTable& table() const { return m_table; }
    int place() const { return m_place; }

private:
    GridTable& m_table;
    const int m_place;
};

class GridRow : public dataface_1::ITableRow {
public:
    GridRow(GridTable& table, int place) : m_table(table), m_place(place) {}

    // A list of the row queries of its level.
    basekit2::sptr_t<dataface_1::IQuery> getQuery() override;
    basekit2::sptr_t<dataface_1::ITableTree> getTableTree() override;
    basekit2::sptr_t<dataface_1::ITableRow> getParent() override;
    bool getContent(const basekit2::sptr_t<dataface_1::IColumnInfo>& column,
                    dataface_1::cell_contents_t contents,
                    basekit2::variant_t& out) override;
    status_t getChildren(basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>>& out,
                         relay2::IProgress* progress,
                         bool flag) override;

    const GridTable& table() const { return m_table; }
    // Among all rows of the table, parents before their children.
    int place() const { return m_place; }

private:
    friend class GridTable;

    GridTable& m_table;
    const int m_place;
    std::vector<GridRow*> m_children;
};

// Rows in levels with a column of names (type 3) and columns of totals (type 4, without any 2). A
// row answers its id as content 7; time and numbers of instances are unsigned 64-bit, counts
// doubles. Answers an IFilterTableTree too. Immutable, for any thread.
class GridTable : public dataface_1::ITableTree {
public:
    explicit GridTable(GridContents contents);

    basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>> getRows(
        relay2::IProgress* progress) override;
    basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::IColumnInfo>> getColumns(
        relay2::IProgress* progress) override;
    basekit2::notype_ptr_t adapt_to_pointer(unsigned int type) override;
    void setMessenger(relay2::IMessenger* /*messenger*/) override {}

    const GridContents& contents() const { return m_contents; }
    GridRow* row(int place) const {
        return place < 0 ? nullptr : m_rows[static_cast<std::size_t>(place)].get();
    }

private:
    const GridContents m_contents;
    std::vector<std::unique_ptr<GridRow>> m_rows;  // as the contents have them
    std::vector<std::unique_ptr<GridColumn>> m_columns;
    std::vector<GridRow*> m_topRows;
    std::vector<GridColumn*> m_topColumns;
};

// Filters of some rows of a grid: a row is kept by the ids on its path, all of which must hold.
class GridRowFilter : public dataface_1::IFilterTableTree {
public:
    explicit GridRowFilter(basekit2::sptr_t<GridTable> table) : m_table(std::move(table)) {}

    basekit2::error_code_t createFilter(
        const basekit2::generic_iterator_t<basekit2::sptr_t<dataface_1::ITableRow>>& rows,
        basekit2::sptr_t<dataface_1::IQueryFilter>& out) override;

private:
    using Siblings = std::vector<const GridContents::Row*>;

    basekit2::sptr_t<dataface_1::IQueryFilter> filterBelow(int parent, const Siblings& rows) const;
    void addRows(const Siblings& rows, dataface_1::IQueryFilterBuilder& builder) const;
    void addRow(const GridContents::Row& row, dataface_1::IQueryFilterBuilder& builder) const;

    const basekit2::sptr_t<GridTable> m_table;
};

}  // namespace lanefeed_runtime
