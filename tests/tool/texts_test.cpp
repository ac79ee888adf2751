// What the client reads and writes as text: JSON, aligned tables, csv, spans of time.

#include "failure.h"
#include "json_text.h"
#include "table_print.h"
#include "time_range.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fmt/format.h>
#include <sstream>

using namespace lanefeed_tool;

TEST(JsonText, EscapesTextsAndReplacesWhatIsNoUtf8) {
    EXPECT_EQ(jsonString("a\"b\\c\n\t\r"), R"("a\"b\\c\n\t\r")");
    EXPECT_EQ(jsonString(std::string("\x01\x1f\x7f\0", 4)), R"("\u0001\u001f\u007f\u0000")");
    EXPECT_EQ(jsonString("\u00e4 \u20ac \U0001F680"), "\"\u00e4 \u20ac \U0001F680\"");
    // An overlong one, a surrogate, one cut at the end, one above the last.
    for (const char* text : {"\xE0\x80\xAF", "\xED\xA0\x80", "\xE2\x82", "\xF4\x90\x80\x80"}) {
        std::string expected;
        for (const char* at = text; *at != 0; ++at)
            expected += "\xEF\xBF\xBD";
        EXPECT_EQ(jsonString(text), '"' + expected + '"');
    }
}

TEST(JsonText, WritesNumbersThatReadBackAsTheSame) {
    for (const double value : {-3.0, 1.0 / 3, 1e300, 9007199254740993.0})
        EXPECT_EQ(std::stod(jsonNumber(value)), value);
    EXPECT_EQ(jsonNumber(std::nan("")) + jsonNumber(-HUGE_VAL) + jsonNumber(7), "nullnull7");
}

TEST(TablePrint, AlignsByCharactersAndQuotesWhatNeedsIt) {
    TextTable table;
    table.columns = {{"name", false}, {"n", true}};
    table.rows = {{"caf\u00e9", "1"}, {"a,\"b\"\nc", "1000"}};
    std::ostringstream aligned;
    printAligned(aligned, table);
    EXPECT_EQ(aligned.str(), "name        n\ncaf\u00e9        1\na,\"b\" c  1000\n");
    std::ostringstream csv;
    printCsv(csv, table);
    EXPECT_EQ(csv.str(), "name,n\ncaf\u00e9,1\n\"a,\"\"b\"\"\nc\",1000\n");
    EXPECT_EQ(shortened("caf\u00e9", 4) + shortened("caf\u00e9s", 4), "caf\u00e9caf\u2026");
}

TEST(TimeSpan, IsReadInEveryUnitOrRefusedWithAReason) {
    const auto read = [](const std::string& word, const TimeScale& scale) {
        try {
            const auto span = parseTimeSpan(word, scale);
            return fmt::format("{}..{}", span.start, span.end);
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.code(), exitUsage);
            return std::string(failure.what());
        }
    };
    EXPECT_EQ(read("1ms..2ms", {3000000, 900000000}), "3000..6000") << "another clock";
    const std::pair<const char*, const char*> words[] = {{"1.2s..3.4s", "1200000000..3400000000"},
                                                         {"5us..1ms", "5000..1000000"},
                                                         {"25%..50%", "2500000000..5000000000"},
                                                         {"..0.1234567891s", "0..123456789"},
                                                         {"9s..", "9000000000..10000000000"},
                                                         {"1s", "write A..B"},
                                                         {"1..2", "is no time"},
                                                         {"1e400s..2s", "is no time"},
                                                         {"2s..2s", "is empty"},
                                                         {"0%..101%", "outside"}};
    for (const auto& [word, said] : words)
        EXPECT_THAT(read(word, {1000000000, 10000000000}), ::testing::HasSubstr(said)) << word;
}
