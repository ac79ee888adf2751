// Times of text formats, exact to the last digit, and what is done to texts that are none.
#include "common/trace_time.h"

#include "common/clean_text.h"
#include "import_fixture.h"

namespace lanefeed_importers {
namespace {

// The sum of one or two times in microseconds, in nanoseconds.
std::string sumOf(std::string_view text) {
    const std::size_t plus = text.find(" & ");
    TraceTime time;
    TraceTime other;
    if (!parseMicroseconds(text.substr(0, plus), time)) return "no time";
    if (plus == std::string_view::npos) return std::to_string(rounded(time));
    EXPECT_TRUE(parseMicroseconds(text.substr(plus + 3), other)) << text;
    return std::to_string(rounded(time + other));
}

TEST(TraceTime, isExactToTheLastDigitAndRoundedOnce) {
    expectAnswers(sumOf, R"(
        1712195495505338.955 -> 1712195495505338955
        +7 -> 7000
        1.5e3 -> 1500000
        15E-4 -> 2
        .25 -> 250
        0e999999999 -> 0
        0.00000000000000000000000000000000000000005e41 -> 5000
        0.0005 -> 1
        0.00049999999999999 -> 0
        -0.0005 -> -1
        -0.0016 -> -2
        1.0004 & 2.0003 -> 3001
        -1.0004 & 1.0004 -> 0
        2305843009213693.951 -> 2305843009213693951
        2305843009213693.952 -> no time
         -> no time
        NaN -> no time
        1x -> no time
        1e -> no time
        -1e20 -> no time
        1e300 -> no time)");
    TraceTime earlier;
    TraceTime later;
    ASSERT_TRUE(parseMicroseconds("1124609194129.67161", earlier));
    ASSERT_TRUE(parseMicroseconds("1124609194129.67162", later));
    EXPECT_TRUE(earlier < later);
    EXPECT_FALSE(later < earlier);
    EXPECT_EQ(rounded(earlier), rounded(later));
}

TEST(TraceTime, numbersAreDecimalTextAlone) {
    double value = 0;
    EXPECT_TRUE(parseNumber("8.395000000000001", value));
    EXPECT_EQ(value, 8.395000000000001);
    EXPECT_TRUE(parseNumber(" +1e3 ", value));
    EXPECT_EQ(value, 1000);
    for (const char* text : {"", "nan", "inf", "1,5", "12 kB"})
        EXPECT_FALSE(parseNumber(text, value)) << text;
}

TEST(CleanText, keepsTextAndReplacesTheRest) {
    const std::string text = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";
    EXPECT_TRUE(isCleanText(text));
    EXPECT_EQ(cleanText(text), text);
    // A zero, a lone continuation, an overlong form, a surrogate, a character that is cut.
    const std::string broken("x\0\x80\xC0\x80\xED\xA0\x80\xE2\x82", 10);
    EXPECT_FALSE(isCleanText(broken));
    std::string expected = "x";
    for (int i = 0; i < 9; ++i)
        expected += "\xEF\xBF\xBD";
    EXPECT_EQ(cleanText(broken), expected);
}

}  // namespace
}  // namespace lanefeed_importers
