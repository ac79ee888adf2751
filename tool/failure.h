#pragma once

#include <stdexcept>
#include <string>

namespace lanefeed_tool {

// Exit codes of every verb.
enum ExitCode {
    exitOk = 0,
    exitFailure = 1,        // a file that is missing, a permission, a full disk
    exitUsage = 2,          // an option that is unknown or out of range
    exitNotUnderstood = 3,  // an input that is no trace, no result, no viewpoint
    exitInterrupted = 130
};

// Ends a verb. The text is one line that says what is wrong, where, and what to do; main prints it
// behind "lanefeed: error: ".
class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string& text) : std::runtime_error(text), m_code(code) {}
    ExitCode code() const { return m_code; }

private:
    ExitCode m_code;
};

}  // namespace lanefeed_tool
