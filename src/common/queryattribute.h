#pragma once

#include "common/check.h"
#include "dicerdatasource.h"

#include <basekit2/variant.h>
#include <dataface_1/query.h>

#include <string>

namespace lanefeed_1 {

// Typed reads of the display attributes of queries. Queries are not owned; a null one has no
// attributes. Names stand in common/names.h.

// The value as it is, null when there is none.
basekit2::variant_t queryAttribute(const dataface_1::IQuery* query, const char* name);

// A text or a flag. An absent one is the fallback; one of another kind is reported for the caller
// ("can_get<const char*>()", "can_get<bool>()") and then empty or false.
std::string textAttribute(const dataface_1::IQuery* query,
                          const char* name,
                          const Place& place,
                          const std::string& fallback = {});
bool flagAttribute(const dataface_1::IQuery* query,
                   const char* name,
                   const Place& place,
                   bool fallback);

// Test of a kind; those of common/valuekind.h fit.
using ValueTest = bool (*)(const basekit2::variant_t&);

// The value of the vector query where it passes the test, else whatever the default query has. A
// null vector query is passed over; a null default query that is needed is reported for the caller
// under the text given.
basekit2::variant_t layeredAttribute(const DicerDataSource& source,
                                     const char* name,
                                     ValueTest fits,
                                     const Place& place,
                                     const char* noDefaultQuery);

}  // namespace lanefeed_1
