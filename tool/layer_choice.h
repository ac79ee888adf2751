#pragma once

#include <string>
#include <vector>
#include <viewpointparser.h>

namespace lanefeed_tool {

class AreaView;
class Session;
struct ViewOptions;

// What a layer draws, and so which verb prints it.
enum class LayerKind { series, intervals, tasks, transitions, counts };

using LayerInfo = lanefeed_1::TLViewpointParser::LayerInfo;

LayerKind kindOf(const LayerInfo& layer);
// "overtime", "intervals", "tasks", "transitions" or "counts".
const char* verbOf(LayerKind kind);
// Caption of a layer: its own, that of what it draws, or the name of its query.
std::string layerName(const LayerInfo& layer);

// False for markers that stand for all rows at once.
bool isOnRows(const LayerInfo& layer);

// A layer with its number in the area, from 0.
struct ChosenLayer {
    int index = 0;
    const LayerInfo* info = nullptr;
};

// The layers of an area that the options ask for, of the kinds that a verb prints, as far as the
// result holds their data. What of an area another verb prints, and what can't be served, stderr
// tells; a layer asked for by number that the verb can't print is a usage failure.
std::vector<ChosenLayer> chooseLayers(Session& session,
                                      AreaView& area,
                                      const ViewOptions& options,
                                      const std::vector<LayerKind>& kinds);

}  // namespace lanefeed_tool
