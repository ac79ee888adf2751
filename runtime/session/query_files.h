#pragma once

#include "open_result.h"
#include "queries/query_definitions.h"
#include "queries/query_listing.h"

#include <dataface_1/query_library.h>

#include <string>
#include <vector>

namespace lanefeed_runtime {

// The shipped definitions and those of the files behind them. False when a file can't be read;
// `outcome` then says which one and why.
bool readDefinitionFiles(const std::vector<std::string>& files,
                         std::vector<DefinitionText>& documents,
                         OpenOutcome& outcome);

// Turns errors of definitions into an outcome that is not opened; none leave it as it is.
void takeErrors(std::vector<std::string> errors, OpenOutcome& outcome);

// The queries that a result opened with these options would know. None when a file can't be read or
// has errors; `outcome` is then filled in as by openResult. Their names are looked up with the
// message catalogs, which come into force as they do when a result is opened.
std::vector<QueryListing> listQueries(const OpenOptions& options, OpenOutcome& outcome);

// The library of the same queries without a result. Null on failure, as there.
basekit2::sptr_t<dataface_1::IQueryLibrary> openLibrary(const OpenOptions& options,
                                                        OpenOutcome& outcome);

}  // namespace lanefeed_runtime
