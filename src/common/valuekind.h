#pragma once

#include <basekit2/variant.h>

namespace lanefeed_1 {

// Kinds of values that readers of attributes tell apart.

// A narrow text.
inline bool isText(const basekit2::variant_t& value) {
    return value.can_get<const char*>();
}

// A bool or an integer, whose truth is told by zero.
inline bool isFlag(const basekit2::variant_t& value) {
    return value.can_get<bool>();
}

// An integer proper: neither a bool nor a floating point number.
inline bool isInteger(const basekit2::variant_t& value) {
    return value.can_get<int>() && value.get_type() != basekit2::vtBool;
}

// Any number, bools included.
inline bool isNumber(const basekit2::variant_t& value) {
    return value.can_get<double>();
}

}  // namespace lanefeed_1
