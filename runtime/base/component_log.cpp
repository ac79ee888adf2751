// Set-up of a component's logger. A logger without any appender makes log4cplus print a complaint
// at its first event; an appender that drops everything keeps a program quiet that set up no
// logging, and stands in nobody's way when appenders come later. Tested by
// tests/base/platform_test.cpp.
#include <logagent_1/log.h>

#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <log4cplus/nullappender.h>

namespace logagent_1::log {

void configureComponentLogger(const std::string& component) {
    log4cplus::initialize();
    log4cplus::Logger logger = log4cplus::Logger::getInstance(component);
    const log4cplus::tstring quiet = component + ".quiet";
    if (logger.getAppender(quiet)) return;
    const log4cplus::SharedAppenderPtr appender(new log4cplus::NullAppender);
    appender->setName(quiet);
    logger.addAppender(appender);
}

}  // namespace logagent_1::log
