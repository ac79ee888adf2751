// Small conversions of the table helpers: variants to text and colour, queries to text and to their
// sort defaults.
// Tested by tests/base/queries_test.cpp.
#include <facekit_1_x/conversions.h>
#include <facekit_1_x/query_definition.h>

namespace facekit_1_x {
namespace {

using basekit2::sptr_t;
using basekit2::variant_t;
using dataface_1::IQuery;

std::uint8_t byteOf(basekit2::u64_t packed, int place) {
    return static_cast<std::uint8_t>((packed >> (8 * place)) & 0xFFU);
}

variant_t attributeOf(const sptr_t<IQuery>& query, const char* name) {
    variant_t value;
    if (!query.is_null()) query->getAttribute(name, value);
    return value;
}

}  // namespace

std::string variantToString(const variant_t& value) {
    variant_t text;
    basekit2::print_variant(value, text, true);
    return text.get<std::string>();
}

bool unpackColor(const variant_t& value, dataface_1::color_t& color) {
    if (value.get_type() == basekit2::vtBool || !value.can_get<basekit2::u64_t>()) return false;
    const auto packed = value.get<basekit2::u64_t>();
    color.red = byteOf(packed, 0);
    color.green = byteOf(packed, 1);
    color.blue = byteOf(packed, 2);
    color.alpha = byteOf(packed, 3);
    return true;
}

std::string toXmlString(const sptr_t<IQuery>& query) {
    if (query.is_null()) return "";
    const sptr_t<IQueryDefinition> defined =
        basekit2::interface_cast<IQueryDefinition>(query.get());
    if (defined.is_null()) return query->getId();
    const basekit2::variant_bag_t definition = defined->getDefinition();
    std::string text;
    if (!is_success(save_variant_bag_to_string2(definition, text, definition.get_name())))
        return query->getId();
    return text;
}

void getSortFlags(const sptr_t<IQuery>& query, SortInfo& info) {
    if (query.is_null()) return;
    info.name = attributeOf(query, "sortName").get<std::string>();
    info.descending = attributeOf(query, "sortDescending").get<bool>();
}

dataface_1::cell_contents_t getSortValueType(const sptr_t<IQuery>& query) {
    return static_cast<dataface_1::cell_contents_t>(
        attributeOf(query, "sortValueType").get<basekit2::s32_t>());
}

}  // namespace facekit_1_x
