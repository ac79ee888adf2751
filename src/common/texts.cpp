// User-visible texts, looked up in the catalogs that the host provides. Tested by
// tests/provider/services_test.cpp.

#include "texts.h"

#include <platkit_2_18/i18n.h>
#include <settingstore2/message_catalogs.h>

namespace lanefeed_1 {

std::string getString(const std::string& key) {
    const auto source = settingstore2::getMessageCatalogSource();
    if (source.is_null()) return key;
    // The first catalog that knows the key decides.
    for (const char* name : {"slicer2", "viewpoint", "storelink1"}) {
        const auto catalog = source->getCatalog(name);
        if (catalog.is_null() || !catalog->has_message(key)) continue;
        return catalog->message(key).as_ustring(platkit_2_18::generic::varg_list());
    }
    return key;
}

}  // namespace lanefeed_1
