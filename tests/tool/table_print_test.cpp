#include "table_print.h"

#include "curve.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

using lanefeed_tool::drawCurve;
using lanefeed_tool::TextTable;

namespace {

TextTable sample() {
    TextTable table;
    table.columns = {{"name", false}, {"n", true}};
    table.rows = {{"caf\u00e9", "1"}, {"a,\"b\"\nc", "1000"}};
    return table;
}

}  // namespace

TEST(TablePrint, AlignsByCharactersAndKeepsLinesWhole) {
    std::ostringstream out;
    lanefeed_tool::printAligned(out, sample());
    EXPECT_EQ(out.str(),
              "name        n\n"
              "caf\u00e9        1\n"
              "a,\"b\" c  1000\n");
}

TEST(TablePrint, QuotesCsvFieldsThatNeedIt) {
    std::ostringstream out;
    lanefeed_tool::printCsv(out, sample());
    EXPECT_EQ(out.str(), "name,n\ncaf\u00e9,1\n\"a,\"\"b\"\"\nc\",1000\n");
}

TEST(TablePrint, ShortensByCharacters) {
    EXPECT_EQ(lanefeed_tool::shortened("caf\u00e9", 4), "caf\u00e9");
    EXPECT_EQ(lanefeed_tool::shortened("caf\u00e9s", 4), "caf\u2026");
}

TEST(Curve, ShowsThePeakOfTheBucketsItFolds) {
    const double none = std::nan("");
    EXPECT_EQ(drawCurve({0, 100, 0, 0}, 2, 100), "\u2588\u2581");
    EXPECT_EQ(drawCurve({none, 50, none, none}, 2, 100), "\u2585 ");
    EXPECT_EQ(drawCurve({none, none}, 2, 100), "  ");
}

TEST(Curve, IsNeverWiderThanItsBucketsAndStaysWithinItsHeight) {
    EXPECT_EQ(drawCurve({1}, 10, 1), "\u2588");
    EXPECT_EQ(drawCurve({500, -3}, 2, 100), "\u2588\u2581");
    EXPECT_EQ(drawCurve({}, 10, 100), "");
    EXPECT_EQ(drawCurve({1, 2}, 0, 2), "");
}
