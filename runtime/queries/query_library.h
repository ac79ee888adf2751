#pragma once

#include "query_definitions.h"
#include "query_traits.h"
#include "value_styles.h"

#include <dataface_1/query_library.h>

#include <string>
#include <vector>

namespace lanefeed_runtime {

// The definitions that come with the runtime.
std::vector<DefinitionText> shippedDefinitions();

// A library of the definitions in these documents; one of a later document takes the place of one
// with the same id in an earlier document. Every definition is built here, so that all errors are
// told at once, one line each with file, line and id; a definition with an error is left out, and
// so is one that refers to it. The library is immutable and may be asked from any thread.
// hasColumn: asked by queries of the library whether the open result has a column; may be empty.
// styles: takes what the documents say of the styles of values; may be null.
basekit2::sptr_t<dataface_1::IQueryLibrary> loadQueryLibrary(
    const std::vector<DefinitionText>& documents,
    const ColumnTest& hasColumn,
    std::vector<std::string>& errors,
    ValueStyles* styles = nullptr);

}  // namespace lanefeed_runtime
