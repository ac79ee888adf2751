#pragma once

#include "table_print.h"

#include <string>
#include <utility>
#include <vector>

namespace lanefeed_runtime {
struct ResultFacts;
}

namespace lanefeed_tool {

// A fact with its value as JSON.
using Fact = std::pair<std::string, std::string>;

// Facts for people: lists and objects with a line for each part, and behind ticks, times, bytes and
// dates what they come to.
TextTable factTable(const std::vector<Fact>& facts, const lanefeed_runtime::ResultFacts& result);

}  // namespace lanefeed_tool
