#pragma once

#include "layer_json.h"
#include "layer_request.h"
#include "series.h"

#include <string>
#include <vector>

namespace lanefeed_tool {

class AreaView;
class Session;
struct ViewOptions;

// The series of one layer of curves or counts.
struct LayerSeries {
    LayerTitle title;
    std::vector<std::vector<Series>> rows;  // by row id
    ServeStats stats;
};

using Forest = std::vector<basekit2::sptr_t<dataface_1::ITableTree>>;

// "percent", "count" or "value".
std::string unitOf(const LayerInfo& layer);
// Asks for a layer of curves or counts: a table for each row, none when there is nothing to show.
Forest requestSeries(Session& session,
                     AreaView& area,
                     const ChosenLayer& layer,
                     const LayerWindow& window,
                     ServeStats& stats);
// Whether a value of 0 is one like any other, as in what is no sum.
bool keepsZeros(const LayerInfo& layer);

// The layers of a kind, series or counts, that the options ask for.
std::vector<LayerSeries> readLayers(Session& session,
                                    AreaView& area,
                                    const ViewOptions& options,
                                    LayerKind kind);

}  // namespace lanefeed_tool
