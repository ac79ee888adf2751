// The library's log on stderr. Tested by tests/tool/layer_verbs_test.cpp.

#include "log_output.h"

#include <log4cplus/appender.h>
#include <log4cplus/helpers/property.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

#include <algorithm>
#include <cctype>
#include <fmt/format.h>
#include <iostream>
#include <sstream>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace lanefeed_tool {

namespace {

log4cplus::Logger componentLogger() {
    return log4cplus::Logger::getInstance("lanefeed");
}

// A message with how often it came; the same error comes once for each record that lacks something.
struct LogMessage {
    std::string level;
    std::string text;
    std::size_t count = 1;
    std::size_t told = 0;  // how many of these the user has seen
};

// Messages in the order in which they first came, errors that repeat once.
class FoldedLog {
public:
    LogMessage& add(const LogMessage& message) {
        if (message.level != "error") {
            m_messages.push_back(message);
            return m_messages.back();
        }
        const auto [place, isNew] = m_errors.emplace(message.text, m_messages.size());
        if (isNew)
            m_messages.push_back(message);
        else
            m_messages[place->second].count += message.count;
        return m_messages[place->second];
    }
    const std::vector<LogMessage>& messages() const { return m_messages; }
    // Whether there were any.
    bool drop(const std::string& shown) {
        const std::vector<LogMessage> before = std::move(m_messages);
        m_messages.clear();
        m_errors.clear();
        for (const LogMessage& message : before)
            if (message.text.find(shown) == std::string::npos) add(message);
        return m_messages.size() < before.size();
    }

private:
    std::vector<LogMessage> m_messages;
    std::unordered_map<std::string, std::size_t> m_errors;
};

// Set while messages are held back. The client logs from one thread.
FoldedLog* g_held = nullptr;
// Errors that were shown.
FoldedLog& shownErrors() {
    static FoldedLog errors;
    return errors;
}

std::string timesMore(std::size_t times) {
    return times == 1 ? " (once more)" : fmt::format(" ({} times more)", times);
}

// `tail` stands behind the last line of the text.
void printLines(const LogMessage& message, const std::string& tail) {
    std::string text = message.text.substr(0, message.text.find_last_not_of('\n') + 1) + tail;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (!line.empty()) std::cerr << "lanefeed: " << message.level << ": " << line << '\n';
}

// An error that was shown already is only counted.
void print(const LogMessage& message) {
    if (message.level != "error") {
        printLines(message, "");
        return;
    }
    LogMessage& shown = shownErrors().add(message);
    if (shown.told > 0) return;
    shown.told = shown.count;
    printLines(shown, shown.count > 1 ? fmt::format(" ({} times)", shown.count) : "");
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
        const LogMessage message{std::move(level), event.getMessage()};
        if (g_held != nullptr)
            g_held->add(message);
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

LogOutput::LogOutput(const std::string& level) {
    log4cplus::Logger logger = componentLogger();
    logger.removeAllAppenders();
    logger.addAppender(log4cplus::SharedAppenderPtr(new StderrLines));
    logger.setAdditivity(false);
    logger.setLogLevel(levelOf(level));
}

LogOutput::~LogOutput() {
    for (const LogMessage& message : shownErrors().messages())
        if (message.count > message.told)
            printLines(message, timesMore(message.count - message.told));
}

InformativeLog::InformativeLog() : m_level(componentLogger().getLogLevel()) {
    if (m_level != log4cplus::OFF_LOG_LEVEL && m_level > log4cplus::INFO_LOG_LEVEL) {
        componentLogger().setLogLevel(log4cplus::INFO_LOG_LEVEL);
    }
}

InformativeLog::~InformativeLog() {
    componentLogger().setLogLevel(m_level);
}

struct HeldLog::Messages : FoldedLog {};

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
    for (const LogMessage& message : m_messages->messages())
        print(message);
}

bool HeldLog::drop(const std::string& shown) {
    return m_messages->drop(shown);
}

std::string HeldLog::firstError() const {
    const std::vector<LogMessage>& all = m_messages->messages();
    const auto isError = [](const LogMessage& message) { return message.level == "error"; };
    const auto found = std::find_if(all.begin(), all.end(), isError);
    return found == all.end() ? std::string() : found->text;
}

}  // namespace lanefeed_tool
