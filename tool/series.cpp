// Series out of over-time tables, cell by cell, as a timeline pane reads them.

#include "series.h"

#include <dataface_1/query_kinds.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <optional>
#include <viewpointparser.h>

namespace lanefeed_tool {

namespace {

using basekit2::generic_iterator_t;
using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IColumnInfo;
using dataface_1::IInfoQuery;
using dataface_1::IQuery;
using dataface_1::ITableRow;

// A column carries its query alone or as the first of a vector.
sptr_t<IQuery> columnQuery(IColumnInfo& column) {
    const sptr_t<IQuery> query = column.getQuery();
    const auto vector = dataface_1::IVectorQuery::cast(query);
    return vector.is_null() ? query : vector->getDefaultQuery();
}

// The value that an expansion column is narrowed to.
std::optional<std::string> expansionValue(IColumnInfo& column) {
    const auto info = IInfoQuery::cast(columnQuery(column));
    if (info.is_null()) return std::nullopt;
    const generic_iterator_t<variant_t> values = info->getValues(0);
    if (values.at_end()) return std::nullopt;
    return values.current().get<std::string>();
}

void readParts(const sptr_t<IColumnInfo>& column, std::vector<std::string>& parts) {
    generic_iterator_t<sptr_t<IColumnInfo>> children;
    if (column->getChildren(children, nullptr, false) == dataface_1::ITreeNode::ecsfError) return;
    if (children.at_end()) return;
    const sptr_t<IColumnInfo> child = children.current();
    if (const auto value = expansionValue(*child)) parts.push_back(*value);
    readParts(child, parts);
}

// Without values, which come with the first cell that has one.
Series namedSeries(const sptr_t<IColumnInfo>& column) {
    Series series;
    readParts(column, series.parts);
    for (const std::string& part : series.parts)
        series.name += (series.name.empty() ? "" : ":") + part;
    const sptr_t<IQuery> query = columnQuery(*column);
    if (series.parts.empty() && !query.is_null())
        series.name = lanefeed_1::getString(query->getName());
    return series;
}

void setValue(Series& series, int bucket, int bins, double value) {
    if (series.values.empty())
        series.values.assign(static_cast<std::size_t>(bins),
                             std::numeric_limits<double>::quiet_NaN());
    series.values[static_cast<std::size_t>(bucket)] = value;
}

// Every row has a column for each value that any row is expanded by; those that say nothing of a
// row would be most of the answer. A series of its own stays, without data as well.
void dropEmpty(std::vector<Series>& all, int bins) {
    for (Series& series : all) {
        if (series.parts.empty() && series.values.empty())
            series.values.assign(static_cast<std::size_t>(bins),
                                 std::numeric_limits<double>::quiet_NaN());
    }
    all.erase(std::remove_if(all.begin(), all.end(),
                             [](const Series& series) { return series.values.empty(); }),
              all.end());
}

// Bucket of a row of the table; -1 when its time-bin cell can't be read.
int bucketOf(ITableRow& row, const sptr_t<IColumnInfo>& timeBin, int bins) {
    variant_t cell;
    if (timeBin.is_null() || !row.getContent(timeBin, dataface_1::ccValue, cell)) return -1;
    const int bucket = cell.get<basekit2::s32_t>();
    return bucket >= 0 && bucket < bins ? bucket : -1;
}

}  // namespace

std::string seriesName(const sptr_t<IColumnInfo>& column) {
    return namedSeries(column).name;
}

std::vector<Series> readSeries(const sptr_t<dataface_1::ITableTree>& table,
                               int bins,
                               bool keepZeros) {
    std::vector<Series> all;
    if (table.is_null()) return all;
    sptr_t<IColumnInfo> timeBin;
    std::vector<sptr_t<IColumnInfo>> columns;
    for (auto it = table->getColumns(nullptr); !it.at_end(); it.next()) {
        const sptr_t<IColumnInfo> column = it.current();
        if (column->getType() == dataface_1::timeBinColumn) {
            timeBin = column;
        } else {
            columns.push_back(column);
            all.push_back(namedSeries(column));
        }
    }
    for (auto it = table->getRows(nullptr); !it.at_end(); it.next()) {
        const sptr_t<ITableRow> row = it.current();
        const int bucket = bucketOf(*row, timeBin, bins);
        if (bucket < 0) continue;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            variant_t cell;
            if (!row->getContent(columns[i], dataface_1::ccValue, cell) || cell.is_null()) continue;
            const double value = cell.get<double>();
            if (value != 0 || keepZeros) setValue(all[i], bucket, bins, value);
        }
    }
    dropEmpty(all, bins);
    return all;
}

}  // namespace lanefeed_tool
