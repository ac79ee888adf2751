// Small services: conversions, splitting, messages, errors, types, loggers.
#include "support/answer_rows.h"

#include <basekit2/error_code.h>
#include <basekit2/type_id.h>
#include <logagent_1/log.h>
#include <platkit_2_18/convert.h>
#include <platkit_2_18/i18n.h>
#include <platkit_2_18/strings.h>

#include <gtest/gtest.h>
#include <log4cplus/logger.h>

#include <limits>

namespace {

using basekit2::error_code_t;
using lanefeed_test::expectAnswers;
using platkit_2_18::strings::split_string;
namespace convert = platkit_2_18::generic::convert;
using Lines = std::vector<std::string>;

// "TEXT" or "TEXT in RADIX" as a number, "no" for none.
template <class Number, class Reader>
std::string number(Reader* reader, const std::string& question) {
    const std::size_t in = question.find(" in ");
    const int radix = in == std::string::npos ? 0 : std::stoi(question.substr(in + 4));
    Number out = 77;
    if (reader(question.substr(0, in), out, radix)) return std::to_string(out);
    EXPECT_EQ(out, 77) << "a failed conversion wrote its result";
    return "no";
}

TEST(Convert, ReadsNumbersThatFitAndNothingElse) {
    expectAnswers(R"(
        42 | 42;  -42 | -42;  +42 | 42;  0 | 0;  0x1F | 31;  -0x1f | -31;  017 | 15;  08 | no
        08 in 10 | 8;  ff in 16 | 255;  0xff in 16 | 255;  z in 36 | 35;  1 in 1 | no;  1 in 37 | no
        2147483647 | 2147483647;    2147483648 | no;   99999999999999999999 | no
        -2147483648 | -2147483648;  -2147483649 | no
        '' | no;  ' 1' | no;  '1 ' | no;  1.5 | no;  --1 | no;  +-1 | no;  0x | no;  - | no)",
                  [](const std::string& text) { return number<int>(convert::str_to_int, text); });
    expectAnswers("255 | 255;  256 | no;  -1 | no", [](const std::string& text) {
        return number<std::uint8_t>(convert::str_to_uint8, text);
    });
    expectAnswers("0xFFFFFFFF | 4294967295;  4294967296 | no", [](const std::string& text) {
        return number<std::uint32_t>(convert::str_to_uint32, text);
    });
    expectAnswers(R"(
        0.5 | 50;  +1e3 | 100000;  -.25 | -25;  '' | no;  1,5 | no;  1e999 | no;  nan | no
        inf | no;  0.5x | no;  ' 1' | no;  +-1 | no)",
                  [](const std::string& text) {
                      double out = 0;
                      const bool isRead = convert::str_to_double(text, out);
                      return isRead ? convert::ltoa(std::int64_t(out * 100)) : "no";
                  });
    EXPECT_EQ(convert::ultoa(std::numeric_limits<std::uint64_t>::max(), 2), std::string(64, '1'));
    EXPECT_EQ(convert::ltoa(-255, 16) + convert::ltoa(12, 99), "-ff12");
}

TEST(Strings, SplitKeepsEmptyPiecesAndTheRest) {
    EXPECT_EQ(split_string("", "."), Lines());
    EXPECT_EQ(split_string("a..b.", "."), Lines({"a", "", "b", ""}));
    EXPECT_EQ(split_string("a::b.c", "::"), Lines({"a", "b.c"}));
    EXPECT_EQ(split_string("a,b,c", ",", 2), Lines({"a", "b,c"}));
    EXPECT_EQ(split_string("a,b,c", ",", 1), Lines({"a,b,c"}));
    EXPECT_EQ(split_string("abc", ""), Lines({"abc"}));
    EXPECT_EQ(platkit_2_18::strings::lower_case("PoinT \xC3\x84"), "point \xC3\x84");
}

TEST(Messages, PutArgumentsIn) {
    using platkit_2_18::i18n::message_t;
    platkit_2_18::generic::varg_list arguments;
    EXPECT_EQ(message_t("%1").as_ustring(arguments), "%1");
    arguments.add("x").add(7).add("%1");
    EXPECT_EQ(message_t("%1 of %2, %3, %4, %%, 50% %").as_ustring(arguments),
              "x of 7, %1, %4, %, 50% %");
}

TEST(ErrorCode, TellsSuccessFromNothingFromFailure) {
    const error_code_t nothing = error_code_t::noResult;
    EXPECT_TRUE(is_success(error_code_t()) && !is_success(nothing) && nothing.succeeded());
    const error_code_t raised =
        error_code_t::raise(basekit2::error::IsNot.Valid.Argument, "grouping", "src/a.cpp", 12);
    EXPECT_FALSE(raised.succeeded() || error_code_t(error_code_t::failure).succeeded());
    EXPECT_EQ(raised.as_string(1), "IsNot.Valid.Argument: grouping, at file: src/a.cpp:12");
}

TEST(Types, SameKeySameNumber) {
    const unsigned first = basekit2::register_type_id("dasID_test::Shared");
    EXPECT_NE(first, 0U);
    EXPECT_NE(basekit2::register_type_id("dasID_test::Other"), first);
    EXPECT_EQ(basekit2::register_type_id("dasID_test::Shared"), first);
}

TEST(ComponentLog, StaysQuietWithoutAnAppender) {
    testing::internal::CaptureStderr();
    logagent_1::log::configureComponentLogger("lanefeed.quiet");
    log4cplus::Logger logger = log4cplus::Logger::getInstance("lanefeed.quiet");
    logagent_1::log::configureComponentLogger("lanefeed.quiet");
    EXPECT_EQ(logger.getAllAppenders().size(), 1U) << "a second call changed the logger";
    logger.log(log4cplus::ERROR_LOG_LEVEL, "to nobody");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
