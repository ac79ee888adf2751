#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace lanefeed_importers {

// Follows a trace in order of time and finds where its content lies: the longest stretch in which
// nothing happens and nothing lasts, and the shortest span that holds 99 % of the events. Traces
// of two clocks have both far apart. Times are nanoseconds.
class Activity {
public:
    struct Span {
        std::int64_t begin = 0;
        std::int64_t end = 0;
        std::int64_t length() const { return end - begin; }
    };

    // The number of calls of event() to come.
    explicit Activity(std::uint64_t events);

    // Something happens at `time`, which is never before the last one, and lasts to `end`.
    void event(std::int64_t time, std::int64_t end);
    // Something lasted from the event at `begin` to the last event, which only shows now.
    void lastedFrom(std::int64_t begin);

    // Of length 0 if there is none.
    Span longestGap() const;
    // Up to the first and last time of the trace if nothing was left out on that side.
    Span content() const;

private:
    void noteContent(std::int64_t time);

    std::uint64_t m_events;
    std::uint64_t m_leftOut;  // how many may lie outside the content
    std::uint64_t m_seen = 0;
    std::int64_t m_coveredTo = 0;
    std::vector<Span> m_gaps;            // in order of time, each longer than the one before
    std::vector<std::int64_t> m_starts;  // candidates for the begin of the content
    Span m_content;
    bool m_contentToEnd = false;
};

}  // namespace lanefeed_importers
