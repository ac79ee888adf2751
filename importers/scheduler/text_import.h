#pragma once

#include "common/line_reader.h"
#include "importer.h"

namespace lanefeed_importers {

class SchedulerTrace;

// Understands the lines of one format of scheduler traces.
class LineParser {
public:
    LineParser() = default;
    LineParser(const LineParser&) = delete;
    LineParser& operator=(const LineParser&) = delete;
    virtual ~LineParser() = default;

    // Tells `trace` what the line says. False ends the import with error().
    virtual bool line(const TextLine& line, SchedulerTrace& trace) = 0;
    // Asked after the last line too: the text as a whole may be none of this format. Without place
    // of the file, which is put in front.
    virtual ImportError error(const SchedulerTrace& trace) const = 0;
    // What the user should know besides, one line each, also without the file.
    virtual std::vector<std::string> warnings() const = 0;
};

// Reads the source line by line, with progress and cancelling, and finishes the trace. Lines that
// were left out, clocks that jumped and damaged archives are told as warnings.
ImportOutcome importLines(ByteSource& source,
                          lanefeed_runtime::ResultWriter& writer,
                          const ImportOptions& options,
                          LineParser& parser);

}  // namespace lanefeed_importers
