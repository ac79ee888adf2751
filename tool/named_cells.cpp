// Tables of bars and lines, cell by cell, as a timeline pane reads them. Tested by
// tests/tool/layer_verbs_test.cpp.

#include "named_cells.h"

#include <storelink1/utils.h>

#include <utility>

namespace lanefeed_tool {

using basekit2::variant_t;
using dataface_1::ITableRow;

NamedCells::NamedCells(const basekit2::sptr_t<dataface_1::ITableTree>& table) {
    for (auto column = table->getColumns(nullptr); !column.at_end(); column.next()) {
        const auto query = column.current()->getQuery();
        if (!query.is_null()) m_columns.emplace(query->getName(), column.current());
    }
}

bool NamedCells::read(ITableRow& row, const std::string& column, variant_t& value) const {
    const auto found = m_columns.find(column);
    return found != m_columns.end() && row.getContent(found->second, dataface_1::ccValue, value) &&
           !value.is_null();
}

std::uint64_t NamedCells::tick(ITableRow& row, const std::string& column) const {
    variant_t value;
    return read(row, column, value) ? value.get<basekit2::u64_t>() : 0;
}

std::int64_t NamedCells::number(ITableRow& row,
                                const std::string& column,
                                std::int64_t missing) const {
    variant_t value;
    return read(row, column, value) ? value.get<basekit2::s64_t>() : missing;
}

std::string NamedCells::text(ITableRow& row, const std::string& column) const {
    variant_t value;
    return read(row, column, value) ? storelink1::utils::variantToString(value) : std::string();
}

const std::string& AttributeNames::of(int attr) {
    const auto known = m_names.find(attr);
    if (known != m_names.end()) return known->second;
    const variant_t value = m_provider.getAttributeValue(&m_source, attr);
    return m_names.emplace(attr, storelink1::utils::variantToString(value)).first->second;
}

void AttributeNames::readFor(const basekit2::sptr_t<dataface_1::ITableTree>& table) {
    if (!table.is_null()) readFor(NamedCells(table), table->getRows(nullptr));
}

void AttributeNames::readFor(const NamedCells& cells, Rows rows) {
    for (; !rows.at_end(); rows.next()) {
        const auto row = rows.current();
        of(static_cast<int>(cells.number(*row, lanefeed_1::IDicerProvider::dbAttrIdx, -1)));
        Rows children;
        if (row->getChildren(children, nullptr, false) == dataface_1::ITreeNode::ecsfSuccess)
            readFor(cells, std::move(children));
    }
}

}  // namespace lanefeed_tool
