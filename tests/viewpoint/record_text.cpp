// Records of a viewpoint as text, so that a test compares whole viewpoints.

#include "record_text.h"

namespace lanefeed_1::fakes {

namespace {

// One line: fields in the order in which they are added.
class Line {
public:
    explicit Line(std::string start) : m_text(std::move(start)) {}
    Line& flag(const char* name, bool set) {
        if (set) m_text += std::string(" ") + name;
        return *this;
    }
    Line& text(const char* name, const std::string& value) {
        if (!value.empty()) m_text += std::string(" ") + name + "='" + value + "'";
        return *this;
    }
    Line& number(const char* name, double value) {
        m_text += std::string(" ") + name + "=" + printVariant(value);
        return *this;
    }
    Line& color(const char* name, const TLViewpointParser::TLColor& color, bool given) {
        m_text += std::string(" ") + name + "=" + std::to_string(color.red) + "," +
                  std::to_string(color.green) + "," + std::to_string(color.blue) + "," +
                  std::to_string(color.alpha);
        return flag("given", given);
    }
    std::string end() const { return m_text + "\n"; }

private:
    std::string m_text;
};

std::string idOf(const dataface_1::IQuery* query) {
    return query == nullptr ? std::string() : query->getId();
}

std::string sourceText(const std::string& start, const DicerDataSource& ds) {
    std::string levels;
    for (const int level : ds.m_rowByLevels)
        levels += std::to_string(level) + ";";
    std::string text = Line(start)
                           .number("type", ds.m_dataType)
                           .text("path", ds.m_path)
                           .text("table", ds.m_table)
                           .text("attr", ds.m_attr)
                           .text("band", ds.m_band)
                           .text("query", idOf(ds.m_defaultQuery.get()))
                           .text("derived", idOf(ds.m_derivedQuery.get()))
                           .number("min", ds.m_min)
                           .number("max", ds.m_max)
                           .number("resolution", ds.m_resolutionMs)
                           .number("scale", ds.m_timeScaleMs)
                           .text("levels", levels)
                           .flag("disabled", !ds.m_enabled)
                           .end();
    for (const DicerDataSource::ExtraArgs& extra : ds.m_extras) {
        std::string values;
        for (const std::string& value : extra.values)
            values += value + ";";
        text += Line("          extra")
                    .text("path", extra.path)
                    .text("table", extra.table)
                    .text("attr", extra.attr)
                    .text("values", values)
                    .text("suffix", extra.suffix)
                    .text("query", idOf(extra.query.get()))
                    .end();
    }
    for (const auto& dive : ds.m_infoQueries)
        text += Line("          dive").text("query", idOf(dive.get())).end();
    return text;
}

std::string drawText(const TLViewpointParser::DrawBy& drawBy) {
    return Line("      draw")
               .flag("dive", drawBy.hasDive)
               .flag("required", drawBy.required)
               .text("name", drawBy.displayName)
               .text("format", drawBy.format)
               .flag("hierarchical", drawBy.hierarchical)
               .text("icon", drawBy.iconType)
               .text("style", drawBy.lineStyle)
               .number("width", drawBy.lineWidth)
               .number("binMult", drawBy.binMult)
               .number("sample", drawBy.samplePoint)
               .flag("lifetime", drawBy.isLifetime)
               .end() +
           Line("       ")
               .color("display", drawBy.displayColor, drawBy.hasDisplayColor)
               .color("filter", drawBy.filterColor, drawBy.hasFilterColor)
               .color("decimation", drawBy.decimationColor, drawBy.hasDecimationColor)
               .end() +
           sourceText("        source", drawBy.ds);
}

std::string tooltipText(const char* name, const TLViewpointParser::TooltipBy& tooltip) {
    if (!tooltip.valid) return {};
    return sourceText("      " + std::string(name) + " group " + std::to_string(tooltip.groupId),
                      tooltip.ds);
}

std::string layerText(const TLViewpointParser::LayerInfo& layer) {
    std::string text = Line("    layer " + std::to_string(layer.id))
                           .number("type", layer.type)
                           .flag("given", layer.typeGiven)
                           .flag("visible", layer.visible)
                           .flag("scaleGroupStart", layer.scaleGroupStart)
                           .flag("scaleGroupEnd", layer.scaleGroupEnd)
                           .flag("seriesGroupStart", layer.seriesGroupStart)
                           .flag("seriesGroupEnd", layer.seriesGroupEnd)
                           .flag("showText", layer.showText)
                           .flag("showTextGiven", layer.showTextGiven)
                           .number("visibleSeriesCount", layer.visibleSeriesCount)
                           .flag("allowToHideSeries", layer.allowToHideSeries)
                           .text("visibleOnLevels", layer.visibleOnLevels)
                           .flag("maxLabels", layer.maxLabels)
                           .text("displayModes", layer.displayModes)
                           .flag("coloringAsLegend", layer.showColoringAsLegendItems)
                           .text("name", layer.displayName)
                           .end();
    if (layer.hasDrawBy) text += drawText(layer.drawBy);
    if (layer.colorBy.m_vectorQuery) text += sourceText("      color", layer.colorBy);
    return text + tooltipText("tooltip", layer.tooltipBy) +
           tooltipText("highlight", layer.highlightBy) + tooltipText("hatch", layer.hatchBy);
}

std::string rowSetText(const TLViewpointParser::RowSet& rowSet) {
    std::string text = Line("  rowSet " + std::to_string(rowSet.id))
                           .text("name", rowSet.displayName)
                           .flag("grid", !rowSet.gridQuery.is_null())
                           .flag("requiredData", !rowSet.requiredData.is_null())
                           .flag("columnByFromLayers", rowSet.columnByFromLayers)
                           .end();
    for (const TLViewpointParser::RowBy& rowBy : rowSet.rowBys)
        text += Line("    rowBy")
                    .flag("valid", rowBy.valid)
                    .text("name", rowBy.displayName)
                    .color("color", rowBy.color, rowBy.hasColor)
                    .end() +
                sourceText("      source", rowBy.ds);
    for (const TLViewpointParser::LayerInfo& layer : rowSet.layers)
        text += layerText(layer);
    return text;
}

}  // namespace

std::string recordText(const TLViewpointParser& parser) {
    std::string text = Line("ruler").flag("present", parser.m_hasRuler).end();
    for (const TLViewpointParser::LayerInfo& layer : parser.m_rulerLayers)
        text += layerText(layer);
    for (const TLViewpointParser::Area& area : parser.m_areas) {
        text += Line("area " + std::to_string(area.index))
                    .text("id", area.id)
                    .text("headerMode", area.headerMode)
                    .flag("maxLabels", area.maxLabels)
                    .number("sizeMode", area.sizeMode)
                    .flag("visible", area.visible)
                    .flag("showYScale", area.showYScale)
                    .text("rowOutlineStyle", area.rowOutlineStyle)
                    .flag("useWideBands", area.useWideBands)
                    .end();
        for (const TLViewpointParser::RowSet& rowSet : area.rowSets)
            text += rowSetText(rowSet);
    }
    return text;
}

}  // namespace lanefeed_1::fakes
