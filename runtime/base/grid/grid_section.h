#pragma once

#include "grid_reader.h"

#include <basekit2/error_code.h>
#include <basekit2/variant_bag.h>
#include <dataface_1/query_library.h>
#include <relay2/messenger.h>

#include <string>
#include <vector>

namespace lanefeed_runtime {

// What a section of a viewpoint says of a grid. docs/VIEWPOINTS.md tells the elements.
struct GridSection {
    // One for each rowBy, the default one first. Null where no query is known under what it names,
    // and an empty list where it names none: that is for whoever asks for the groupings to tell.
    std::vector<basekit2::sptr_t<dataface_1::IVectorQuery>> groupings;
    bool namesColumns = false;  // the section has a columnBy
    std::vector<GridColumnRequest> columns;
};

// Reads "gridQuery" and "requiredData", and a whole "rowSet", of which the rowBys that are for the
// grid and the columnBys count. An error names the element and what to write instead.
basekit2::error_code_t readGridSection(const basekit2::variant_bag_t& bag,
                                       dataface_1::IQueryLibrary& library,
                                       relay2::IMessenger* messenger,
                                       GridSection& section);

}  // namespace lanefeed_runtime
