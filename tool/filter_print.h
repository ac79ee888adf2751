#pragma once

#include "table_print.h"

#include <dataface_1/input_data.h>

#include <string>

namespace lanefeed_tool {

// The filters in force on a result, times counted from its first tick.
//
// A list of {name, time: [{start, end}] or null, query: text or null}, times in ticks, half open.
std::string filtersJson(const basekit2::sptr_t<dataface_1::IInputData>& result);
// A line for each filter: its name, what it keeps of time, and of everything else.
TextTable filtersTable(const basekit2::sptr_t<dataface_1::IInputData>& result);

}  // namespace lanefeed_tool
