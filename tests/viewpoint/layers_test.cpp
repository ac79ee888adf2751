#include "viewpoint_text.h"

#include <boost/lexical_cast.hpp>

#include "support/captured_log.h"

namespace lanefeed_1 {
namespace {

using lanefeed_test::CapturedLog;
using LayerInfo = TLViewpointParser::LayerInfo;

class Layers : public fakes::ViewpointTest {};

// The flags of a layer as letters, "V" for a visible one.
std::string flags(const LayerInfo& layer) {
    std::string text;
    const std::pair<char, bool> all[] = {
        {'V', layer.visible},        {'s', layer.scaleGroupStart},
        {'S', layer.scaleGroupEnd},  {'g', layer.seriesGroupStart},
        {'G', layer.seriesGroupEnd}, {'t', layer.showText},
        {'T', layer.showTextGiven},  {'h', layer.allowToHideSeries},
        {'M', layer.maxLabels},      {'c', layer.showColoringAsLegendItems},
        {'D', layer.hasDrawBy},      {'y', layer.typeGiven}};
    for (const auto& [letter, set] : all)
        if (set) text += letter;
    return text;
}

TEST_F(Layers, ReadEveryAttribute) {
    const LayerInfo& bare = parseOneLayer("", "");
    EXPECT_EQ(flags(bare), "VM");
    EXPECT_EQ(bare.id, 1);
    EXPECT_EQ(bare.type, TLViewpointParser::Background);
    EXPECT_EQ(bare.visibleSeriesCount, -1);
    EXPECT_EQ(bare.visibleOnLevels + bare.displayModes + bare.displayName, "");
    EXPECT_TRUE(bare.drawBy.ds.m_rowByLevels.empty());
    const LayerInfo& full = parseOneLayer(
        R"(visible="false" scaleGroupStart="true" scaleGroupEnd="true" seriesGroupStart="true"
           seriesGroupEnd="true" showText="true" int:visibleSeriesCount="4" allowToHideSeries="true"
           visibleOnLevels="1,2" maxLabels="false" displayModes="a b" displayName="%literal"
           showColoringAsLegendItems="true" type="CountOverTime" rowByLevels="0,-2")",
        R"(<drawBy required="true"/><tooltipBy int:groupId="3" int:id="4"/>
           <highlightBy int:id="5"/>)");
    EXPECT_EQ(flags(full), "sSgGtThcDy");
    EXPECT_EQ(full.visibleSeriesCount, 4);
    EXPECT_EQ(full.visibleOnLevels + "/" + full.displayModes + "/" + full.displayName,
              "1,2/a b/%literal");
    EXPECT_EQ(full.type, TLViewpointParser::CountOverTime);
    EXPECT_EQ(full.drawBy.ds.m_rowByLevels, (std::vector<int>{0, -2}));
    EXPECT_TRUE(full.drawBy.required && full.drawBy.valid);
    EXPECT_EQ(full.tooltipBy.groupId, 3);
    EXPECT_EQ(full.highlightBy.groupId, 5);
    EXPECT_EQ(flags(parseOneLayer(R"(showText="maybe" visible="no")", "")), "VM");
}

TEST_F(Layers, KnowTheirTypesByExactName) {
    const char* const names[] = {
        "Background",    "Overtime",          "EventMarker", "EventMarkerGlobal",
        "RowInterval",   "RowIntervalNested", "Transition",  "InstanceCountOverTime",
        "CountOverTime", "GlobalCrossLine"};
    int type = 0;
    for (const char* name : names)
        EXPECT_EQ(parseOneLayer(std::string("type='") + name + "'", "").type, type++) << name;
    const LayerInfo& unknown = parseOneLayer("type='overtime'", "");
    EXPECT_EQ(unknown.type, TLViewpointParser::Background);
    EXPECT_TRUE(unknown.typeGiven);
    EXPECT_FALSE(parseOneLayer("type=''", "").typeGiven);
}

TEST_F(Layers, ReadACountOfSeriesInSeveralKinds) {
    const std::pair<const char*, int> cases[] = {
        {"visibleSeriesCount='12'", 12},   {"visibleSeriesCount='+3'", 3},
        {"visibleSeriesCount='-5'", -1},   {"int:visibleSeriesCount='-5'", -1},
        {"visibleSeriesCount='true'", -1}, {"double:visibleSeriesCount='3'", -1},
        {"uint:visibleSeriesCount='7'", 7}};
    for (const auto& [attribute, count] : cases)
        EXPECT_EQ(parseOneLayer(attribute, "").visibleSeriesCount, count) << attribute;
}

TEST_F(Layers, ThrowANumberThatCannotBeRead) {
    for (const char* attribute :
         {"visibleSeriesCount='abc'", "visibleSeriesCount='9999999999'", "visibleSeriesCount=''",
          "rowByLevels='1,,2'", "rowByLevels='1, 2'"}) {
        EXPECT_THROW(parseOneLayer(attribute, ""), boost::bad_lexical_cast) << attribute;
        EXPECT_TRUE(parser.m_areas.empty()) << "the area being read is not kept";
    }
    EXPECT_TRUE(parseOneLayer("rowByLevels=''", "").drawBy.ds.m_rowByLevels.empty());
}

TEST_F(Layers, ReportRepeatsAndUnknownChildren) {
    library->known["color"] = fakes::vectorOf({fakes::info({})});
    const CapturedLog log;
    parseOneLayer("", R"(<diveBy/><drawBy/><tooltipBy/><colorBy query="color"/><highlightBy/>
        <hatchBy query="color"/><sound/><drawBy/><tooltipBy/><diveBy/><colorBy query="color"/>
        <highlightBy/><hatchBy query="color"/>)");
    std::vector<std::string> expected = {
        "unknown element <sound> found under <layer>. Expected: "
        "<drawBy>, <tooltipBy>, <colorBy>, <hatchBy>, <diveBy>, <highlightBy>"};
    for (const std::string name :
         {"drawBy", "tooltipBy", "diveBy", "colorBy", "highlightBy", "hatchBy"})
        expected.push_back("Timeline: Multiple <" + name +
                           "> found under <layer> instance . Only the first <" + name +
                           "> will be used");
    std::vector<std::string>& found = logger->layerMessages[1][1];
    ASSERT_GE(found.size(), expected.size());
    found.resize(expected.size());
    EXPECT_EQ(found, expected);
    for (const std::string& message : expected)
        EXPECT_EQ(log.count("Area #1 Layer #1 " + message), 1);
}

TEST_F(Layers, ReadAColourOrHatchAgainAfterAFailure) {
    library->known["series"] =
        fakes::vectorOf({fakes::make<fakes::FakeData<dataface_1::ITimeQuery>>({})});
    fakes::Facts facts;
    facts.table = "slice_data";
    facts.path = "dd_task";
    facts.attr = "name";
    const auto color = fakes::info(facts);
    library->known["color"] = fakes::vectorOf({color});
    const CapturedLog log;
    const LayerInfo& layer = parseOneLayer("", R"(<colorBy query="none"/><colorBy query="series"/>
        <colorBy query="color"/><hatchBy query="series"/><hatchBy query="color"/>)");
    EXPECT_EQ(messages(),
              "layer 1/1: colorBy query <query> = none\\ncouldn't be resolved correctly\n"
              "layer 1/1: colorBy query <query> = series\\ncouldn't be resolved correctly\n"
              "layer 1/1: hatchBy query <query> = series\\ncouldn't be resolved correctly\n");
    EXPECT_EQ(log.count("query, at file: "), 1);
    EXPECT_EQ(log.count("infoQuery, at file: "), 2);
    EXPECT_TRUE(layer.hatchBy.valid);
    for (const DicerDataSource& ds : {layer.colorBy, layer.hatchBy.ds}) {
        EXPECT_EQ(ds.m_path + "/" + ds.m_table + "/" + ds.m_attr, "dd_task/slice_data/name");
        EXPECT_EQ(ds.m_dataType, DicerDataSource::dsInfo);
        EXPECT_EQ(ds.m_defaultQuery, color);
        EXPECT_EQ(ds.m_vectorQuery, library->known["color"]);
    }
}

TEST_F(Layers, WantAnIntegerForTheGroupOfATooltip) {
    const CapturedLog log;
    const LayerInfo& layer =
        parseOneLayer("", R"(<tooltipBy groupId="1" int:id="2"/><highlightBy/>)");
    EXPECT_EQ(layer.tooltipBy.groupId, -1);
    EXPECT_EQ(layer.highlightBy.groupId, -1);
    EXPECT_EQ(log.count("can_get<int>()"), 1);
}

TEST_F(Layers, FileMessagesOfARulerUnderAreaZeroWhileParsing) {
    parse("<ruler><layer/><layer><sound/></layer></ruler>");
    EXPECT_EQ(logger->layerMessages[0][2].size(), 1U);
}

}  // namespace
}  // namespace lanefeed_1
