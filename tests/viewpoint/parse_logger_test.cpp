#include "parse_logger.h"

#include "support/captured_log.h"
#include "viewpoint_text.h"

namespace lanefeed_1 {
namespace {

using lanefeed_test::CapturedLog;

TEST(ParseLogger, PrintsTheRulerFirstAndThenAreasByNumber) {
    const auto logger = basekit2::make_object<ParseLogger>();
    const CapturedLog log;
    logger->printMessages();
    EXPECT_TRUE(log.empty() && !logger->hasMessages());
    logger->addMessage(10, 2, "ten, two");
    logger->addMessage(2, "two");
    logger->addMessage(2, 10, "two, ten");
    logger->addMessage(2, 3, "two, three");
    logger->addMessage(2, 3, "again");
    logger->addMessage(0, 1, "none");
    logger->addMessage(-1, "ruler");
    logger->addMessage("all");
    logger->printMessages();
    std::string printed;
    for (const CapturedLog::Entry& entry : log.entries())
        printed += entry.text + "|";
    EXPECT_EQ(printed,
              "\nTimeline configuration log:\n|Timeline global configuration messages:|all|"
              "\n\nRuler:\n\n|ruler|\n\nArea #0\n\n|Layer #1|none|\n\nArea #2\n\n|two|Layer #3|"
              "two, three|again|Layer #10|two, ten|\n\nArea #10\n\n|Layer #2|ten, two|");
    const auto once = log.entries().size();
    EXPECT_EQ(log.entries().front().level, 20000);
    logger->printMessages();
    EXPECT_EQ(log.entries().size(), 2 * once) << "nothing is cleared";
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
    auto bag = fakes::element(R"(<r a="1"><sub b="true"><deep/></sub><sub/><x c=""/></r>)");
    bag.add("none", basekit2::variant_t());
    const CapturedLog log;
    EXPECT_EQ(printVariantBag(bag, false),
              "<a> = 1\n<none> = \nsub:\n<b> = true\ndeep:\n\n\nsub:\n\nx:\n<c> = \n\n");
    EXPECT_EQ(log.count("can_get<const char*>()"), 1);
    EXPECT_EQ(printVariantBag({}, false) + printVariant({}) + printVariant(7.5), "7.5");
}

}  // namespace
}  // namespace lanefeed_1
