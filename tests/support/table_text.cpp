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

int levelOf(const sptr_t<ITableRow>& row) {
    int level = 0;
    for (sptr_t<ITableRow> above = row->getParent(); !above.is_null(); above = above->getParent())
        ++level;
    return level;
}

std::vector<sptr_t<IColumnInfo>> shownColumns(const sptr_t<ITableTree>& tree,
                                              const std::vector<std::string>& names) {
    const std::vector<sptr_t<IColumnInfo>> columns = allColumns(tree);
    if (names.empty()) return columns;
    std::vector<sptr_t<IColumnInfo>> shown;
    for (const std::string& name : names) {
        const auto found =
            std::find_if(columns.begin(), columns.end(), [&](const sptr_t<IColumnInfo>& column) {
                return fullName(column) == name || ownName(*column) == name;
            });
        if (found != columns.end()) shown.push_back(*found);
    }
    return shown;
}

// Only the first cell is indented.
Line rowLine(const sptr_t<ITableRow>& row,
             const std::vector<sptr_t<IColumnInfo>>& columns,
             const TableTextOptions& options) {
    Line line;
    if (options.rowIds) line.push_back(cellText(*row, nullptr, dataface_1::ccId));
    for (const sptr_t<IColumnInfo>& column : columns)
        line.push_back(cellText(*row, column, dataface_1::ccValue));
    if (options.rowStyles) line.push_back(cellText(*row, nullptr, dataface_1::ccStyle));
    if (!line.empty()) line.front().insert(0, 2 * static_cast<std::size_t>(levelOf(row)), ' ');
    return line;
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

std::vector<sptr_t<IColumnInfo>> allColumns(const sptr_t<ITableTree>& tree) {
    std::vector<sptr_t<IColumnInfo>> columns;
    appendNodes(tree->getColumns(nullptr), columns);
    return columns;
}

sptr_t<IColumnInfo> columnNamed(const sptr_t<ITableTree>& tree, const std::string& name) {
    const std::vector<sptr_t<IColumnInfo>> found = shownColumns(tree, {name});
    return found.empty() ? nullptr : found.front();
}

std::vector<sptr_t<ITableRow>> allRows(const sptr_t<ITableTree>& tree) {
    std::vector<sptr_t<ITableRow>> rows;
    appendNodes(tree->getRows(nullptr), rows);
    return rows;
}

std::string tableText(const sptr_t<ITableTree>& tree, const TableTextOptions& options) {
    if (tree.is_null()) return "no table\n";
    const std::vector<sptr_t<IColumnInfo>> columns = shownColumns(tree, options.columns);
    Line head;
    if (options.rowIds) head.push_back("#");
    for (const sptr_t<IColumnInfo>& column : columns)
        head.push_back(fullName(column));
    if (options.rowStyles) head.push_back("style");
    std::vector<Line> lines{head};
    for (const sptr_t<ITableRow>& row : allRows(tree))
        lines.push_back(rowLine(row, columns, options));
    return aligned(lines);
}

}  // namespace lanefeed_test
