#pragma once

#include <basekit2/object.h>
#include <dataface_1/table_tree.h>

#include <string>
#include <vector>

namespace lanefeed_test {

// A cell of an over-time table, as a number.
struct SeriesCell {
    std::string series;
    basekit2::u64_t bin;
    double value;
};

// The series of a column: the values that it and those around it are restricted to, parted by ":";
// without any the caption of its query.
std::string seriesOf(const basekit2::sptr_t<dataface_1::IColumnInfo>& column);

// Cells of the innermost columns, column by column; a null table has none. A cell that answers
// nothing is left out.
std::vector<SeriesCell> cellsOf(const basekit2::sptr_t<dataface_1::ITableTree>& table);

}  // namespace lanefeed_test
