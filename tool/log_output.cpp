// The library's log on stderr.

#include "log_output.h"

#include <log4cplus/appender.h>
#include <log4cplus/helpers/property.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

#include <algorithm>
#include <cctype>
#include <iostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace lanefeed_tool {

namespace {

log4cplus::Logger componentLogger() {
    return log4cplus::Logger::getInstance("lanefeed");
}

struct LogMessage {
    std::string level;
    std::string text;
};

// Set while messages are held back. The client logs from one thread.
std::vector<LogMessage>* g_held = nullptr;

void print(const LogMessage& message) {
    std::istringstream lines(message.text);
    for (std::string line; std::getline(lines, line);)
        if (!line.empty()) std::cerr << "lanefeed: " << message.level << ": " << line << '\n';
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
        LogMessage message{std::move(level), event.getMessage()};
        if (g_held != nullptr)
            g_held->push_back(std::move(message));
        else
            print(message);
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

struct HeldLog::Messages : std::vector<LogMessage> {};

// Errors are collected even if none are to be shown: callers look at them.
HeldLog::HeldLog()
    : m_messages(std::make_unique<Messages>()), m_level(componentLogger().getLogLevel()) {
    g_held = m_messages.get();
    if (m_level == log4cplus::OFF_LOG_LEVEL)
        componentLogger().setLogLevel(log4cplus::ERROR_LOG_LEVEL);
}

HeldLog::~HeldLog() {
    g_held = nullptr;
    componentLogger().setLogLevel(m_level);
    if (m_level == log4cplus::OFF_LOG_LEVEL) return;
    for (const LogMessage& message : *m_messages)
        print(message);
}

bool HeldLog::drop(const std::string& shown) {
    const auto shows = [&shown](const LogMessage& message) {
        return message.text.find(shown) != std::string::npos;
    };
    const auto dropped = std::remove_if(m_messages->begin(), m_messages->end(), shows);
    const bool any = dropped != m_messages->end();
    m_messages->erase(dropped, m_messages->end());
    return any;
}

std::string HeldLog::firstError() const {
    const auto isError = [](const LogMessage& message) { return message.level == "error"; };
    const auto found = std::find_if(m_messages->begin(), m_messages->end(), isError);
    return found == m_messages->end() ? std::string() : found->text;
}

}  // namespace lanefeed_tool
