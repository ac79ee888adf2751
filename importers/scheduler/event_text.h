#pragma once

#include <string_view>

namespace lanefeed_importers {

class SchedulerTrace;

// Tells `trace` what the event that it was just given means, by the text behind "event:". `name` is
// without that of its subsystem. Events that mean nothing for the scheduler are understood too.
// False if the text isn't in a known form; then nothing was told.
bool tellEvent(std::string_view name, std::string_view payload, SchedulerTrace& trace);

}  // namespace lanefeed_importers
