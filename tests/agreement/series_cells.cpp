// Everything is asked through the table interfaces alone.
#include "agreement/series_cells.h"

#include "support/table_text.h"
#include "texts.h"

#include <dataface_1/query_kinds.h>

namespace lanefeed_test {

using basekit2::sptr_t;
using dataface_1::IColumnInfo;

namespace {

std::string valuesOf(const sptr_t<IColumnInfo>& column) {
    if (column.is_null()) return "";
    const auto vector = dataface_1::IVectorQuery::cast(column->getQuery());
    const auto info = dataface_1::IInfoQuery::cast(vector->getDefaultQuery());
    const std::string outer = valuesOf(column->getParent());
    if (info.is_null() || info->getValues(1).at_end()) return outer;
    return outer + (outer.empty() ? "" : ":") + info->getValues(1).current().get<std::string>();
}

}  // namespace

std::string seriesOf(const sptr_t<IColumnInfo>& column) {
    const std::string values = valuesOf(column);
    if (!values.empty()) return values;
    const auto vector = dataface_1::IVectorQuery::cast(column->getQuery());
    return lanefeed_1::getString(vector->getDefaultQuery()->getName());
}

std::vector<SeriesCell> cellsOf(const sptr_t<dataface_1::ITableTree>& table) {
    std::vector<SeriesCell> cells;
    if (table.is_null()) return cells;
    const auto columns = allColumns(table);
    const auto rows = allRows(table);
    for (const sptr_t<IColumnInfo>& column : columns) {
        basekit2::generic_iterator_t<sptr_t<IColumnInfo>> below;
        column->getChildren(below, nullptr, false);
        if (column == columns.front() || !below.at_end()) continue;
        for (const auto& row : rows) {
            basekit2::variant_t bin;
            basekit2::variant_t value;
            if (!row->getContent(columns.front(), dataface_1::ccValue, bin)) continue;
            if (row->getContent(column, dataface_1::ccValue, value))
                cells.push_back(
                    {seriesOf(column), bin.get<basekit2::u64_t>(), value.get<double>()});
        }
    }
    return cells;
}

}  // namespace lanefeed_test
