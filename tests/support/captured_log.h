#pragma once

#include <log4cplus/appender.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

#include <mutex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace lanefeed_test {

// Catches what the logger "lanefeed" emits while it lives, and nothing after. Starts with every
// level caught; the logger's own level comes back at the end. Events of any thread are caught.
class CapturedLog {
public:
    struct Entry {
        int level;         // 40000 error, 20000 viewpoint log
        std::string text;  // as composed, line breaks included
        std::string function;
    };

    CapturedLog() {
        m_logger.setLogLevel(log4cplus::ALL_LOG_LEVEL);
        m_logger.addAppender(m_shared);
    }
    ~CapturedLog() {
        m_logger.removeAppender(m_shared);
        m_logger.setLogLevel(m_oldLevel);
    }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    std::vector<Entry> entries() const {
        const std::lock_guard<std::mutex> lock(m_appender->mutex);
        return m_appender->entries;
    }
    // Texts of a level, of all for 0, cut at line breaks.
    std::vector<std::string> lines(int level = 0) const {
        std::vector<std::string> found;
        for (const Entry& entry : entries()) {
            std::istringstream text(entry.text);
            for (std::string line; std::getline(text, line);)
                if (level == 0 || entry.level == level) found.push_back(line);
        }
        return found;
    }
    // Whether some text holds `part`, and how many do.
    bool contains(const std::string& part) const { return count(part) > 0; }
    int count(const std::string& part) const {
        int found = 0;
        for (const Entry& entry : entries())
            found += entry.text.find(part) != std::string::npos ? 1 : 0;
        return found;
    }
    bool empty() const { return entries().empty(); }
    void clear() {
        const std::lock_guard<std::mutex> lock(m_appender->mutex);
        m_appender->entries.clear();
    }

private:
    // Keeps copies of the events.
    class Appender : public log4cplus::Appender {
    public:
        ~Appender() override { destructorImpl(); }
        void close() override { closed = true; }

        std::mutex mutex;
        std::vector<Entry> entries;

    protected:
        void append(const log4cplus::spi::InternalLoggingEvent& event) override {
            const std::lock_guard<std::mutex> lock(mutex);
            entries.push_back({event.getLogLevel(), event.getMessage(), event.getFunction()});
        }
    };

    log4cplus::Logger m_logger = log4cplus::Logger::getInstance("lanefeed");
    log4cplus::LogLevel m_oldLevel = m_logger.getLogLevel();
    Appender* m_appender = new Appender;
    log4cplus::SharedAppenderPtr m_shared{m_appender};
};

}  // namespace lanefeed_test
