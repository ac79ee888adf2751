// Tables as aligned text. Everything is asked through the table interfaces alone.
#include "table_text.h"

#include <dataface_1/query_kinds.h>

#include <algorithm>

namespace lanefeed_test {
namespace {

using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::cell_contents_t;
using dataface_1::IColumnInfo;
using dataface_1::ITableRow;
using dataface_1::ITableTree;

using Columns = std::vector<sptr_t<IColumnInfo>>;
using Line = std::vector<std::string>;

std::string cellText(ITableRow& row, const sptr_t<IColumnInfo>& column, cell_contents_t contents) {
    variant_t value;
    if (!row.getContent(column, contents, value)) return "-";
    if (value.is_null()) return "null";
    if (value.get_type() == basekit2::vtObject) return "object";
    variant_t text;
    basekit2::print_variant(value, text, true);
    const std::string printed = text.get<std::string>();
    return printed.empty() ? "''" : printed;
}

std::string ownName(IColumnInfo& column) {
    sptr_t<dataface_1::IQuery> query = column.getQuery();
    const auto list = dataface_1::IVectorQuery::cast(query);
    if (!list.is_null()) query = list->getDefaultQuery();
    return query.is_null() ? "?" : query->getName();
}

std::string fullName(const sptr_t<IColumnInfo>& column) {
    const sptr_t<IColumnInfo> parent = column->getParent();
    const std::string name = ownName(*column);
    return parent.is_null() ? name : fullName(parent) + "." + name;
}

template <class Node>
void appendNodes(const generic_iterator_t<sptr_t<Node>>& nodes, std::vector<sptr_t<Node>>& out) {
    for (; !nodes.at_end(); nodes.next()) {
        out.push_back(nodes.current());
        generic_iterator_t<sptr_t<Node>> children;
        nodes.current()->getChildren(children, nullptr, false);
        appendNodes(children, out);
    }
}

std::string aligned(const std::vector<Line>& lines) {
    std::vector<std::size_t> widths(lines.front().size());
    for (const Line& line : lines)
        for (std::size_t i = 0; i < line.size(); ++i)
            widths[i] = std::max(widths[i], line[i].size());
    std::string text;
    for (const Line& line : lines) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            text += line[i];
            text.append(widths[i] - line[i].size() + 2, ' ');
        }
        text.erase(text.find_last_not_of(' ') + 1);
        text += '\n';
    }
    return text;
}

}  // namespace

Columns allColumns(const sptr_t<ITableTree>& tree) {
    Columns columns;
    appendNodes(tree->getColumns(nullptr), columns);
    return columns;
}

sptr_t<IColumnInfo> columnNamed(const sptr_t<ITableTree>& tree, const std::string& name) {
    for (const sptr_t<IColumnInfo>& column : allColumns(tree))
        if (fullName(column) == name || ownName(*column) == name) return column;
    return nullptr;
}

std::vector<sptr_t<ITableRow>> allRows(const sptr_t<ITableTree>& tree) {
    std::vector<sptr_t<ITableRow>> rows;
    appendNodes(tree->getRows(nullptr), rows);
    return rows;
}

std::string tableText(const sptr_t<ITableTree>& tree, const TableTextOptions& options) {
    if (tree.is_null()) return "no table\n";
    auto columns = options.columns.empty() ? allColumns(tree) : Columns();
    for (const std::string& name : options.columns)
        if (const auto column = columnNamed(tree, name)) columns.push_back(column);
    std::vector<Line> lines(1);
    if (options.rowIds) lines[0].push_back("#");
    for (const sptr_t<IColumnInfo>& column : columns)
        lines[0].push_back(fullName(column));
    if (options.rowStyles) lines[0].push_back("style");
    for (const sptr_t<ITableRow>& row : allRows(tree)) {
        Line line;
        if (options.rowIds) line.push_back(cellText(*row, nullptr, dataface_1::ccId));
        for (const sptr_t<IColumnInfo>& column : columns)
            line.push_back(cellText(*row, column, dataface_1::ccValue));
        if (options.rowStyles) line.push_back(cellText(*row, nullptr, dataface_1::ccStyle));
        // Only the first cell is indented.
        for (auto above = row->getParent(); above && !line.empty(); above = above->getParent())
            line.front().insert(0, "  ");
        lines.push_back(line);
    }
    return aligned(lines);
}

std::string cellsText(const sptr_t<ITableTree>& tree, const TableTextOptions& options) {
    std::string text = tableText(tree, options);
    text.erase(0, text.find('\n') + 1);
    for (std::size_t at = 0; (at = text.find("  ", at)) != std::string::npos;)
        text.erase(at, 1);
    return text;
}

}  // namespace lanefeed_test
