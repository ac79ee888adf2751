#pragma once

#include "importer.h"

namespace lanefeed_importers {

// The text that "perf script" prints of scheduler and interrupt events.
class PerfScriptImporter : public Importer {
public:
    std::string_view name() const override { return "perf_script"; }
    std::string_view description() const override {
        return "scheduler events as text of perf script (perf script --ns -F "
               "comm,pid,tid,cpu,time,event,trace)";
    }
    bool accepts(std::string_view head) const override;
    bool isEventLine(std::string_view line) const override;
    ImportOutcome import(ByteSource& source,
                         lanefeed_runtime::ResultWriter& writer,
                         const ImportOptions& options) const override;
};

}  // namespace lanefeed_importers
