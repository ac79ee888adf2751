// Times of text formats, exact to the last digit, and what is done to texts that are none.
#include "common/trace_time.h"

#include "common/clean_text.h"

#include <gtest/gtest.h>

namespace lanefeed_importers {
namespace {

std::int64_t roundedFrom(std::string_view text) {
    TraceTime time;
    EXPECT_TRUE(parseMicroseconds(text, time)) << text;
    return rounded(time);
}

TEST(TraceTime, keepsEachNanosecondOfAClockThatCountsFrom1970) {
    EXPECT_EQ(roundedFrom("1712195495505338.955"), 1712195495505338955);
    EXPECT_EQ(roundedFrom("1712195495505338.956"), 1712195495505338956);
    EXPECT_EQ(roundedFrom("-1891000"), -1891000000);
    EXPECT_EQ(roundedFrom(" +7 "), 7000);
    EXPECT_EQ(roundedFrom("1.5e3"), 1500000);
    EXPECT_EQ(roundedFrom("15E-4"), 2);
    EXPECT_EQ(roundedFrom(".25"), 250);
    EXPECT_EQ(roundedFrom("0e999999999"), 0);
    EXPECT_EQ(roundedFrom("1e-999999999"), 0);
    EXPECT_EQ(roundedFrom("0." + std::string(40, '0') + "5e41"), 5000);
}

TEST(TraceTime, roundsHalvesAwayFromZeroAndOnlyOnce) {
    EXPECT_EQ(roundedFrom("0.0005"), 1);
    EXPECT_EQ(roundedFrom("0.00049999999999999"), 0);
    EXPECT_EQ(roundedFrom("-0.0005"), -1);
    EXPECT_EQ(roundedFrom("-0.0004"), 0);
    EXPECT_EQ(roundedFrom("-0.0016"), -2);
    TraceTime a;
    TraceTime b;
    ASSERT_TRUE(parseMicroseconds("1.0004", a));
    ASSERT_TRUE(parseMicroseconds("2.0003", b));
    // 1000.4 + 2000.3 = 3000.7; rounded one by one it would be 3000.
    EXPECT_EQ(rounded(a + b), 3001);
    ASSERT_TRUE(parseMicroseconds("-1.0004", a));
    ASSERT_TRUE(parseMicroseconds("1.0004", b));
    EXPECT_TRUE(a + b == TraceTime{});
}

TEST(TraceTime, ordersWhatRoundsToTheSame) {
    TraceTime earlier;
    TraceTime later;
    ASSERT_TRUE(parseMicroseconds("1124609194129.67161", earlier));
    ASSERT_TRUE(parseMicroseconds("1124609194129.67162", later));
    EXPECT_TRUE(earlier < later);
    EXPECT_FALSE(later < earlier);
    EXPECT_EQ(rounded(earlier), rounded(later));
}

TEST(TraceTime, refusesWhatIsNoTime) {
    TraceTime time;
    for (const char* text : {"", " ", "-", ".", "e5", "NaN", "Infinity", "1x", "0x10", "1e", "1 2",
                             "99999999999999999", "1e300", "-1e20"}) {
        EXPECT_FALSE(parseMicroseconds(text, time)) << text;
    }
}

TEST(Number, takesDecimalTextAlone) {
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
