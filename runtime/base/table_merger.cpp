// Joins tables of series by their time-bin column, such as the answers of several queries of one
// layer. The rows that stand for one bin become one; bins ascend; the columns of one table follow
// those of the one before. Where a table has no row for a bin, its columns answer what they answer
// where there is nothing: the sum of no rows for a table that can sum rows, else no cell.
// The merged table is a copy in memory: it does not hold on to the tables that went into it.
// Tested by tests/base/tables_test.cpp.
#include "memory_table.h"

#include <facekit_1_x/table_building.h>
#include <facekit_1_x/table_helpers.h>

#include <map>
#include <vector>

namespace facekit_1_x {
namespace {

using basekit2::error_code_t;
using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::cell_contents_t;
using dataface_1::IColumnInfo;
using dataface_1::ITableRow;
using dataface_1::ITableTree;

constexpr int kJoinByTimeBin = 1;

error_code_t invalid(const char* expression, int line) {
    return error_code_t::raise(basekit2::error::IsNot.Valid.Argument, expression, __FILE__, line);
}

// A column of a source and its copy.
struct ColumnPair {
    sptr_t<IColumnInfo> source;
    sptr_t<IWriteableColumn> copy;
};

class TableTreeMerger : public ITableTreeMerger {
public:
    error_code_t init(int mode, int flags) override {
        if (mode != kJoinByTimeBin || flags != 0)
            return invalid("mode == 1 && flags == 0", __LINE__);
        m_merged = createTableTree();
        m_timeBin = nullptr;
        m_rows.clear();
        return error_code_t::success;
    }

    error_code_t addTree(const sptr_t<ITableTree>& tree,
                         const generic_iterator_t<sptr_t<IColumnInfo>>& keys) override {
        if (m_merged.is_null()) return notReady(__LINE__);
        if (tree.is_null()) return invalid("tree", __LINE__);
        const sptr_t<IColumnInfo> timeBin = findTimeBin(keys);
        if (timeBin.is_null()) return invalid("time-bin column among the keys", __LINE__);
        if (m_timeBin.is_null()) addTimeBin(timeBin);
        m_emptySum = sumOfNoRows(tree);
        std::vector<ColumnPair> columns;
        if (!copyColumns(tree->getColumns(nullptr), nullptr, timeBin, columns))
            return childrenFailed(__LINE__);
        const generic_iterator_t<sptr_t<ITableRow>> rows = tree->getRows(nullptr);
        for (; !rows.at_end(); rows.next())
            mergeRow(rows.current(), timeBin, columns);
        m_emptySum.reset();
        return error_code_t::success;
    }

    error_code_t getMergedTree(sptr_t<ITableTree>& out) override {
        if (m_merged.is_null()) return notReady(__LINE__);
        for (const auto& bin : m_rows)
            m_merged->addRow(bin.second, nullptr);
        out = m_merged;
        m_merged.reset();
        return error_code_t::success;
    }

private:
    static error_code_t notReady(int line) {
        return error_code_t::raise(basekit2::error::IsNot.Expected.Situation,
                                   "merger initialised and not yet read", __FILE__, line);
    }
    static error_code_t childrenFailed(int line) {
        return error_code_t::raise(basekit2::error::IsNot.Expected.Situation,
                                   "children of a column", __FILE__, line);
    }

    static sptr_t<IColumnInfo> findTimeBin(const generic_iterator_t<sptr_t<IColumnInfo>>& keys) {
        for (; !keys.at_end(); keys.next())
            if (keys.current()->getType() == dataface_1::timeBinColumn) return keys.current();
        return nullptr;
    }

    static sptr_t<ITableRow> sumOfNoRows(const sptr_t<ITableTree>& tree) {
        const auto reducible =
            basekit2::interface_cast<dataface_1::IReducibleTableTree>(tree.get());
        const auto noRows = basekit2::make_iterator(std::vector<sptr_t<ITableRow>>());
        return reducible.is_null() ? nullptr : reducible->reduce(noRows, nullptr);
    }

