#pragma once

#include <cstdint>
#include <string_view>

namespace lanefeed_importers {

// The columns of a line such as
//
//   cc1plus 26734/26734 [001]  1025.263185334:  sched:sched_wakeup: comm=make pid=26723 ...
//
// Texts are parts of the line.
struct PerfLine {
    std::string_view comm;  // may hold anything, blanks and brackets too
    std::int32_t pid = 0;   // of the process; kNoPid if the line tells the thread alone
    std::int32_t tid = 0;   // -1 for a task that was gone
    std::int32_t core = 0;
    std::int64_t time = 0;        // ns
    std::string_view event;       // without its subsystem: "sched_wakeup"
    std::string_view wholeEvent;  // "sched:sched_wakeup"
    std::string_view payload;

    static constexpr std::int32_t kNoPid = INT32_MIN;
};

// False for anything else, also for lines that lack a column.
bool parsePerfLine(std::string_view line, PerfLine& out);

// What keeps a line from being one of these, for people.
enum class PerfFault { noCore, noTime, lateTime, noThread, noEvent, otherText };
PerfFault perfFaultOf(std::string_view line);

// The line of a call chain: an address and the function there, indented.
bool isCallChainLine(std::string_view line);

}  // namespace lanefeed_importers
