#pragma once

#include "value_styles.h"

#include <dataface_1/manipulator.h>
#include <storelink1/database.h>

namespace lanefeed_runtime {

// The factory of an open result. A mapper answers with the colour (a packed integer, red in the
// lowest byte) or the style (an IStyle) that `styles` has for the value under an id of the
// attribute that the query reads; noResult for a value without one. For an attribute without styles
// the mapper maps nothing, which leaves its values to automatic colours; what is no query on an
// attribute has no mapper: noResult.
basekit2::sptr_t<dataface_1::IManipulatorMapperFactory> makeMapperFactory(
    ValueStyles styles, basekit2::sptr_t<storelink1::IDatabase> database);

}  // namespace lanefeed_runtime
