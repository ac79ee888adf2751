#pragma once

#include "store/catalog.h"

#include <string>
#include <string_view>
#include <vector>

namespace lanefeed_runtime {

// Where a path leads, seen from a table: along columns that refer to other tables, to a column of
// the last one.
struct StorePath {
    static constexpr int kRowIdColumn = -1;

    int table = -1;         // where it starts
    std::vector<int> hops;  // columns to follow, the first one of `table`
    int lastTable = -1;     // where the column stands
    int column = kRowIdColumn;
    ValueKind kind = ValueKind::id;
    // The last table that the path names: the one that its column refers to, else lastTable.
    int leafTable = -1;
};

bool operator==(const StorePath& a, const StorePath& b);

// Finds the column that a text names on a query of `table`. Forms, tried in this order:
//   "X::a.b"     path a.b of X, where X is the table itself or is referred to by it or by its band
//   "T", "T.a.b" the table's own row id, and a path that begins with the table's name
//   "a"          own column, or "rowid"
//   "a.b"        path from an own column
// A component is a column or the name of a table that a column refers to ("dd_task" for "attr").
// References are those that the file declares, and nothing else. False for an unknown path.
bool resolvePath(const Catalog& catalog, int table, std::string_view text, StorePath& path);

}  // namespace lanefeed_runtime
