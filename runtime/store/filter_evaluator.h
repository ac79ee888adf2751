#pragma once

#include "store/filter_parts.h"

#include <storelink1/filters.h>

#include <memory>
#include <string>
#include <vector>

namespace lanefeed_runtime {

struct StoreSession;

// An evaluator of a filter over ids along paths of an instance table. It says of a series what the
// filter says of each of its instances; so there is one only when the paths tell all that the
// filter asks. noResult for a filter that leaves the table alone, has a time part, or asks for
// something that no path leads to. Also for one that asks for more than the band: what it leaves of
// a band takes over the time of what goes, which series that were summed before don't tell.
basekit2::error_code_t makeFilterEvaluator(const std::shared_ptr<StoreSession>& session,
                                           const NamedFilter& filter,
                                           const std::vector<std::string>& paths,
                                           const std::string& instanceTable,
                                           basekit2::sptr_t<storelink1::IFilterEvaluator>& out);

}  // namespace lanefeed_runtime
