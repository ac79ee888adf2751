#include "parse_logger.h"

#include "support/captured_log.h"
#include "viewpoint_text.h"

namespace lanefeed_1 {
namespace {

using lanefeed_test::CapturedLog;
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
