// Values of the store as row ids and texts.
// Tested by tests/base/queries_test.cpp.
#include "alert.h"

#include <storelink1/records.h>
#include <storelink1/utils.h>

namespace storelink1::utils {

int variantToIndex(const basekit2::variant_t& value) {
    switch (value.get_type()) {
    case basekit2::vtS32:
    case basekit2::vtU32: return value.get<basekit2::s32_t>();
    case basekit2::vtS64:
    case basekit2::vtU64: return static_cast<int>(value.get<basekit2::s64_t>());
    case basekit2::vtNull: return Index::NoValue;
    default: break;
    }
    lanefeed_runtime::alert("Variant cannot be converted to db index - type mismatch", __FILE__,
                            __LINE__);
    return Index::NoValue;
}

std::string variantToString(const basekit2::variant_t& value) {
    basekit2::variant_t text;
    basekit2::print_variant(value, text, true);
    return text.get<std::string>();
}

}  // namespace storelink1::utils
