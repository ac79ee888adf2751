#pragma once

#include "store/path_walk.h"
#include "store/store_session.h"

#include <storelink1/database.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace lanefeed_runtime {

// Values along a path by row id of its first table; index is the row id. Immutable once made.
struct AttributeColumn {
    std::vector<basekit2::variant_t> values;
    std::vector<bool> exists;
};

// Columns that are held in memory, by path. Under the lock of the session.
using AttributeCache = std::map<std::string, std::shared_ptr<const AttributeColumn>>;

// A retriever for "T", whose value is the row id itself, or "T.a.b" ("T::a.b"): the path a.b from a
// row of T. With a cache the column is read at once and kept there, for tables of attributes and
// bands; others are read row by row. Null for a table that is not known. The retriever may be asked
// from any thread.
basekit2::sptr_t<storelink1::IAttributeDataRetriever> makeAttributeRetriever(
    const std::shared_ptr<StoreSession>& session, const std::string& path, AttributeCache* cache);

// The column itself; null when the table or the path is not known or can't be read.
std::shared_ptr<const AttributeColumn> readAttributeColumn(StoreSession& session,
                                                           const StorePath& path);
std::shared_ptr<const AttributeColumn> readAttributeColumn(StoreSession& session,
                                                           const std::string& path);

}  // namespace lanefeed_runtime
