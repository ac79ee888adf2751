#pragma once

#include "query_traits.h"

namespace lanefeed_runtime {

// A query of the kind that the traits tell.
basekit2::sptr_t<dataface_1::IQuery> makeQuery(QueryTraits traits);

// The traits of a query of this library; null for a null query or one of another library.
const QueryTraits* traitsOf(const basekit2::sptr_t<dataface_1::IQuery>& query);

// A query like this one whose chain goes on with `next`, which may be null. A query of another
// library is given back as it is.
basekit2::sptr_t<dataface_1::IQuery> withExpansion(
    const basekit2::sptr_t<dataface_1::IQuery>& query,
    const basekit2::sptr_t<dataface_1::IQuery>& next);

}  // namespace lanefeed_runtime
