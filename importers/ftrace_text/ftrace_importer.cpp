// Traces of the kernel as text, plain or in a page. Tested by
// tests/importers/text_formats_test.cpp.
#include "ftrace_text/ftrace_importer.h"

#include "common/byte_source.h"
#include "ftrace_text/ftrace_lines.h"
#include "ftrace_text/html_trace.h"
#include "ftrace_text/trace_line.h"

namespace lanefeed_importers {

bool FtraceImporter::accepts(std::string_view head) const {
    return isPage(head) || hasTraceLines(head);
}

bool FtraceImporter::isEventLine(std::string_view line) const {
    TraceLine event;
    return parseTraceLine(line, event);
}

ImportOutcome FtraceImporter::import(ByteSource& source,
                                     lanefeed_runtime::ResultWriter& writer,
                                     const ImportOptions& options) const {
    FtraceLines lines(isPage(source.head()));
    return importLines(source, writer, options, lines);
}

}  // namespace lanefeed_importers
