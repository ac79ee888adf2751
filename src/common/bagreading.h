#pragma once

#include "common/check.h"
#include "common/valuekind.h"

#include <basekit2/variant_bag.h>

#include <optional>
#include <string>

namespace lanefeed_1 {

// Two ways of reading the attributes of an element; they differ in what becomes of a value of a
// wrong kind. An absent attribute is none in both, without a word. The bag outlives the reader.

// Reports a value of a wrong kind, which then counts as none. Floating point numbers are no flags.
class StrictReader {
public:
    StrictReader(const basekit2::variant_bag_t& bag, const Place& place)
        : m_bag(bag), m_place(place) {}

    std::optional<std::string> text(const char* name) const {
        return read<std::string>(name, isText, "can_get<const char*>()");
    }
    std::optional<bool> flag(const char* name) const {
        return read<bool>(name, isFlag, "can_get<bool>()");
    }
    std::optional<int> integer(const char* name) const {
        return read<int>(name, isInteger, "can_get<int>()");
    }

private:
    template <class T>
    std::optional<T> read(const char* name,
                          bool (*fits)(const basekit2::variant_t&),
                          const char* complaint) const {
        const auto* value = m_bag.get<basekit2::variant_t>(name);
        if (value == nullptr || !checked(fits(*value), m_place, complaint)) return std::nullopt;
        return value->template get<T>();
    }

    const basekit2::variant_bag_t& m_bag;
    Place m_place;
};

// Takes a value of a wrong kind for none, silently. Any number is a flag.
class TolerantReader {
public:
    explicit TolerantReader(const basekit2::variant_bag_t& bag) : m_bag(bag) {}

    // As it stands, null when absent.
    const basekit2::variant_t* value(const char* name) const {
        return m_bag.get<basekit2::variant_t>(name);
    }
    std::optional<std::string> text(const char* name) const {
        const basekit2::variant_t* found = value(name);
        if (found == nullptr || !isText(*found)) return std::nullopt;
        return found->get<std::string>();
    }
    std::optional<bool> flag(const char* name) const {
        const basekit2::variant_t* found = value(name);
        if (found == nullptr || !isNumber(*found)) return std::nullopt;
        return isFlag(*found) ? found->get<bool>() : found->get<double>() != 0;
    }

private:
    const basekit2::variant_bag_t& m_bag;
};

}  // namespace lanefeed_1
