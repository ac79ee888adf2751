#pragma once

#include <basekit2/object.h>
#include <dataface_1/filters.h>
#include <dataface_1/query_kinds.h>

#include <string>
#include <vector>

namespace lanefeed_1 {

// A filter that keeps the values of a query, or all but them when the first value begins with "!";
// the mark is cut off, and on a later value it says nothing. Null, reported, for no values or an
// empty one. The builder is a fresh one.
basekit2::sptr_t<dataface_1::IQueryFilter> valueFilter(
    const std::vector<std::string>& values,
    const basekit2::sptr_t<dataface_1::IInfoQuery>& query,
    dataface_1::IQueryFilterBuilder& builder);

}  // namespace lanefeed_1
