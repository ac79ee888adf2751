#pragma once

#include "layer_window.h"

#include <string>

namespace lanefeed_tool {

struct RowInfo;

// What the answers of all kinds of layers begin with.
struct LayerTitle {
    LayerKind kind = LayerKind::series;
    int area = 0;   // from 0, or kRuler
    int layer = 0;  // from 0, as in the viewpoint
    std::string name;
    std::string unit;  // of series: "percent", "count", "value" or "ticks"
    LayerWindow window;
};

// The JSON of a layer up to and with the bracket of its list, and that of a row likewise. Series
// tell their unit, other kinds the name of their kind. `list`: the key of the list, in quotes,
// perhaps with further fields before it.
std::string layerJson(const LayerTitle& title, const std::string& list = "\"rows\"");
std::string rowJson(const RowInfo& row, const char* list);

}  // namespace lanefeed_tool
