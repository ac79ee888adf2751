#pragma once

#include "trace_event_json/event.h"

#include <cstdint>
#include <functional>
#include <string>

namespace lanefeed_importers {

class ByteSource;

struct TokenizerResult {
    enum class End {
        complete,
        cut,      // the text stops or breaks after the event array has begun
        stopped,  // by the sink or by `beforeRead`
        noTrace,  // JSON or not, there is no event array
        tooLong,  // more than 64 MiB without an end
        tooDeep   // nested deeper than any trace
    };
    End end = End::complete;
    bool insideEvent = false;  // of a cut
    std::uint64_t byte = 0;    // of the unpacked text where it ended
    bool followed = false;     // something stands behind the complete trace, at `byte`
    std::string reason;        // in words, for a text that isn't complete
};

// Reads the events of an array, or of an object with the array "traceEvents" (or "events"), in
// memory that doesn't depend on the size of the text. Failures of the source are found there.
TokenizerResult tokenize(ByteSource& source,
                         EventSink& sink,
                         const std::function<bool()>& beforeRead);

// True if the text could be the begin of such a trace.
bool beginsLikeTrace(std::string_view head);

}  // namespace lanefeed_importers
