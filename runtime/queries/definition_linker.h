#pragma once

#include "query_builder.h"
#include "query_definitions.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace lanefeed_runtime {

using QueriesById = std::map<std::string, basekit2::sptr_t<dataface_1::IQuery>>;

// Builds definitions that refer to each other, each after those it refers to. Refused, with an
// error each: definitions that meet themselves along their references, chains that are too long,
// references to what does not exist, and whatever else a definition has wrong in itself. Of two
// definitions with one id the later one counts.
QueriesById linkDefinitions(const std::vector<Definition>& definitions,
                            const std::shared_ptr<const ColumnTest>& hasColumn,
                            std::vector<std::string>& errors);

}  // namespace lanefeed_runtime
