// What the client reads and writes as text: JSON, aligned tables, csv, curves, spans of time.

#include "curve.h"
#include "failure.h"
#include "json_text.h"
#include "table_print.h"
#include "time_range.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fmt/format.h>
#include <limits>
#include <sstream>
#include <string>

using lanefeed_tool::drawCurve;
using lanefeed_tool::jsonNumber;
using lanefeed_tool::jsonString;
using lanefeed_tool::shortened;
using lanefeed_tool::TimeScale;

TEST(JsonText, EscapesTextsAndReplacesWhatIsNoUtf8) {
    EXPECT_EQ(jsonString("a\"b\\c\n\t\r"), R"("a\"b\\c\n\t\r")");
    EXPECT_EQ(jsonString(std::string("\x01\x1f\x7f\0", 4)), R"("\u0001\u001f\u007f\u0000")");
    EXPECT_EQ(jsonString("\u00e4 \u20ac \U0001F680"), "\"\u00e4 \u20ac \U0001F680\"");
    const struct {
        const char* what;
        std::string text;
        int replacements;
    } cases[] = {
        {"lone continuation", "\x80", 1},  {"overlong slash", "\xC0\xAF", 2},
        {"overlong", "\xE0\x80\xAF", 3},   {"surrogate", "\xED\xA0\x80", 3},
        {"cut at the end", "\xE2\x82", 2}, {"above the last", "\xF4\x90\x80\x80", 4},
    };
    for (const auto& c : cases) {
        std::string expected = "\"";
        for (int i = 0; i < c.replacements; ++i)
            expected += "\xEF\xBF\xBD";
        EXPECT_EQ(jsonString(c.text), expected + "\"") << c.what;
    }
}

TEST(JsonText, WritesNumbersThatReadBackAsTheSame) {
    EXPECT_EQ(jsonNumber(-3) + " " + jsonNumber(0.1), "-3 0.1");
    for (const double value : {1.0 / 3, 1e300, 9007199254740993.0, -2.5e-9, 123456789.125})
        EXPECT_EQ(std::stod(jsonNumber(value)), value);
    EXPECT_EQ(jsonNumber(std::nan("")), "null");
    EXPECT_EQ(jsonNumber(std::numeric_limits<double>::infinity()), "null");
}

TEST(TablePrint, AlignsByCharactersAndQuotesWhatNeedsIt) {
    lanefeed_tool::TextTable table;
    table.columns = {{"name", false}, {"n", true}};
    table.rows = {{"caf\u00e9", "1"}, {"a,\"b\"\nc", "1000"}};
    std::ostringstream aligned;
    lanefeed_tool::printAligned(aligned, table);
    EXPECT_EQ(aligned.str(), "name        n\ncaf\u00e9        1\na,\"b\" c  1000\n");
    std::ostringstream csv;
    lanefeed_tool::printCsv(csv, table);
    EXPECT_EQ(csv.str(), "name,n\ncaf\u00e9,1\n\"a,\"\"b\"\"\nc\",1000\n");
    EXPECT_EQ(shortened("caf\u00e9", 4) + shortened("caf\u00e9s", 4), "caf\u00e9caf\u2026");
}

TEST(Curve, ShowsThePeakOfTheBucketsItFoldsWithinItsSize) {
    const double none = std::nan("");
    EXPECT_EQ(drawCurve({0, 100, 0, 0}, 2, 100), "\u2588\u2581");
    EXPECT_EQ(drawCurve({none, 50, none, none}, 2, 100), "\u2585 ");
    EXPECT_EQ(drawCurve({1}, 10, 1), "\u2588");
    EXPECT_EQ(drawCurve({500, -3}, 2, 100), "\u2588\u2581");
    EXPECT_EQ(drawCurve({}, 10, 100) + drawCurve({1, 2}, 0, 2), "");
}

TEST(TimeSpan, IsReadInEveryUnitOrRefusedWithAReason) {
    // Of each word the span that it means, or why it means none.
    const auto read = [](const std::string& words, const TimeScale& scale) {
        std::istringstream in(words);
        std::string all;
        for (std::string word; in >> word;) {
            try {
                const auto span = lanefeed_tool::parseTimeSpan(word, scale);
                all += fmt::format("{}..{} ", span.start, span.end);
            } catch (const lanefeed_tool::Failure& failure) {
                EXPECT_EQ(failure.code(), lanefeed_tool::exitUsage);
                all += failure.what() + std::string("\n");
            }
        }
        return all;
    };
    constexpr TimeScale kTenSeconds{1000000000, 10000000000};
    EXPECT_EQ(read("1ms..2ms", {3000000, 900000000}), "3000..6000 ") << "another clock";
    EXPECT_EQ(read("1.2s..3.4s 10ms..20ms 5us..1ms 1ns..2ns 17ticks..99ticks", kTenSeconds),
              "1200000000..3400000000 10000000..20000000 5000..1000000 1..2 17..99 ");
    EXPECT_EQ(read("25%..50% ..1s 0..1s 9s.. 0%..100% 0.1234567891s..1s", kTenSeconds),
              "2500000000..5000000000 0..1000000000 0..1000000000 9000000000..10000000000 "
              "0..10000000000 123456789..1000000000 ");
    const std::pair<const char*, const char*> refused[] = {
        {"1s", "write A..B"},      {"1..2", "is no time"},       {"as..2s", "is no time"},
        {"-1s..2s", "is no time"}, {"1e400s..2s", "is no time"}, {"infs..", "is no time"},
        {"2s..1s", "is empty"},    {"2s..2s", "is empty"},       {"1s..11s", "outside"},
        {"0%..101%", "outside"}};
    for (const auto& [text, said] : refused)
        EXPECT_THAT(read(text, kTenSeconds), ::testing::HasSubstr(said)) << text;
}
