#pragma once

#include "query_traits.h"

#include <string>

namespace lanefeed_runtime {

// Reads the formula of a derived query over its members, which it names by their ids:
//   numbers, + - * / and parentheses, a leading minus
//   min(a, b, ...), max(a, b, ...)   of two or more
//   percent(part, whole)             100 * part / whole
//   [any id]                         an id that is no plain word
// The steps go into the traits. False when the text is no formula, and when the members that it
// names cannot be computed with: one that is no time, count or derived query, two with one id,
// and such that are expanded in different ways. `error` then tells what is wrong and what to do.
bool readFormula(const std::string& text, QueryTraits& traits, std::string& error);

}  // namespace lanefeed_runtime
