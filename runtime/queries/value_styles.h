#pragma once

#include "definition_linker.h"
#include "query_definitions.h"

#include <dataface_1/cell_types.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace lanefeed_runtime {

// How a value of an attribute, or every value that fits a pattern, is drawn.
struct ValueStyle {
    std::string text;  // the value or the pattern
    bool isPattern = false;
    dataface_1::fill_style_t fill;
};

// Styles of the values of one attribute, in the order in which they are tried.
using ValueStyleList = std::vector<ValueStyle>;
// By attribute, see attributeOf.
using ValueStyles = std::map<std::string, ValueStyleList>;

// The attribute that a query reads: the last component of its path and the column that is shown,
// "dd_category.name", under which the store gives its values by id. Empty for a query that shows no
// column.
std::string attributeOf(const dataface_1::IInfoQuery& query);

// Reads "valueStyles" elements, whose id is that of the query that names the attribute. What is in
// a later element is tried before what is in an earlier one on the same attribute. Errors have the
// form of those of definitions; an element with an error is left out.
ValueStyles readValueStyles(const std::vector<Definition>& elements,
                            const QueriesById& queries,
                            std::vector<std::string>& errors);

// The first style that fits; null for none.
const ValueStyle* findStyle(const ValueStyleList& styles, std::string_view value);

// Whether a text fits a pattern, without regard to the case of ASCII letters: * stands for any
// text, \ takes the next character as it is.
bool fitsPattern(std::string_view text, std::string_view pattern);

}  // namespace lanefeed_runtime
