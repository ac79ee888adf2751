#pragma once

#include <basekit2/variant.h>

#include <string>

namespace lanefeed_runtime {

// Reads the text of an attribute as the type of that name ("int", "uint64", "double", "text", ...).
// False for an unknown type or a text that is no value of it.
bool readTyped(const std::string& type, const std::string& text, basekit2::variant_t& out);

// Splits "int:name" into type and name; false for a name without the prefix of a known type.
bool splitTypedName(const std::string& typedName, std::string& type, std::string& name);

// The name that an attribute of this value is written with: plain where reading it back needs no
// type, else behind its prefix. `text` is the printed form of the value.
std::string typedNameFor(const std::string& name,
                         const basekit2::variant_t& value,
                         const std::string& text);

}  // namespace lanefeed_runtime
