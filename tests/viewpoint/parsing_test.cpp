#include "record_text.h"
#include "support/captured_log.h"
#include "viewpoint_text.h"

#include <boost/lexical_cast.hpp>

namespace lanefeed_1 {
namespace {

using lanefeed_test::CapturedLog;

class Parsing : public fakes::ViewpointTest {};

TEST_F(Parsing, RefusesTheRulerOfASecondViewpoint) {
    parse("<ruler><layer/></ruler><area/>");
    parse("<ruler><layer/></ruler><area/><area/>");
    EXPECT_EQ(m_parser.m_rulerLayers.size(), 1U);
    EXPECT_EQ(m_parser.m_areas.size(), 2U) << "areas are read anew";
    EXPECT_EQ(messages(), "global: Multiple <ruler> found. Only the first <ruler> will be used.\n");
}

TEST_F(Parsing, WantsAnAreaBeforeAnythingIsResolved) {
    const CapturedLog log;
    parse(R"(<ruler><layer><drawBy query="busy"/></layer></ruler>)");
    EXPECT_TRUE(m_library->resolved.empty());
    const std::string message =
        "Timeline: At least one <area> was expectedbut could not be found. "
        "Timeline will appear empty.";
    EXPECT_EQ(messages(), "global: " + message + "\n");
    EXPECT_EQ(log.count(message), 1);
}

TEST_F(Parsing, LeavesAllAsItWasWithoutALibraryAResultOrALogger) {
    parse("<area/>");
    const CapturedLog log;
    m_parser.parseViewpoint({}, nullptr, nullptr, m_result, m_logger);
    m_parser.parseViewpoint({}, m_library, nullptr, nullptr, m_logger);
    m_parser.parseViewpoint({}, m_library, nullptr, m_result, nullptr);
    EXPECT_EQ(m_parser.m_areas.size(), 1U);
    EXPECT_EQ(log.count("library && result && logger"), 3);
    EXPECT_EQ(log.entries().size(), 3U);
}

// A host may read a layer again into the record that it has; only the type stays.
TEST_F(Parsing, ForgetsWhatALayerHeldBefore) {
    TLViewpointParser::LayerInfo layer;
    layer.type = TLViewpointParser::Overtime;
    layer.typeGiven = layer.showText = layer.showTextGiven = true;
    layer.tooltipBy.valid = layer.highlightBy.valid = layer.hatchBy.valid = true;
    TLViewpointParser::DrawBy& draw = layer.drawBy;
    draw.valid = draw.hasDive = draw.required = draw.isLifetime = draw.hierarchical = true;
    draw.hasDisplayColor = draw.hasFilterColor = draw.hasDecimationColor = true;
    draw.lineWidth = 9;
    draw.binMult = 0.5;
    draw.samplePoint = TLViewpointParser::markerEnd;
    draw.ds.m_dataType = DicerDataSource::dsDerived;
    draw.ds.m_derivedQuery =
        basekit2::make_object<lanefeed_test::FakeDerivedQuery>(lanefeed_test::QueryFacts());
    m_parser.parseLayer(1, 1, layer, fakes::element("<layer><drawBy/></layer>"), 0);
    m_parser.m_rulerLayers = {layer};
    EXPECT_EQ(fakes::recordText(m_parser),
              "ruler\n"
              "    layer 0 type=1 visible visibleSeriesCount=-1 maxLabels\n"
              "      draw width=2 binMult=1 sample=0\n"
              "        display=0,0,0,0 filter=0,0,0,0 decimation=0,0,0,0\n"
              "        source type=0 min=0 max=0 resolution=0 scale=0\n");
    m_parser.parseLayer(1, 1, layer, fakes::element("<layer/>"), 0);
    EXPECT_FALSE(layer.hasDrawBy);
}

TEST_F(Parsing, ThrowsANumberThatCannotBeRead) {
    for (const char* attribute :
         {"visibleSeriesCount='abc'", "visibleSeriesCount='9999999999'", "visibleSeriesCount=''",
          "rowByLevels='1,,2'", "rowByLevels='1, 2'"}) {
        EXPECT_THROW(parseOneLayer(attribute, ""), boost::bad_lexical_cast) << attribute;
        EXPECT_TRUE(m_parser.m_areas.empty()) << "the area being read is not kept";
    }
}
}  // namespace
}  // namespace lanefeed_1
