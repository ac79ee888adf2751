#pragma once

#include <dataface_1/filters.h>

#include <string>

namespace lanefeed_test {

// Sets a filter out of words parted by blanks; no words remove it:
//
//   dd_band::dd_thread=2            the index at the end of a path; -1 or "null" for none
//   slice_data::dd_task/name='a'    the text behind the suffix "name"; reals have a point
//   slice_data::dd_task!=2          excluded
//   any( .. )  none( .. )  not( .. )  filter( .. )    groups, and a filter inside of this one
//   @5..9 @-7..8                    time that is kept, and that is cut out, in absolute ticks
//
// False when the filter can't be built; then the registry is left alone.
bool setFilter(dataface_1::IFilterRegistry& registry,
               const std::string& name,
               const std::string& words);

}  // namespace lanefeed_test
