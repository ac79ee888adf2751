#pragma once

#include <string>

namespace lanefeed_runtime {

class FilterRegistry;
class QueryFilter;

// A query part for people: `thread = "main" and not (name = "idle" or name = "wait")`. Indexes are
// shown by the texts that they stand for, with a "#2" behind one that several bear. "everything"
// for a part that keeps everything.
std::string filterDescription(const FilterRegistry& filters, const QueryFilter& filter);

}  // namespace lanefeed_runtime
