#pragma once

#include <dataface_1/filters.h>
#include <dataface_1/query_kinds.h>

#include <string>
#include <vector>

namespace lanefeed_runtime {

// What a table of grid rows is made of.
struct GridContents {
    // A row, which stands behind all rows that begin before it: parents before their children.
    struct Row {
        int parent = -1;  // place of the row above, -1 at the top
        int level = 0;
        int id = -1;  // row id of what it stands for
        std::string name;
    };
    struct Column {
        basekit2::sptr_t<dataface_1::IQuery> query;
        bool hasTotals = false;      // a query that has none leaves its column empty
        bool isWhole = true;         // totals are integers
        std::vector<double> totals;  // by row; NaN where there is no data
    };

    std::vector<Row> rows;
    std::vector<Column> columns;
    basekit2::sptr_t<dataface_1::IQuery> nameQuery;  // of the column of names; may be null
    // By level: the query of its rows, and the one whose values are the ids of rows.
    std::vector<basekit2::sptr_t<dataface_1::IVectorQuery>> rowQueries;
    std::vector<basekit2::sptr_t<dataface_1::IInfoQuery>> idQueries;
    basekit2::sptr_t<dataface_1::IFilterRegistry> filters;  // makes the builders; may be null
};

}  // namespace lanefeed_runtime
