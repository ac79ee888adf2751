#pragma once

#include <dataface_1/input_data.h>

#include <string>
#include <vector>

namespace lanefeed_runtime {

// Reads filters as users write them and sets them under `name` in the registry of the result, in
// place of what stood there; all of them must hold. Then applySelection(result, name) puts them in
// force. One text is one of
//   COLUMN=VALUE,VALUE...    keeps what is any of the values
//   COLUMN!=VALUE,VALUE...   keeps what is none of them
//   time=A..B                keeps that time, counted from the first tick ("1.2s..3.4s",
//   "10%..20%") time!=A..B               leaves it out
// Columns are read without regard to case. In a value * stands for any text, \ takes the next
// character as it is ("a\,b"); a value that nothing bears as it is written is compared without
// regard to case. False with `error` (one line for a user) for a text that can't be read, for an
// unknown column, whose error lists the known ones, and for a value that the result doesn't hold;
// the registry is then as it was. A value to be left out that the result doesn't hold is no error;
// one line for each is added to `notes`, if that is given.
bool readFilterTexts(const basekit2::sptr_t<dataface_1::IInputData>& result,
                     const std::vector<std::string>& texts,
                     const std::string& name,
                     std::string& error,
                     std::vector<std::string>* notes = nullptr);

// A column that a filter text may name.
struct FilterColumn {
    std::string name;
    std::string help;  // one line
};

// In the order in which they are listed; "time" is one of them.
std::vector<FilterColumn> filterColumns(const basekit2::sptr_t<dataface_1::IInputData>& result);

}  // namespace lanefeed_runtime
