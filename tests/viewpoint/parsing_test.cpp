#include "viewpoint_text.h"

#include <boost/lexical_cast.hpp>

#include "support/captured_log.h"

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
    EXPECT_TRUE(m_library->asked.empty());
    const std::string message =
        "Timeline: At least one <area> was expectedbut could not be found. "
        "Timeline will appear empty.";
    EXPECT_EQ(messages(), "global: " + message + "\n");
    EXPECT_EQ(log.count(message), 1);
}

TEST_F(Parsing, LeavesAllAsItWasWithoutALibrary) {
    parse("<area/>");
    const CapturedLog log;
    m_parser.parseViewpoint({}, nullptr, nullptr, m_result, m_logger);
    EXPECT_EQ(m_parser.m_areas.size(), 1U);
    EXPECT_EQ(log.count("library && result && logger"), 1);
}

TEST_F(Parsing, ThrowsANumberThatCannotBeRead) {
    for (const char* attribute :
         {"visibleSeriesCount='abc'", "visibleSeriesCount='9999999999'", "visibleSeriesCount=''",
          "rowByLevels='1,,2'", "rowByLevels='1, 2'"}) {
        EXPECT_THROW(parseOneLayer(attribute, ""), boost::bad_lexical_cast) << attribute;
        EXPECT_TRUE(m_parser.m_areas.empty()) << "the area being read is not kept";
    }
}

TEST_F(Parsing, FilesMessagesOfARulerUnderAreaZero) {
    parse("<ruler><layer/><layer><sound/></layer></ruler>");
    EXPECT_EQ(m_logger->layerMessages[0][2].size(), 1U);
}

}  // namespace
}  // namespace lanefeed_1
