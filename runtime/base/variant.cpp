// Life of a variant: how each type is stored, shared and let go. Integers of every width live in
// one signed 64-bit field, so that reading one as another is a plain cast. Tested by
// tests/base/variant_test.cpp.
#include "variant_texts.h"

#include <basekit2/variant.h>

#include <utility>

namespace basekit2 {
namespace {

template <class Shared>
void addReference(Shared* shared) {
    shared->count.fetch_add(1, std::memory_order_relaxed);
}

template <class Shared>
void dropReference(Shared* shared) {
    if (shared->count.fetch_sub(1, std::memory_order_acq_rel) == 1) delete shared;
}

}  // namespace

variant_t::variant_t(bool value) : m_type(vtBool) {
    m_value.number = value ? 1 : 0;
}
variant_t::variant_t(s8_t value) : m_type(vtS8) {
    m_value.number = value;  // NOLINT(bugprone-signed-char-misuse): a number, no character
}
variant_t::variant_t(u8_t value) : m_type(vtU8) {
    m_value.number = value;
}
variant_t::variant_t(s16_t value) : m_type(vtS16) {
    m_value.number = value;
}
variant_t::variant_t(u16_t value) : m_type(vtU16) {
    m_value.number = value;
}
variant_t::variant_t(s32_t value) : m_type(vtS32) {
    m_value.number = value;
}
variant_t::variant_t(u32_t value) : m_type(vtU32) {
    m_value.number = value;
}
variant_t::variant_t(long value) : m_type(vtS64) {
    m_value.number = value;
}
variant_t::variant_t(unsigned long value) : m_type(vtU64) {
    m_value.number = static_cast<s64_t>(value);
}
variant_t::variant_t(long long value) : m_type(vtS64) {
    m_value.number = value;
}
variant_t::variant_t(unsigned long long value) : m_type(vtU64) {
    m_value.number = static_cast<s64_t>(value);
}
variant_t::variant_t(float value) : m_type(vtFloat) {
    m_value.floating = static_cast<double>(value);
}
variant_t::variant_t(double value) : m_type(vtDouble) {
    m_value.floating = value;
}
variant_t::variant_t(const char* value) : variant_t(std::string(value != nullptr ? value : "")) {}
variant_t::variant_t(const std::string& value) {
    m_value.text = new text_t(value);
    m_type = vtString;
}
variant_t::variant_t(const wchar_t* value)
    : variant_t(std::wstring(value != nullptr ? value : L"")) {}
variant_t::variant_t(const std::wstring& value) {
    m_value.wide_text = new wide_text_t(value);
    m_type = vtWideString;
}
variant_t::variant_t(unsigned int typeId, const sptr_t<object_interface_t>& object) {
    if (object.is_null()) return;
    object->add_ref();
    m_value.object = object.get();
    m_type = vtObject;
    m_object_type = typeId;
}

variant_t::variant_t(const variant_t& other)
    : m_value(other.m_value), m_type(other.m_type), m_object_type(other.m_object_type) {
    switch (m_type) {
    case vtString:
    case vtConstString: addReference(m_value.text); break;
    case vtWideString:
    case vtConstWideString: addReference(m_value.wide_text); break;
    case vtObject: m_value.object->add_ref(); break;
    default: break;
    }
}

variant_t::variant_t(variant_t&& other) noexcept
    : m_value(other.m_value), m_type(other.m_type), m_object_type(other.m_object_type) {
    other.m_type = vtNull;
}

variant_t& variant_t::operator=(const variant_t& other) {
    return *this = variant_t(other);
}

// The old value goes with `other`, whichever it was.
variant_t& variant_t::operator=(variant_t&& other) noexcept {
    std::swap(m_value, other.m_value);
    std::swap(m_type, other.m_type);
    std::swap(m_object_type, other.m_object_type);
    return *this;
}

variant_t::~variant_t() {
    switch (m_type) {
    case vtString:
    case vtConstString: dropReference(m_value.text); break;
    case vtWideString:
    case vtConstWideString: dropReference(m_value.wide_text); break;
    case vtObject: m_value.object->release(); break;
    default: break;
    }
}

}  // namespace basekit2
