#pragma once

#include <chrono>
#include <string>

namespace lanefeed_importers {
struct ImportProgress;
}

namespace lanefeed_tool {

// One line on a terminal that tells how far an import is: bytes, events, rate, time left. Silent
// when stderr is no terminal.
class ProgressLine {
public:
    ProgressLine();
    bool shown() const { return m_shown; }
    void show(const lanefeed_importers::ImportProgress& progress);
    // Leaves the line empty.
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    bool m_shown;
    bool m_dirty = false;
    Clock::time_point m_begin;
    Clock::time_point m_last;
};

// The line itself, for `seconds` since the begin.
std::string progressText(const lanefeed_importers::ImportProgress& progress, double seconds);

}  // namespace lanefeed_tool
