#pragma once

#include <string_view>

// What an import counted, as keys of the table "result" beside those of the store. Numbers are
// decimal text; times are nanoseconds of the trace's own clock, signed.
namespace lanefeed_importers::fact_keys {

inline constexpr std::string_view kEvents = "events";
// JSON object: phase to {"events", "kept"}.
inline constexpr std::string_view kPhases = "phases";
// JSON object: reason to count. What was left out or repaired.
inline constexpr std::string_view kSkipped = "skipped";
inline constexpr std::string_view kCompleteSlices = "completeSlices";
inline constexpr std::string_view kOrphanEnds = "orphanEnds";
inline constexpr std::string_view kUnclosedBegins = "unclosedBegins";
inline constexpr std::string_view kProcesses = "processes";
inline constexpr std::string_view kThreads = "threads";
inline constexpr std::string_view kInstants = "instants";
inline constexpr std::string_view kCounterTracks = "counterTracks";
inline constexpr std::string_view kCounterSamples = "counterSamples";
inline constexpr std::string_view kAsyncPairs = "asyncPairs";
inline constexpr std::string_view kFlowArrows = "flowArrows";
// Of scheduler traces. JSON object: name of an event to count.
inline constexpr std::string_view kEventKinds = "eventKinds";
inline constexpr std::string_view kSwitches = "switches";
// The task that leaves isn't the one that came: events were lost.
inline constexpr std::string_view kSwitchesOutOfStep = "switchesOutOfStep";
inline constexpr std::string_view kRunningIntervals = "runningIntervals";
// Of the running intervals: those of no length, which are not stored.
inline constexpr std::string_view kEmptyIntervals = "emptyIntervals";
inline constexpr std::string_view kRunningTotal = "runningTotal";  // nanoseconds
inline constexpr std::string_view kWakeups = "wakeups";
inline constexpr std::string_view kMigrations = "migrations";
inline constexpr std::string_view kInterruptPairs = "interruptPairs";
inline constexpr std::string_view kOrphanInterruptEnds = "orphanInterruptEnds";
inline constexpr std::string_view kUnclosedInterrupts = "unclosedInterrupts";
inline constexpr std::string_view kOrphanAsyncEnds = "orphanAsyncEnds";
inline constexpr std::string_view kUnclosedAsync = "unclosedAsync";
inline constexpr std::string_view kCores = "cores";
// Events with a time before that of the event before them.
inline constexpr std::string_view kClockJumps = "clockJumps";
// Spans that are not stored since they would end before they begin.
inline constexpr std::string_view kBackwardSpans = "backwardSpans";
// Of all timed events, kept or not. Absent, with the spans below, for a trace without any.
inline constexpr std::string_view kFirstTime = "firstTime";
inline constexpr std::string_view kLastTime = "lastTime";
// The longest stretch in which nothing happens or lasts.
inline constexpr std::string_view kLongestGapStart = "longestGapStart";
inline constexpr std::string_view kLongestGapEnd = "longestGapEnd";
// The shortest span that holds 99 % of the events.
inline constexpr std::string_view kContentStart = "contentStart";
inline constexpr std::string_view kContentEnd = "contentEnd";
// Of the source.
inline constexpr std::string_view kSourceModified = "sourceModified";  // seconds since 1970
inline constexpr std::string_view kSourceBytes = "sourceBytes";
inline constexpr std::string_view kUnpackedBytes = "unpackedBytes";
// JSON array of texts: what was wrong with the input.
inline constexpr std::string_view kWarnings = "warnings";

}  // namespace lanefeed_importers::fact_keys
