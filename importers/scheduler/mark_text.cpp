// From the text of a mark to slices, tracks, curves and points.
// Tested by tests/importers/text_formats_test.cpp.
#include "scheduler/mark_text.h"

#include "common/trace_time.h"
#include "scheduler/mark_payload.h"
#include "scheduler/scheduler_trace.h"

namespace lanefeed_importers {

bool tellMark(std::string_view payload, SchedulerTrace& trace) {
    MarkPayload mark;
    if (!parseMark(payload, mark)) return false;
    const int process = mark.process > 0 ? mark.process : kUnknownTgid;
    double value = 0;
    switch (mark.kind) {
    case MarkPayload::Kind::begin:
        if (mark.process > 0) trace.markProcess(mark.process);
        trace.markBegin(mark.name);
        break;
    case MarkPayload::Kind::end: trace.markEnd({}); break;
    case MarkPayload::Kind::counter:
        if (!parseNumber(mark.value, value)) return false;
        trace.counter(process, mark.name, value);
        break;
    case MarkPayload::Kind::asyncBegin: trace.asyncBegin(process, mark.name, mark.value); break;
    case MarkPayload::Kind::asyncEnd: trace.asyncEnd(process, mark.name, mark.value); break;
    case MarkPayload::Kind::text: trace.mark(mark.name, mark.value); break;
    }
    return true;
}

}  // namespace lanefeed_importers
