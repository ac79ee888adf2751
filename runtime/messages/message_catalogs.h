#pragma once

#include <settingstore2/message_catalogs.h>

#include <string>
#include <string_view>
#include <vector>

namespace lanefeed_runtime {

// The shipped catalogs: "slicer2" with the display names of queries, "viewpoint" with the captions
// of areas and rows, "storelink1" with texts for values that the store makes up.
basekit2::sptr_t<settingstore2::IMessageCatalogSource> shippedCatalogs();

// Catalogs out of documents, each a "messageCatalog" element with a "name" and children
// <message key="...">text</message>. A broken document is left out and told in `errors`.
basekit2::sptr_t<settingstore2::IMessageCatalogSource> readCatalogs(
    const std::vector<std::string_view>& documents, std::vector<std::string>& errors);

// Puts the shipped catalogs in force unless the host has a source of its own. From any thread.
void installShippedCatalogs();

}  // namespace lanefeed_runtime
