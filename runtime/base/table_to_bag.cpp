// A table as a bag, for dumps that people read and compare. The bag's layout:
//   <columns>  a "column" each, nested as in the table, numbered in the order of the walk: number,
//              type, name and id of its query, its colour and row when it has them
//   <rows>     a "row" each, nested as in the table: name of its query, its id and style, and a
//              "cell" for each column that answers: column number, value, style
// When the row limit cuts the rows, the bag's entry "rowsLeftOut" is true.
// Tested by tests/base/tables_test.cpp.
#include <dataface_1/style.h>
#include <facekit_1_x/table_helpers.h>

#include <vector>

namespace facekit_1_x {
namespace {

using basekit2::error_code_t;
using basekit2::generic_iterator_t;
using basekit2::is_success;
using basekit2::sptr_t;
using basekit2::variant_bag_t;
using basekit2::variant_t;
using dataface_1::IColumnInfo;
using dataface_1::ITableRow;
using dataface_1::ITableTree;

using RowIterator = generic_iterator_t<sptr_t<ITableRow>>;
using ColumnIterator = generic_iterator_t<sptr_t<IColumnInfo>>;

error_code_t failed(const char* expression, int line) {
    return error_code_t::raise(basekit2::error::IsNot.Expected.Situation, expression, __FILE__,
                               line);
}

void addQuery(variant_bag_t& bag, const sptr_t<dataface_1::IQuery>& query) {
    if (query.is_null()) return;
    bag.add("name", query->getName());
    if (!query->getId().empty()) bag.add("id", query->getId());
}

// A style is a packed number or an object that saves itself.
void addStyle(variant_bag_t& bag, const variant_t& style) {
    if (style.get_type() != basekit2::vtObject) {
        bag.add("style", style);
        return;
    }
    sptr_t<dataface_1::IStyle> object;
    variant_bag_t saved("style");
    const auto held = style.get<sptr_t<basekit2::object_interface_t>>();
    if (!basekit2::lookup_interface(held.get(), object)) return;
    if (is_success(object->save(saved))) bag.add("style", saved);
}

class TableWriter {
public:
    TableWriter(variant_bag_t& bag, int rowLimit) : m_bag(bag), m_rowsToGo(rowLimit) {}

    error_code_t write(const sptr_t<ITableTree>& tree) {
        if (!writeColumns(m_bag.add("columns", variant_bag_t()), tree->getColumns(nullptr)))
            return failed("children of a column", __LINE__);
        if (!writeRows(m_bag.add("rows", variant_bag_t()), tree->getRows(nullptr)))
            return failed("children of a row", __LINE__);
        if (m_rowsLeftOut) m_bag.add("rowsLeftOut", true);
        return error_code_t::success;
    }

private:
    bool writeColumns(variant_bag_t& parent, const ColumnIterator& columns) {
        for (; !columns.at_end(); columns.next()) {
            const sptr_t<IColumnInfo> column = columns.current();
            variant_bag_t& bag = parent.add("column", variant_bag_t());
            bag.add("number", static_cast<int>(m_columns.size()));
            bag.add("type", column->getType());
            addQuery(bag, column->getQuery());
            variant_t property;
            if (column->getContent(dataface_1::ccStyle, property)) bag.add("color", property);
            if (column->getContent(dataface_1::ccId, property)) bag.add("row", property);
            m_columns.push_back(column);
            ColumnIterator children;
            if (column->getChildren(children, nullptr, false) == IColumnInfo::ecsfError)
                return false;
            if (!writeColumns(bag, children)) return false;
        }
        return true;
    }

    bool writeRows(variant_bag_t& parent, const RowIterator& rows) {
        for (; !rows.at_end(); rows.next()) {
            if (m_rowsToGo == 0) {
                m_rowsLeftOut = true;
                return true;
            }
            if (m_rowsToGo > 0) --m_rowsToGo;
            const sptr_t<ITableRow> row = rows.current();
            variant_bag_t& bag = parent.add("row", variant_bag_t());
            writeRow(bag, row);
            RowIterator children;
            if (row->getChildren(children, nullptr, false) == ITableRow::ecsfError) return false;
            if (!writeRows(bag, children)) return false;
        }
        return true;
    }

    void writeRow(variant_bag_t& bag, const sptr_t<ITableRow>& row) const {
        addQuery(bag, row->getQuery());
        variant_t content;
        if (row->getContent(nullptr, dataface_1::ccId, content)) bag.add("row", content);
        if (row->getContent(nullptr, dataface_1::ccStyle, content)) addStyle(bag, content);
        for (std::size_t i = 0; i < m_columns.size(); ++i)
            writeCell(bag, row, static_cast<int>(i));
    }

    void writeCell(variant_bag_t& row, const sptr_t<ITableRow>& source, int number) const {
        const sptr_t<IColumnInfo>& column = m_columns[static_cast<std::size_t>(number)];
        variant_t value;
        variant_t style;
        const bool hasValue = source->getContent(column, dataface_1::ccValue, value);
        const bool hasStyle = source->getContent(column, dataface_1::ccStyle, style);
        if (!hasValue && !hasStyle) return;
        variant_bag_t& cell = row.add("cell", variant_bag_t());
        cell.add("column", number);
        if (hasValue) cell.add("value", value);
        if (hasStyle) addStyle(cell, style);
    }

    variant_bag_t& m_bag;
    int m_rowsToGo;  // below 0: no limit
    bool m_rowsLeftOut = false;
    std::vector<sptr_t<IColumnInfo>> m_columns;
};

class TableTreeHelper : public ITableTreeHelper {
public:
    explicit TableTreeHelper(sptr_t<ITableTree> tree) : m_tree(std::move(tree)) {}

    error_code_t write(variant_bag_t& bag, int rowLimit) override {
        if (m_tree.is_null())
            return error_code_t::raise(basekit2::error::IsNot.Valid.Argument, "tree", __FILE__,
                                       __LINE__);
        return TableWriter(bag, rowLimit).write(m_tree);
    }

private:
    const sptr_t<ITableTree> m_tree;
};

}  // namespace

sptr_t<ITableTreeHelper> createTableTreeHelper(const sptr_t<ITableTree>& tree) {
    return basekit2::make_object<TableTreeHelper>(tree);
}

}  // namespace facekit_1_x
