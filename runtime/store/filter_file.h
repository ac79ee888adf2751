#pragma once

#include "store/filter_parts.h"
#include "store/store_error.h"

#include <map>
#include <string>

namespace lanefeed_runtime {

struct ResultFacts;
struct StoreSession;

// Filters by name.
using FilterMap = std::map<std::string, NamedFilter>;

// Whether a filter of that name is kept in the file. Names that a program makes for one of its
// objects are not: they end in "_" and the address of the object in decimal, or stand for one
// request ("restrictions_filter_...").
bool isKeptInFile(const std::string& name);

// Reads the filters that the file of a session holds; none where it holds no such table. What can't
// be understood is an error (notUnderstood, cannotRead), and no filter is given then.
StoreError readFilters(StoreSession& session, FilterMap& filters);

// Puts filters in the place of those in the file, in one transaction: on failure the old ones stay.
// `isReadOnly` tells a file or folder that can't be written to from other failures. `facts` are
// those of the open result; a file that is another one by now is not touched.
StoreError writeFilters(const ResultFacts& facts, const FilterMap& filters, bool& isReadOnly);

}  // namespace lanefeed_runtime
