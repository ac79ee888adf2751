// The one form of every check: report, perhaps stop in a debugger, and go on. Tested by
// tests/provider/services_test.cpp.

#include "common/check.h"

#include <basekit2/environment.h>
#include <platkit_2_18/debug.h>

namespace lanefeed_1 {

namespace {

// Asked once per process, so that a check costs nothing while it holds and little when it fails.
bool callsAssertionHandler() {
    static const bool answer =
        basekit2::get_environ_value(std::string(kLoggerName) + "_ERROR_HANDLING").find("assert") !=
        std::string::npos;
    return answer;
}

}  // namespace

void reportFailure(const Place& place, const char* text, std::initializer_list<CheckValue> values) {
    const bool stops = callsAssertionHandler();
    if (!stops && !isLogged(logError)) return;
    std::string message = text;
    for (const CheckValue& value : values)
        message.append(" '").append(value.text()).append("'");
    message.append(", at file: ").append(place.file).append(":").append(std::to_string(place.line));
    logText(logError, message, place);
    if (stops) platkit_2_18::debug::assertion_handler(message.c_str(), place.file, place.line);
}

}  // namespace lanefeed_1
