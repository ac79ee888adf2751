// What stdout and stderr are, and where files can be made.

#include "terminal.h"

#include <basekit2/environment.h>

#include <algorithm>
#include <sys/ioctl.h>
#include <unistd.h>

namespace lanefeed_tool {

namespace {

constexpr int kTextColumns = 110;  // of the table beside the curve
constexpr int kLeastCurve = 20;
constexpr int kMostCurve = 60;

}  // namespace

int curveWidthOfTerminal() {
    if (isatty(STDOUT_FILENO) == 0 || basekit2::get_environ_value("TERM") == "dumb") return 0;
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kLeastCurve;
    return std::clamp(static_cast<int>(size.ws_col) - kTextColumns, kLeastCurve, kMostCurve);
}

bool showsProgress() {
    return isatty(STDERR_FILENO) != 0;
}

bool isWritableFolder(const std::string& folder) {
    return access(folder.empty() ? "." : folder.c_str(), W_OK) == 0;
}

}  // namespace lanefeed_tool
