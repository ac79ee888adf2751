// Order of variants as keys of maps and as values to sort by. All comparisons go through one
// three-way function, so that less and equal never disagree. Integers and doubles are compared
// without rounding: a conversion to double would make 2^53 equal to 2^53 + 1 and break the order.
// Tested by tests/base/variant_test.cpp.
#include "variant_texts.h"
#include "wide_text.h"

#include <basekit2/variant.h>

#include <cmath>
#include <functional>
#include <string_view>

namespace basekit2 {
namespace {

enum class Kind { Number, Text, Object, Null };

Kind kindOf(const variant_t& value) {
    const int type = value.get_type();
    if (type <= vtDouble) return Kind::Number;
    if (type <= vtConstWideString) return Kind::Text;
    return type == vtObject ? Kind::Object : Kind::Null;
}

template <class T>
int threeWay(const T& a, const T& b) {
    if (a < b) return -1;
    return b < a ? 1 : 0;
}

bool isFloating(const variant_t& value) {
    return value.get_type() == vtFloat || value.get_type() == vtDouble;
}

// Only codes of the unsigned 64-bit type exceed the signed range.
bool exceedsSigned(const variant_t& value) {
    return value.get_type() == vtU64 && value.get<s64_t>() < 0;
}

int compareIntegers(const variant_t& a, const variant_t& b) {
    const bool aLarge = exceedsSigned(a);
    const bool bLarge = exceedsSigned(b);
    if (aLarge != bLarge) return aLarge ? 1 : -1;
    // Two large ones keep their order when read as signed: both are shifted by 2^64.
    return threeWay(a.get<s64_t>(), b.get<s64_t>());
}

// An integer against a double inside its range: whole parts first, then what is behind the point.
template <class Integer>
int compareWholeParts(Integer integer, double floating) {
    const double whole = std::trunc(floating);
    const int order = threeWay(integer, static_cast<Integer>(whole));
    return order != 0 ? order : threeWay(whole, floating);
}

int compareIntegerToDouble(const variant_t& integer, double floating) {
    constexpr double kTwoTo63 = 9223372036854775808.0;
    constexpr double kTwoTo64 = 2 * kTwoTo63;
    if (std::isnan(floating)) return 1;
    if (exceedsSigned(integer)) {
        if (floating >= kTwoTo64) return -1;
        return floating < kTwoTo63 ? 1 : compareWholeParts(integer.get<u64_t>(), floating);
    }
    if (floating >= kTwoTo63) return -1;
    return floating < -kTwoTo63 ? 1 : compareWholeParts(integer.get<s64_t>(), floating);
}

int compareDoubles(double a, double b) {
    const bool aNumber = !std::isnan(a);
    const bool bNumber = !std::isnan(b);
    return aNumber && bNumber ? threeWay(a, b) : threeWay(aNumber, bNumber);
}

int compareNumbers(const variant_t& a, const variant_t& b) {
    if (isFloating(a) && isFloating(b)) return compareDoubles(a.get<double>(), b.get<double>());
    if (isFloating(a)) return -compareIntegerToDouble(b, a.get<double>());
    if (isFloating(b)) return compareIntegerToDouble(a, b.get<double>());
    return compareIntegers(a, b);
}

int compareObjects(const variant_t& a, const variant_t& b) {
    const object_interface_t* left = a.get<sptr_t<object_interface_t>>().get();
    const object_interface_t* right = b.get<sptr_t<object_interface_t>>().get();
    const std::less<const object_interface_t*> before;
    if (before(left, right)) return -1;
    return before(right, left) ? 1 : 0;
}

int compare(const variant_t& a, const variant_t& b) {
    const Kind kind = kindOf(a);
    if (kind != kindOf(b)) return threeWay(b.get_type(), a.get_type());
    switch (kind) {
    case Kind::Number: return compareNumbers(a, b);
    case Kind::Text: return variant_t::string_compare(a, b);
    case Kind::Object: return compareObjects(a, b);
    case Kind::Null: break;
    }
    return 0;
}

template <class A, class B>
variant_t multiplyIntegers(A a, B b) {
    s64_t product = 0;
    if (!__builtin_mul_overflow(a, b, &product)) return product;
    u64_t large = 0;
    if (!__builtin_mul_overflow(a, b, &large)) return large;
    return static_cast<double>(a) * static_cast<double>(b);
}

}  // namespace

int variant_t::string_compare(const variant_t& a, const variant_t& b) {
    // A narrow text is looked at in place; a wide one is turned into `room`.
    const auto narrow = [](const variant_t& value, std::string& room) -> std::string_view {
        if (value.can_get<const char*>()) return value.m_value.text->text;
        if (value.can_get<const wchar_t*>())
            room = lanefeed_runtime::toUtf8(value.m_value.wide_text->text);
        return room;
    };
    std::string aRoom;
    std::string bRoom;
    return narrow(a, aRoom).compare(narrow(b, bRoom));
}

bool operator<(const variant_t& a, const variant_t& b) {
    return compare(a, b) < 0;
}

bool operator==(const variant_t& a, const variant_t& b) {
    return compare(a, b) == 0;
}

variant_t variant_mult(const variant_t& a, const variant_t& b) {
    if (kindOf(a) != Kind::Number || kindOf(b) != Kind::Number) return {};
    if (isFloating(a) || isFloating(b)) return a.get<double>() * b.get<double>();
    const bool aLarge = exceedsSigned(a);
    const bool bLarge = exceedsSigned(b);
    if (aLarge && bLarge) return multiplyIntegers(a.get<u64_t>(), b.get<u64_t>());
    if (aLarge) return multiplyIntegers(a.get<u64_t>(), b.get<s64_t>());
    if (bLarge) return multiplyIntegers(a.get<s64_t>(), b.get<u64_t>());
    return multiplyIntegers(a.get<s64_t>(), b.get<s64_t>());
}

}  // namespace basekit2
