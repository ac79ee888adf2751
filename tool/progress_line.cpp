// Progress of an import on a terminal.

#include "progress_line.h"

#include "terminal.h"

#include <fmt/format.h>
#include <importer.h>
#include <iostream>

namespace lanefeed_tool {

namespace {

constexpr std::chrono::milliseconds kInterval{100};

}  // namespace

ProgressLine::ProgressLine() : m_shown(showsProgress()), m_begin(Clock::now()), m_last(m_begin) {}

void ProgressLine::show(const lanefeed_importers::ImportProgress& progress) {
    const Clock::time_point now = Clock::now();
    if (!m_shown || now - m_last < kInterval) return;
    m_last = now;
    m_dirty = true;
    const std::chrono::duration<double> seconds = now - m_begin;
    // Back to the first column, and the rest of an older, longer line erased.
    std::cerr << '\r' << progressText(progress, seconds.count()) << "\x1b[K" << std::flush;
}

void ProgressLine::clear() {
    if (m_dirty) std::cerr << "\r\x1b[K" << std::flush;
    m_dirty = false;
}

std::string progressText(const lanefeed_importers::ImportProgress& progress, double seconds) {
    using Stage = lanefeed_importers::ImportProgress::Stage;
    if (progress.stage == Stage::writing) return fmt::format("writing {} events", progress.events);
    const char* verb = progress.stage == Stage::reading ? "reading" : "joining";
    const char* unit = progress.stage == Stage::reading ? " MB" : " M events";
    const double done = static_cast<double>(progress.done) / 1e6;
    const double rate = seconds > 0 ? done / seconds : 0;
    std::string text = fmt::format("{} {:.1f}", verb, done);
    if (progress.total > 0) {
        const double total = static_cast<double>(progress.total) / 1e6;
        text += fmt::format(" of {:.1f}{} ({:.0f} %)", total, unit,
                            total > 0 ? 100 * done / total : 100);
    } else {
        text += unit;
    }
    text += fmt::format(", {} events", progress.events);
    if (progress.stage == Stage::reading && rate > 0) {
        text += fmt::format(", {:.1f} MB/s", rate);
        if (progress.total > progress.done) {
            text += fmt::format(", {:.0f} s left",
                                static_cast<double>(progress.total - progress.done) / 1e6 / rate);
        }
    }
    return text;
}

}  // namespace lanefeed_tool
