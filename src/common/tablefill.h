#pragma once

#include <basekit2/object.h>
#include <basekit2/variant.h>
#include <dataface_1/table_tree.h>
#include <facekit_1_x/table_building.h>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <vector>

namespace lanefeed_1 {

class BaseProviderImpl;

// Builds an answer table whose columns are named by generated queries.
class TableFill {
public:
    using Row = basekit2::sptr_t<facekit_1_x::IWriteableTableRow>;
    struct Column {
        std::string name;       // a column constant of IDicerProvider
        std::string valueType;  // "tsc" for ticks, else empty
    };

    // Columns in their order, each of the plain kind. The provider is needed here only.
    TableFill(BaseProviderImpl& provider, std::initializer_list<Column> columns);

    // Appends a row with a cell for each column, at the top or below a row of this table.
    Row addRow(std::initializer_list<basekit2::variant_t> cells, const Row& parent = nullptr);
    // Writes one cell anew; columns count from 0.
    void setCell(facekit_1_x::IWriteableTableRow& row,
                 std::size_t column,
                 const basekit2::variant_t& value) const;
    basekit2::sptr_t<dataface_1::ITableTree> table() const { return m_table; }

private:
    basekit2::sptr_t<facekit_1_x::IDPIHelperTableTree> m_table;
    basekit2::sptr_t<dataface_1::IQuery> m_rowQuery;  // that of the first column
    std::vector<basekit2::sptr_t<dataface_1::IColumnInfo>> m_columns;
};

}  // namespace lanefeed_1
