// Tested by tests/store/open_store_test.cpp (damaged files).
#include "store/store_session.h"

#include <log4cplus/logger.h>

namespace lanefeed_runtime {

void reportBrokenRead(const StoreSession& session, const std::string& sql) {
    ++*session.brokenReads;
    const log4cplus::Logger logger = log4cplus::Logger::getInstance("lanefeed");
    if (!logger.isEnabledFor(log4cplus::ERROR_LOG_LEVEL)) return;
    logger.forcedLog(log4cplus::ERROR_LOG_LEVEL,
                     session.file + ": a read broke off, what was shown of it is not all: " +
                         session.connection->message() +
                         "; import the trace again if the file is damaged. SQL: " + sql,
                     __FILE__, __LINE__);
}

}  // namespace lanefeed_runtime
