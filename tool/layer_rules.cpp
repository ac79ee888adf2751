// What the type of a layer asks of its queries and rows. Tested by
// tests/tool/viewpoint_author_test.cpp.

#include "layer_rules.h"

#include "layer_choice.h"
#include "verbs.h"

#include <fmt/format.h>

namespace lanefeed_tool {

namespace {

using lanefeed_1::DicerDataSource;
using lanefeed_1::TLViewpointParser;

// The table at the end of a path.
std::string leafOf(const std::string& path) {
    const std::size_t dot = path.rfind('.');
    return dot == std::string::npos ? path : path.substr(dot + 1);
}

// Of a bar or line the row of its attribute alone is known, so the paths of tooltips start there.
std::vector<std::string> tooltipFaults(const LayerInfo& layer) {
    std::vector<std::string> faults;
    const std::string leaf = leafOf(layer.drawBy.ds.m_path);
    for (const DicerDataSource::ExtraArgs& extra : layer.tooltipBy.ds.m_extras) {
        const std::string path = extra.suffix.empty() ? extra.attr : extra.suffix;
        const std::string first = path.substr(0, path.find('.'));
        if (first == leaf) continue;
        faults.push_back(fmt::format(
            "the tooltip \"{}\" is asked for rows of {}, and what is known of a bar or line is its "
            "row of {}; name a query whose <displayDbPath> begins with that, such as the one of "
            "<drawBy>",
            extra.query->getId(), first, leaf));
    }
    return faults;
}

std::vector<std::string> faultsOf(const LayerInfo& layer, bool hasRows) {
    const DicerDataSource& source = layer.drawBy.ds;
    const LayerKind kind = kindOf(layer);
    // A query that was not resolved is told already; a type that is none stands for a background.
    if (source.m_dataType == DicerDataSource::dsNone || kind == LayerKind::series ||
        layer.type == TLViewpointParser::Background)
        return {};
    if (kind == LayerKind::counts) {
        const bool isCount = source.m_dataType == DicerDataSource::dsCount ||
                             source.m_dataType == DicerDataSource::dsInstanceCount;
        if (isCount) return {};
        return {"counts are drawn by a countQuery or an instanceCountQuery"};
    }
    if (kind == LayerKind::transitions && !hasRows)
        return {"lines are drawn between rows; the area needs a <rowBy>"};
    return source.m_path.empty() ? std::vector<std::string>() : tooltipFaults(layer);
}

void addFaults(const LayerInfo& layer, bool hasRows, int area, lanefeed_1::ParseLogger& log) {
    for (const std::string& fault : faultsOf(layer, hasRows))
        log.addMessage(area, layer.id, fault);
}

}  // namespace

void addLayerRules(const TLViewpointParser& viewpoint, lanefeed_1::ParseLogger& log) {
    for (const LayerInfo& layer : viewpoint.m_rulerLayers)
        addFaults(layer, false, kRuler, log);
    for (const TLViewpointParser::Area& area : viewpoint.m_areas)
        for (const TLViewpointParser::RowSet& rowSet : area.rowSets)
            for (const LayerInfo& layer : rowSet.layers)
                addFaults(layer, !rowSet.rowBys.empty() || rowSet.gridQuery, area.index, log);
}

}  // namespace lanefeed_tool
