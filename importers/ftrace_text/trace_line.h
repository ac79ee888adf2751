#pragma once

#include <cstdint>
#include <string_view>

namespace lanefeed_importers {

// One event in the text of the kernel's tracer. Texts are parts of the line.
struct TraceLine {
    std::string_view name;  // of the task that runs, as short as the kernel has it
    std::string_view event;
    std::string_view payload;  // what stands behind "event:", without blanks around
    std::int64_t time = 0;     // nanoseconds
    std::int32_t pid = 0;
    std::int32_t process = -1;  // -1 if the line has no such column or doesn't know it
    std::int32_t core = 0;
};

// "NAME-PID [(TGID)] [CPU] [FLAGS] SECONDS: EVENT: PAYLOAD", where NAME may hold anything, or the
// latency format "NAME-PID CPUFLAGS TIME: EVENT: PAYLOAD" with TIME as seconds or as "17us". False,
// with `out` in no particular state, for any other line.
bool parseTraceLine(std::string_view line, TraceLine& out);

// False for the kernel's stand-ins for a name that it doesn't know, "<...>" and "<1234>".
bool isTaskName(std::string_view name);

}  // namespace lanefeed_importers
