// The library's log on stderr.

#include "log_output.h"

#include <log4cplus/appender.h>
#include <log4cplus/helpers/property.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

#include <cctype>
#include <iostream>
#include <sstream>
#include <string>

namespace lanefeed_tool {

namespace {

log4cplus::Logger componentLogger() {
    return log4cplus::Logger::getInstance("lanefeed");
}

class StderrLines : public log4cplus::Appender {
public:
    StderrLines() = default;
    ~StderrLines() override { destructorImpl(); }
    void close() override { closed = true; }

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override {
        std::string level = log4cplus::getLogLevelManager().toString(event.getLogLevel());
        for (char& c : level)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        std::istringstream lines(event.getMessage());
        for (std::string line; std::getline(lines, line);)
            std::cerr << "lanefeed: " << level << ": " << line << '\n';
    }
};

log4cplus::LogLevel levelOf(const std::string& name) {
    if (name == "debug") return log4cplus::DEBUG_LOG_LEVEL;
    if (name == "info") return log4cplus::INFO_LOG_LEVEL;
    if (name == "off") return log4cplus::OFF_LOG_LEVEL;
    return log4cplus::ERROR_LOG_LEVEL;
}

}  // namespace

void setUpLog(const std::string& level) {
    log4cplus::Logger logger = componentLogger();
    logger.removeAllAppenders();
    logger.addAppender(log4cplus::SharedAppenderPtr(new StderrLines));
    logger.setAdditivity(false);
    logger.setLogLevel(levelOf(level));
}

InformativeLog::InformativeLog() : m_level(componentLogger().getLogLevel()) {
    if (m_level != log4cplus::OFF_LOG_LEVEL && m_level > log4cplus::INFO_LOG_LEVEL) {
        componentLogger().setLogLevel(log4cplus::INFO_LOG_LEVEL);
    }
}

InformativeLog::~InformativeLog() {
    componentLogger().setLogLevel(m_level);
}

}  // namespace lanefeed_tool
