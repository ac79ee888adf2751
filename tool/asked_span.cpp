// The span of a request. Tested by tests/tool/series_facts_test.cpp.

#include "asked_span.h"

#include "area_view.h"
#include "failure.h"
#include "session.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <session/open_result.h>
#include <store/result_facts.h>

namespace lanefeed_tool {

namespace {

bool readTime(const std::string& text, std::int64_t& time) {
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, time);
    return read.ec == std::errc() && read.ptr == end;
}

// Where the importer found 99 % of the instances.
TickSpan contentSpan(const Session& session, const AreaView& area) {
    const auto facts = lanefeed_runtime::resultFacts(session.input());
    std::int64_t start = 0;
    std::int64_t end = 0;
    if (!facts || !readTime(facts->entry("contentStart"), start) ||
        !readTime(facts->entry("contentEnd"), end)) {
        throw Failure(
            exitUsage,
            "--time content: the result does not tell where its content lies; write A..B");
    }
    // Both are times of the trace; pane tick 0 is the first tick of the result.
    const std::int64_t base = facts->origin + static_cast<std::int64_t>(facts->firstTick);
    const auto ticks = [&](std::int64_t time) {
        const auto tick =
            static_cast<std::uint64_t>(std::max(time, base)) - static_cast<std::uint64_t>(base);
        return std::min(tick, area.time().duration);
    };
    // What happens at the end of the content belongs to it.
    TickSpan span{ticks(start), std::min(ticks(end) + 1, area.time().duration)};
    if (span.start == area.time().duration) --span.start;
    if (span.end <= span.start) span.end = span.start + 1;
    return span;
}

}  // namespace

TickSpan askedSpan(const Session& session, const AreaView& area, const std::string& text) {
    if (text.empty() || text == "whole") return {0, area.time().duration};
    if (text == "content") return contentSpan(session, area);
    return parseTimeSpan(text, area.time());
}

}  // namespace lanefeed_tool
