#pragma once

#include "query_definitions.h"

#include <string>
#include <vector>

namespace lanefeed_runtime {

// What a definition is, for people who look for one.
struct QueryListing {
    std::string id;
    std::string kind;   // its element, such as "infoQuery"
    std::string table;  // that it reads; of members, all of theirs, joined with ", "
    std::string path;   // from the table to the value; empty when the table says it all
    std::string name;   // key of the display name
    std::string help;   // one line; empty when the definition has none
    std::string place;  // "file:line"
};

// The queries that a library of these documents has, in their order; of two definitions with one id
// the later one. Errors as in loadQueryLibrary, which leave out what they concern.
std::vector<QueryListing> listQueries(const std::vector<DefinitionText>& documents,
                                      std::vector<std::string>& errors);

}  // namespace lanefeed_runtime
