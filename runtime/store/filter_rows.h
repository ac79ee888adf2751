#pragma once

#include "store/filter_sql.h"
#include "store/filter_tree.h"

namespace lanefeed_runtime {

// What a filter asks of the rows of a table, by its position in the catalog of the session: ids and
// values of the columns of its own, what stands in other tables having been looked up. Takes the
// lock of the session.
FilterNode keptRows(StoreSession& session, int table, const NamedFilter& filter, TimeTest time);
// Whether that is anything at all, without looking up rows.
bool asksOfRows(StoreSession& session, int table, const NamedFilter& filter);

// Ids of the rows of a table for which a node holds, in order; false when the read breaks off,
// which is logged. Under the lock of the session.
bool rowsWhere(StoreSession& session,
               int table,
               const FilterNode& node,
               std::vector<basekit2::s64_t>& ids);

}  // namespace lanefeed_runtime
