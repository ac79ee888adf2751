#pragma once

#include <dataface_1/query_kinds.h>

#include <vector>

namespace lanefeed_runtime {

// A list of queries without an id, a name or attributes; unlike those of pushBack it may be empty.
basekit2::sptr_t<dataface_1::IVectorQuery> makeVectorQuery(
    std::vector<basekit2::sptr_t<dataface_1::IQuery>> members);

}  // namespace lanefeed_runtime
