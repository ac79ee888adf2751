#pragma once

#include <dataface_1/query_kinds.h>

#include <string>

namespace lanefeed_runtime {

// Reads the text of an expression: numbers, + - * / and parentheses, and of the open result
//   count(TABLE)                 rows of a table
//   min(TABLE::PATH), max(...)   smallest and largest value of a column
//   duration                     ticks from the first to the last tick, both included
//   ticksPerSecond
// Null when the text is none; `error` then says what is wrong and at which character. Evaluating
// gives a double; it is false without a database, for an unknown table or column, for min and max
// of no numbers, and for what is no finite number.
basekit2::sptr_t<dataface_1::IExpression> parseExpression(const std::string& text,
                                                          std::string& error);

}  // namespace lanefeed_runtime
