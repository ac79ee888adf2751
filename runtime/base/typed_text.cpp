// Type prefixes of XML attributes, one table for reading and writing.
// Tested by tests/base/bag_xml_test.cpp.
#include "typed_text.h"

#include <charconv>

namespace lanefeed_runtime {
namespace {

using basekit2::variant_t;

// Floating types take infinity and not-a-number too: a dump of computed values may hold them.
template <class Number>
bool readNumber(const std::string& text, variant_t& out) {
    Number value = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result read = std::from_chars(text.data(), end, value);
    if (read.ec != std::errc() || read.ptr != end) return false;
    out = value;
    return true;
}

bool readBool(const std::string& text, variant_t& out) {
    if (text != "true" && text != "false") return false;
    out = text == "true";
    return true;
}

bool readText(const std::string& text, variant_t& out) {
    out = text;
    return true;
}

struct TypeName {
    const char* name;
    int code;
    bool (*read)(const std::string&, variant_t&);
};

constexpr TypeName kTypeNames[] = {
    {"bool", basekit2::vtBool, readBool},
    {"int8", basekit2::vtS8, readNumber<basekit2::s8_t>},
    {"uint8", basekit2::vtU8, readNumber<basekit2::u8_t>},
    {"int16", basekit2::vtS16, readNumber<basekit2::s16_t>},
    {"uint16", basekit2::vtU16, readNumber<basekit2::u16_t>},
    {"int", basekit2::vtS32, readNumber<basekit2::s32_t>},
    {"uint", basekit2::vtU32, readNumber<basekit2::u32_t>},
    {"int64", basekit2::vtS64, readNumber<basekit2::s64_t>},
    {"uint64", basekit2::vtU64, readNumber<basekit2::u64_t>},
    {"float", basekit2::vtFloat, readNumber<float>},
    {"double", basekit2::vtDouble, readNumber<double>},
    {"text", basekit2::vtString, readText},
};

const TypeName* findType(const std::string& name) {
    for (const TypeName& known : kTypeNames)
        if (name == known.name) return &known;
    return nullptr;
}

// Texts of all kinds share one prefix.
const char* prefixOf(int code) {
    for (const TypeName& known : kTypeNames)
        if (known.code == code) return known.name;
    return "text";
}

bool readsBackPlain(const variant_t& value, const std::string& text) {
    const bool looksLikeBool = text == "true" || text == "false";
    if (value.get_type() == basekit2::vtBool) return true;
    return value.get_type() > basekit2::vtDouble && !looksLikeBool;
}

}  // namespace

bool readTyped(const std::string& type, const std::string& text, variant_t& out) {
    const TypeName* known = findType(type);
    return known != nullptr && known->read(text, out);
}

bool splitTypedName(const std::string& typedName, std::string& type, std::string& name) {
    const std::size_t colon = typedName.find(':');
    if (colon == std::string::npos) return false;
    const std::string prefix = typedName.substr(0, colon);
    if (findType(prefix) == nullptr) return false;
    type = prefix;
    name = typedName.substr(colon + 1);
    return true;
}

std::string typedNameFor(const std::string& name, const variant_t& value, const std::string& text) {
    std::string type;
    std::string rest;
    // A name that looks typed by itself needs a prefix, or it would lose its own.
    if (readsBackPlain(value, text) && !splitTypedName(name, type, rest)) return name;
    return std::string(prefixOf(value.get_type())) + ':' + name;
}

}  // namespace lanefeed_runtime
