// Reads of a variant by type: which codes a type can read, and what it gets of them. A type that
// cannot be read gives its neutral value and never an error.
// Tested by tests/base/variant_test.cpp.
#include "variant_texts.h"

#include <basekit2/variant.h>

namespace basekit2 {
namespace {

bool isInteger(int type) {
    return type <= vtU64;
}
bool isNumber(int type) {
    return type <= vtDouble;
}
bool isNarrowText(int type) {
    return type == vtString || type == vtConstString;
}
bool isWideText(int type) {
    return type == vtWideString || type == vtConstWideString;
}

}  // namespace

template <>
bool variant_t::can_get<bool>() const {
    return isInteger(m_type);
}
template <>
bool variant_t::can_get<s8_t>() const {
    return isInteger(m_type);
}
template <>
bool variant_t::can_get<u8_t>() const {
    return isInteger(m_type);
}
template <>
bool variant_t::can_get<s16_t>() const {
    return isInteger(m_type);
}
template <>
bool variant_t::can_get<u16_t>() const {
    return isInteger(m_type);
}
template <>
bool variant_t::can_get<s32_t>() const {
    return isInteger(m_type);
}
template <>
bool variant_t::can_get<u32_t>() const {
    return isInteger(m_type);
}
template <>
bool variant_t::can_get<s64_t>() const {
    return isInteger(m_type);
}
template <>
bool variant_t::can_get<u64_t>() const {
    return isInteger(m_type);
}
template <>
bool variant_t::can_get<float>() const {
    return isNumber(m_type);
}
template <>
bool variant_t::can_get<double>() const {
    return isNumber(m_type);
}
template <>
bool variant_t::can_get<const char*>() const {
    return isNarrowText(m_type);
}
template <>
bool variant_t::can_get<const wchar_t*>() const {
    return isWideText(m_type);
}
template <>
bool variant_t::can_get<std::string>() const {
    return isNarrowText(m_type);
}
template <>
bool variant_t::can_get<sptr_t<object_interface_t>>() const {
    return m_type == vtObject;
}

template <>
s64_t variant_t::get<s64_t>() const {
    return isInteger(m_type) ? m_value.number : 0;
}
template <>
bool variant_t::get<bool>() const {
    return get<s64_t>() != 0;
}
template <>
s8_t variant_t::get<s8_t>() const {
    return static_cast<s8_t>(get<s64_t>());
}
template <>
u8_t variant_t::get<u8_t>() const {
    return static_cast<u8_t>(get<s64_t>());
}
template <>
s16_t variant_t::get<s16_t>() const {
    return static_cast<s16_t>(get<s64_t>());
}
template <>
u16_t variant_t::get<u16_t>() const {
    return static_cast<u16_t>(get<s64_t>());
}
template <>
s32_t variant_t::get<s32_t>() const {
    return static_cast<s32_t>(get<s64_t>());
}
template <>
u32_t variant_t::get<u32_t>() const {
    return static_cast<u32_t>(get<s64_t>());
}
template <>
u64_t variant_t::get<u64_t>() const {
    return static_cast<u64_t>(get<s64_t>());
}
template <>
double variant_t::get<double>() const {
    if (m_type == vtFloat || m_type == vtDouble) return m_value.floating;
    if (m_type == vtU64) return static_cast<double>(get<u64_t>());
    return static_cast<double>(get<s64_t>());
}
template <>
float variant_t::get<float>() const {
    return static_cast<float>(get<double>());
}
template <>
const char* variant_t::get<const char*>() const {
    return isNarrowText(m_type) ? m_value.text->text.c_str() : nullptr;
}
template <>
const wchar_t* variant_t::get<const wchar_t*>() const {
    return isWideText(m_type) ? m_value.wide_text->text.c_str() : nullptr;
}
template <>
std::string variant_t::get<std::string>() const {
    return isNarrowText(m_type) ? m_value.text->text : std::string();
}
template <>
sptr_t<object_interface_t> variant_t::get<sptr_t<object_interface_t>>() const {
    if (m_type != vtObject) return nullptr;
    return m_value.object;
}

}  // namespace basekit2
