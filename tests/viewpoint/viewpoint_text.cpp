#include "viewpoint_text.h"

#include <fmt/format.h>

namespace lanefeed_1::fakes {

namespace {

using Color = std::pair<TLViewpointParser::TLColor, bool>;  // and whether it was given

template <class Value>
std::string valueText(const std::string& name, const Value& value) {
    if constexpr (std::is_same_v<Value, bool>)
        return value ? " " + name : "";
    else if constexpr (std::is_same_v<Value, std::string>)
        return value.empty() ? "" : " " + name + "='" + value + "'";
    else if constexpr (std::is_same_v<Value, Color>)
        return fmt::format(" {}={},{},{},{}{}", name, value.first.red, value.first.green,
                           value.first.blue, value.first.alpha, value.second ? " given" : "");
    else if constexpr (std::is_pointer_v<Value>)
        return valueText(name, value == nullptr ? std::string() : value->getId());
    else
        return " " + name + "=" + printVariant(value);
}
std::string line(const std::string& text) {
    return text + "\n";
}
// Then names and values in turn.
template <class Value, class... More>
std::string line(const std::string& text, const char* name, const Value& value, More... more) {
    return line(text + valueText(name, value), more...);
}

template <class Values>
std::string joined(const Values& values) {
    return values.empty() ? "" : fmt::format("{};", fmt::join(values, ";"));
}

std::string sourceText(const std::string& start, const DicerDataSource& ds) {
    std::string text = line(start, "type", ds.m_dataType, "path", ds.m_path, "table", ds.m_table,
                            "attr", ds.m_attr, "band", ds.m_band, "query", ds.m_defaultQuery.get(),
                            "derived", ds.m_derivedQuery.get(), "min", ds.m_min, "max", ds.m_max,
                            "resolution", ds.m_resolutionMs, "scale", ds.m_timeScaleMs, "levels",
                            joined(ds.m_rowByLevels), "disabled", !ds.m_enabled);
    for (const DicerDataSource::ExtraArgs& extra : ds.m_extras)
        text += line("          extra", "path", extra.path, "table", extra.table, "attr",
                     extra.attr, "values", joined(extra.values), "suffix", extra.suffix, "query",
                     extra.query.get());
    for (const auto& dive : ds.m_infoQueries)
        text += line("          dive", "query", dive.get());
    return text;
}

std::string drawText(const TLViewpointParser::DrawBy& draw) {
    return line("      draw", "dive", draw.hasDive, "required", draw.required, "name",
                draw.displayName, "format", draw.format, "hierarchical", draw.hierarchical, "icon",
                draw.iconType, "style", draw.lineStyle, "width", draw.lineWidth, "binMult",
                draw.binMult, "sample", draw.samplePoint, "lifetime", draw.isLifetime) +
           line("       ", "display", Color(draw.displayColor, draw.hasDisplayColor), "filter",
                Color(draw.filterColor, draw.hasFilterColor), "decimation",
                Color(draw.decimationColor, draw.hasDecimationColor)) +
           sourceText("        source", draw.ds);
}

std::string layerText(const TLViewpointParser::LayerInfo& layer) {
    std::string text =
        line("    layer " + std::to_string(layer.id), "type", layer.type, "given", layer.typeGiven,
             "visible", layer.visible, "scaleGroupStart", layer.scaleGroupStart, "scaleGroupEnd",
             layer.scaleGroupEnd, "seriesGroupStart", layer.seriesGroupStart, "seriesGroupEnd",
             layer.seriesGroupEnd, "showText", layer.showText, "showTextGiven", layer.showTextGiven,
             "visibleSeriesCount", layer.visibleSeriesCount, "allowToHideSeries",
             layer.allowToHideSeries, "visibleOnLevels", layer.visibleOnLevels, "maxLabels",
             layer.maxLabels, "displayModes", layer.displayModes, "coloringAsLegend",
             layer.showColoringAsLegendItems, "name", layer.displayName);
    if (layer.hasDrawBy) text += drawText(layer.drawBy);
    if (layer.colorBy.m_vectorQuery) text += sourceText("      color", layer.colorBy);
    const std::pair<const char*, const TLViewpointParser::TooltipBy*> tooltips[] = {
        {"tooltip", &layer.tooltipBy},
        {"highlight", &layer.highlightBy},
        {"hatch", &layer.hatchBy}};
    for (const auto& [name, tooltip] : tooltips)
        if (tooltip->valid)
            text +=
                sourceText(fmt::format("      {} group {}", name, tooltip->groupId), tooltip->ds);
    return text;
}

std::string rowSetText(const TLViewpointParser::RowSet& rowSet) {
    std::string text =
        line("  rowSet " + std::to_string(rowSet.id), "name", rowSet.displayName, "grid",
             !rowSet.gridQuery.is_null(), "requiredData", !rowSet.requiredData.is_null(),
             "columnByFromLayers", rowSet.columnByFromLayers);
    for (const TLViewpointParser::RowBy& rowBy : rowSet.rowBys)
        text += line("    rowBy", "valid", rowBy.valid, "continuesGroup", rowBy.continuesGroup,
                     "name", rowBy.displayName, "color", Color(rowBy.color, rowBy.hasColor)) +
                sourceText("      source", rowBy.ds);
    for (const TLViewpointParser::LayerInfo& layer : rowSet.layers)
        text += layerText(layer);
    return text;
}

}  // namespace

std::string HostParser::getString(const std::string& key,
                                  const platkit_2_18::generic::varg_list& /*args*/) {
    return "[" + key + "]";
}

basekit2::variant_bag_t element(const std::string& xml) {
    basekit2::variant_bag_t bag;
    const std::string root = xml.substr(1, xml.find_first_of(" />") - 1);
    EXPECT_TRUE(is_success(load_variant_bag_from_string2(bag, xml, root))) << xml;
    return bag;
}

std::string recordText(const TLViewpointParser& parser) {
    std::string text = line("ruler", "present", parser.m_hasRuler);
    for (const TLViewpointParser::LayerInfo& layer : parser.m_rulerLayers)
        text += layerText(layer);
    for (const TLViewpointParser::Area& area : parser.m_areas) {
        text += line("area " + std::to_string(area.index), "id", area.id, "headerMode",
                     area.headerMode, "maxLabels", area.maxLabels, "sizeMode", area.sizeMode,
                     "visible", area.visible, "showYScale", area.showYScale, "rowOutlineStyle",
                     area.rowOutlineStyle, "useWideBands", area.useWideBands);
        for (const TLViewpointParser::RowSet& rowSet : area.rowSets)
            text += rowSetText(rowSet);
    }
    return text;
}

void ViewpointTest::parse(const std::string& inside) {
    m_parser.parseViewpoint(element("<viewpoint>" + inside + "</viewpoint>"), m_library,
                            m_messenger.get(), m_result, m_logger);
}

TLViewpointParser::LayerInfo& ViewpointTest::parseOneLayer(const std::string& attributes,
                                                           const std::string& inside) {
    parse("<area><rowSet><layer " + attributes + ">" + inside + "</layer></rowSet></area>");
    return firstRowSet().layers.at(0);
}

std::string ViewpointTest::messages() const {
    std::string text;
    for (const std::string& message : m_logger->globalMessages)
        text += message + "\n";
    for (const auto& [area, layers] : m_logger->layerMessages)
        for (const auto& [layer, list] : layers)
            for (const std::string& message : list)
                text += fmt::format("layer {}/{}: {}\n", area, layer, message);
    return text;
}

}  // namespace lanefeed_1::fakes
