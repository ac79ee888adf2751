// Answer tables by a list of columns and rows of cells. Tested by
// tests/provider/timefilters_test.cpp and tests/provider/intervals_test.cpp.

#include "common/tablefill.h"

#include "baseproviderimpl.h"

namespace lanefeed_1 {

TableFill::TableFill(BaseProviderImpl& provider, std::initializer_list<Column> columns)
    : m_table(facekit_1_x::createTableTree()) {
    for (const Column& wanted : columns) {
        const auto query = provider.createNameQuery(wanted.name, wanted.valueType);
        if (m_columns.empty()) m_rowQuery = query;
        const auto column = facekit_1_x::createColumn(facekit_1_x::columnPlain, query, m_table);
        m_table->addColumn(column, nullptr, 0);
        m_columns.emplace_back(column);
    }
}

TableFill::Row TableFill::addRow(std::initializer_list<basekit2::variant_t> cells,
                                 const Row& parent) {
    Row row = facekit_1_x::createVectorRow(m_rowQuery, m_table);
    auto column = m_columns.begin();
    for (const basekit2::variant_t& cell : cells)
        row->setContent(*column++, dataface_1::ccValue, cell);
    m_table->addRow(row, parent);
    return row;
}

void TableFill::setCell(facekit_1_x::IWriteableTableRow& row,
                        std::size_t column,
                        const basekit2::variant_t& value) const {
    row.setContent(m_columns[column], dataface_1::ccValue, value);
}

}  // namespace lanefeed_1