    // Null when a cell that is missing answers nothing. A wrapper may hand on the columns of a
    // table in memory, so the sum is asked first.
    variant_t missingValueOf(const sptr_t<IColumnInfo>& column) const {
        variant_t value;
        if (!m_emptySum.is_null() && m_emptySum->getContent(column, dataface_1::ccValue, value))
            return value;
        const auto* const merged = lanefeed_runtime::memoryColumn(column);
        return merged != nullptr ? merged->missingValue() : variant_t();
    }

    sptr_t<IWriteableColumn> copyColumn(const sptr_t<IColumnInfo>& source,
                                        const sptr_t<IColumnInfo>& parent) {
        sptr_t<IWriteableColumn> copy =
            createColumn(source->getType(), source->getQuery(), m_merged);
        for (const cell_contents_t property : {dataface_1::ccStyle, dataface_1::ccId}) {
            variant_t value;
            if (source->getContent(property, value)) copy->setProperty(property, value);
        }
        m_merged->addColumn(copy, parent, 0);
        return copy;
    }

    void addTimeBin(const sptr_t<IColumnInfo>& source) { m_timeBin = copyColumn(source, nullptr); }

    // All but the time-bin column, nested as they are.
    bool copyColumns(const generic_iterator_t<sptr_t<IColumnInfo>>& sources,
                     const sptr_t<IColumnInfo>& parent,
                     const sptr_t<IColumnInfo>& timeBin,
                     std::vector<ColumnPair>& columns) {
        for (; !sources.at_end(); sources.next()) {
            const sptr_t<IColumnInfo> source = sources.current();
            if (source == timeBin) continue;
            const sptr_t<IWriteableColumn> copy = copyColumn(source, parent);
            lanefeed_runtime::memoryColumn(copy)->setMissingValue(missingValueOf(source));
            columns.push_back({source, copy});
            generic_iterator_t<sptr_t<IColumnInfo>> children;
            if (source->getChildren(children, nullptr, false) == IColumnInfo::ecsfError)
                return false;
            if (!copyColumns(children, copy, timeBin, columns)) return false;
        }
        return true;
    }

    void mergeRow(const sptr_t<ITableRow>& source,
                  const sptr_t<IColumnInfo>& timeBin,
                  const std::vector<ColumnPair>& columns) {
        variant_t bin;
        if (!source->getContent(timeBin, dataface_1::ccValue, bin)) return;
        sptr_t<IWriteableTableRow>& row = m_rows[bin];
        if (row.is_null()) {
            row = createSparseRow(source->getQuery(), m_merged);
            row->setContent(m_timeBin, dataface_1::ccValue, bin);
        }
        copyCell(source, nullptr, dataface_1::ccStyle, row, nullptr);
        copyCell(source, nullptr, dataface_1::ccId, row, nullptr);
        for (const ColumnPair& column : columns) {
            copyCell(source, column.source, dataface_1::ccValue, row, column.copy);
            copyCell(source, column.source, dataface_1::ccStyle, row, column.copy);
        }
    }

    static void copyCell(const sptr_t<ITableRow>& source,
                         const sptr_t<IColumnInfo>& sourceColumn,
                         cell_contents_t contents,
                         const sptr_t<IWriteableTableRow>& row,
                         const sptr_t<IColumnInfo>& column) {
        variant_t value;
        if (source->getContent(sourceColumn, contents, value))
            row->setContent(column, contents, value);
    }

    sptr_t<IDPIHelperTableTree> m_merged;
    sptr_t<IWriteableColumn> m_timeBin;
    sptr_t<ITableRow> m_emptySum;                            // of the table being added, or null
    std::map<variant_t, sptr_t<IWriteableTableRow>> m_rows;  // by bin, ascending
};

}  // namespace

sptr_t<ITableTreeMerger> createTableTreeMerger() {
    return basekit2::make_object<TableTreeMerger>();
}

}  // namespace facekit_1_x
