// The captured log is an appender that keeps copies of the events.
#include "captured_log.h"

#include <log4cplus/appender.h>
#include <log4cplus/spi/loggingevent.h>

#include <mutex>

namespace lanefeed_test {

class CapturedLog::Appender : public log4cplus::Appender {
public:
    ~Appender() override { destructorImpl(); }
    void close() override { closed = true; }

    std::vector<Entry> entries() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_entries;
    }
    void clear() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_entries.clear();
    }

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_entries.push_back({event.getLogLevel(), event.getMessage(), event.getFunction()});
    }

private:
    mutable std::mutex m_mutex;
    std::vector<Entry> m_entries;
};

namespace {

void appendLines(std::vector<std::string>& lines, const std::string& text) {
    std::size_t start = 0;
    for (std::size_t end = text.find('\n'); end != std::string::npos;
         end = text.find('\n', start)) {
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    lines.push_back(text.substr(start));
}

}  // namespace

CapturedLog::CapturedLog(log4cplus::LogLevel level)
    : m_logger(log4cplus::Logger::getInstance("lanefeed")),
      m_oldLevel(m_logger.getLogLevel()),
      m_appender(new Appender) {
    m_logger.setLogLevel(level);
    m_logger.addAppender(m_appender);
}

CapturedLog::~CapturedLog() {
    m_logger.removeAppender(m_appender);
    m_logger.setLogLevel(m_oldLevel);
}

std::vector<CapturedLog::Entry> CapturedLog::entries() const {
    return static_cast<const Appender&>(*m_appender).entries();
}

std::vector<std::string> CapturedLog::lines() const {
    std::vector<std::string> found;
    for (const Entry& entry : entries())
        appendLines(found, entry.text);
    return found;
}

std::vector<std::string> CapturedLog::lines(int level) const {
    std::vector<std::string> found;
    for (const Entry& entry : entries())
        if (entry.level == level) appendLines(found, entry.text);
    return found;
}

int CapturedLog::count(const std::string& part) const {
    int found = 0;
    for (const Entry& entry : entries())
        found += entry.text.find(part) != std::string::npos ? 1 : 0;
    return found;
}

void CapturedLog::clear() {
    static_cast<Appender&>(*m_appender).clear();
}

}  // namespace lanefeed_test
