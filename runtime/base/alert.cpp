// Alerts of the base library, in the form that the library's own checks have: the same logger, the
// same text, the same switch in the environment.
// Tested by tests/base/platform_test.cpp.
#include "alert.h"

#include <basekit2/environment.h>
#include <platkit_2_18/debug.h>

#include <log4cplus/logger.h>

#include <string>

namespace lanefeed_runtime {
namespace {

constexpr const char* kLoggerName = "lanefeed";

// Asked once per process.
bool callsAssertionHandler() {
    static const bool answer =
        basekit2::get_environ_value(std::string(kLoggerName) + "_ERROR_HANDLING").find("assert") !=
        std::string::npos;
    return answer;
}

}  // namespace

void alert(const char* text, const char* file, int line) {
    const std::string message =
        std::string(text) + ", at file: " + file + ":" + std::to_string(line);
    const log4cplus::Logger logger = log4cplus::Logger::getInstance(kLoggerName);
    if (logger.isEnabledFor(log4cplus::ERROR_LOG_LEVEL))
        logger.forcedLog(log4cplus::ERROR_LOG_LEVEL, message, file, line);
    if (callsAssertionHandler())
        platkit_2_18::debug::assertion_handler(message.c_str(), file, line);
}

}  // namespace lanefeed_runtime
