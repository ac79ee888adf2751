// Display attributes of a query, typed by their name.
// The readers test the type of a value and take one of another type for absent, so a "true" that
// stayed text would switch nothing on without a word; here it becomes a bool or is refused.
// Tested by tests/queries/query_definitions_test.cpp.
#include "display_attributes.h"

#include <platkit_2_18/convert.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace lanefeed_runtime {
namespace {

using basekit2::variant_t;

enum class ValueType { flag, number, text };

struct KnownAttribute {
    std::string_view name;
    ValueType type;
};

constexpr std::array<KnownAttribute, 22> kKnown = {{{"allowCollapse", ValueType::flag},
                                                    {"hideZeroDataOnExpansion", ValueType::flag},
                                                    {"lifetimeEnd", ValueType::flag},
                                                    {"lifetimeStart", ValueType::flag},
                                                    {"sortDescending", ValueType::flag},
                                                    {"timelineMergeDataMode", ValueType::flag},
                                                    {"markerSize", ValueType::number},
                                                    {"sortValueType", ValueType::number},
                                                    {"marker", ValueType::text},
                                                    {"minimumResolutionms", ValueType::text},
                                                    {"sortName", ValueType::text},
                                                    {"timeScalems", ValueType::text},
                                                    {"timelineBinMult", ValueType::text},
                                                    {"timelineDecimationColor", ValueType::text},
                                                    {"timelineFilterColor", ValueType::text},
                                                    {"timelineFormat", ValueType::text},
                                                    {"timelineGraphColor", ValueType::text},
                                                    {"timelineIconType", ValueType::text},
                                                    {"timelineObjectType", ValueType::text},
                                                    {"timelinePenStyle", ValueType::text},
                                                    {"timelinePenWidth", ValueType::text},
                                                    {"timelineRequiredFilter", ValueType::text}}};

const char* describe(ValueType type) {
    if (type == ValueType::flag) return "true or false";
    return type == ValueType::number ? "a whole number" : "text";
}

std::string printed(const variant_t& value) {
    variant_t text;
    basekit2::print_variant(value, text, false);
    return text.get<std::string>();
}

// Only a bool and its two words are flags: a number in a flag is a slip of the pen.
bool toFlag(const variant_t& value, variant_t& out) {
    if (value.get_type() == basekit2::vtBool) {
        out = value;
        return true;
    }
    const std::string text = printed(value);
    if (text != "true" && text != "false") return false;
    out = variant_t(text == "true");
    return true;
}

bool toNumber(const variant_t& value, variant_t& out) {
    int number = 0;
    if (!platkit_2_18::generic::convert::str_to_int(printed(value), number, 10)) return false;
    out = variant_t(number);
    return true;
}

bool toType(ValueType type, const variant_t& value, variant_t& out) {
    if (type == ValueType::flag) return toFlag(value, out);
    if (type == ValueType::number) return toNumber(value, out);
    out = variant_t(printed(value));
    return true;
}

}  // namespace

bool readDisplayAttributes(const basekit2::variant_bag_t& element,
                           DisplayAttributes& out,
                           std::string& error) {
    if (element.get<variant_t>("#text") != nullptr ||
        !element.begin<basekit2::variant_bag_t>().at_end()) {
        error = "<displayAttributes> holds text or elements; write NAME=\"VALUE\" in its tag";
        return false;
    }
    for (auto it = element.begin<variant_t>(); !it.at_end(); it.next()) {
        const std::string& name = it.get_name();
        const auto* known = std::find_if(kKnown.begin(), kKnown.end(),
                                         [&](const KnownAttribute& k) { return name == k.name; });
        variant_t value = it.get_value();
        if (known != kKnown.end() && !toType(known->type, it.get_value(), value)) {
            error = "display attribute \"" + name + "\" is \"" + printed(it.get_value()) +
                    "\"; write " + describe(known->type);
            return false;
        }
        out[name] = value;
    }
    return true;
}

}  // namespace lanefeed_runtime
