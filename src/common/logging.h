#pragma once

#include <string>

namespace lanefeed_1 {

// Where in the sources something is reported from; made by LF_HERE.
struct Place {
    const char* file;
    int line;
    const char* function;
};

enum LogLevel : int { logInfo = 20000, logError = 40000 };

// Name of the logger of this library, and of the component that it is set up for.
extern const char* const kLoggerName;

// Whether a text of that level is heard at all; texts are composed only then.
bool isLogged(int level);
// Writes to the library's logger as the place reported; from any thread.
void logText(int level, const std::string& text, const Place& place);

}  // namespace lanefeed_1
