#pragma once

#include "ftrace_text/html_trace.h"
#include "scheduler/odd_payloads.h"
#include "scheduler/text_import.h"

#include <cstdint>
#include <string>
#include <vector>

namespace lanefeed_importers {

// Tells a SchedulerTrace what the lines of a kernel trace say.
class FtraceLines : public LineParser {
public:
    // `page`: the trace is wrapped in html.
    explicit FtraceLines(bool page) : m_isPage(page) {}

    bool line(const TextLine& line, SchedulerTrace& trace) override;
    ImportError error(const SchedulerTrace& trace) const override;
    std::vector<std::string> warnings() const override;

private:
    // A line that can't be told, for the message that refuses the text.
    struct Place {
        std::uint64_t line = 0;  // 0 for none
        std::string text;
        bool late = false;  // it is its time that can't be held
    };

    bool event(std::string_view text, const TextLine& line, SchedulerTrace& trace);
    bool leaveOut(std::string_view text, const TextLine& line, SchedulerTrace& trace);

    bool m_isPage;
    HtmlTrace m_page;
    Place m_firstOdd;
    OddPayloads m_payloads;
    std::uint64_t m_odd = 0;
    std::uint64_t m_lostEvents = 0;
    std::uint64_t m_losses = 0;
};

// Some line of the text is an event of a kernel trace, or tells that such events follow.
bool hasTraceLines(std::string_view head);

}  // namespace lanefeed_importers
