// The account of an answer. What does not add up is printed as such. Tested by
// tests/tool/layer_verbs_test.cpp.

#include "stats_print.h"

#include "area_view.h"
#include "json_text.h"

#include <fmt/format.h>
#include <iostream>

namespace lanefeed_tool {

namespace {

std::string reasonsJson(const LayerStats& layer) {
    const Census& census = layer.census;
    std::string out = fmt::format("{{\"withoutRow\": {}", census.withoutRow);
    if (layer.title.kind == LayerKind::transitions) {
        out += fmt::format(", \"withoutSource\": {}, \"acrossParents\": {}, \"withinRow\": {}",
                           census.withoutSource, census.acrossParents, census.withinRow);
    } else {
        out += fmt::format(", \"withoutReference\": {}, \"restricted\": {}",
                           census.withoutReference, census.restricted);
    }
    return out + "}";
}

std::string accountJson(const LayerStats& layer) {
    const Census& census = layer.census;
    std::string out = fmt::format("\"read\": {}, \"instances\": {}", census.read, census.touching);
    if (layer.title.kind == LayerKind::counts) {
        out += fmt::format(", \"cells\": {}", layer.serve.cells);
    } else {
        const std::uint64_t accounted =
            layer.drawn + layer.children + layer.countedOnly + census.leftOut();
        out += fmt::format(
            ", \"drawn\": {}, \"children\": {}, \"countedOnly\": {}, \"unaccounted\": {}",
            layer.drawn, layer.children, layer.countedOnly,
            static_cast<std::int64_t>(census.touching) - static_cast<std::int64_t>(accounted));
    }
    return out +
           fmt::format(", \"leftOut\": {}, \"reasons\": {}", census.leftOut(), reasonsJson(layer));
}

std::string readsJson(const ServeStats& serve) {
    return fmt::format("\"storeReads\": {}, \"instances\": {}, \"cells\": {}, \"leftOut\": {}",
                       serve.storeReads, serve.instances, serve.cells, serve.leftOut);
}

}  // namespace

void printStats(const std::vector<LayerStats>& layers) {
    std::string out = "[";
    for (const LayerStats& layer : layers) {
        out += fmt::format(
            "{}\n  {{\"area\": {}, \"layer\": {}, \"served\": {}, \"ms\": {:.3f}, {}}}",
            out.size() == 1 ? "" : ",", areaJson(layer.title.area), layer.title.layer,
            jsonString(layer.serve.served), layer.serve.milliseconds,
            layer.title.kind == LayerKind::series ? readsJson(layer.serve) : accountJson(layer));
    }
    std::cerr << out << "\n]\n";
}

}  // namespace lanefeed_tool
