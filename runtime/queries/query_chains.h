#pragma once

#include "query_traits.h"

namespace lanefeed_runtime {

// Links of the chain that starts with a query, itself included. Stops counting at `limit`.
int chainLength(const basekit2::sptr_t<dataface_1::IQuery>& query, int limit);

// The chain of a query folded into one that has no chain of its own and everything else of the
// first link. A query without a chain needs no folding: null.
basekit2::sptr_t<dataface_1::IQuery> foldedChain(const QueryTraits& traits);

// A copy narrowed to the values, or without any restriction when there are none; all else, the
// chain included, stays.
basekit2::sptr_t<dataface_1::IQuery> narrowed(
    const QueryTraits& traits, const basekit2::generic_iterator_t<basekit2::variant_t>& values);

// Whether two queries stand for the same thing: the same object or the same id; without ids, the
// same kind, path and chain. A vector of one member counts as that member. On request restrictions
// and display names are compared too. False when one is null.
bool standForTheSame(const basekit2::sptr_t<dataface_1::IQuery>& a,
                     const basekit2::sptr_t<dataface_1::IQuery>& b,
                     bool compareRestrictions,
                     bool compareNames);

}  // namespace lanefeed_runtime
