// The words of viewpoints, for their check: docs/VIEWPOINTS.md tells what they mean. Tested by
// tests/tool/viewpoint_author_test.cpp.

#include "viewpoint_words.h"

#include "nearest.h"

#include <algorithm>

namespace lanefeed_tool {

namespace {

using basekit2::variant_t;

const std::vector<std::string> kLayerTypes = {
    "Background",    "Overtime",          "EventMarker", "EventMarkerGlobal",
    "RowInterval",   "RowIntervalNested", "Transition",  "InstanceCountOverTime",
    "CountOverTime", "GlobalCrossLine"};

const std::vector<AttributeWord> kLayerAttributes = {{"type", WordKind::layerType},
                                                     {"displayName", WordKind::text},
                                                     {"visible", WordKind::flag},
                                                     {"rowByLevels", WordKind::levels},
                                                     {"visibleSeriesCount", WordKind::count},
                                                     {"allowToHideSeries", WordKind::flag},
                                                     {"maxLabels", WordKind::flag},
                                                     {"showText", WordKind::flag},
                                                     {"scaleGroupStart", WordKind::flag},
                                                     {"scaleGroupEnd", WordKind::flag},
                                                     {"seriesGroupStart", WordKind::flag},
                                                     {"seriesGroupEnd", WordKind::flag},
                                                     {"visibleOnLevels", WordKind::text},
                                                     {"displayModes", WordKind::text},
                                                     {"showColoringAsLegendItems", WordKind::flag}};

const std::vector<AttributeWord> kAreaAttributes = {
    {"id", WordKind::text},           {"headerMode", WordKind::text},
    {"visible", WordKind::flag},      {"sizeMode", WordKind::sizeMode},
    {"maxLabels", WordKind::flag},    {"showYScale", WordKind::flag},
    {"useWideBands", WordKind::flag}, {"rowOutlineStyle", WordKind::text}};

const std::vector<AttributeWord> kGroupAttributes = {
    {"query", WordKind::text}, {"groupId", WordKind::integer}, {"id", WordKind::integer}};

const std::vector<ElementWords>& allWords() {
    static const std::vector<ElementWords> kWords = {
        {"viewpoint", {}, {"area", "ruler", "description", "icon", "helpKeywordF1"}, true, false},
        {"ruler", {}, {"layer"}, true, false},
        {"area", kAreaAttributes, {"rowSet"}, true, false},
        {"rowSet",
         {{"displayName", WordKind::text}},
         {"rowBy", "layer", "gridQuery", "requiredData", "columnBy"},
         false,
         false},
        {"rowBy",
         {{"query", WordKind::text},
          {"displayName", WordKind::text},
          {"useGridQuery", WordKind::flag},
          {"default", WordKind::flag}},
         {},
         false,
         true},
        {"gridQuery", {}, {"rowBy", "columnBy"}, true, false},
        {"requiredData", {}, {"rowBy", "columnBy"}, true, false},
        {"columnBy", {{"query", WordKind::text}, {"required", WordKind::flag}}, {}, false, true},
        {"layer",
         kLayerAttributes,
         {"drawBy", "tooltipBy", "colorBy", "hatchBy", "diveBy", "highlightBy"},
         true,
         false},
        {"drawBy", {{"query", WordKind::text}, {"required", WordKind::flag}}, {}, false, true},
        {"tooltipBy", kGroupAttributes, {}, false, true},
        {"highlightBy", kGroupAttributes, {}, false, true},
        {"diveBy", {{"query", WordKind::text}}, {}, false, true},
        {"colorBy", {{"query", WordKind::text}}, {}, false, true},
        {"hatchBy", {{"query", WordKind::text}}, {}, false, true}};
    return kWords;
}

bool isText(const variant_t& value) {
    return value.get_type() == basekit2::vtString || value.get_type() == basekit2::vtConstString;
}

bool isInteger(const variant_t& value) {
    return value.get_type() >= basekit2::vtS8 && value.get_type() <= basekit2::vtU64;
}

bool isWholeNumber(const std::string& text) {
    const std::size_t sign = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
    // No more digits than an int is sure to hold.
    return text.size() > sign && text.size() - sign < 10 &&
           std::all_of(text.begin() + static_cast<std::ptrdiff_t>(sign), text.end(),
                       [](char c) { return c >= '0' && c <= '9'; });
}

bool areLevels(const std::string& text) {
    for (std::size_t from = 0; !text.empty() && from <= text.size();) {
        const std::size_t comma = std::min(text.find(',', from), text.size());
        if (!isWholeNumber(text.substr(from, comma - from))) return false;
        from = comma + 1;
    }
    return true;
}

std::string layerTypeAdvice(const std::string& text) {
    if (std::find(kLayerTypes.begin(), kLayerTypes.end(), text) != kLayerTypes.end()) return {};
    const std::string nearest = nearestWord(text, kLayerTypes);
    if (!nearest.empty()) return "did you mean \"" + nearest + "\"?";
    std::string all;
    for (const std::string& type : kLayerTypes)
        all += (all.empty() ? "" : ", ") + type;
    return "write one of " + all;
}

}  // namespace

const ElementWords* wordsOf(const std::string& element) {
    const std::vector<ElementWords>& all = allWords();
    const auto found = std::find_if(all.begin(), all.end(), [&](const ElementWords& words) {
        return element == words.element;
    });
    return found == all.end() ? nullptr : &*found;
}

std::string valueAdvice(WordKind kind, const variant_t& value) {
    const std::string text = isText(value) ? value.get<std::string>() : std::string();
    switch (kind) {
    case WordKind::flag: return isText(value) ? "write true or false" : "";
    case WordKind::text: return isText(value) ? "" : "write it with text: in front of the name";
    case WordKind::integer:
        return isInteger(value) ? "" : "write a whole number with int: in front of the name";
    case WordKind::count:
        return isInteger(value) || isWholeNumber(text) ? "" : "write a whole number";
    case WordKind::levels:
        return isText(value) && areLevels(text) ? "" : "write levels such as \"0,1\"";
    case WordKind::sizeMode:
        return text == "auto" || text == "rowLimit" ? "" : "write auto or rowLimit";
    case WordKind::layerType: return layerTypeAdvice(text);
    }
    return {};
}

}  // namespace lanefeed_tool
