#pragma once

#include <memory>
#include <string>

namespace lanefeed_tool {

// Sends what the library logs to stderr, a line "lanefeed: error: ..." each, for as long as it
// lives. An error that repeats is shown once; how often it came stands behind it or, where that is
// not known yet, at the end.
class LogOutput {
public:
    // Level: debug, info, error or off.
    explicit LogOutput(const std::string& level);
    ~LogOutput();
    LogOutput(const LogOutput&) = delete;
    LogOutput& operator=(const LogOutput&) = delete;
};

// While it lives the log shows informative lines too, unless it is switched off: for the log of a
// viewpoint, which a user must see.
class InformativeLog {
public:
    InformativeLog();
    ~InformativeLog();
    InformativeLog(const InformativeLog&) = delete;
    InformativeLog& operator=(const InformativeLog&) = delete;

private:
    int m_level;
};

// Holds back what the library logs, and shows it when it goes away: for messages that the user gets
// to see in another form anyway. One at a time.
class HeldLog {
public:
    HeldLog();
    ~HeldLog();
    HeldLog(const HeldLog&) = delete;
    HeldLog& operator=(const HeldLog&) = delete;

    // Forgets the messages that say this; whether there were any.
    bool drop(const std::string& shown);
    // The first error, empty for none. The log may be switched off.
    std::string firstError() const;

private:
    struct Messages;
    std::unique_ptr<Messages> m_messages;
    int m_level;
};

}  // namespace lanefeed_tool
