#pragma once

#include "importer.h"

namespace lanefeed_importers {

// Chrome's trace event format: an array of events, or an object with one.
class TraceEventImporter : public Importer {
public:
    std::string_view name() const override { return "trace_event_json"; }
    std::string_view description() const override {
        return "trace events in JSON (of browsers, build tools and many tracers)";
    }
    bool accepts(std::string_view head) const override;
    ImportOutcome import(ByteSource& source,
                         lanefeed_runtime::ResultWriter& writer,
                         const ImportOptions& options) const override;
};

}  // namespace lanefeed_importers
