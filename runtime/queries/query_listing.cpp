// Definitions as a list to choose from. They are built like those of a library, so that only what
// can be used is listed. Tested by tests/queries/query_definitions_test.cpp.
#include "query_listing.h"

#include "definition_linker.h"
#include "query_objects.h"
#include "value_styles.h"

#include <algorithm>
#include <map>
#include <set>

namespace lanefeed_runtime {
namespace {

// Members may be shared over many levels; each is looked at once.
void addTables(const QueryTraits& traits,
               std::set<const QueryTraits*>& seen,
               std::vector<std::string>& tables) {
    if (!seen.insert(&traits).second) return;
    const bool known =
        std::find(tables.begin(), tables.end(), traits.instanceTable) != tables.end();
    if (!traits.instanceTable.empty() && !known) tables.push_back(traits.instanceTable);
    for (const auto& member : traits.members)
        if (const QueryTraits* inner = traitsOf(member)) addTables(*inner, seen, tables);
}

QueryListing listingOf(const Definition& definition, const QueryTraits& traits) {
    QueryListing listing;
    listing.id = definition.id;
    listing.kind = elementName(traits.kind);
    std::vector<std::string> tables;
    std::set<const QueryTraits*> seen;
    addTables(traits, seen, tables);
    for (const std::string& table : tables)
        listing.table += (listing.table.empty() ? "" : ", ") + table;
    listing.path = traits.attributeTable;
    if (!traits.attributeName.empty()) listing.path += "." + traits.attributeName;
    listing.name = traits.name;
    listing.help = traits.help;
    listing.place = definition.place;
    return listing;
}

}  // namespace

std::vector<QueryListing> listQueries(const std::vector<DefinitionText>& documents,
                                      std::vector<std::string>& errors) {
    Definitions all;
    for (const DefinitionText& document : documents)
        readDefinitions(document, all, errors);
    const std::vector<Definition>& definitions = all.queries;
    std::map<std::string, const Definition*> inForce;
    for (const Definition& definition : definitions)
        inForce[definition.id] = &definition;
    const QueriesById queries = linkDefinitions(definitions, nullptr, errors);
    readValueStyles(all.valueStyles, queries, errors);  // for its errors
    std::vector<QueryListing> listings;
    for (const Definition& definition : definitions) {
        const auto query = queries.find(definition.id);
        if (query == queries.end() || inForce[definition.id] != &definition) continue;
        if (const QueryTraits* traits = traitsOf(query->second))
            listings.push_back(listingOf(definition, *traits));
    }
    return listings;
}

}  // namespace lanefeed_runtime
