#pragma once

#include "table_print.h"

#include <vector>

namespace lanefeed_tool {

class AreaView;
struct LayerSeries;

// Prints series on stdout, row by row in the order of the area. The series of a layer of counts
// have their peak beside them.
void printSeries(const AreaView& area, const std::vector<LayerSeries>& layers, Format format);

}  // namespace lanefeed_tool
