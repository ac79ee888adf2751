#pragma once

#include "common/text_table.h"
#include "common/time_sorter.h"
#include "common/track_names.h"
#include "trace_event_json/trace_counts.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace lanefeed_importers {

// One curve: an argument of the counter events of one name, process and id.
struct CounterSeries {
    std::uint32_t track = 0;
    std::uint32_t process = 0;
    std::string counter;
    std::string id;  // empty for none
    std::string argument;
};

// What the first pass over a trace leaves for the second: events in the sorter, everything else in
// memory. Grows with the number of different names and tracks, and not with that of events.
struct CollectedTrace {
    CollectedTrace(const std::string& scratchFolder, std::size_t sortMemory)
        : events(std::make_unique<TimeSorter>(scratchFolder, sortMemory)) {}

    TextTable names;
    TextTable categories;
    TrackNames tracks;
    TextTable counterTracks;  // keys of process, name and id
    std::vector<CounterSeries> series;
    TraceCounts counts;
    std::unique_ptr<TimeSorter> events;

    std::uint64_t entries = 0;       // objects in the array
    bool hasEvents = false;          // one of them has a phase or a time
    std::uint64_t otherEntries = 0;  // what else is in it
    std::uint64_t instants = 0;
    std::uint64_t counterSamples = 0;
    // Of all events with a time but names. firstTime is set when there is one.
    std::optional<TraceTime> firstTime;
    TraceTime lastTime;
    TraceTime lastEnd;  // regards durations too
};

}  // namespace lanefeed_importers
