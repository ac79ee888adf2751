#pragma once

#include <basekit2/object.h>
#include <dataface_1/table_tree.h>

#include <string>
#include <vector>

namespace lanefeed_tool {

// One series of a row, read out of an over-time table.
struct Series {
    std::string name;                // parts joined with ":", or the name of what the layer draws
    std::vector<std::string> parts;  // expansion values, outermost first
    std::vector<double> values;      // one per bucket; NaN: no data
};

// Name of the series that a column holds: the values that it is expanded by, or its query's name.
std::string seriesName(const basekit2::sptr_t<dataface_1::IColumnInfo>& column);

// Whether a column stands for series that the data break down, and there are none.
bool isPlaceholder(const basekit2::sptr_t<dataface_1::IColumnInfo>& column);

// Series of one row, in the order of the table's columns; of those of an expansion, the ones that
// have data. `bins`: buckets that were asked for. With keepZeros a cell of 0 is a value, else it
// stands for a bucket without data. A null table has no series.
std::vector<Series> readSeries(const basekit2::sptr_t<dataface_1::ITableTree>& table,
                               int bins,
                               bool keepZeros);

}  // namespace lanefeed_tool
