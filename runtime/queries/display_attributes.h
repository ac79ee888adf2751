#pragma once

#include <basekit2/variant.h>
#include <basekit2/variant_bag.h>

#include <map>
#include <string>

namespace lanefeed_runtime {

using DisplayAttributes = std::map<std::string, basekit2::variant_t>;

// Reads the attributes of a "displayAttributes" element into `out`. Those that the library reads
// get the type that it asks for, whatever the notation: yes or no, whole number, or text; others
// keep the type they are written in. False when a value does not fit; `error` names it.
bool readDisplayAttributes(const basekit2::variant_bag_t& element,
                           DisplayAttributes& out,
                           std::string& error);

}  // namespace lanefeed_runtime
