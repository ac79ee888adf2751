#pragma once

#include <string_view>

namespace lanefeed_importers {

class SchedulerTrace;

// Tells `trace` what the mark that it was just given as event() means. False if it lacks a part;
// then nothing was told.
bool tellMark(std::string_view payload, SchedulerTrace& trace);

}  // namespace lanefeed_importers
