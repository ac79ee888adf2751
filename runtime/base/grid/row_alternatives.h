#pragma once

#include <basekit2/error_code.h>
#include <dataface_1/query_kinds.h>
#include <storelink1/database.h>

#include <string>
#include <vector>

namespace lanefeed_runtime {

// One way to the rows of a grouping: a query for each level, from the outermost. A grouping may
// have several, which start at different tables of instances and lead to the same rows.
struct RowAlternative {
    std::vector<basekit2::sptr_t<dataface_1::IInfoQuery>> levels;

    std::string table() const { return levels.front()->getInstanceTable(); }
};
using RowAlternatives = std::vector<RowAlternative>;

// Those of a grouping and of the lists in it, in order; members of other kinds are passed over.
RowAlternatives alternativesOf(const dataface_1::IVectorQuery& grouping);

// An error unless all of them have as many levels as the first and lead to the same tables. Without
// a database the tables are not looked at.
basekit2::error_code_t checkAlternatives(const RowAlternatives& alternatives,
                                         storelink1::IDatabase* database);

// The table that a query looks at: that of the first one, for a list or a derived query. Empty for
// other kinds and null.
std::string instanceTableOf(const basekit2::sptr_t<dataface_1::IQuery>& query);

// The alternative for instances of a table: one that starts there, else one that starts at the
// bands, on which all instances lie. Null when there is neither.
const RowAlternative* alternativeFor(const RowAlternatives& alternatives, const std::string& table);
// The one that tells which rows there are: on bands if possible, else the first. There must be one.
const RowAlternative& listingAlternative(const RowAlternatives& alternatives);

// The table that a row query leads to; empty when the database does not know it.
std::string leafTableOf(const dataface_1::IInfoQuery& query, storelink1::IDatabase& database);

}  // namespace lanefeed_runtime
