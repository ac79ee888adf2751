#pragma once

#include "importer.h"

namespace lanefeed_importers {

// Text of the kernel's function tracer: `trace-cmd report`, the files "trace" and "trace_pipe" of
// tracefs, and pages of systrace.
class FtraceImporter : public Importer {
public:
    std::string_view name() const override { return "ftrace_text"; }
    std::string_view description() const override {
        return "text of the kernel's function tracer (trace-cmd report, tracefs, systrace pages)";
    }
    bool accepts(std::string_view head) const override;
    bool isEventLine(std::string_view line) const override;
    ImportOutcome import(ByteSource& source,
                         lanefeed_runtime::ResultWriter& writer,
                         const ImportOptions& options) const override;
};

}  // namespace lanefeed_importers
