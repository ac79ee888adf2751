#include "viewpoint_text.h"

#include "support/captured_log.h"

namespace lanefeed_1 {
namespace {

using basekit2::variant_t;
using fakes::Facts;
using lanefeed_test::CapturedLog;
using DrawBy = TLViewpointParser::DrawBy;
using Attributes = std::map<std::string, variant_t>;

class DisplayAttributes : public fakes::ViewpointTest {
protected:
    // A draw query with attributes of its default query and of the vector around it.
    DrawBy resolve(const Attributes& own, const Attributes& outer = {}) {
        Facts facts;
        facts.table = "slice_data";
        facts.attributes = own;
        library->known["it"] = fakes::vectorOf({fakes::make<fakes::FakeDerived>(facts)}, outer);
        return parseOneLayer("", R"(<drawBy query="it"/>)").drawBy;
    }
    static std::string text(const TLViewpointParser::TLColor& c) {
        return std::to_string(c.red) + "," + std::to_string(c.green) + "," +
               std::to_string(c.blue) + "," + std::to_string(c.alpha);
    }
};

TEST_F(DisplayAttributes, HaveDefaults) {
    const CapturedLog log;
    const DrawBy drawBy = resolve({});
    EXPECT_EQ(drawBy.format + drawBy.iconType + drawBy.lineStyle, "");
    EXPECT_FALSE(drawBy.hierarchical || drawBy.hasDisplayColor || drawBy.hasFilterColor ||
                 drawBy.hasDecimationColor);
    EXPECT_EQ(text(drawBy.displayColor), "0,0,0,70");
    EXPECT_EQ(text(drawBy.filterColor), "0,0,0,90");
    EXPECT_EQ(text(drawBy.decimationColor), "0,0,0,0");
    EXPECT_EQ(drawBy.lineWidth, 2);
    EXPECT_EQ(drawBy.binMult, 1.0);
    EXPECT_EQ(drawBy.samplePoint, TLViewpointParser::markerBoth);
    EXPECT_EQ(drawBy.ds.m_timeScaleMs, 0.0);
    EXPECT_TRUE(log.empty());
}

TEST_F(DisplayAttributes, PreferATextOfTheVector) {
    const Attributes own = {{"timelineFormat", "hierarchical"}, {"timelineIconType", "star"},
                            {"timelinePenStyle", "dotted"},     {"marker", "start"},
                            {"minimumResolutionms", "0.5"},     {"timeScalems", "1000"}};
    const DrawBy drawBy = resolve(own, {{"timelineFormat", 3}, {"timelinePenStyle", "dashed"}});
    EXPECT_TRUE(drawBy.hierarchical);
    EXPECT_EQ(drawBy.iconType, "star");
    EXPECT_EQ(drawBy.lineStyle, "dashed");
    EXPECT_EQ(drawBy.samplePoint, TLViewpointParser::markerStart);
    EXPECT_EQ(drawBy.ds.m_resolutionMs, 0.5) << "read after the default of a derived query";
    EXPECT_EQ(drawBy.ds.m_timeScaleMs, 1000.0);
    EXPECT_EQ(resolve(own, {{"minimumResolutionms", "soon"}}).ds.m_resolutionMs, 100.0);
}

TEST_F(DisplayAttributes, ReadColours) {
    const std::pair<const char*, const char*> cases[] = {
        {"255,0,7,128", "255,0,7,255"},  {"1,2,3,4,5", "1,2,3,255"}, {"010,x,256", "10,0,0,255"},
        {"0x80FF7F01", "255,127,1,128"}, {"0XFF0000", "255,0,0,0"},  {"0xzz", "0,0,0,0"}};
    for (const auto& [given, expected] : cases) {
        const DrawBy drawBy =
            resolve({{"timelineGraphColor", given}, {"timelineFilterColor", given}});
        EXPECT_TRUE(drawBy.hasDisplayColor && drawBy.hasFilterColor) << given;
        EXPECT_EQ(text(drawBy.displayColor), expected) << given;
        EXPECT_EQ(text(drawBy.filterColor), expected) << given;
    }
    for (const char* given : {"12,34", "0", "0x", "", "red"}) {
        const DrawBy drawBy = resolve({{"timelineGraphColor", given}});
        EXPECT_FALSE(drawBy.hasDisplayColor) << given;
        EXPECT_EQ(text(drawBy.displayColor), "0,0,0,0") << given;
    }
    TLViewpointParser::TLColor color;
    EXPECT_TRUE(parser.colorFromHexString("16", "", color));
    EXPECT_EQ(text(color), "0,0,16,0");
    EXPECT_FALSE(parser.colorFromRGBA("0x10", "", color));
}

TEST_F(DisplayAttributes, HalveTheDisplayColourForDecimation) {
    const Attributes display = {{"timelineGraphColor", "0x40FF0301"}};
    EXPECT_EQ(text(resolve(display).decimationColor), "127,1,0,64");
    EXPECT_EQ(text(resolve(display, {{"timelineDecimationColor", "9,9"}}).decimationColor),
              "127,1,0,64");
    EXPECT_EQ(text(resolve(display, {{"timelineDecimationColor", "9,9,9"}}).decimationColor),
              "9,9,9,255");
}

TEST_F(DisplayAttributes, BoundTheLineWidth) {
    const std::pair<const char*, int> cases[] = {{"0", 2},  {"1", 1},  {"20", 20}, {"21", 2},
                                                 {"-3", 2}, {"5x", 2}, {"", 2},    {"010", 10}};
    for (const auto& [given, width] : cases)
        EXPECT_EQ(resolve({{"timelinePenWidth", given}}).lineWidth, width) << given;
    EXPECT_EQ(resolve({{"timelinePenWidth", 5}}).lineWidth, 2) << "a number is no text";
}

TEST_F(DisplayAttributes, RefuseAMultiplierOfBucketsOutOfRange) {
    const std::tuple<const char*, double, const char*> cases[] = {
        {"1", 1.0, nullptr}, {"0.25", 0.25, nullptr}, {"0", 1.0, "0"},
        {"1.5", 1.0, "1.5"}, {"-1", 1.0, "-1"},       {"much", 1.0, "0"}};
    for (const auto& [given, expected, complaint] : cases) {
        const CapturedLog log;
        EXPECT_EQ(resolve({{"timelineBinMult", given}}).binMult, expected) << given;
        std::vector<std::string> lines;
        if (complaint != nullptr)
            lines = {"Invalid timelineBinMult value: " + std::string(complaint) +
                     ". Should be 0 < timelineBinMult <= 1. Default value will be used."};
        EXPECT_EQ(log.lines(40000), lines) << given;
    }
    EXPECT_EQ(messages(), "");
}

TEST_F(DisplayAttributes, KnowTheirSamplePointsByExactName) {
    EXPECT_EQ(resolve({{"marker", "end"}}).samplePoint, TLViewpointParser::markerEnd);
    EXPECT_EQ(resolve({{"marker", "both"}}).samplePoint, TLViewpointParser::markerBoth);
    const CapturedLog log;
    EXPECT_EQ(resolve({{"marker", "Start"}}).samplePoint, TLViewpointParser::markerBoth);
    EXPECT_EQ(log.count("Unknown value received for <marker> display attribute"), 1);
    EXPECT_EQ(messages(), "");
}

TEST_F(DisplayAttributes, ReadTheMarkerSizeWhenAsked) {
    DrawBy drawBy = resolve({{"markerSize", 5}}, {{"markerSize", "7"}});
    EXPECT_EQ(drawBy.markerSize, 0) << "the parser itself does not ask";
    parser.getMarkerSize(drawBy);
    EXPECT_EQ(drawBy.markerSize, 5);
    drawBy.ds = DicerDataSource();
    const CapturedLog log;
    parser.getMarkerSize(drawBy);
    EXPECT_EQ(drawBy.markerSize, 5);
    EXPECT_EQ(log.count("drawBy.ds.m_vectorQuery"), 1);
    EXPECT_EQ(log.count("drawBy.ds.m_defaultQuery"), 1);
}

}  // namespace
}  // namespace lanefeed_1
