// The logger of the library. It is set up when the library is loaded, so that a host can raise or
// lower its level before the first request. Tested by tests/provider/services_test.cpp.

#include "common/logging.h"

#include <logagent_1/log.h>

#include <log4cplus/logger.h>

namespace lanefeed_1 {

const char* const kLoggerName = "lanefeed";

namespace {

log4cplus::Logger& logger() {
    static log4cplus::Logger instance = [] {
        logagent_1::log::configureComponentLogger(kLoggerName);
        return log4cplus::Logger::getInstance(kLoggerName);
    }();
    return instance;
}

// Makes the logger at load, also when nothing is ever logged.
[[maybe_unused]] const bool kLoggerReady = !logger().getName().empty();

}  // namespace

bool isLogged(int level) {
    return logger().isEnabledFor(level);
}

void logText(int level, const std::string& text, const Place& place) {
    if (isLogged(level)) logger().forcedLog(level, text, place.file, place.line, place.function);
}

}  // namespace lanefeed_1
