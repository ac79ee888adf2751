#pragma once

#include "dicerdatasource.h"

#include <basekit2/variant_bag.h>
#include <dataface_1/query_kinds.h>
#include <dataface_1/query_library.h>
#include <relay2/messenger.h>

namespace lanefeed_1 {

// From an element of a viewpoint to a query, and from a query to a data source.

// What the library knows under an element; null without a library. Nothing is owned.
basekit2::sptr_t<dataface_1::IVectorQuery> resolveElement(dataface_1::IQueryLibrary* library,
                                                          const basekit2::variant_bag_t& element,
                                                          relay2::IMessenger* messenger);

// Sets path, table and attribute of a source to those of an attribute query, without a value.
void setSource(DicerDataSource& source, const dataface_1::IInfoQuery& query);

}  // namespace lanefeed_1
