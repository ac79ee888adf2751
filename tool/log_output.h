#pragma once

#include <string>

namespace lanefeed_tool {

// Sends what the library logs to stderr, a line "lanefeed: error: ..." each. Level: debug, info,
// error or off.
void setUpLog(const std::string& level);

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

}  // namespace lanefeed_tool
