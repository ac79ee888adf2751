// Display attributes of a draw query: each is asked of the vector query first and of the default
// query when that has no fitting value. Tested by tests/viewpoint/golden_test.cpp.

#include "viewpointparser.h"

#include "common/colortext.h"
#include "common/names.h"
#include "common/queryattribute.h"
#include "common/valuekind.h"

#include <platkit_2_18/convert.h>

#include <optional>

namespace lanefeed_1 {

namespace {

namespace convert = platkit_2_18::generic::convert;
using DrawBy = TLViewpointParser::DrawBy;
using TLColor = TLViewpointParser::TLColor;

constexpr int kDefaultLineWidth = 2;
constexpr int kLargestLineWidth = 20;

struct SamplePointName {
    const char* name;
    TLViewpointParser::MarkerPosition position;
};
constexpr SamplePointName kSamplePoints[] = {{"end", TLViewpointParser::markerEnd},
                                             {"start", TLViewpointParser::markerStart},
                                             {"both", TLViewpointParser::markerBoth}};

basekit2::variant_t displayValue(const DrawBy& drawBy, const char* name, ValueTest fits) {
    LF_CHECK(drawBy.ds.m_vectorQuery);
    return layeredAttribute(drawBy.ds, name, fits, LF_HERE, "drawBy.ds.m_defaultQuery");
}

std::optional<std::string> displayText(const DrawBy& drawBy, const char* name) {
    const basekit2::variant_t value = displayValue(drawBy, name, isText);
    if (!isText(value)) return std::nullopt;
    return value.get<std::string>();
}

bool assign(const std::optional<dataface_1::color_t>& from, TLColor& to) {
    if (!from) return false;
    to = {from->red, from->green, from->blue, from->alpha};
    return true;
}

}  // namespace

void TLViewpointParser::getSamplePointTime(DrawBy& drawBy) {
    const auto text = displayText(drawBy, names::kMarker);
    if (!text) return;
    for (const SamplePointName& entry : kSamplePoints) {
        if (*text != entry.name) continue;
        drawBy.samplePoint = entry.position;
        return;
    }
    LF_ALERT("Unknown value received for <marker> display attribute");
}

void TLViewpointParser::getOverTimeBinMult(DrawBy& drawBy) {
    drawBy.binMult = 1.0;
    const auto text = displayText(drawBy, names::kBinMult);
    if (!text) return;
    double value = 0.0;
    convert::str_to_double(*text, value);
    if (value > 0 && value <= 1) {
        drawBy.binMult = value;
        return;
    }
    if (isLogged(logError)) {
        logText(logError,
                "Invalid timelineBinMult value: " + printVariant(value) +
                    ". Should be 0 < timelineBinMult <= 1. Default value will be used.",
                LF_HERE);
    }
}

void TLViewpointParser::getLineWidth(DrawBy& drawBy) {
    int width = 0;
    if (const auto text = displayText(drawBy, names::kPenWidth))
        convert::str_to_int(*text, width, 10);
    drawBy.lineWidth = width >= 1 && width <= kLargestLineWidth ? width : kDefaultLineWidth;
}

void TLViewpointParser::getLineStyle(DrawBy& drawBy) {
    if (const auto text = displayText(drawBy, names::kPenStyle)) drawBy.lineStyle = *text;
}

void TLViewpointParser::getIconType(DrawBy& drawBy) {
    if (const auto text = displayText(drawBy, names::kIconType)) drawBy.iconType = *text;
}

void TLViewpointParser::getDecimationColor(DrawBy& drawBy) {
    const auto text = displayText(drawBy, names::kDecimationColor);
    if (!text) return;
    drawBy.hasDecimationColor =
        colorFromString(*text, names::kDecimationColor, drawBy.decimationColor);
}

void TLViewpointParser::getFilterColor(DrawBy& drawBy) {
    if (const auto text = displayText(drawBy, names::kFilterColor)) {
        drawBy.hasFilterColor = colorFromString(*text, names::kFilterColor, drawBy.filterColor);
    } else {
        drawBy.filterColor = {0, 0, 0, getFilteredOvertimeColor()};
    }
}

void TLViewpointParser::getDisplayColor(DrawBy& drawBy) {
    if (const auto text = displayText(drawBy, names::kGraphColor)) {
        drawBy.hasDisplayColor = colorFromString(*text, names::kGraphColor, drawBy.displayColor);
    } else {
        drawBy.displayColor = {0, 0, 0, getOvertimeColor()};
    }
}

void TLViewpointParser::getDisplayFormat(DrawBy& drawBy) {
    const auto text = displayText(drawBy, names::kFormat);
    if (!text) return;
    drawBy.format = *text;
    if (drawBy.format == "hierarchical") drawBy.hierarchical = true;
}

// A number that cannot be read leaves both of these as they are.
void TLViewpointParser::getOvertimeTimeScale(DrawBy& drawBy) {
    if (const auto text = displayText(drawBy, names::kTimeScale))
        convert::str_to_double(*text, drawBy.ds.m_timeScaleMs);
}

void TLViewpointParser::getOvertimeResolution(DrawBy& drawBy) {
    if (const auto text = displayText(drawBy, names::kResolution))
        convert::str_to_double(*text, drawBy.ds.m_resolutionMs);
}

void TLViewpointParser::getMarkerSize(DrawBy& drawBy) {
    const basekit2::variant_t size = displayValue(drawBy, names::kMarkerSize, isInteger);
    if (isInteger(size)) drawBy.markerSize = size.get<int>();
}

bool TLViewpointParser::colorFromString(const std::string& text,
                                        const std::string& /*name*/,
                                        TLColor& color) {
    return assign(parseColor(text), color);
}

bool TLViewpointParser::colorFromRGBA(const std::string& text,
                                      const std::string& /*name*/,
                                      TLColor& color) {
    return assign(parseColorList(text), color);
}

bool TLViewpointParser::colorFromHexString(const std::string& text,
                                           const std::string& /*name*/,
                                           TLColor& color) {
    return assign(parseColorNumber(text), color);
}

}  // namespace lanefeed_1
