// Records of a viewpoint as text, so that a test compares whole viewpoints.

#include "record_text.h"

#include <initializer_list>

namespace lanefeed_1::fakes {

namespace {

struct Field {
    Field(const char* name, bool set) : text(set ? std::string(" ") + name : "") {}
    Field(const char* name, const std::string& value)
        : text(value.empty() ? "" : std::string(" ") + name + "='" + value + "'") {}
    Field(const char* name, int value)
        : text(std::string(" ") + name + "=" + printVariant(value)) {}
    Field(const char* name, double value)
        : text(std::string(" ") + name + "=" + printVariant(value)) {}
    Field(const char* name, const TLViewpointParser::TLColor& c, bool given)
        : text(std::string(" ") + name + "=" + std::to_string(c.red) + "," +
               std::to_string(c.green) + "," + std::to_string(c.blue) + "," +
               std::to_string(c.alpha) + (given ? " given" : "")) {}
    Field(const char* name, const dataface_1::IQuery* query)
        : Field(name, query == nullptr ? std::string() : query->getId()) {}

    std::string text;
};

std::string line(const std::string& start, std::initializer_list<Field> fields) {
    std::string text = start;
    for (const Field& field : fields)
        text += field.text;
    return text + "\n";
}

std::string sourceText(const std::string& start, const DicerDataSource& ds) {
    std::string levels;
    for (const int level : ds.m_rowByLevels)
        levels += std::to_string(level) + ";";
    std::string text = line(start, {{"type", ds.m_dataType},
                                    {"path", ds.m_path},
                                    {"table", ds.m_table},
                                    {"attr", ds.m_attr},
                                    {"band", ds.m_band},
                                    {"query", ds.m_defaultQuery.get()},
                                    {"derived", ds.m_derivedQuery.get()},
                                    {"min", ds.m_min},
                                    {"max", ds.m_max},
                                    {"resolution", ds.m_resolutionMs},
                                    {"scale", ds.m_timeScaleMs},
                                    {"levels", levels},
                                    {"disabled", !ds.m_enabled}});
    for (const DicerDataSource::ExtraArgs& extra : ds.m_extras) {
        std::string values;
        for (const std::string& value : extra.values)
            values += value + ";";
        text += line("          extra", {{"path", extra.path},
                                         {"table", extra.table},
                                         {"attr", extra.attr},
                                         {"values", values},
                                         {"suffix", extra.suffix},
                                         {"query", extra.query.get()}});
    }
    for (const auto& dive : ds.m_infoQueries)
        text += line("          dive", {{"query", dive.get()}});
    return text;
}

std::string drawText(const TLViewpointParser::DrawBy& draw) {
    return line("      draw", {{"dive", draw.hasDive},
                               {"required", draw.required},
                               {"name", draw.displayName},
                               {"format", draw.format},
                               {"hierarchical", draw.hierarchical},
                               {"icon", draw.iconType},
                               {"style", draw.lineStyle},
                               {"width", draw.lineWidth},
                               {"binMult", draw.binMult},
                               {"sample", draw.samplePoint},
                               {"lifetime", draw.isLifetime}}) +
           line("       ", {{"display", draw.displayColor, draw.hasDisplayColor},
                            {"filter", draw.filterColor, draw.hasFilterColor},
                            {"decimation", draw.decimationColor, draw.hasDecimationColor}}) +
           sourceText("        source", draw.ds);
}

std::string tooltipText(const char* name, const TLViewpointParser::TooltipBy& tooltip) {
    if (!tooltip.valid) return {};
    return sourceText("      " + std::string(name) + " group " + std::to_string(tooltip.groupId),
                      tooltip.ds);
}

std::string layerText(const TLViewpointParser::LayerInfo& layer) {
    std::string text = line("    layer " + std::to_string(layer.id),
                            {{"type", layer.type},
                             {"given", layer.typeGiven},
                             {"visible", layer.visible},
                             {"scaleGroupStart", layer.scaleGroupStart},
                             {"scaleGroupEnd", layer.scaleGroupEnd},
                             {"seriesGroupStart", layer.seriesGroupStart},
                             {"seriesGroupEnd", layer.seriesGroupEnd},
                             {"showText", layer.showText},
                             {"showTextGiven", layer.showTextGiven},
                             {"visibleSeriesCount", layer.visibleSeriesCount},
                             {"allowToHideSeries", layer.allowToHideSeries},
                             {"visibleOnLevels", layer.visibleOnLevels},
                             {"maxLabels", layer.maxLabels},
                             {"displayModes", layer.displayModes},
                             {"coloringAsLegend", layer.showColoringAsLegendItems},
                             {"name", layer.displayName}});
    if (layer.hasDrawBy) text += drawText(layer.drawBy);
    if (layer.colorBy.m_vectorQuery) text += sourceText("      color", layer.colorBy);
    return text + tooltipText("tooltip", layer.tooltipBy) +
           tooltipText("highlight", layer.highlightBy) + tooltipText("hatch", layer.hatchBy);
}

std::string rowSetText(const TLViewpointParser::RowSet& rowSet) {
    std::string text = line("  rowSet " + std::to_string(rowSet.id),
                            {{"name", rowSet.displayName},
                             {"grid", !rowSet.gridQuery.is_null()},
                             {"requiredData", !rowSet.requiredData.is_null()},
                             {"columnByFromLayers", rowSet.columnByFromLayers}});
    for (const TLViewpointParser::RowBy& rowBy : rowSet.rowBys)
        text += line("    rowBy", {{"valid", rowBy.valid},
                                   {"continuesGroup", rowBy.continuesGroup},
                                   {"name", rowBy.displayName},
                                   {"color", rowBy.color, rowBy.hasColor}}) +
                sourceText("      source", rowBy.ds);
    for (const TLViewpointParser::LayerInfo& layer : rowSet.layers)
        text += layerText(layer);
    return text;
}

}  // namespace

std::string recordText(const TLViewpointParser& parser) {
    std::string text = line("ruler", {{"present", parser.m_hasRuler}});
    for (const TLViewpointParser::LayerInfo& layer : parser.m_rulerLayers)
        text += layerText(layer);
    for (const TLViewpointParser::Area& area : parser.m_areas) {
        text +=
            line("area " + std::to_string(area.index), {{"id", area.id},
                                                        {"headerMode", area.headerMode},
                                                        {"maxLabels", area.maxLabels},
                                                        {"sizeMode", area.sizeMode},
                                                        {"visible", area.visible},
                                                        {"showYScale", area.showYScale},
                                                        {"rowOutlineStyle", area.rowOutlineStyle},
                                                        {"useWideBands", area.useWideBands}});
        for (const TLViewpointParser::RowSet& rowSet : area.rowSets)
            text += rowSetText(rowSet);
    }
    return text;
}

}  // namespace lanefeed_1::fakes
