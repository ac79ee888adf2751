// Series out of over-time tables, cell by cell, as a timeline pane reads them; those without data
// in a table are told by its sums. Tested by tests/tool/series_facts_test.cpp.

#include "series.h"

#include <dataface_1/query_kinds.h>

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
using dataface_1::ITableTree;

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

sptr_t<IColumnInfo> firstChild(IColumnInfo& column) {
    generic_iterator_t<sptr_t<IColumnInfo>> children;
    if (column.getChildren(children, nullptr, false) == dataface_1::ITreeNode::ecsfError) return {};
    return children.at_end() ? sptr_t<IColumnInfo>() : children.current();
}

std::vector<std::string> partsOf(IColumnInfo& column) {
    std::vector<std::string> parts;
    for (auto child = firstChild(column); !child.is_null(); child = firstChild(*child))
        if (const auto value = expansionValue(*child)) parts.push_back(*value);
    return parts;
}

// A derived query breaks its series down as its inputs are; without data there are none of these,
// and its column stands alone.
bool isExpanded(const sptr_t<IColumnInfo>& column) {
    if (!firstChild(*column).is_null()) return true;
    const auto derived = dataface_1::IDerivedQuery::cast(columnQuery(*column));
    if (derived.is_null()) return false;
    for (auto input = derived->getQueries(1); !input.at_end(); input.next())
        if (!input.current()->getExpansionQuery().is_null()) return true;
    return false;
}

// Without values.
Series namedSeries(const sptr_t<IColumnInfo>& column) {
    Series series;
    series.parts = partsOf(*column);
    for (const std::string& part : series.parts)
        series.name += (series.name.empty() ? "" : ":") + part;
    const sptr_t<IQuery> query = columnQuery(*column);
    if (series.parts.empty() && !query.is_null())
        series.name = lanefeed_1::getString(query->getName());
    return series;
}

std::vector<double> noValues(int bins) {
    return std::vector<double>(static_cast<std::size_t>(bins),
                               std::numeric_limits<double>::quiet_NaN());
}

void setValue(std::vector<double>& values, int bucket, int bins, double value) {
    if (values.empty()) values = noValues(bins);
    values[static_cast<std::size_t>(bucket)] = value;
}

// Bucket of a row of the table; -1 when its time-bin cell can't be read.
int bucketOf(ITableRow& row, const sptr_t<IColumnInfo>& timeBin, int bins) {
    variant_t cell;
    if (timeBin.is_null() || !row.getContent(timeBin, dataface_1::ccValue, cell)) return -1;
    const int bucket = cell.get<basekit2::s32_t>();
    return bucket >= 0 && bucket < bins ? bucket : -1;
}

// A column of a series, with what was read from it.
struct SeriesColumn {
    sptr_t<IColumnInfo> column;
    bool isAsked = true;
    std::vector<double> values;  // empty: no data
};

// Of the series of an expansion few have data in one row, and a cell for each bucket of the others
// would be most of the reading: the sums over all buckets tell them apart. Only where 0 says that
// nothing is there, and of tables that offer sums.
void passOverEmpty(const sptr_t<ITableTree>& table, std::vector<SeriesColumn>& columns) {
    sptr_t<dataface_1::IReducibleTableTree> reducible;
    if (!basekit2::lookup_interface(table.get(), reducible)) return;
    const sptr_t<ITableRow> sums = reducible->reduce(table->getRows(nullptr), nullptr);
    if (sums.is_null()) return;
    for (SeriesColumn& series : columns) {
        variant_t sum;
        if (sums->getContent(series.column, dataface_1::ccValue, sum))
            series.isAsked = sum.get<double>() != 0;
    }
}

void readRow(ITableRow& row, int bucket, int bins, bool keepZeros, SeriesColumn& series) {
    variant_t cell;
    if (!row.getContent(series.column, dataface_1::ccValue, cell) || cell.is_null()) return;
    const double value = cell.get<double>();
    if (value != 0 || keepZeros) setValue(series.values, bucket, bins, value);
}

}  // namespace

std::string seriesName(const sptr_t<IColumnInfo>& column) {
    return namedSeries(column).name;
}

bool isPlaceholder(const sptr_t<IColumnInfo>& column) {
    return firstChild(*column).is_null() && isExpanded(column);
}

std::vector<Series> readSeries(const sptr_t<ITableTree>& table, int bins, bool keepZeros) {
    std::vector<Series> all;
    if (table.is_null()) return all;
    sptr_t<IColumnInfo> timeBin;
    std::vector<SeriesColumn> columns;
    for (auto it = table->getColumns(nullptr); !it.at_end(); it.next()) {
        const sptr_t<IColumnInfo> column = it.current();
        if (column->getType() == dataface_1::timeBinColumn)
            timeBin = column;
        else
            columns.push_back({column, true, {}});
    }
    if (!keepZeros) passOverEmpty(table, columns);
    for (auto it = table->getRows(nullptr); !it.at_end(); it.next()) {
        const sptr_t<ITableRow> row = it.current();
        const int bucket = bucketOf(*row, timeBin, bins);
        if (bucket < 0) continue;
        for (SeriesColumn& series : columns)
            if (series.isAsked) readRow(*row, bucket, bins, keepZeros, series);
    }
    // Every row has a column for each value that any row is expanded by; those that say nothing of
    // a row would be most of the answer. A series of its own stays, without data as well.
    for (SeriesColumn& series : columns) {
        const bool isEmpty = series.values.empty();
        if (isEmpty && isExpanded(series.column)) continue;
        all.push_back(namedSeries(series.column));
        all.back().values = isEmpty ? noValues(bins) : std::move(series.values);
    }
    return all;
}

}  // namespace lanefeed_tool
