#pragma once

#include <basekit2/object.h>
#include <dataface_1/table_tree.h>

#include <string>
#include <vector>

namespace lanefeed_test {

// What tableText shows, besides the value of each cell.
struct TableTextOptions {
    bool rowIds = false;     // a first column "#" with what the row answers as its id
    bool rowStyles = false;  // a last column "style" with what the row answers as its style
    std::vector<std::string> columns;  // names of the columns to show, in order; none means all
};

// A table as lines of text, for EXPECT_EQ on a whole answer:
//
//   timeBin  busy  busy.read
//   0        12.5  -
//   3        100   7
//     4      -     1
//
// Columns are named by their queries' names (of a list, by that of the first in it), nested ones
// behind their parents' ("."); "?" for a column without a query. A cell that answers nothing is
// "-", a null "null", an empty text "''", an object "object". Nested rows are indented by two
// blanks per level. No blanks at the ends of lines.
std::string tableText(const basekit2::sptr_t<dataface_1::ITableTree>& tree,
                      const TableTextOptions& options = {});

// The same without names: cells parted by one blank, nested rows behind one.
std::string cellsText(const basekit2::sptr_t<dataface_1::ITableTree>& tree,
                      const TableTextOptions& options = {});

// All columns of a table, parents before their children.
std::vector<basekit2::sptr_t<dataface_1::IColumnInfo>> allColumns(
    const basekit2::sptr_t<dataface_1::ITableTree>& tree);
// The column whose query bears that name, the first of several; null when there is none.
basekit2::sptr_t<dataface_1::IColumnInfo> columnNamed(
    const basekit2::sptr_t<dataface_1::ITableTree>& tree, const std::string& name);
// All rows, parents before their children.
std::vector<basekit2::sptr_t<dataface_1::ITableRow>> allRows(
    const basekit2::sptr_t<dataface_1::ITableTree>& tree);

}  // namespace lanefeed_test
