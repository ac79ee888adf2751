#include "json_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

using lanefeed_tool::jsonNumber;
using lanefeed_tool::jsonString;

TEST(JsonText, EscapesWhatWouldBreakAString) {
    EXPECT_EQ(jsonString("plain"), "\"plain\"");
    EXPECT_EQ(jsonString("a\"b\\c\n\t\r"), R"("a\"b\\c\n\t\r")");
    EXPECT_EQ(jsonString(std::string("\x01\x1f\x7f\0", 4)), R"("\u0001\u001f\u007f\u0000")");
}

TEST(JsonText, KeepsWellFormedUtf8AndReplacesTheRest) {
    EXPECT_EQ(jsonString("\u00e4 \u20ac \U0001F680"), "\"\u00e4 \u20ac \U0001F680\"");
    const std::string replaced = "\xEF\xBF\xBD";
    const struct {
        const char* name;
        std::string text;
        int replacements;
    } cases[] = {
        {"lone continuation", "\x80", 1},  {"overlong slash", "\xC0\xAF", 2},
        {"surrogate", "\xED\xA0\x80", 3},  {"above the last character", "\xF4\x90\x80\x80", 4},
        {"cut at the end", "\xE2\x82", 2}, {"byte that never occurs", "\xFF", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string expected = "\"";
        for (int i = 0; i < c.replacements; ++i)
            expected += replaced;
        EXPECT_EQ(jsonString(c.text), expected + "\"");
    }
}

TEST(JsonText, WritesNumbersThatReadBackAsTheSame) {
    EXPECT_EQ(jsonNumber(0), "0");
    EXPECT_EQ(jsonNumber(-3), "-3");
    EXPECT_EQ(jsonNumber(0.1), "0.1");
    for (const double value : {1.0 / 3, 1e300, 9007199254740993.0, -2.5e-9, 123456789.125})
        EXPECT_EQ(std::stod(jsonNumber(value)), value);
    EXPECT_EQ(jsonNumber(std::nan("")), "null");
    EXPECT_EQ(jsonNumber(std::numeric_limits<double>::infinity()), "null");
}
