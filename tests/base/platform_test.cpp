// Small services: conversions, splitting, messages, environment, errors, types, loggers.
#include "support/captured_log.h"

#include <basekit2/error_code.h>
#include <basekit2/type_id.h>
#include <logagent_1/log.h>
#include <platkit_2_18/convert.h>
#include <platkit_2_18/debug.h>
#include <platkit_2_18/i18n.h>
#include <platkit_2_18/strings.h>
#include <settingstore2/message_catalogs.h>

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <thread>

namespace {

using basekit2::error_code_t;
namespace convert = platkit_2_18::generic::convert;
using Pieces = std::vector<std::string>;

template <class Number, class Read>
std::optional<Number> read(Read* reader, const std::string& text, int radix = 0) {
    Number out = 77;
    if (reader(text, out, radix)) return out;
    EXPECT_EQ(out, 77) << "a failed conversion wrote its result";
    return std::nullopt;
}
std::optional<int> toInt(const std::string& text, int radix = 0) {
    return read<int>(convert::str_to_int, text, radix);
}
std::optional<double> toDouble(const std::string& text) {
    double out = 0;
    return convert::str_to_double(text, out) ? std::optional<double>(out) : std::nullopt;
}

TEST(Convert, ReadsIntegersThatFitAndNothingElse) {
    EXPECT_EQ(toInt("42"), 42);
    EXPECT_EQ(toInt("-42"), -42);
    EXPECT_EQ(toInt("+42"), 42);
    EXPECT_EQ(toInt("0"), 0);
    EXPECT_EQ(toInt("0x1F"), 31);
    EXPECT_EQ(toInt("-0x1f"), -31);
    EXPECT_EQ(toInt("017"), 15);
    EXPECT_EQ(toInt("08"), std::nullopt);
    EXPECT_EQ(toInt("08", 10), 8);
    EXPECT_EQ(toInt("ff", 16), 255);
    EXPECT_EQ(toInt("0xff", 16), 255);
    EXPECT_EQ(toInt("z", 36), 35);
    EXPECT_EQ(toInt("2147483647"), std::numeric_limits<int>::max());
    EXPECT_EQ(toInt("-2147483648"), std::numeric_limits<int>::min());
    for (const char* bad : {"", " 1", "1 ", "1.5", "2147483648", "-2147483649", "--1", "+-1", "0x",
                            "x", "1a", "99999999999999999999", "-", "+"})
        EXPECT_EQ(toInt(bad), std::nullopt) << bad;
    EXPECT_EQ(toInt("1", 1), std::nullopt);
    EXPECT_EQ(toInt("1", 37), std::nullopt);

    EXPECT_EQ(read<std::uint8_t>(convert::str_to_uint8, "255"), 255);
    EXPECT_EQ(read<std::uint8_t>(convert::str_to_uint8, "256"), std::nullopt);
    EXPECT_EQ(read<std::uint8_t>(convert::str_to_uint8, "-1"), std::nullopt);
    EXPECT_EQ(read<std::uint32_t>(convert::str_to_uint32, "0xFFFFFFFF"), 0xFFFFFFFFU);
    EXPECT_EQ(read<std::uint32_t>(convert::str_to_uint32, "4294967296"), std::nullopt);
}

TEST(Convert, ReadsDoublesWithoutALocale) {
    EXPECT_EQ(toDouble("0.5"), 0.5);
    EXPECT_EQ(toDouble("+1e3"), 1000.0);
    EXPECT_EQ(toDouble("-.25"), -0.25);
    for (const char* bad : {"", "1,5", "1e999", "nan", "inf", "0.5x", " 1", "+-1", "."})
        EXPECT_EQ(toDouble(bad), std::nullopt) << bad;
}

TEST(Convert, PrintsIntegers) {
    EXPECT_EQ(convert::ltoa(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(convert::ultoa(std::numeric_limits<std::uint64_t>::max(), 2), std::string(64, '1'));
    EXPECT_EQ(convert::ultoa(255, 16), "ff");
    EXPECT_EQ(convert::ltoa(-255, 16), "-ff");
    EXPECT_EQ(convert::ltoa(12, 99), "12");
}

TEST(Strings, SplitKeepsEmptyPiecesAndTheRest) {
    using platkit_2_18::strings::split_string;
    EXPECT_EQ(split_string("", "."), Pieces());
    EXPECT_EQ(split_string(".", "."), Pieces({"", ""}));
    EXPECT_EQ(split_string("a..b.", "."), Pieces({"a", "", "b", ""}));
    EXPECT_EQ(split_string("dd_band::dd_thread.name", "::"), Pieces({"dd_band", "dd_thread.name"}));
    EXPECT_EQ(split_string("a,b,c", ",", 2), Pieces({"a", "b,c"}));
    EXPECT_EQ(split_string("a,b,c", ",", 1), Pieces({"a,b,c"}));
    EXPECT_EQ(split_string("a,b,c", ",", -1), Pieces({"a", "b", "c"}));
    EXPECT_EQ(split_string("abc", ""), Pieces({"abc"}));
    EXPECT_EQ(platkit_2_18::strings::lower_case("PoinT \xC3\x84"), "point \xC3\x84");
}

TEST(Messages, PutArgumentsIn) {
    using platkit_2_18::generic::varg_list;
    using platkit_2_18::i18n::message_t;
    const varg_list none;
    varg_list two;
    two.add("x").add(7);
    EXPECT_EQ(message_t("%1 of %2, %3, %%, 50% %").as_ustring(two), "x of 7, %3, %, 50% %");
    EXPECT_EQ(message_t("%1").as_ustring(none), "%1");
    EXPECT_EQ(message_t().as_ustring(two), "");
    two.add("%1");
    EXPECT_EQ(message_t("%3").as_ustring(two), "%1");
}

TEST(ErrorCode, TellsSuccessFromNothingFromFailure) {
    const error_code_t nothing = error_code_t::noResult;
    const error_code_t bare = error_code_t::failure;
    const error_code_t raised =
        error_code_t::raise(basekit2::error::IsNot.Valid.Argument, "grouping", "src/a.cpp", 12);
    EXPECT_TRUE(is_success(error_code_t()) && error_code_t().succeeded());
    EXPECT_TRUE(!is_success(nothing) && nothing.succeeded());
    EXPECT_TRUE(!is_success(raised) && !raised.succeeded() && !bare.succeeded());
    EXPECT_EQ(raised.code(), &basekit2::error::IsNot.Valid.Argument);
    EXPECT_EQ(bare.code(), nullptr);
    EXPECT_EQ(raised.as_string(0), "IsNot.Valid.Argument");
    EXPECT_EQ(raised.as_string(1), "IsNot.Valid.Argument: grouping, at file: src/a.cpp:12");
    EXPECT_EQ(bare.as_string(1), "failure");
}

TEST(Types, SameKeySameNumberFromEveryThread) {
    std::vector<unsigned> numbers(8);
    std::vector<std::thread> threads;
    for (unsigned& number : numbers)
        threads.emplace_back([&] { number = basekit2::register_type_id("dasID_test::Shared"); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_NE(numbers[0], 0U);
    EXPECT_EQ(numbers, std::vector<unsigned>(8, numbers[0]));
    EXPECT_NE(basekit2::register_type_id("dasID_test::Other"), numbers[0]);
    EXPECT_EQ(basekit2::type_id_t<settingstore2::ISessionStorage>::id(),
              basekit2::register_type_id("dasID_settingstore2::ISessionStorage"));
}

TEST(ComponentLog, StaysQuietUntilAnAppenderComes) {
    testing::internal::CaptureStderr();
    logagent_1::log::configureComponentLogger("lanefeed");
    log4cplus::Logger logger = log4cplus::Logger::getInstance("lanefeed");
    const std::size_t appenders = logger.getAllAppenders().size();
    logagent_1::log::configureComponentLogger("lanefeed");
    EXPECT_EQ(logger.getAllAppenders().size(), appenders) << "a second call changed the logger";
    logger.log(log4cplus::ERROR_LOG_LEVEL, "to nobody");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");

    const lanefeed_test::CapturedLog log;
    logger.log(log4cplus::ERROR_LOG_LEVEL, "first\nsecond");
    logger.log(log4cplus::INFO_LOG_LEVEL, "third");
    EXPECT_EQ(log.lines(), Pieces({"first", "second", "third"}));
    EXPECT_EQ(log.lines(20000), Pieces({"third"}));
}

TEST(Debug, HandlerCanBeReplacedAndRestored) {
    static std::string seen;
    using platkit_2_18::debug::set_assertion_handler;
    const auto old = set_assertion_handler([](const char* text, const char* file, int line) {
        seen = std::string(text) + "|" + file + "|" + std::to_string(line);
    });
    platkit_2_18::debug::assertion_handler("text", "file", 3);
    EXPECT_EQ(seen, "text|file|3");
    set_assertion_handler(nullptr);
    testing::internal::CaptureStderr();
    platkit_2_18::debug::assertion_handler("text", "file", 4);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "assertion failed: text, at file: file:4\n");
    set_assertion_handler(old);
}

}  // namespace
