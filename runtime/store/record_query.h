#pragma once

#include "store/filter_registry.h"
#include "store/store_session.h"

#include <storelink1/query.h>

#include <memory>
#include <string>

namespace lanefeed_runtime {

// A query on a table; "dd_band::X" are the bands of the type X. Null for a table that the file
// doesn't hold. Filters are taken as they stand when they are added; useFilters adds "global".
basekit2::sptr_t<storelink1::IQuery> makeRecordQuery(
    const std::shared_ptr<StoreSession>& session,
    const basekit2::sptr_t<FilterRegistry>& filters,
    const std::string& table);

}  // namespace lanefeed_runtime
