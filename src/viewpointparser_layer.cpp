// One layer of a row set or of the ruler. Its attributes and children are tables, in the order in
// which they are read. Draw, tooltip, highlight and dive queries stay bags until the pass that
// resolves them; colour and hatch queries are resolved on the spot, since their record is a bare
// data source. A number that cannot be read throws boost::bad_lexical_cast. Tested by
// tests/viewpoint/golden_test.cpp.

#include "viewpointparser.h"

#include "common/bagreading.h"
#include "common/parsereport.h"
#include "common/querysource.h"

#include <platkit_2_18/strings.h>

#include <boost/lexical_cast.hpp>

#include <algorithm>
#include <iterator>

namespace lanefeed_1 {

namespace {

using basekit2::variant_bag_t;
using LayerInfo = TLViewpointParser::LayerInfo;

struct LayerAttribute {
    const char* name;
    void (*read)(LayerInfo& layer, const TolerantReader& from, const char* name);
};

template <bool LayerInfo::*Field, bool Fallback>
void readFlag(LayerInfo& layer, const TolerantReader& from, const char* name) {
    layer.*Field = from.flag(name).value_or(Fallback);
}

template <std::string LayerInfo::*Field>
void readText(LayerInfo& layer, const TolerantReader& from, const char* name) {
    layer.*Field = from.text(name).value_or("");
}

void readShowText(LayerInfo& layer, const TolerantReader& from, const char* name) {
    const std::optional<bool> given = from.flag(name);
    layer.showText = given.value_or(false);
    layer.showTextGiven = given.has_value();
}

void readVisibleSeriesCount(LayerInfo& layer, const TolerantReader& from, const char* name) {
    const basekit2::variant_t* value = from.value(name);
    int count = -1;
    if (value != nullptr && isInteger(*value)) count = value->get<int>();
    if (value != nullptr && isText(*value))
        count = boost::lexical_cast<int>(value->get<std::string>());
    layer.visibleSeriesCount = std::max(count, -1);
}

constexpr LayerAttribute kLayerAttributes[] = {
    {"visible", readFlag<&LayerInfo::visible, true>},
    {"scaleGroupStart", readFlag<&LayerInfo::scaleGroupStart, false>},
    {"scaleGroupEnd", readFlag<&LayerInfo::scaleGroupEnd, false>},
    {"seriesGroupStart", readFlag<&LayerInfo::seriesGroupStart, false>},
    {"seriesGroupEnd", readFlag<&LayerInfo::seriesGroupEnd, false>},
    {"showText", readShowText},
    {"visibleSeriesCount", readVisibleSeriesCount},
    {"allowToHideSeries", readFlag<&LayerInfo::allowToHideSeries, false>},
    {"visibleOnLevels", readText<&LayerInfo::visibleOnLevels>},
    {"maxLabels", readFlag<&LayerInfo::maxLabels, true>},
    {"displayModes", readText<&LayerInfo::displayModes>},
    {"showColoringAsLegendItems", readFlag<&LayerInfo::showColoringAsLegendItems, false>},
    {"displayName", readText<&LayerInfo::displayName>},
};

// A child of a layer, the test by which a second one is a repeat, and its reading, which is false
// when its query is unknown.
struct LayerElement {
    const char* name;
    bool (*isRepeat)(const LayerInfo& layer);
    bool (*read)(TLViewpointParser& parser, LayerInfo& layer, const variant_bag_t& bag);
};

// The repeat tests differ: a colour or hatch that was not resolved may come again, a draw query
// may not.
constexpr LayerElement kLayerElements[] = {
    {"drawBy", [](const LayerInfo& layer) { return layer.drawBy.valid; },
     [](TLViewpointParser& parser, LayerInfo& layer, const variant_bag_t& bag) {
         parser.parseDrawBy(layer.drawBy, bag);
         return true;
     }},
    {"tooltipBy", [](const LayerInfo& layer) { return layer.tooltipBy.valid; },
     [](TLViewpointParser& parser, LayerInfo& layer, const variant_bag_t& bag) {
         parser.parseTooltipBy(layer.tooltipBy, bag);
         return true;
     }},
    {"diveBy", [](const LayerInfo& layer) { return layer.drawBy.hasDive; },
     [](TLViewpointParser& parser, LayerInfo& layer, const variant_bag_t& bag) {
         parser.parseDiveBy(layer.drawBy, bag);
         return true;
     }},
    {"colorBy", [](const LayerInfo& layer) { return !layer.colorBy.m_vectorQuery.is_null(); },
     [](TLViewpointParser& parser, LayerInfo& layer, const variant_bag_t& bag) {
         return parser.parseColorBy(layer.colorBy, bag);
     }},
    {"highlightBy", [](const LayerInfo& layer) { return layer.highlightBy.valid; },
     [](TLViewpointParser& parser, LayerInfo& layer, const variant_bag_t& bag) {
         parser.parseTooltipBy(layer.highlightBy, bag);
         return true;
     }},
    {"hatchBy", [](const LayerInfo& layer) { return layer.hatchBy.valid; },
     [](TLViewpointParser& parser, LayerInfo& layer, const variant_bag_t& bag) {
         layer.hatchBy.valid = parser.parseColorBy(layer.hatchBy.ds, bag);
         return layer.hatchBy.valid;
     }},
};

struct LayerTypeName {
    const char* name;
    TLViewpointParser::LayerType type;
};
constexpr LayerTypeName kLayerTypes[] = {
    {"Background", TLViewpointParser::Background},
    {"Overtime", TLViewpointParser::Overtime},
    {"EventMarker", TLViewpointParser::EventMarker},
    {"EventMarkerGlobal", TLViewpointParser::EventMarkerGlobal},
    {"RowInterval", TLViewpointParser::RowInterval},
    {"RowIntervalNested", TLViewpointParser::RowIntervalNested},
    {"Transition", TLViewpointParser::Transition},
    {"InstanceCountOverTime", TLViewpointParser::InstanceCountOverTime},
    {"CountOverTime", TLViewpointParser::CountOverTime},
    {"GlobalCrossLine", TLViewpointParser::GlobalCrossLine},
};

void resetLayer(LayerInfo& layer) {
    layer.hasDrawBy = false;
    layer.drawBy.valid = false;
    layer.drawBy.hasDive = false;
    layer.drawBy.hasDisplayColor = false;
    layer.drawBy.hasFilterColor = false;
    layer.drawBy.hasDecimationColor = false;
    layer.drawBy.ds.m_derivedQuery.reset();
    layer.drawBy.isLifetime = false;
    layer.drawBy.lineWidth = 2;
    layer.drawBy.binMult = 1.0;
    layer.tooltipBy.valid = false;
    layer.highlightBy.valid = false;
    layer.hatchBy.valid = false;
    layer.typeGiven = false;
    layer.showText = false;
    layer.showTextGiven = false;
    layer.maxLabels = true;
}

// Message about a child, empty when all is well.
std::string readChild(TLViewpointParser& parser,
                      LayerInfo& layer,
                      const std::string& name,
                      const variant_bag_t& child) {
    const auto* const end = std::end(kLayerElements);
    const auto* const element =
        std::find_if(std::begin(kLayerElements), end,
                     [&name](const LayerElement& candidate) { return name == candidate.name; });
    if (element == end) {
        return "unknown element <" + name +
               "> found under <layer>. Expected: "
               "<drawBy>, <tooltipBy>, <colorBy>, <hatchBy>, <diveBy>, <highlightBy>";
    }
    if (element->isRepeat(layer)) {
        return "Timeline: Multiple <" + name + "> found under <layer> instance . Only the first <" +
               name + "> will be used";
    }
    if (element->read(parser, layer, child)) return {};
    return name + " query " + printVariantBag(child, false) + "couldn't be resolved correctly";
}

// An unknown name counts as given, but leaves the type as it is.
void readType(LayerInfo& layer, const variant_bag_t& bag) {
    const std::string name = StrictReader(bag, LF_HERE).text("type").value_or("");
    layer.typeGiven = !name.empty();
    for (const LayerTypeName& entry : kLayerTypes)
        if (name == entry.name) layer.type = entry.type;
}

void readRowByLevels(LayerInfo& layer, const variant_bag_t& bag) {
    const std::string levels = StrictReader(bag, LF_HERE).text("rowByLevels").value_or("");
    for (const std::string& level : platkit_2_18::strings::split_string(levels, ","))
        layer.drawBy.ds.m_rowByLevels.push_back(boost::lexical_cast<int>(level));
}

}  // namespace

void TLViewpointParser::parseLayer(int area,
                                   int /*rowSet*/,
                                   LayerInfo& layer,
                                   const variant_bag_t& bag,
                                   unsigned long /*rowByCount*/) {
    resetLayer(layer);
    for (const LayerAttribute& attribute : kLayerAttributes)
        attribute.read(layer, TolerantReader(bag), attribute.name);
    for (auto it = bag.begin<variant_bag_t>(); !it.at_end(); it.next()) {
        const std::string message = readChild(*this, layer, it.get_name(), it.get_value());
        if (!message.empty()) reportLayer(m_logger.get(), area, layer.id, message, LF_HERE);
    }
    layer.hasDrawBy = layer.drawBy.valid;
    readType(layer, bag);
    readRowByLevels(layer, bag);
}

// NOLINTNEXTLINE(readability-make-member-function-const): as hosts know it
bool TLViewpointParser::parseColorBy(DicerDataSource& ds, const variant_bag_t& bag) {
    const auto query = resolveElement(m_library, bag, m_messenger);
    if (!LF_CHECK(query)) return false;
    const auto infoQuery = dataface_1::IInfoQuery::cast(query->getQueries().current());
    if (!LF_CHECK(infoQuery)) return false;
    ds.m_dataType = DicerDataSource::dsInfo;
    setSource(ds, *infoQuery);
    ds.m_defaultQuery = infoQuery;
    ds.m_vectorQuery = query;
    return true;
}

void TLViewpointParser::parseDrawBy(DrawBy& drawBy, const variant_bag_t& bag) {
    drawBy.bag = bag;
    drawBy.ds.m_derivedQuery.reset();
    drawBy.ds.m_dataType = DicerDataSource::dsNone;
    drawBy.valid = true;
    drawBy.hierarchical = false;
    drawBy.samplePoint = markerBoth;
    drawBy.required = StrictReader(bag, LF_HERE).flag("required").value_or(false);
}

void TLViewpointParser::parseDiveBy(DrawBy& drawBy, const variant_bag_t& bag) {
    drawBy.diveBag = bag;
    drawBy.hasDive = true;
}

void TLViewpointParser::parseTooltipBy(TooltipBy& tooltipBy, const variant_bag_t& bag) {
    tooltipBy.bag = bag;
    tooltipBy.valid = true;
    const StrictReader strict(bag, LF_HERE);
    const char* const name = bag.get<basekit2::variant_t>("groupId") != nullptr ? "groupId" : "id";
    tooltipBy.groupId = strict.integer(name).value_or(-1);
}

}  // namespace lanefeed_1
