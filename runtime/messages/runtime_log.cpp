// Errors of the runtime on the logger that the library uses too.
// Tested by tests/queries/query_definitions_test.cpp.
#include "runtime_log.h"

#include <logagent_1/log.h>

#include <log4cplus/logger.h>

namespace lanefeed_runtime {

void logError(const std::string& text) {
    static const log4cplus::Logger logger = [] {
        logagent_1::log::configureComponentLogger("lanefeed");
        return log4cplus::Logger::getInstance("lanefeed");
    }();
    if (logger.isEnabledFor(log4cplus::ERROR_LOG_LEVEL))
        logger.forcedLog(log4cplus::ERROR_LOG_LEVEL, text);
}

}  // namespace lanefeed_runtime
