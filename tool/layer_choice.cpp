// Which layers a verb prints. Every verb prints those of its kinds, `report` all of them. Tested by
// tests/tool/layer_verbs_test.cpp.

#include "layer_choice.h"

#include "area_view.h"
#include "failure.h"
#include "session.h"
#include "verbs.h"

#include <algorithm>
#include <fmt/format.h>
#include <iostream>
#include <map>

namespace lanefeed_tool {

namespace {

using lanefeed_1::DicerDataSource;
using lanefeed_1::TLViewpointParser;

// Empty when the result can serve the layer, else why not.
std::string refusal(Session& session, AreaView& area, const LayerInfo& layer) {
    const DicerDataSource& source = layer.drawBy.ds;
    if (source.m_defaultQuery.is_null() && source.m_derivedQuery.is_null())
        return "names no query that is known; see 'lanefeed viewpoint'";
    if (!session.viewpoint().isApplicable(layer, &area.provider()))
        return "needs data that the result does not hold";
    if (area.lacksRows() && isOnRows(layer))
        return "stands on rows that the result has none of; choose another <rowBy>";
    if (kindOf(layer) == LayerKind::transitions && area.rowSource() == nullptr)
        return "draws lines between rows, which its area has none of";
    return {};
}

// The library takes a table without a row for a fault. Asked of layers alone that are to be read: a
// damaged table is no matter of the others.
std::string emptyTable(Session& session, const LayerInfo& layer) {
    const std::string& table = layer.drawBy.ds.m_table;
    if (table.empty() || session.holdsRows(table)) return {};
    session.requireWholeReads();
    return fmt::format("reads the table {}, which is empty", table);
}

const std::vector<LayerInfo>& layersOf(AreaView& area) {
    static const std::vector<LayerInfo> kNone;
    return area.rowSet() != nullptr ? area.rowSet()->layers : kNone;
}

// "'lanefeed tasks' shows layer 3, 4" for each verb that shows what this one does not.
void noteOthers(const std::map<LayerKind, std::string>& others, int area) {
    if (others.empty()) return;
    std::string text;
    for (const auto& [kind, layers] : others)
        text += fmt::format("{}'lanefeed {}' shows layer {}", text.empty() ? "" : "; ",
                            verbOf(kind), layers);
    std::cerr << fmt::format("lanefeed: note: {} has more: {}\n", areaName(area), text);
}

}  // namespace

LayerKind kindOf(const LayerInfo& layer) {
    switch (layer.type) {
    case TLViewpointParser::Overtime: return LayerKind::series;
    case TLViewpointParser::RowIntervalNested: return LayerKind::tasks;
    case TLViewpointParser::Transition: return LayerKind::transitions;
    case TLViewpointParser::CountOverTime:
    case TLViewpointParser::InstanceCountOverTime: return LayerKind::counts;
    default: return LayerKind::intervals;
    }
}

const char* verbOf(LayerKind kind) {
    switch (kind) {
    case LayerKind::intervals: return "intervals";
    case LayerKind::tasks: return "tasks";
    case LayerKind::transitions: return "transitions";
    case LayerKind::counts: return "counts";
    default: return "overtime";
    }
}

std::string layerName(const LayerInfo& layer) {
    if (!layer.displayName.empty()) return lanefeed_1::getString(layer.displayName);
    if (!layer.drawBy.displayName.empty()) return lanefeed_1::getString(layer.drawBy.displayName);
    const auto& query = layer.drawBy.ds.m_defaultQuery;
    return query.is_null() ? std::string("unnamed") : lanefeed_1::getString(query->getName());
}

bool isOnRows(const LayerInfo& layer) {
    return layer.type != TLViewpointParser::EventMarkerGlobal &&
           layer.type != TLViewpointParser::GlobalCrossLine;
}

std::vector<ChosenLayer> chooseLayers(Session& session,
                                      AreaView& area,
                                      const ViewOptions& options,
                                      const std::vector<LayerKind>& kinds) {
    const std::vector<LayerInfo>& layers = layersOf(area);
    if (options.layer >= static_cast<int>(layers.size())) {
        throw Failure(exitUsage, fmt::format("--layer {}: {} of {} has {} layers, counted from 0",
                                             options.layer, areaName(options.area),
                                             session.viewpointName(), layers.size()));
    }
    std::vector<ChosenLayer> chosen;
    std::map<LayerKind, std::string> others;
    for (int i = 0; i < static_cast<int>(layers.size()); ++i) {
        const LayerInfo& layer = layers[static_cast<std::size_t>(i)];
        if (options.layer >= 0 && options.layer != i) continue;
        const LayerKind kind = kindOf(layer);
        const bool isWanted = std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
        std::string why = refusal(session, area, layer);
        if (why.empty() && isWanted) why = emptyTable(session, layer);
        const bool isServed = why.empty();
        if (isServed && isWanted) {
            chosen.push_back({i, &layer});
            continue;
        }
        if (!isWanted) why = fmt::format("is shown by 'lanefeed {}'", verbOf(kind));
        const std::string text = fmt::format("layer {} ({}) {}", i, layerName(layer), why);
        if (options.layer >= 0) throw Failure(exitUsage, fmt::format("--layer {}: {}", i, text));
        if (isWanted) {
            std::cerr << "lanefeed: note: " << text << "; left out\n";
        } else if (isServed) {
            std::string& list = others[kind];
            list += (list.empty() ? "" : ", ") + std::to_string(i);
        }
    }
    noteOthers(others, options.area);
    return chosen;
}

}  // namespace lanefeed_tool
