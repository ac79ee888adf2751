// The frame of JSON answers, the same for every verb that prints layers. Tested by
// tests/tool/layer_verbs_test.cpp.

#include "layer_json.h"

#include "area_view.h"
#include "json_text.h"

#include <fmt/format.h>

namespace lanefeed_tool {

std::string layerJson(const LayerTitle& title, const std::string& list) {
    const bool isSeries = !title.unit.empty();
    return fmt::format(
        "\n  {{\"area\": {}, \"layer\": {}, \"name\": {}, \"{}\": {}, \"start\": {}, \"end\": {}, "
        "\"bins\": {}, \"binTicks\": {}, {}: [",
        areaJson(title.area), title.layer, jsonString(title.name), isSeries ? "unit" : "kind",
        jsonString(isSeries ? title.unit : verbOf(title.kind)), title.window.span.start,
        title.window.span.end, title.window.bins, title.window.binTicks(), list);
}

std::string rowJson(const RowInfo& row, const char* list) {
    return fmt::format(
        "\n    {{\"id\": {}, \"dbIndex\": {}, \"level\": {}, \"name\": {}, \"{}\": [",
        row.id < 0 ? "null" : std::to_string(row.id),
        row.id < 0 ? "null" : std::to_string(row.dbIndex), row.level, jsonString(row.name), list);
}

}  // namespace lanefeed_tool
