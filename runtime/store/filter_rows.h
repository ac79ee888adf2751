#pragma once

#include "store/filter_sql.h"
#include "store/filter_tree.h"

namespace lanefeed_runtime {

// What a filter asks of the rows of a table, by its position in the catalog of the session. Under
// the lock of the session.
FilterNode keptRows(StoreSession& session, int table, const NamedFilter& filter, TimeTest time);

}  // namespace lanefeed_runtime
