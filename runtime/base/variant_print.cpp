// Printed forms of variants. Numbers go through the standard's locale-free conversion, so that a
// dump reads the same on every machine.
// Tested by tests/base/variant_test.cpp.
#include "wide_text.h"

#include <basekit2/variant.h>

#include <charconv>
#include <string>

namespace basekit2 {
namespace {

template <class Number>
variant_t printed(Number value) {
    char text[64];
    const std::to_chars_result end = std::to_chars(text, text + sizeof(text), value);
    return std::string(text, end.ptr);
}

}  // namespace

void print_variant(const variant_t& value, variant_t& out, bool /*flag*/) {
    switch (value.get_type()) {
    case vtBool: out = value.get<bool>() ? "true" : "false"; break;
    case vtU64: out = printed(value.get<u64_t>()); break;
    case vtFloat: out = printed(value.get<float>()); break;
    case vtDouble: out = printed(value.get<double>()); break;
    case vtString:
    case vtConstString: out = variant_t(value.get<std::string>()); break;
    case vtWideString:
    case vtConstWideString: out = lanefeed_runtime::toUtf8(value.get<const wchar_t*>()); break;
    case vtObject:
    case vtNull: out = variant_t(); break;
    default: out = printed(value.get<s64_t>()); break;
    }
}

}  // namespace basekit2
