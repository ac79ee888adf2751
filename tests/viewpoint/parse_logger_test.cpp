#include "parse_logger.h"

#include "viewpoint_text.h"

#include <gtest/gtest.h>

#include "support/captured_log.h"

namespace lanefeed_1 {
namespace {

using lanefeed_test::CapturedLog;

std::vector<std::string> printed(const ParseLogger& logger) {
    const CapturedLog log;
    logger.printMessages();
    std::vector<std::string> texts;
    for (const CapturedLog::Entry& entry : log.entries()) {
        EXPECT_EQ(entry.level, 20000);
        texts.push_back(entry.text);
    }
    return texts;
}

TEST(ParseLogger, PrintsTheRulerFirstAndThenAreasByNumber) {
    const auto logger = basekit2::make_object<ParseLogger>();
    EXPECT_FALSE(logger->hasMessages());
    EXPECT_TRUE(printed(*logger).empty());
    logger->addMessage(10, 2, "ten, two");
    logger->addMessage(2, "two");
    logger->addMessage(2, 10, "two, ten");
    logger->addMessage(2, 3, "two, three");
    logger->addMessage(2, 3, "two, three again");
    logger->addMessage(0, 1, "none");
    logger->addMessage(-1, "ruler");
    logger->addMessage("all");
    EXPECT_TRUE(logger->hasMessages());
    const std::vector<std::string> expected = {"\nTimeline configuration log:\n",
                                               "Timeline global configuration messages:",
                                               "all",
                                               "\n\nRuler:\n\n",
                                               "ruler",
                                               "\n\nArea #0\n\n",
                                               "Layer #1",
                                               "none",
                                               "\n\nArea #2\n\n",
                                               "two",
                                               "Layer #3",
                                               "two, three",
                                               "two, three again",
                                               "Layer #10",
                                               "two, ten",
                                               "\n\nArea #10\n\n",
                                               "Layer #2",
                                               "ten, two"};
    EXPECT_EQ(printed(*logger), expected);
    EXPECT_EQ(printed(*logger), expected) << "nothing is cleared";
    const CapturedLog errorsOnly(log4cplus::ERROR_LOG_LEVEL);
    logger->printMessages();
    EXPECT_TRUE(errorsOnly.empty());
}

TEST(ParseLogger, NamesThePlaceOfASevereReport) {
    EXPECT_EQ(getSevereErrorString("x", -2, -1), "x");
    EXPECT_EQ(getSevereErrorString("x", -1, 3), "Ruler: Layer #3 x");
    EXPECT_EQ(getSevereErrorString("x", 2, -1), "Area #2 x");
    EXPECT_EQ(getSevereErrorString("x", 0, 3), "Area #0 Layer #3 x");
}

TEST(ParseLogger, PrintsABagWithItsValuesBeforeItsSubBags) {
    const auto bag = fakes::element(R"(<r a="1"><sub b="true"><deep/></sub><sub/><x c=""/></r>)");
    EXPECT_EQ(printVariantBag(bag, false),
              "<a> = 1\nsub:\n<b> = true\ndeep:\n\n\nsub:\n\nx:\n<c> = \n\n");
    EXPECT_EQ(printVariantBag({}, false), "");
    basekit2::variant_bag_t hollow;
    hollow.add("none", basekit2::variant_t());
    const CapturedLog log;
    EXPECT_EQ(printVariantBag(hollow, false), "<none> = \n");
    EXPECT_EQ(log.count("can_get<const char*>()"), 1);
}

TEST(ParseLogger, PrintsValuesAsText) {
    EXPECT_EQ(printVariant(7), "7");
    EXPECT_EQ(printVariant("text"), "text");
    EXPECT_EQ(printVariant({}), "");
}

}  // namespace
}  // namespace lanefeed_1
