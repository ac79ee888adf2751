#pragma once

#include <log4cplus/logger.h>

#include <string>
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

    explicit CapturedLog(log4cplus::LogLevel level = log4cplus::ALL_LOG_LEVEL);
    ~CapturedLog();
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    std::vector<Entry> entries() const;
    // All texts, or those of one level, cut at line breaks.
    std::vector<std::string> lines() const;
    std::vector<std::string> lines(int level) const;
    // Whether some text holds `part`, and how many do.
    bool contains(const std::string& part) const { return count(part) > 0; }
    int count(const std::string& part) const;
    bool empty() const { return entries().empty(); }
    void clear();

private:
    class Appender;

    log4cplus::Logger m_logger;
    log4cplus::LogLevel m_oldLevel;
    log4cplus::SharedAppenderPtr m_appender;
};

}  // namespace lanefeed_test
